#include "core/convert.h"

#include <arpa/inet.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <numbers>
#include <utility>

namespace qvx {

namespace {

constexpr int kBits = 64;

[[noreturn]] void refuse(const std::string& detail) {
  fail(ErrorId::InputDataNotInRangeError,
       std::string(errorKind(ErrorId::InputDataNotInRangeError).message) + " (" + detail + ")");
}

std::uint64_t bitAt(int index) {
  if (index < 0 || index >= kBits) {
    refuse("bit index " + std::to_string(index) + " is not in 0..63");
  }
  return std::uint64_t{1} << index;
}

std::int64_t parseHex(std::string_view part, std::string_view whole) {
  std::string_view digits = part;
  if (digits.starts_with("0x") || digits.starts_with("0X")) {
    digits.remove_prefix(2);
  }
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (error != std::errc() || end != digits.data() + digits.size() || value < 0 || digits.front() == '-') {
    refuse("'" + std::string(part) + "' in the address '" + std::string(whole) + "' is not a base-16 number");
  }
  return value;
}

struct SequenceKind {
  std::uint8_t mask;
  std::uint8_t lead;
  std::size_t length;
  std::uint32_t lowest;  // shorter encodings of the same code point are malformed
};

constexpr SequenceKind kUtf8[] = {
    {0x80, 0x00, 1, 0},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
};

// Takes one code point off the front of `text`.
std::uint32_t takeCodePoint(std::string_view& text) {
  const auto first = static_cast<std::uint8_t>(text.front());
  const auto* kind = std::ranges::find_if(kUtf8, [&](const auto& row) { return (first & row.mask) == row.lead; });
  if (kind == std::end(kUtf8) || text.size() < kind->length) {
    refuse("the text is not UTF-8");
  }
  std::uint32_t point = first & static_cast<std::uint8_t>(~kind->mask);
  for (const char c : text.substr(1, kind->length - 1)) {
    const auto byte = static_cast<std::uint8_t>(c);
    if ((byte & 0xC0) != 0x80) {
      refuse("the text is not UTF-8");
    }
    point = (point << 6) | (byte & 0x3F);
  }
  const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
  if (point < kind->lowest || point > 0x10FFFF || surrogate) {
    refuse("the text is not UTF-8");
  }
  text.remove_prefix(kind->length);
  return point;
}

}  // namespace

double convertDegToRad(double degrees) {
  return degrees * (std::numbers::pi / 180.0);
}

double convertRadToDeg(double radians) {
  return radians * (180.0 / std::numbers::pi);
}

std::string convertU8ListToStr(ByteView bytes) {
  return {bytes.begin(), std::ranges::find(bytes, 0)};
}

std::vector<std::uint32_t> convertStrToU8List(std::string_view text) {
  std::vector<std::uint32_t> points;
  points.reserve(text.size());
  while (!text.empty()) {
    points.push_back(takeCodePoint(text));
  }
  return points;
}

std::array<std::uint8_t, 4> convertIPAddrTo4U8(const std::string& text) {
  in_addr address{};
  // inet_aton stops at a NUL.
  if (text.find('\0') != std::string::npos || inet_aton(text.c_str(), &address) == 0) {
    refuse("'" + text + "' is not an IPv4 address");
  }
  return std::bit_cast<std::array<std::uint8_t, 4>>(address.s_addr);
}

std::vector<std::int64_t> convertMACAddrTo6U8(std::string_view text) {
  std::vector<std::int64_t> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t colon = text.find(':', start);
    parts.push_back(parseHex(text.substr(start, colon - start), text));
    if (colon == std::string_view::npos) {
      return parts;
    }
    start = colon + 1;
  }
}

std::vector<int> convertIntToBinaryList(std::uint64_t value, int width) {
  std::vector<int> bits(static_cast<std::size_t>(std::max(width, 0)));
  for (std::size_t i = 0; i < bits.size() && i < kBits; ++i) {
    bits[i] = static_cast<int>((value >> i) & 1);
  }
  return bits;
}

std::uint64_t convertIndexListToInt(std::span<const int> indexes) {
  std::uint64_t value = 0;
  for (const int index : indexes) {
    value |= bitAt(index);
  }
  return value;
}

std::uint64_t convertIndexAndBinaryListsToInt(std::span<const int> indexes, std::span<const int> values) {
  std::uint64_t mask = 0;
  for (std::size_t i = 0; i < std::min(indexes.size(), values.size()); ++i) {
    const std::uint64_t bit = bitAt(indexes[i]);
    mask |= values[i] >= 1 ? bit : 0;
  }
  return mask;
}

}  // namespace qvx
