// Finding and opening USB devices, on contexts of libusb that live as long as what was opened on them.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct libusb_context;
struct libusb_device_handle;

namespace qvx {

// Looks for a libusb-1.0.dll that an application brings along, beside the module and in ext_lib beside that directory.
// Where there is none, as on every Linux, the warning ExtLibNotFoundWarning is given, once in a process; the system's
// libusb-1.0 serves in any case. Passes on what the host throws when it turns the warning into an error.
void getLibUSB1();
// Whether one of the two files is there, for a module in `directory`.
bool hasOwnLibUSB(const std::filesystem::path& directory);

// Each opened device has a context of its own. It begins with a fresh look at the bus, so nothing depends on what
// happened to other contexts, and a forked child can open devices while it leaves those of its parent alone.
struct USBContextEnd {
  void operator()(libusb_context* context) const;
};
struct USBHandleEnd {
  void operator()(libusb_device_handle* handle) const;
};
using USBContext = std::unique_ptr<libusb_context, USBContextEnd>;
using USBHandle = std::unique_ptr<libusb_device_handle, USBHandleEnd>;

// An opened device with its first interface claimed. Closing gives the interface back to the kernel's driver from
// which it was taken.
struct USBPort {
  USBContext context;  // ends after the handle
  USBHandle handle;
  std::string serial;   // "" where the device has none
  std::string product;  // likewise
  int bus = 0;
  int address = 0;
  int configuration = 0;  // bConfigurationValue of the active one
  int interface = 0;      // bInterfaceNumber of its first
  int packet_size = 0;    // bytes in the longest packet of the IN endpoint
};

// Opens the first device whose serial number is `serial_num`, of any number for "default". Blocks while devices are
// asked for their strings, up to 1 s for each string of a device that does not answer. Raises USBConnectionError when
// there is none, and when it cannot be opened or claimed, with the reason.
USBPort openUSB(const std::string& serial_num);

// Serial number and product name of every attached device; devices that the user has no right to open are left out.
// Raises USBConnectionError when those are all there are. Blocks as openUSB does.
std::vector<std::pair<std::string, std::string>> listUSB();

[[noreturn]] void failUSB(const std::string& reason);
// What libusb says about one of its codes.
std::string describeUSB(int code);

}  // namespace qvx
