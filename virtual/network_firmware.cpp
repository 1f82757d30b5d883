#include "virtual/network_firmware.h"

#include "core/address.h"
#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {

void NetworkFirmware::addCommands(CommandTable& table) {
  using F = ReplyForm;
  using N = NetworkFirmware;
  static const CommandRow<NetworkFirmware> kRows[] = {
      {GET_IP, 0, 0, F::Status, &N::ip},           {SET_IP, 8, 8, F::Status, &N::setIp},
      {GET_GATEWAY, 0, 0, F::Status, &N::gateway}, {SET_GATEWAY, 4, 4, F::Status, &N::setGateway},
      {GET_MAC, 0, 0, F::Status, &N::mac},         {SET_MAC, kMacSize, kMacSize, F::Status, &N::setMac},
  };
  table.add<NetworkFirmware>(*this, kRows);
}

void NetworkFirmware::factoryReset() {
  const auto mac = board_.next_addresses.mac;
  board_.next_addresses = delivered_;
  board_.next_addresses.mac = mac;
}

Answer NetworkFirmware::ip(const Request&) {
  return payload(u32(board_.addresses.ip), u32(board_.addresses.mask));
}

Answer NetworkFirmware::setIp(const Request& request) {
  const auto address = readBig<std::uint32_t>(request.payload, 0);
  const auto mask = readBig<std::uint32_t>(request.payload, 4);
  if (!isHostAddress(address) || !isSubnetMask(mask) || !isHostOfSubnet(address, mask)) {
    return status::kTcp;
  }
  board_.next_addresses.ip = address;
  board_.next_addresses.mask = mask;
  return status::kOk;
}

Answer NetworkFirmware::gateway(const Request&) {
  return payload(u32(board_.addresses.gateway));
}

Answer NetworkFirmware::setGateway(const Request& request) {
  const auto address = readBig<std::uint32_t>(request.payload);
  if (address != 0 && !isHostAddress(address)) {
    return status::kTcp;
  }
  board_.next_addresses.gateway = address;
  return status::kOk;
}

Answer NetworkFirmware::mac(const Request&) {
  return Bytes(board_.addresses.mac.begin(), board_.addresses.mac.end());
}

Answer NetworkFirmware::setMac(const Request& request) {
  if (!isDeviceMAC(request.payload)) {
    return status::kTcp;
  }
  std::copy(request.payload.begin(), request.payload.end(), board_.next_addresses.mac.begin());
  return status::kOk;
}

}  // namespace qvx::bench
