// Every device on the attached networks at once: who is there, and orders to the one with a given MAC address.
//
// Needs no connection to a device, nor an address in its subnet. Requests are broadcast, and anybody may answer them:
// answers of another form are dropped, and what a record says is what somebody on the network said.
//
// Operations block (or suspend their coroutine) and may be called by any thread, several at a time. Each raises
// NetworkConnectionLostError when the handle does not listen, and NetworkConnectionError when no request can be sent.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qvx {

// What a device says of itself.
struct DeviceRecord {
  std::string model;        // "Ferox-A"
  std::string name;         // its alias
  std::string serial;       // serial number
  std::string ip;           // the address in effect, dotted
  std::string subnet_mask;  // dotted
  std::string mac;          // six pairs of hexadecimal digits between colons
  std::string firmware;     // version
  bool operator==(const DeviceRecord&) const = default;
};

// An answer to GET_DEVICE_INFO, without its first byte. Nothing when it is too short, when the MAC address is not that
// of one device, or when a text is not printable UTF-8.
std::optional<DeviceRecord> decodeDeviceInfo(ByteView answer);

struct BroadcastConfiguration {};

class BroadcastBased {
 public:
  BroadcastBased(Link link, BroadcastConfiguration /*unused*/) : link_(link) {}
  virtual ~BroadcastBased() = default;

 protected:
  Link link_;
};

class BroadcastOperations : public BroadcastBased {
 public:
  using BroadcastBased::BroadcastBased;
  // Told of each device when it is found, on the thread that called the operation or drives the coroutine, with no lock
  // held. What it throws ends the operation and is passed on.
  using Progress = std::function<void(const DeviceRecord&)>;

  // The devices that answer within `timeout` seconds (from 0 up), each once, in the order of their answers; stops as
  // soon as `expected` (0: no number) have answered.
  std::vector<DeviceRecord> Broadcast_findDevices(const Argument& expected, const Argument& timeout,
                                                  const Progress& progress);

  // The following wait for the device's answer, at most `timeout` seconds (from 0 up), and return 0. They raise
  // InputTypeNotCorrectError and InputDataNotInRangeError on a malformed address, ReceivePacketTimeoutError when no
  // such device answers, and the class of a firmware status other than 0.

  // The device keeps the address at once and uses it from its next start on.
  int Broadcast_setIP(const Argument& mac_addr, const Argument& ip_addr, const Argument& subnet_mask,
                      const Argument& timeout);
  int Broadcast_reboot(const Argument& mac_addr, const Argument& timeout);
  // The device makes itself noticed, so that it can be found among others.
  int Broadcast_ring(const Argument& mac_addr, const Argument& timeout);

 private:
  int order(int cmd, const Bytes& request, const Argument& timeout);
};

using BroadcastModule = BlockingFace<BroadcastOperations>;
using BroadcastModule_async = CoroutineFace<BroadcastOperations>;

}  // namespace qvx
