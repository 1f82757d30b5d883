#include "modules/system/wifi.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx {
namespace {

// Text fields of the configuration, padded with NULs.
constexpr std::size_t kSsidSize = 32;
constexpr std::size_t kPasswordSize = 64;
constexpr std::size_t kShortestPassword = 8;
constexpr std::size_t kLongestPassword = kPasswordSize - 1;
constexpr int kOpen = 0;

bool isControl(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

bool isPrintableASCII(char c) {
  return c >= ' ' && c <= '~';
}

Bytes padded(const std::string& text, std::size_t size) {
  Bytes field(text.begin(), text.end());
  field.resize(size);
  return field;
}

template <std::size_t N>
std::string nameOf(const std::array<const char*, N>& names, std::size_t number) {
  if (number >= N) {
    fail(ErrorId::FirmwareOtherError, "The reply to command " + std::to_string(GET_WIFI_CONFIGURATION) +
                                          " carries the unknown value " + std::to_string(number) + ".");
  }
  return names[number];
}

}  // namespace

const std::string& WifiBased::_checkWifiSSID(const Argument& ssid) {
  const std::string& name = checkedText(ssid, "ssid");
  if (name.empty() || name.size() > kSsidSize || std::any_of(name.begin(), name.end(), isControl)) {
    refuseNeeding(ssid, "ssid", "a text of 1 to 32 bytes of UTF-8 without control characters");
  }
  return name;
}

int WifiBased::_checkWifiSecurity(const Argument& security) {
  return checkedRange(security, "security", 0, static_cast<std::int64_t>(kWifiSecurities.size()) - 1);
}

const std::string& WifiBased::_checkWifiPassword(const Argument& password, const Argument& security) {
  // No message shows a password.
  if (password.kind() != Argument::Kind::Text) {
    refuse(ErrorId::InputTypeNotCorrectError, "password", "a value of type " + password.typeName() + ", not str");
  }
  const int kind = _checkWifiSecurity(security);
  const auto refusePassword = [](const std::string& detail) {
    refuse(ErrorId::InputDataNotInRangeError, "password", detail);
  };
  const std::string& secret = password.asText();
  const std::string length = ", not one of " + std::to_string(secret.size()) + " bytes";
  if (kind == kOpen && !secret.empty()) {
    refusePassword("an open network needs an empty text" + length);
  }
  if (kind != kOpen && (secret.size() < kShortestPassword || secret.size() > kLongestPassword)) {
    refusePassword("a text of 8 to 63 characters is needed" + length);
  }
  if (!std::all_of(secret.begin(), secret.end(), isPrintableASCII)) {
    refusePassword("a text of printable ASCII characters is needed");
  }
  return secret;
}

int WifiBased::_checkWifiBandwidth(const Argument& bandwidth) {
  const auto mhz = checkedInt(bandwidth, "bandwidth");
  if (mhz != 20 && mhz != 40) {
    refuse(ErrorId::InputDataNotInRangeError, "bandwidth", bandwidth.show() + " MHz is not in [20, 40]");
  }
  return static_cast<int>(mhz);
}

Reply WifiOperations::request(int cmd, const Bytes& payload, const Argument& timeout) const {
  return link_.request(cmd, payload, checkedTimeout(timeout));
}

// reply: status, dBm i8
int WifiOperations::Wifi_getRSSI(const Argument& timeout) {
  const Reply reply = request(GET_RSSI, {}, timeout);
  reply.status(0);
  return reply.get<std::int8_t>(1);
}

// reply: status, mode u8, security u8, SSID in 32 bytes
WifiSettings WifiOperations::Wifi_getConfiguration(const Argument& timeout) {
  const Reply reply = request(GET_WIFI_CONFIGURATION, {}, timeout);
  reply.status(0);
  return {reply.text(reply.field(3, kSsidSize)), nameOf(kWifiSecurities, reply.get<std::uint8_t>(2)),
          nameOf(kWifiModes, reply.get<std::uint8_t>(1))};
}

// payload: security u8, SSID in 32 bytes, password in 64 bytes
int WifiOperations::Wifi_setConfiguration(const Argument& ssid, const Argument& password, const Argument& security,
                                          const Argument& timeout) {
  const std::string& name = _checkWifiSSID(ssid);
  const std::string& secret = _checkWifiPassword(password, security);
  const int kind = _checkWifiSecurity(security);
  return request(SET_WIFI_CONFIGURATION, payload(u8(kind), padded(name, kSsidSize), padded(secret, kPasswordSize)),
                 timeout)
      .status(0);
}

int WifiOperations::Wifi_setAP(const Argument& enable, const Argument& timeout) {
  return request(SET_AP, payload(u8(checkedRange(enable, "enable", 0, 1))), timeout).status(0);
}

// reply: status, MHz u8
int WifiOperations::Wifi_getBandwidth(const Argument& timeout) {
  const Reply reply = request(GET_WIFI_BANDWIDTH, {}, timeout);
  reply.status(0);
  return reply.get<std::uint8_t>(1);
}

int WifiOperations::Wifi_setBandwidth(const Argument& bandwidth, const Argument& timeout) {
  return request(SET_WIFI_BANDWIDTH, payload(u8(_checkWifiBandwidth(bandwidth))), timeout).status(0);
}

}  // namespace qvx
