#include "modules/system/network.h"
#include "binding/modules.h"
#include "binding/operations.h"
#include "modules/system/system_analog.h"
#include "modules/system/wifi.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindNetworkModule(py::module_& module) {
  using B = NetworkBased;
  Operations(
      py::class_<B, std::shared_ptr<B>>(module, "NetworkBased", "Checks shared by both forms of the network module."))
      .check("_checkIPAddr", &B::_checkIPAddr, "ip_addr: str",
             "Raises InputDataNotInRangeError unless it is the address of a host in dotted form.")
      .check("_checkSubnetMask", &B::_checkSubnetMask, "subnet_mask: str",
             "Raises InputDataNotInRangeError unless it is 255.0.0.0 to 255.255.255.252, ones before zeros.")
      .check("_checkMACAddr", &B::_checkMACAddr, "mac_addr: str",
             "Raises InputDataNotInRangeError unless it is the address of one device: six pairs of hexadecimal digits "
             "between colons.");

  using M = NetworkOperations;
  Operations ops(py::class_<NetworkModule, B, std::shared_ptr<NetworkModule>>(module, "NetworkModule",
                                                                              "The device's addresses on the network."),
                 py::class_<NetworkModule_async, B, std::shared_ptr<NetworkModule_async>>(
                     module, "NetworkModule_async", "The device's addresses on the network as coroutines."),
                 CoroutineTimeout::Keyword);
  ops.request("Net_getIP", &M::Net_getIP, "", "tuple[str, str]",
              "The IPv4 address and the subnet mask in use, such as (\"192.168.1.20\", \"255.255.255.0\").")
      .request("Net_setIP", &M::Net_setIP, "ip_addr: str, subnet_mask: str", "int",
               "Gives the device an IPv4 address, which it uses from its next restart on (Sys_reboot). Address 1.0.0.0 "
               "to 223.255.255.255 and not the first or the last of its subnet, mask 255.0.0.0 to 255.255.255.252. "
               "Raises InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0.")
      .request("Net_getGateway", &M::Net_getGateway, "", "str", "The gateway in use; \"0.0.0.0\" is none.")
      .request("Net_setGateway", &M::Net_setGateway, "gateway: str", "int",
               "Sets the gateway, used from the next restart on; \"0.0.0.0\" for none. Raises "
               "InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0.")
      .request("Net_getMAC", &M::Net_getMAC, "", "str", "The MAC address in use, such as \"02:51:56:00:00:01\".")
      .request("_Net_setMAC", &M::_Net_setMAC, "mac_addr: str", "int",
               "Writes the MAC address, used from the next restart on. Raises InputTypeNotCorrectError, "
               "InputDataNotInRangeError. Returns 0.");
}

void bindWifiModule(py::module_& module) {
  using B = WifiBased;
  Operations(py::class_<B, std::shared_ptr<B>>(module, "WifiBased", "Checks shared by both forms of the Wi-Fi module."))
      .check("_checkWifiSSID", &B::_checkWifiSSID, "ssid: str",
             "Raises InputDataNotInRangeError unless it is 1 to 32 bytes of UTF-8 without control characters.")
      .check("_checkWifiSecurity", &B::_checkWifiSecurity, "security: int", "0, 1 or 2; else InputDataNotInRangeError.")
      .check("_checkWifiPassword", &B::_checkWifiPassword, "password: str, security: int",
             "Raises InputDataNotInRangeError unless it is 8 to 63 printable ASCII characters, or empty for an open "
             "network.")
      .check("_checkWifiBandwidth", &B::_checkWifiBandwidth, "bandwidth: int",
             "20 or 40; else InputDataNotInRangeError.");

  using M = WifiOperations;
  Operations ops(
      py::class_<WifiModule, B, std::shared_ptr<WifiModule>>(module, "WifiModule", "The radio of a wireless device."),
      py::class_<WifiModule_async, B, std::shared_ptr<WifiModule_async>>(
          module, "WifiModule_async", "The radio of a wireless device as coroutines."),
      CoroutineTimeout::Keyword);
  ops.request("Wifi_getRSSI", &M::Wifi_getRSSI, "", "int",
              "How strongly the device receives its access point, in dBm (-127..0). Raises FirmwareCoreError when the "
              "device is an access point itself.")
      .request("Wifi_getConfiguration", &M::Wifi_getConfiguration, "", "tuple[str, str, str]",
               "The configuration that is kept: SSID, security (\"Open\", \"WPA2\" or \"WPA3\") and mode (\"Station\" "
               "or \"AP\"). The password cannot be read.")
      .request("Wifi_setConfiguration", &M::Wifi_setConfiguration, "ssid: str, password: str, security: int", "int",
               "Sets the network, used from the next restart on (Sys_reboot). SSID 1..32 bytes; security 0 open, 1 "
               "WPA2, 2 WPA3; password 8..63 printable ASCII characters, empty for an open network. Raises "
               "InputTypeNotCorrectError, InputDataNotInRangeError. Returns 0.")
      .request("Wifi_setAP", &M::Wifi_setAP, "enable: int", "int",
               "1: the device opens the configured network as its access point; 0: it joins it. From the next restart "
               "on. Returns 0.")
      .request("Wifi_getBandwidth", &M::Wifi_getBandwidth, "", "int", "The width of the radio channel in MHz.")
      .request("Wifi_setBandwidth", &M::Wifi_setBandwidth, "bandwidth: int", "int",
               "Sets the width of the radio channel, 20 or 40 MHz. Returns 0.");
}

void bindSystemAnalog(py::module_& module) {
  using M = SystemAnalogOperations;
  Operations ops(py::class_<SystemAnalogModule, std::shared_ptr<SystemAnalogModule>>(
                     module, "SystemAnalogModule", "What a wireless device measures of itself."),
                 py::class_<SystemAnalogModule_async, std::shared_ptr<SystemAnalogModule_async>>(
                     module, "SystemAnalogModule_async", "What a wireless device measures of itself as coroutines."),
                 CoroutineTimeout::Keyword);
  ops.request("Wifi_readBattery", &M::Wifi_readBattery, "", "int", "The charge that is left, 0..100 per cent.")
      .request("_Wifi_readAcceleration", &M::_Wifi_readAcceleration, "", "list[float]",
               "Acceleration along x, y and z in m/s^2; at rest and level about [0, 0, 9.81].")
      .request("_Wifi_readThermometer", &M::_Wifi_readThermometer, "", "float",
               "Temperature inside the case in degrees Celsius.");
}

}  // namespace

void bindNetwork(py::module_& module) {
  bindNetworkModule(module);
  bindWifiModule(module);
  bindSystemAnalog(module);
}

}  // namespace qvx::binding
