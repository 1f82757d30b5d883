// The radio of a wireless device: which network it is in, and how well it hears it.
//
// The configuration is kept at once and comes into effect when the device restarts.
//
// Operations block (or suspend their coroutine) until the reply is there, at most `timeout` seconds, and may be called
// by any thread. Each raises ReceivePacketTimeoutError, the connection's class, and the class of a firmware status
// other than 0; arguments of a wrong type raise InputTypeNotCorrectError, those out of range InputDataNotInRangeError.
// "Status" results are 0.
#pragma once

#include "core/argument.h"
#include "modules/faces.h"
#include "protocol/link.h"

#include <array>
#include <string>
#include <tuple>

namespace qvx {

// How a network keeps others out, by number.
inline constexpr std::array kWifiSecurities{"Open", "WPA2", "WPA3"};
// What the device is in its network, by number.
inline constexpr std::array kWifiModes{"Station", "AP"};

// (SSID, name of the security, name of the mode)
using WifiSettings = std::tuple<std::string, std::string, std::string>;

// A product gives this module nothing.
struct WifiConfiguration {};

class WifiBased {
 public:
  WifiBased(Link link, WifiConfiguration /*unused*/) : link_(link) {}
  virtual ~WifiBased() = default;

  // 1 to 32 bytes of UTF-8 without control characters.
  static const std::string& _checkWifiSSID(const Argument& ssid);
  // An index of kWifiSecurities.
  static int _checkWifiSecurity(const Argument& security);
  // 8 to 63 printable ASCII characters; none for an open network. No message shows it.
  static const std::string& _checkWifiPassword(const Argument& password, const Argument& security);
  // 20 or 40 MHz.
  static int _checkWifiBandwidth(const Argument& bandwidth);

 protected:
  Link link_;
};

class WifiOperations : public WifiBased {
 public:
  using WifiBased::WifiBased;

  // How strongly the device receives its access point, in dBm. Raises FirmwareCoreError when it is one itself.
  int Wifi_getRSSI(const Argument& timeout);
  // The configuration that is kept. A password can be set but never read.
  WifiSettings Wifi_getConfiguration(const Argument& timeout);
  int Wifi_setConfiguration(const Argument& ssid, const Argument& password, const Argument& security,
                            const Argument& timeout);
  // 1: the device opens a network of this configuration; 0: it joins one.
  int Wifi_setAP(const Argument& enable, const Argument& timeout);
  // Width of the channel in MHz; in effect at once.
  int Wifi_getBandwidth(const Argument& timeout);
  int Wifi_setBandwidth(const Argument& bandwidth, const Argument& timeout);

 private:
  Reply request(int cmd, const Bytes& payload, const Argument& timeout) const;
};

using WifiModule = BlockingFace<WifiOperations>;
using WifiModule_async = CoroutineFace<WifiOperations>;

}  // namespace qvx
