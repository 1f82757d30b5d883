#include "core/address.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <optional>

namespace qvx {
namespace {

// The `count` numbers 0..255 in `text`, parted by `separator`; nothing when it has another form.
template <class ParseByte>
std::optional<Bytes> parseBytes(std::string_view text, std::size_t count, char separator, ParseByte parse) {
  Bytes bytes;
  for (;;) {
    const std::size_t end = text.find(separator);
    const std::optional<std::uint8_t> byte = parse(text.substr(0, end));
    if (!byte || bytes.size() == count) {
      return std::nullopt;
    }
    bytes.push_back(*byte);
    if (end == std::string_view::npos) {
      return bytes.size() == count ? std::optional(bytes) : std::nullopt;
    }
    text.remove_prefix(end + 1);
  }
}

std::optional<std::uint8_t> parseByte(std::string_view digits, int base) {
  std::uint8_t value = 0;
  const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
  const bool whole = problem == std::errc() && end == digits.data() + digits.size();
  return whole ? std::optional(value) : std::nullopt;
}

std::optional<std::uint8_t> parseDecimal(std::string_view digits) {
  // inet_aton reads a leading zero as octal, people don't.
  return digits.size() > 1 && digits.front() == '0' ? std::nullopt : parseByte(digits, 10);
}

std::optional<std::uint8_t> parseHexPair(std::string_view digits) {
  return digits.size() == 2 ? parseByte(digits, 16) : std::nullopt;
}

}  // namespace

std::uint32_t checkedIPv4(const Argument& value, std::string_view what) {
  const auto bytes = parseBytes(checkedText(value, what), 4, '.', parseDecimal);
  if (!bytes) {
    refuseNeeding(value, what, "an IPv4 address such as '192.168.1.20'");
  }
  return readBig<std::uint32_t>(*bytes);
}

Bytes checkedMAC(const Argument& value, std::string_view what) {
  auto bytes = parseBytes(checkedText(value, what), kMacSize, ':', parseHexPair);
  if (!bytes) {
    refuseNeeding(value, what, "a MAC address such as '02:51:56:00:00:01'");
  }
  return std::move(*bytes);
}

bool isHostAddress(std::uint32_t address) {
  return address >> 24 >= 1 && address >> 24 <= 223;
}

bool isSubnetMask(std::uint32_t mask) {
  constexpr int kShortest = 8;
  constexpr int kLongest = 30;
  const int prefix = std::countl_one(mask);
  return std::popcount(mask) == prefix && prefix >= kShortest && prefix <= kLongest;
}

bool isHostOfSubnet(std::uint32_t address, std::uint32_t mask) {
  return (address & ~mask) != 0 && (address | mask) != 0xFFFFFFFF;
}

bool isDeviceMAC(ByteView mac) {
  constexpr std::uint8_t kGroup = 1;
  return mac.size() == kMacSize && (mac.front() & kGroup) == 0 &&
         std::any_of(mac.begin(), mac.end(), [](std::uint8_t byte) { return byte != 0; });
}

std::string showIPv4(std::uint32_t address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += (text.empty() ? "" : ".") + std::to_string((address >> shift) & 0xFFU);
  }
  return text;
}

std::string showMAC(ByteView mac) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : mac) {
    text += text.empty() ? "" : ":";
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

}  // namespace qvx
