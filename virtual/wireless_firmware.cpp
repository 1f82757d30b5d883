#include "virtual/wireless_firmware.h"

#include "virtual/random.h"

#include "core/constants.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace qvx::bench {
namespace {

constexpr std::size_t kSsidSize = 32;
constexpr std::size_t kPasswordSize = 64;
constexpr std::size_t kShortestPassword = 8;
constexpr std::uint8_t kOpen = 0;
constexpr std::uint8_t kHighestSecurity = 2;
constexpr double kGravity = 9.80665;  // m/s^2
constexpr double kBatteryLife_s = 10 * 3600;

// What wavers, each by its own random numbers.
enum Quantity : std::uint64_t { kCharge, kTemperature, kAccelerationX, kSlowRssi = kAccelerationX + 3, kFastRssi };

// The text of a field padded with NULs; nothing when other bytes follow a NUL.
std::optional<std::string> unpadded(ByteView field) {
  const auto end = std::find(field.begin(), field.end(), 0);
  if (std::any_of(end, field.end(), [](std::uint8_t byte) { return byte != 0; })) {
    return std::nullopt;
  }
  return std::string(field.begin(), end);
}

}  // namespace

void WirelessFirmware::addCommands(CommandTable& table) {
  using F = ReplyForm;
  using W = WirelessFirmware;
  static const CommandRow<WirelessFirmware> kRows[] = {
      {READ_ACCELERATION, 0, 0, F::Status, &W::acceleration},
      {SET_AP, 1, 1, F::Status, &W::setAccessPoint},
      {GET_RSSI, 0, 0, F::Status, &W::rssi},
      {GET_BATTERY, 0, 0, F::Status, &W::battery},
      {GET_THERMOMETER, 0, 0, F::Status, &W::thermometer},
      {SET_WIFI_CONFIGURATION, 1 + kSsidSize + kPasswordSize, 1 + kSsidSize + kPasswordSize, F::Status,
       &W::setConfiguration},
      {GET_WIFI_CONFIGURATION, 0, 0, F::Status, &W::configuration},
      {SET_WIFI_BANDWIDTH, 1, 1, F::Status, &W::setBandwidth},
      {GET_WIFI_BANDWIDTH, 0, 0, F::Status, &W::bandwidth},
  };
  table.add<WirelessFirmware>(*this, kRows);
}

double WirelessFirmware::waver(std::uint64_t quantity, double seconds, double period) const {
  const double step = std::floor(seconds / period);
  const double along = seconds / period - step;
  const std::uint64_t series = mixBits(mixBits(board_.seed) + quantity);
  const auto corner = [&](double number) {
    return 2 * unitInterval(mixBits(series + static_cast<std::uint64_t>(number))) - 1;
  };
  return std::lerp(corner(step), corner(step + 1), along * along * (3 - 2 * along));
}

// Starts at 70 to 100 %, never ends: a bench that dies is of no use.
Answer WirelessFirmware::battery(const Request& request) {
  const double charge = 85 + 15 * waver(kCharge, 0, 1) - 100 * uptime(request) / kBatteryLife_s;
  return payload(u8(static_cast<int>(std::max(1.0, std::ceil(charge)))));
}

// Warms up from 24 degrees by 8 in some ten minutes.
Answer WirelessFirmware::thermometer(const Request& request) {
  const double seconds = uptime(request);
  return payload(f32(32 - 8 * std::exp(-seconds / 600) + 0.2 * waver(kTemperature, seconds, 5)));
}

// Lies level, on a table that people walk by.
Answer WirelessFirmware::acceleration(const Request& request) {
  std::array<double, 3> axes{0, 0, kGravity};
  for (std::size_t i = 0; i < axes.size(); ++i) {
    axes[i] += 0.02 * waver(kAccelerationX + i, uptime(request), 0.05);
  }
  return payload(f32(axes[0]), f32(axes[1]), f32(axes[2]));
}

Answer WirelessFirmware::rssi(const Request& request) {
  if (mode_in_use_ == Mode::AccessPoint) {
    return status::kCore;
  }
  const double seconds = uptime(request);
  return payload(u8(std::lround(-55 + 8 * waver(kSlowRssi, seconds, 10) + 3 * waver(kFastRssi, seconds, 0.5))));
}

Answer WirelessFirmware::setAccessPoint(const Request& request) {
  if (request.payload[0] > static_cast<std::uint8_t>(Mode::AccessPoint)) {
    return status::kCore;
  }
  kept_.mode = static_cast<Mode>(request.payload[0]);
  return status::kOk;
}

Answer WirelessFirmware::configuration(const Request&) {
  Bytes ssid(kept_.ssid.begin(), kept_.ssid.end());
  ssid.resize(kSsidSize);
  return payload(u8(static_cast<std::uint8_t>(kept_.mode)), u8(kept_.security), ssid);
}

Answer WirelessFirmware::setConfiguration(const Request& request) {
  const std::uint8_t security = request.payload[0];
  const auto ssid = unpadded(request.payload.subspan(1, kSsidSize));
  const auto password = unpadded(request.payload.subspan(1 + kSsidSize, kPasswordSize));
  if (security > kHighestSecurity || !ssid || ssid->empty() || !password) {
    return status::kCore;
  }
  const bool fits =
      security == kOpen ? password->empty() : password->size() >= kShortestPassword && password->size() < kPasswordSize;
  if (!fits) {
    return status::kCore;
  }
  // The password is of no further use here: there is no network to join.
  kept_.security = security;
  kept_.ssid = *ssid;
  return status::kOk;
}

Answer WirelessFirmware::bandwidth(const Request&) {
  return payload(u8(kept_.bandwidth));
}

Answer WirelessFirmware::setBandwidth(const Request& request) {
  if (request.payload[0] != 20 && request.payload[0] != 40) {
    return status::kCore;
  }
  kept_.bandwidth = request.payload[0];
  return status::kOk;
}

}  // namespace qvx::bench
