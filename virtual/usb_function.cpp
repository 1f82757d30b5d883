#include "virtual/usb_function.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

constexpr std::uint8_t kConfiguration = 1;
constexpr std::uint8_t kVendorClass = 0xFF;
constexpr std::uint8_t kSelfPowered = 0xC0;
constexpr std::uint8_t kBulk = 2;
constexpr std::uint16_t kRelease = 0x0200;
constexpr std::uint16_t kEnglish = 0x0409;

enum DescriptorType : std::uint8_t { kDevice = 1, kConfigurationType, kString, kInterface, kEndpoint };
enum StringIndex : std::uint8_t { kLanguages, kManufacturer, kProduct, kSerial };

std::uint8_t low(int value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}
std::uint8_t high(int value) {
  return static_cast<std::uint8_t>(value >> 8);
}

// clang-format off
Bytes deviceDescriptor() {
  return {18, kDevice, 0x00, 0x02,  // USB 2.0
          0, 0, 0, UsbFunction::kPacketSize,  // the interface has the class
          low(USB_VID), high(USB_VID), low(USB_PID), high(USB_PID), low(kRelease), high(kRelease),
          kManufacturer, kProduct, kSerial, 1};
}

Bytes configurationDescriptor() {
  constexpr std::uint8_t kPacket = UsbFunction::kPacketSize;
  return {9, kConfigurationType, 32, 0, 1, kConfiguration, 0, kSelfPowered, 50,  // 32 bytes in all; 100 mA
          9, kInterface, 0, 0, 2, kVendorClass, 0, 0, 0,
          7, kEndpoint, USB_EP_IN, kBulk, kPacket, 0, 0,
          7, kEndpoint, USB_EP_OUT, kBulk, kPacket, 0, 0};
}
// clang-format on

Bytes stringDescriptor(const std::string& text) {
  constexpr std::size_t kLongest = 126;
  Bytes bytes{0, kString};
  for (const char letter : text.substr(0, kLongest)) {
    bytes.push_back(letter > 0 ? static_cast<std::uint8_t>(letter) : '?');
    bytes.push_back(0);
  }
  bytes[0] = static_cast<std::uint8_t>(bytes.size());
  return bytes;
}

bool isEndpoint(std::uint16_t index) {
  return index == USB_EP_IN || index == USB_EP_OUT || index == 0 || index == 0x80;
}

}  // namespace

UsbSetup UsbSetup::parse(ByteView bytes) {
  const auto number = [&](std::size_t at) { return static_cast<std::uint16_t>(bytes[at] | bytes[at + 1] << 8); };
  return {bytes[0], bytes[1], number(2), number(4), number(6)};
}

UsbIdentity UsbFunction::identity() {
  return {USB_VID, USB_PID, kRelease, kConfiguration, kVendorClass};
}

std::optional<Bytes> UsbFunction::control(const UsbSetup& setup) {
  using U = UsbFunction;
  static constexpr Row kRows[] = {
      {0x80, 6, &U::descriptor}, {0x80, 0, &U::deviceStatus},  {0x81, 0, &U::status},
      {0x82, 0, &U::status},     {0x80, 8, &U::configuration}, {0x00, 9, &U::setConfiguration},
      {0x81, 10, &U::interface}, {0x01, 11, &U::setInterface}, {0x02, 1, &U::clearHalt},
  };
  const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& candidate) {
    return candidate.request_type == setup.request_type && candidate.request == setup.request;
  });
  auto data = row != std::end(kRows) ? (this->*row->run)(setup) : std::nullopt;
  if (data && data->size() > setup.length) {
    data->resize(setup.length);
  }
  return data;
}

std::optional<Bytes> UsbFunction::descriptor(const UsbSetup& setup) {
  const auto index = low(setup.value);
  switch (high(setup.value)) {
    case kDevice:
      return deviceDescriptor();
    case kConfigurationType:
      return index == 0 ? std::optional(configurationDescriptor()) : std::nullopt;
    case kString:
      return string(index);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> UsbFunction::string(std::uint8_t index) const {
  switch (index) {
    case kLanguages:
      return Bytes{4, kString, low(kEnglish), high(kEnglish)};
    case kManufacturer:
      return stringDescriptor("QVX");
    case kProduct:
      return stringDescriptor(board_.driver_name);
    case kSerial:
      return stringDescriptor(board_.serial);
    default:
      return std::nullopt;
  }
}

std::optional<Bytes> UsbFunction::deviceStatus(const UsbSetup&) {
  return Bytes{1, 0};  // self-powered
}

std::optional<Bytes> UsbFunction::status(const UsbSetup& setup) {
  const bool of_interface = (setup.request_type & 3U) == 1;
  return (of_interface ? setup.index == 0 : isEndpoint(setup.index)) ? std::optional(Bytes{0, 0}) : std::nullopt;
}

std::optional<Bytes> UsbFunction::configuration(const UsbSetup&) {
  return Bytes{configuration_};
}

std::optional<Bytes> UsbFunction::setConfiguration(const UsbSetup& setup) {
  if (setup.value > kConfiguration) {
    return std::nullopt;
  }
  configuration_ = low(setup.value);
  return Bytes();
}

std::optional<Bytes> UsbFunction::interface(const UsbSetup& setup) {
  return setup.index == 0 ? std::optional(Bytes{0}) : std::nullopt;
}

std::optional<Bytes> UsbFunction::setInterface(const UsbSetup& setup) {
  return setup.index == 0 && setup.value == 0 ? std::optional(Bytes()) : std::nullopt;
}

// No endpoint ever halts.
std::optional<Bytes> UsbFunction::clearHalt(const UsbSetup& setup) {
  return setup.value == 0 && isEndpoint(setup.index) ? std::optional(Bytes()) : std::nullopt;
}

}  // namespace qvx::bench
