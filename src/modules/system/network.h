// The addresses under which a device is on the network.
//
// What is set is kept at once and comes into effect when the device restarts; what is read is what is in effect.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises ReceivePacketTimeoutError, the connection's class, and the class of a firmware status
// other than 0; those that take addresses raise InputTypeNotCorrectError for what is no text and
// InputDataNotInRangeError for text of another form or an address of another kind. "Status" results are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <string>
#include <utility>

namespace qvx {

// A product gives this module nothing.
struct NetworkConfiguration {};

class NetworkBased {
 public:
  NetworkBased(Link link, NetworkConfiguration /*unused*/) : link_(link) {}
  virtual ~NetworkBased() = default;

  // An address that a host can have: 1.0.0.0 to 223.255.255.255.
  static std::uint32_t _checkIPAddr(const Argument& ip_addr);
  // 255.0.0.0 to 255.255.255.252, ones before zeros.
  static std::uint32_t _checkSubnetMask(const Argument& subnet_mask);
  // The address of one device: neither all zero nor of a group.
  static Bytes _checkMACAddr(const Argument& mac_addr);
  // A host's address and its subnet mask as a payload. The first and the last address of a subnet belong to no host.
  static Bytes subnetAddress(const Argument& ip_addr, const Argument& subnet_mask);

 protected:
  Link link_;
};

class NetworkOperations : public NetworkBased {
 public:
  using NetworkBased::NetworkBased;

  // (address, subnet mask)
  std::pair<std::string, std::string> Net_getIP(const Argument& timeout);
  // Refuses the first and the last address of the subnet, which belong to no host.
  int Net_setIP(const Argument& ip_addr, const Argument& subnet_mask, const Argument& timeout);
  // "0.0.0.0": there is none.
  std::string Net_getGateway(const Argument& timeout);
  int Net_setGateway(const Argument& gateway, const Argument& timeout);
  std::string Net_getMAC(const Argument& timeout);
  int _Net_setMAC(const Argument& mac_addr, const Argument& timeout);

 private:
  Reply request(int cmd, const Bytes& payload, const Argument& timeout) const;
};

using NetworkModule = BlockingFace<NetworkOperations>;
using NetworkModule_async = CoroutineFace<NetworkOperations>;

}  // namespace qvx
