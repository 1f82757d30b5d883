#include "tests/usb/mock_bus.h"

#include <fcntl.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace qvx::test {
namespace {

constexpr std::size_t kPacket = 64;
constexpr std::size_t kPacketsWaiting = 64;                 // beyond these the firmware keeps what it has
constexpr std::size_t kSetupSize = bench::UsbSetup::kSize;  // what a control transfer's buffer begins with

// As sysfs has them: of the device, then of its configuration.
Bytes descriptors(VirtualFirmware& firmware, const DeviceSetup& setup) {
  const auto descriptor = [&](std::uint16_t type) {
    return firmware.control({0x80, 6, static_cast<std::uint16_t>(type << 8), 0, 255}).value();
  };
  Bytes device = descriptor(1);
  for (const auto& [at, number] : {std::pair(8, setup.vendor), std::pair(10, setup.product_id)}) {
    device[at] = static_cast<std::uint8_t>(number & 0xFF);
    device[at + 1] = static_cast<std::uint8_t>(number >> 8);
  }
  return payload(device, descriptor(2));
}

template <class T>
T fieldOf(const UMockdevIoctlData* data, std::size_t offset = 0) {
  T value{};
  std::memcpy(&value, data->data + offset, sizeof value);
  return value;
}

// Changes the client's memory; it waits in an ioctl meanwhile.
template <class T>
void setField(UMockdevIoctlData* data, std::size_t offset, T value) {
  umockdev_ioctl_data_update(data, offset, reinterpret_cast<guint8*>(&value), sizeof value);
}

UMockdevIoctlData* pointed(UMockdevIoctlData* data, std::size_t offset, std::size_t size) {
  GError* error = nullptr;
  UMockdevIoctlData* target = umockdev_ioctl_data_resolve(data, offset, size, &error);
  if (target == nullptr) {
    throw std::runtime_error(error != nullptr ? error->message : "an ioctl's argument cannot be read");
  }
  return target;
}

}  // namespace

MockDevice::MockDevice(UMockdevTestbed* testbed, int address, const DeviceSetup& setup)
    : testbed_(testbed), setup_(setup), driver_bound_(setup.driver_bound) {
  virtual_ = std::make_unique<VirtualFirmware>(setup.serial, setup.options,
                                               VirtualFirmware::Road{.send = [this](ByteView bytes) { send(bytes); },
                                                                     .has_room =
                                                                         [this] {
                                                                           const std::lock_guard lock(mutex_);
                                                                           return packets_.size() < kPacketsWaiting;
                                                                         },
                                                                     .unplug = [this] { unplug(); }});
  const std::string number = std::to_string(address);
  std::string digits = std::string(3 - number.size(), '0') + number;
  const std::string name = "1-" + number;
  device_node_ = std::string("/dev/bus/usb/001/") + digits;

  handler_ = umockdev_ioctl_base_new();
  g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(&MockDevice::onIoctl), this);
  GError* error = nullptr;
  if (!umockdev_testbed_attach_ioctl(testbed_, device_node_.c_str(), handler_, &error)) {
    throw std::runtime_error(error->message);
  }
  gchar* root = umockdev_testbed_get_root_dir(testbed_);
  node_path_ = root + device_node_;
  g_free(root);

  std::array<std::string, 8> attributes{
      "busnum", "1\n", "devnum", number + "\n", "speed", "12\n", "bConfigurationValue", "1\n"};
  std::array<std::string, 10> properties{"DEVTYPE", "usb_device", "DEVNAME", device_node_, "BUSNUM",
                                         "001",     "DEVNUM",     digits,    "SUBSYSTEM",  "usb"};
  const auto pointers = [](auto& texts) {
    std::vector<gchar*> list;
    for (std::string& text : texts) {
      list.push_back(text.data());
    }
    list.push_back(nullptr);
    return list;
  };
  gchar* syspath = umockdev_testbed_add_devicev(testbed_, "usb", name.c_str(), nullptr, pointers(attributes).data(),
                                                pointers(properties).data());
  syspath_ = syspath;
  g_free(syspath);
  Bytes binary = descriptors(*virtual_, setup_);
  umockdev_testbed_set_attribute_binary(testbed_, syspath_.c_str(), "descriptors", binary.data(),
                                        static_cast<gint>(binary.size()));

  std::filesystem::create_directories(std::filesystem::path(node_path_).parent_path());
  if (::mkfifo(node_path_.c_str(), 0600) != 0 ||
      (pipe_ = ::open(node_path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) < 0 ||
      ::fcntl(pipe_, F_SETPIPE_SZ, 4096) != 4096) {
    throw std::runtime_error("no pipe for the device's node: " + std::string(std::strerror(errno)));
  }
  const std::lock_guard lock(mutex_);
  showReady();
  firmware_ = [this](ByteView bytes) {
    virtual_->take(bytes);
    return std::vector<Bytes>{};
  };
}

