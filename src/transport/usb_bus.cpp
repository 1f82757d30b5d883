#include "transport/usb_bus.h"

#include "core/constants.h"
#include "core/errors.h"
#include "core/host.h"
#include "runtime/thread.h"

#include <dlfcn.h>
#include <libusb.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace qvx {
namespace {

constexpr std::string_view kAnySerial = "default";
// A string descriptor is 255 bytes long at most: its length, its type, and units of 16 bits.
constexpr std::size_t kLongestString = 126;

// The devices on the bus when it was looked at, by bus and address: libusb's own order is any.
class Attached {
 public:
  explicit Attached(libusb_context* context) : count_(libusb_get_device_list(context, &devices_)) {
    if (count_ < 0) {
      failUSB(describeUSB(static_cast<int>(count_)));
    }
    std::sort(begin(), end(), [](libusb_device* left, libusb_device* right) {
      return std::pair(libusb_get_bus_number(left), libusb_get_device_address(left)) <
             std::pair(libusb_get_bus_number(right), libusb_get_device_address(right));
    });
  }
  ~Attached() { libusb_free_device_list(devices_, 1); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;
  libusb_device** begin() const { return devices_; }
  libusb_device** end() const { return devices_ + count_; }

 private:
  libusb_device** devices_ = nullptr;
  ssize_t count_;
};

bool isOurs(libusb_device* device) {
  libusb_device_descriptor descriptor{};
  return libusb_get_device_descriptor(device, &descriptor) == 0 && descriptor.idVendor == USB_VID &&
         descriptor.idProduct == USB_PID;
}

// "001/005", as the system's tools name it.
std::string placeOf(libusb_device* device) {
  std::ostringstream text;
  text << std::setfill('0') << std::setw(3) << int{libusb_get_bus_number(device)} << '/' << std::setw(3)
       << int{libusb_get_device_address(device)};
  return text.str();
}

std::string stringOf(libusb_device_handle* handle, std::uint8_t index) {
  std::array<unsigned char, kLongestString + 1> text{};
  const int length = libusb_get_string_descriptor_ascii(handle, index, text.data(), static_cast<int>(text.size()));
  return length > 0 ? std::string(reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(length)) : "";
}

std::string refusal(libusb_device* device, int code) {
  if (code == LIBUSB_ERROR_ACCESS) {
    return "No permission to open the USB device " + placeOf(device) +
           ". Install the udev rule share/udev/60-qvx.rules (copy it to /etc/udev/rules.d/, then run \"udevadm control "
           "--reload\") and plug the device in again.";
  }
  return "The USB device " + placeOf(device) + " cannot be opened: " + describeUSB(code) + ".";
}

// Opens the attached devices one after the other and shows them to `visit`, until that returns true or there are no
// more. Returns why the first that could not be opened could not, "" when all could.
template <class Visit>
std::string visitDevices(libusb_context* context, Visit visit) {
  std::string refused;
  for (libusb_device* device : Attached(context)) {
    if (!isOurs(device)) {
      continue;
    }
    libusb_device_handle* opened = nullptr;
    const int code = libusb_open(device, &opened);
    if (code != 0) {
      refused = refused.empty() ? refusal(device, code) : refused;
      continue;
    }
    libusb_device_descriptor descriptor{};
    libusb_get_device_descriptor(device, &descriptor);
    USBPort port;
    port.handle.reset(opened);
    port.serial = stringOf(opened, descriptor.iSerialNumber);
    port.product = stringOf(opened, descriptor.iProduct);
    port.bus = libusb_get_bus_number(device);
    port.address = libusb_get_device_address(device);
    if (visit(std::move(port))) {
      break;
    }
  }
  return refused;
}

USBContext makeContext() {
  getLibUSB1();
  const SignalsBlocked blocked;  // libusb starts a thread that watches the bus
  libusb_context* made = nullptr;
  const int code = libusb_init(&made);
  if (code != 0) {
    failUSB("This machine's USB cannot be used: " + describeUSB(code) + ".");
  }
  return USBContext(made);
}

void claim(USBPort& port) {
  libusb_device* device = libusb_get_device(port.handle.get());
  libusb_config_descriptor* active = nullptr;
  const int found = libusb_get_active_config_descriptor(device, &active);
  if (found != 0) {
    failUSB("The USB device " + placeOf(device) + " has no active configuration: " + describeUSB(found) + ".");
  }
  const std::unique_ptr<libusb_config_descriptor, decltype(&libusb_free_config_descriptor)> config(
      active, &libusb_free_config_descriptor);
  if (config->bNumInterfaces == 0 || config->interface[0].num_altsetting == 0) {
    failUSB("The USB device " + placeOf(device) + " has no interface.");
  }
  port.configuration = config->bConfigurationValue;
  port.interface = config->interface[0].altsetting[0].bInterfaceNumber;
  port.packet_size = libusb_get_max_packet_size(device, USB_EP_IN);
  if (port.packet_size <= 0) {
    failUSB("The USB device " + placeOf(device) + " has no endpoint 0x81.");
  }
  // A kernel driver on the interface is detached with the claim and attached again with the release.
  libusb_set_auto_detach_kernel_driver(port.handle.get(), 1);
  const int claimed = libusb_claim_interface(port.handle.get(), port.interface);
  if (claimed != 0) {
    failUSB("The USB device " + placeOf(device) +
            (claimed == LIBUSB_ERROR_BUSY ? " is in use by another program or another handle."
                                          : " cannot be claimed: " + describeUSB(claimed) + "."));
  }
}

// Where the file is that this code was loaded from: the module.
std::filesystem::path moduleDirectory() {
  Dl_info info{};
  return dladdr(reinterpret_cast<const void*>(&moduleDirectory), &info) != 0
             ? std::filesystem::path(info.dli_fname).parent_path()
             : std::filesystem::path();
}

}  // namespace

void failUSB(const std::string& reason) {
  fail(ErrorId::USBConnectionError, std::string(errorKind(ErrorId::USBConnectionError).message) + " " + reason);
}

std::string describeUSB(int code) {
  return libusb_strerror(code);
}

bool hasOwnLibUSB(const std::filesystem::path& directory) {
  std::error_code unreadable;
  return std::filesystem::exists(directory / "libusb-1.0.dll", unreadable) ||
         std::filesystem::exists(directory / ".." / "ext_lib" / "libusb-1.0.dll", unreadable);
}

void getLibUSB1() {
  static std::atomic<bool> warned{false};
  if (!warned && !hasOwnLibUSB(moduleDirectory()) && !warned.exchange(true)) {
    host().warn(ErrorId::ExtLibNotFoundWarning);
  }
}

void USBContextEnd::operator()(libusb_context* context) const {
  libusb_exit(context);
}

void USBHandleEnd::operator()(libusb_device_handle* handle) const {
  libusb_close(handle);
}

USBPort openUSB(const std::string& serial_num) {
  if (serial_num.empty() || serial_num.size() > kLongestString || serial_num.find('\0') != std::string::npos) {
    failUSB("A serial number is text of 1 to 126 characters, none of them NUL.");
  }
  USBContext context = makeContext();
  USBPort found;
  const std::string refused = visitDevices(context.get(), [&](USBPort port) {
    if (serial_num != kAnySerial && port.serial != serial_num) {
      return false;
    }
    found = std::move(port);
    return true;
  });
  if (!found.handle) {
    failUSB(!refused.empty()           ? refused
            : serial_num == kAnySerial ? "No device is attached."
                                       : "No device with the serial number \"" + serial_num + "\" is attached.");
  }
  found.context = std::move(context);
  claim(found);
  return found;
}

std::vector<std::pair<std::string, std::string>> listUSB() {
  std::vector<std::pair<std::string, std::string>> devices;
  const USBContext context = makeContext();
  const std::string refused = visitDevices(context.get(), [&](const USBPort& port) {
    devices.emplace_back(port.serial, port.product);
    return false;
  });
  if (devices.empty() && !refused.empty()) {
    failUSB(refused);
  }
  return devices;
}

}  // namespace qvx
