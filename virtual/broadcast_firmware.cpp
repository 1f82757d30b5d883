#include "virtual/broadcast_firmware.h"

#include "core/address.h"
#include "core/constants.h"

#include <algorithm>
#include <string_view>

namespace qvx::bench {
namespace {

constexpr std::uint8_t kRequest = 0;
constexpr std::uint8_t kAnswer = 1;
constexpr std::size_t kMacAt = 1;
constexpr std::size_t kOrderAt = kMacAt + kMacSize;

Bytes padded(std::string_view text, std::size_t size) {
  Bytes field(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), size)));
  field.resize(size);
  return field;
}

// Keeps the status of a command's reply.
class StatusOutlet final : public Outlet {
 public:
  void send(int, ByteView payload, TimePoint) override { status = payload.empty() ? status::kParser : payload[0]; }
  std::size_t room() const override { return 0; }
  int status = status::kParser;
};

}  // namespace

Bytes BroadcastFirmware::deviceInfo() const {
  const Addresses& addresses = board_.addresses;
  return payload(u8(kAnswer), Bytes(addresses.mac.begin(), addresses.mac.end()), u32(addresses.ip), u32(addresses.mask),
                 padded(board_.serial, 8), padded(kVersion, 16), padded(board_.driver_name, 32),
                 padded(board_.alias, 64));
}

std::optional<Bytes> BroadcastFirmware::answer(const Frame& request, std::optional<int> forced_status, TimePoint now) {
  static constexpr Order kOrders[] = {
      {CHECK_MAC_AND_SET_IP, 8, SET_IP}, {CHECK_MAC_AND_REBOOT, 0, REBOOT}, {NETCOM_CHECK_MAC_RINGING, 0, 0}};
  const ByteView bytes = request.payload;
  if (bytes.empty() || bytes[0] != kRequest) {
    return std::nullopt;
  }
  if (request.code == GET_DEVICE_INFO) {
    return bytes.size() == 1 ? std::optional(deviceInfo()) : std::nullopt;
  }
  const auto* const order =
      std::find_if(std::begin(kOrders), std::end(kOrders), [&](const Order& row) { return row.code == request.code; });
  if (order == std::end(kOrders) || bytes.size() != kOrderAt + order->length ||
      !std::equal(board_.addresses.mac.begin(), board_.addresses.mac.end(), bytes.begin() + kMacAt)) {
    return std::nullopt;
  }
  const int status = run(*order, bytes.subspan(kOrderAt), forced_status, now);
  return payload(u8(kAnswer), Bytes(bytes.begin() + kMacAt, bytes.end()), u8(status));
}

int BroadcastFirmware::run(const Order& order, ByteView payload, std::optional<int> forced_status, TimePoint now) {
  if (order.command != 0) {
    StatusOutlet reply;
    commands_.handle({order.command, payload, reply, now}, forced_status);
    return reply.status;
  }
  if (forced_status.value_or(status::kOk) == status::kOk) {
    ++board_.rings;
  }
  return forced_status.value_or(status::kOk);
}

}  // namespace qvx::bench