MockDevice::~MockDevice() {
  unplug();
  umockdev_testbed_detach_ioctl(testbed_, device_node_.c_str(), nullptr);
  g_signal_handlers_disconnect_by_data(handler_, this);
  virtual_.reset();
  const std::lock_guard lock(mutex_);
  for (const auto& [client, open] : opens_) {
    g_object_weak_unref(client, &MockDevice::onVanished, this);
  }
  g_object_unref(handler_);
  ::close(pipe_);
}

void MockDevice::setFirmware(Firmware firmware) {
  const std::lock_guard lock(mutex_);
  firmware_ = std::move(firmware);
}

void MockDevice::sendPacket(const Bytes& packet) {
  const std::lock_guard lock(mutex_);
  packets_.push_back(packet);
  deliver();
}

void MockDevice::send(ByteView bytes) {
  const std::lock_guard lock(mutex_);
  for (std::size_t at = 0; at < bytes.size(); at += kPacket) {
    const ByteView part = bytes.subspan(at, std::min(kPacket, bytes.size() - at));
    packets_.emplace_back(part.begin(), part.end());
  }
  deliver();
}

void MockDevice::takeFrames(bool take) {
  const std::lock_guard lock(mutex_);
  taking_ = take;
}

void MockDevice::unplug() {
  {
    const std::lock_guard lock(mutex_);
    if (std::exchange(gone_, true)) {
      return;
    }
    for (auto& [client, open] : opens_) {
      for (auto* queue : {&open.in, &open.out}) {
        for (Urb& urb : std::exchange(*queue, {})) {
          finish(open, std::move(urb), -ESHUTDOWN);
        }
      }
    }
    showReady();
  }
  umockdev_testbed_uevent(testbed_, syspath_.c_str(), "remove");
  umockdev_testbed_remove_device(testbed_, syspath_.c_str());
  ::unlink(node_path_.c_str());
}

int MockDevice::transfersWaiting() const {
  const std::lock_guard lock(mutex_);
  std::size_t count = 0;
  for (const auto& [client, open] : opens_) {
    count += open.in.size();
  }
  return static_cast<int>(count);
}

int MockDevice::interfacesClaimed() const {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(
      std::count_if(opens_.begin(), opens_.end(), [](const auto& entry) { return entry.second.claimed; }));
}

int MockDevice::timesOpen() const {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(opens_.size());
}

bool MockDevice::driverBound() const {
  const std::lock_guard lock(mutex_);
  return driver_bound_;
}

int MockDevice::driverDetached() const {
  const std::lock_guard lock(mutex_);
  return driver_detached_;
}

std::vector<Bytes> MockDevice::takeReceived() {
  const std::lock_guard lock(mutex_);
  return std::exchange(received_, {});
}

gboolean MockDevice::onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
  auto& device = *static_cast<MockDevice*>(self);
  std::vector<Bytes> taken;
  const Answer answer = device.answer(client, taken);
  umockdev_ioctl_client_complete(client, answer.result, answer.error);
  for (const Bytes& bytes : taken) {
    Firmware firmware;
    {
      const std::lock_guard lock(device.mutex_);
      firmware = device.firmware_;
    }
    for (const Bytes& reply : firmware(bytes)) {
      device.send(reply);
    }
  }
  return TRUE;
}

