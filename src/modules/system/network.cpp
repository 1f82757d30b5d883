#include "modules/system/network.h"

#include "core/address.h"
#include "core/constants.h"

namespace qvx {
namespace {

constexpr std::uint32_t kNoGateway = 0;

}  // namespace

std::uint32_t NetworkBased::_checkIPAddr(const Argument& ip_addr) {
  const std::uint32_t address = checkedIPv4(ip_addr, "ip_addr");
  if (!isHostAddress(address)) {
    refuseNeeding(ip_addr, "ip_addr", "the address of a host, 1.0.0.0 to 223.255.255.255,");
  }
  return address;
}

std::uint32_t NetworkBased::_checkSubnetMask(const Argument& subnet_mask) {
  const std::uint32_t mask = checkedIPv4(subnet_mask, "subnet_mask");
  if (!isSubnetMask(mask)) {
    refuseNeeding(subnet_mask, "subnet_mask", "255.0.0.0 to 255.255.255.252, ones before zeros,");
  }
  return mask;
}

Bytes NetworkBased::_checkMACAddr(const Argument& mac_addr) {
  Bytes mac = checkedMAC(mac_addr, "mac_addr");
  if (!isDeviceMAC(mac)) {
    refuseNeeding(mac_addr, "mac_addr", "the address of one device (first byte even, not all zero)");
  }
  return mac;
}

Bytes NetworkBased::subnetAddress(const Argument& ip_addr, const Argument& subnet_mask) {
  const std::uint32_t address = _checkIPAddr(ip_addr);
  const std::uint32_t mask = _checkSubnetMask(subnet_mask);
  if (!isHostOfSubnet(address, mask)) {
    refuse(ErrorId::InputDataNotInRangeError, "ip_addr",
           ip_addr.show() + " is the first or the last address of its subnet");
  }
  return payload(u32(address), u32(mask));
}

Reply NetworkOperations::request(int cmd, const Bytes& payload, const Argument& timeout) const {
  return link_.request(cmd, payload, checkedTimeout(timeout));
}

// reply: status, address u32, subnet mask u32
std::pair<std::string, std::string> NetworkOperations::Net_getIP(const Argument& timeout) {
  const Reply reply = request(GET_IP, {}, timeout);
  reply.status(0);
  return {showIPv4(reply.get<std::uint32_t>(1)), showIPv4(reply.get<std::uint32_t>(5))};
}

int NetworkOperations::Net_setIP(const Argument& ip_addr, const Argument& subnet_mask, const Argument& timeout) {
  return request(SET_IP, subnetAddress(ip_addr, subnet_mask), timeout).status(0);
}

std::string NetworkOperations::Net_getGateway(const Argument& timeout) {
  const Reply reply = request(GET_GATEWAY, {}, timeout);
  reply.status(0);
  return showIPv4(reply.get<std::uint32_t>(1));
}

int NetworkOperations::Net_setGateway(const Argument& gateway, const Argument& timeout) {
  const std::uint32_t address = checkedIPv4(gateway, "gateway");
  if (address != kNoGateway && !isHostAddress(address)) {
    refuseNeeding(gateway, "gateway", "0.0.0.0 (none) or the address of a host, 1.0.0.0 to 223.255.255.255,");
  }
  return request(SET_GATEWAY, payload(u32(address)), timeout).status(0);
}

std::string NetworkOperations::Net_getMAC(const Argument& timeout) {
  const Reply reply = request(GET_MAC, {}, timeout);
  reply.status(0);
  return showMAC(reply.field(1, kMacSize));
}

int NetworkOperations::_Net_setMAC(const Argument& mac_addr, const Argument& timeout) {
  return request(SET_MAC, _checkMACAddr(mac_addr), timeout).status(0);
}

}  // namespace qvx