void MockDevice::onVanished(gpointer self, GObject* client) {
  auto& device = *static_cast<MockDevice*>(self);
  const std::lock_guard lock(device.mutex_);
  const auto found = device.opens_.find(client);
  if (found == device.opens_.end()) {
    return;
  }
  for (auto* queue : {&found->second.in, &found->second.out, &found->second.finished}) {
    for (Urb& urb : *queue) {
      free(urb);
    }
  }
  device.opens_.erase(found);
  device.showReady();
}

MockDevice::Answer MockDevice::answer(UMockdevIoctlClient* client, std::vector<Bytes>& taken) {
  const auto request = umockdev_ioctl_client_get_request(client);
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
  const std::lock_guard lock(mutex_);
  const auto [place, opened] = opens_.try_emplace(G_OBJECT(client));
  Open& open = place->second;
  if (opened) {
    // The signal "client-vanished" never comes.
    g_object_weak_ref(G_OBJECT(client), &MockDevice::onVanished, this);
  }
  if (request == USBDEVFS_REAPURBNDELAY) {
    return reap(open, arg);
  }
  if (gone_) {
    return {-1, ENODEV};
  }
  switch (request) {
    case USBDEVFS_GET_CAPABILITIES: {
      UMockdevIoctlData* capabilities = pointed(arg, 0, sizeof(std::uint32_t));
      setField<std::uint32_t>(capabilities, 0, USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_REAP_AFTER_DISCONNECT);
      umockdev_ioctl_data_unref(capabilities);
      return {0, 0};
    }
    case USBDEVFS_DISCONNECT_CLAIM:
      if (std::any_of(opens_.begin(), opens_.end(), [](const auto& entry) { return entry.second.claimed; })) {
        return {-1, EBUSY};
      }
      driver_detached_ += std::exchange(driver_bound_, false) ? 1 : 0;
      open.claimed = true;
      return {0, 0};
    case USBDEVFS_RELEASEINTERFACE:
      open.claimed = false;
      return {0, 0};
    case USBDEVFS_IOCTL:  // the only one that libusb wraps so after a release: let the kernel's driver have it again
      driver_bound_ = setup_.driver_bound;
      return {0, 0};
    case USBDEVFS_SUBMITURB:
      return submit(open, arg, taken);
    case USBDEVFS_DISCARDURB:
      return discard(open, arg);
    default:
      return {-1, ENOTTY};
  }
}

MockDevice::Answer MockDevice::submit(Open& open, UMockdevIoctlData* arg, std::vector<Bytes>& taken) {
  Urb urb;
  urb.data = pointed(arg, 0, sizeof(usbdevfs_urb));
  const auto header = fieldOf<usbdevfs_urb>(urb.data);
  urb.type = header.type;
  urb.endpoint = header.endpoint;
  urb.length = static_cast<std::size_t>(header.buffer_length);
  if (urb.length != 0) {
    urb.buffer = pointed(urb.data, offsetof(usbdevfs_urb, buffer), urb.length);
    urb.bytes.assign(urb.buffer->data, urb.buffer->data + urb.length);
  }
  const bool control_transfer = urb.type == USBDEVFS_URB_TYPE_CONTROL;
  if (!control_transfer && !open.claimed) {
    free(urb);
    return {-1, EINVAL};
  }
  if (control_transfer) {
    const int status = control(urb);
    finish(open, std::move(urb), status);
  } else if (urb.endpoint == 0x81) {
    open.in.push_back(std::move(urb));
    deliver();
  } else if (taking_) {
    received_.push_back(urb.bytes);
    taken.push_back(urb.bytes);
    finish(open, std::move(urb), 0);
  } else {
    open.out.push_back(std::move(urb));
  }
  return {0, 0};
}

int MockDevice::control(Urb& urb) {
  const Bytes setup = std::exchange(urb.bytes, {});
  auto data = setup.size() < kSetupSize ? std::nullopt : virtual_->control(bench::UsbSetup::parse(setup));
  if (!data || data->size() > setup.size() - kSetupSize) {
    return -EPIPE;
  }
  urb.bytes = std::move(*data);
  return 0;
}

MockDevice::Answer MockDevice::reap(Open& open, UMockdevIoctlData* arg) {
  if (open.finished.empty()) {
    return {-1, gone_ ? ENODEV : EAGAIN};
  }
  Urb urb = std::move(open.finished.front());
  open.finished.pop_front();
  const bool control_transfer = urb.type == USBDEVFS_URB_TYPE_CONTROL;
  if ((control_transfer || urb.endpoint == 0x81) && !urb.bytes.empty()) {
    umockdev_ioctl_data_update(urb.buffer, control_transfer ? kSetupSize : 0, urb.bytes.data(),
                               static_cast<gint>(urb.bytes.size()));
  }
  setField<int>(urb.data, offsetof(usbdevfs_urb, status), urb.status);
  setField<int>(urb.data, offsetof(usbdevfs_urb, actual_length), static_cast<int>(urb.bytes.size()));
  UMockdevIoctlData* target = pointed(arg, 0, sizeof(void*));
  umockdev_ioctl_data_set_ptr(target, 0, urb.data);
  umockdev_ioctl_data_unref(target);
  free(urb);
  showReady();
  return {0, 0};
}

MockDevice::Answer MockDevice::discard(Open& open, UMockdevIoctlData* arg) {
  const auto address = fieldOf<gulong>(arg);
  for (auto* queue : {&open.in, &open.out}) {
    const auto found =
        std::find_if(queue->begin(), queue->end(), [&](const Urb& urb) { return urb.data->client_addr == address; });
    if (found != queue->end()) {
      Urb urb = std::move(*found);
      queue->erase(found);
      finish(open, std::move(urb), -ENOENT);
      return {0, 0};
    }
  }
  return {-1, EINVAL};
}

void MockDevice::deliver() {
  for (auto& [client, open] : opens_) {
    while (!open.in.empty() && !packets_.empty()) {
      Urb urb = std::move(open.in.front());
      open.in.pop_front();
      urb.bytes = std::move(packets_.front());
      packets_.pop_front();
      if (packets_.size() + 1 == kPacketsWaiting) {
        virtual_->look();
      }
      const bool too_long = urb.bytes.size() > urb.length;
      finish(open, std::move(urb), too_long ? -EOVERFLOW : 0);
    }
  }
}

void MockDevice::finish(Open& open, Urb urb, int status) {
  urb.status = status;
  if (status != 0) {
    urb.bytes.clear();
  }
  open.finished.push_back(std::move(urb));
  showReady();
}

// Ready is a pipe with room in it, as usbfs is writable while there is something to reap.
void MockDevice::showReady() {
  const bool ready =
      std::any_of(opens_.begin(), opens_.end(), [](const auto& entry) { return !entry.second.finished.empty(); });
  if (std::exchange(ready_, ready) == ready) {
    return;
  }
  char byte = 0;
  const auto done = ready ? ::read(pipe_, &byte, 1) : ::write(pipe_, &byte, 1);
  if (done != 1) {
    throw std::logic_error("the pipe is not what it was left as");
  }
}

void MockDevice::free(Urb& urb) {
  umockdev_ioctl_data_unref(urb.data);
  if (urb.buffer != nullptr) {
    umockdev_ioctl_data_unref(urb.buffer);
  }
}

MockBus::MockBus() : testbed_(umockdev_testbed_new()) {
  if (umockdev_in_mock_environment() == 0) {
    g_object_unref(testbed_);
    throw std::runtime_error("run this under umockdev-wrapper");
  }
}

MockBus::~MockBus() {
  devices_.clear();
  g_object_unref(testbed_);
}

MockDevice& MockBus::plug(const DeviceSetup& setup) {
  return devices_.emplace_back(testbed_, next_address_++, setup);
}

void MockBus::forget(const MockDevice& device) {
  devices_.remove_if([&](const MockDevice& one) { return &one == &device; });
}

}  // namespace qvx::test
