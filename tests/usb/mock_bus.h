// A USB bus in the test process: umockdev shows devices of the virtual bench to libusb, and this answers what libusb
// asks of the kernel.
#pragma once

#include "core/bytes.h"
#include "tests/usb/virtual_firmware.h"

#include <umockdev.h>

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qvx::test {

struct DeviceSetup {
  std::string serial = "QVX0001";
  std::vector<std::string> options{"--model=CordlogF1AD"};  // of qvx-virtual
  std::uint16_t vendor = 0x0483;
  std::uint16_t product_id = 0x5750;
  bool driver_bound = false;  // a kernel driver has the interface
};

// One device on the bus: the kernel's side of usbfs for it, and its endpoints. Any thread may call what is public.
//
// The node that libusb polls is a pipe that has room for nothing while there is nothing to reap, so that its threads
// sleep as they do on the real thing.
class MockDevice {
 public:
  // Takes what came in one OUT transfer; returns the packets that the device then sends.
  using Firmware = std::function<std::vector<Bytes>(ByteView bytes)>;

  MockDevice(UMockdevTestbed* testbed, int address, const DeviceSetup& setup);
  ~MockDevice();
  MockDevice(const MockDevice&) = delete;
  MockDevice& operator=(const MockDevice&) = delete;

  // In the place of the bench's. Called by one thread, with nothing locked.
  void setFirmware(Firmware firmware);
  // Sends one packet of at most 64 bytes.
  void sendPacket(const Bytes& packet);
  // Sends bytes in packets of 64.
  void send(ByteView bytes);
  // While false, OUT transfers stay in flight.
  void takeFrames(bool take);
  void unplug();

  int transfersWaiting() const;   // IN transfers in flight
  int interfacesClaimed() const;  // by all who have it open
  int timesOpen() const;
  bool driverBound() const;
  int driverDetached() const;                             // how often
  std::vector<Bytes> takeReceived();                      // what OUT transfers brought
  const std::string& node() const { return node_path_; }  // where the test bed keeps the device's node

 private:
  struct Urb {
    UMockdevIoctlData* data = nullptr;
    UMockdevIoctlData* buffer = nullptr;
    std::uint8_t type = 0;
    std::uint8_t endpoint = 0;
    Bytes bytes;  // going either way
    std::size_t length = 0;
    int status = 0;
  };
  struct Open {
    std::deque<Urb> in;
    std::deque<Urb> out;
    std::deque<Urb> finished;
    bool claimed = false;
  };
  struct Answer {
    long result;
    int error;
  };

  static gboolean onIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self);
  static void onVanished(gpointer self, GObject* client);
  Answer answer(UMockdevIoctlClient* client, std::vector<Bytes>& taken);
  Answer submit(Open& open, UMockdevIoctlData* arg, std::vector<Bytes>& taken);
  Answer reap(Open& open, UMockdevIoctlData* arg);
  Answer discard(Open& open, UMockdevIoctlData* arg);
  int control(Urb& urb);  // returns its status
  // What follows is called under the mutex.
  void deliver();
  void finish(Open& open, Urb urb, int status);
  void showReady();
  static void free(Urb& urb);

  UMockdevTestbed* const testbed_;
  const DeviceSetup setup_;
  std::unique_ptr<VirtualFirmware> virtual_;
  UMockdevIoctlBase* handler_ = nullptr;
  std::string device_node_;
  std::string node_path_;
  std::string syspath_;
  int pipe_ = -1;

  mutable std::mutex mutex_;  // guards what follows
  std::map<GObject*, Open> opens_;
  std::deque<Bytes> packets_;  // sent, and not yet in a transfer
  std::vector<Bytes> received_;
  Firmware firmware_;
  bool taking_ = true;
  bool gone_ = false;
  bool ready_ = true;
  bool driver_bound_;
  int driver_detached_ = 0;
};

// Throws where umockdev is not preloaded, for libusb would look at the machine's own bus then.
class MockBus {
 public:
  MockBus();
  ~MockBus();
  MockBus(const MockBus&) = delete;
  MockBus& operator=(const MockBus&) = delete;
  // The device lives as long as the bus, also unplugged,
  MockDevice& plug(const DeviceSetup& setup = {});
  // or until nobody has it open any more and this is called.
  void forget(const MockDevice& device);

 private:
  UMockdevTestbed* testbed_;
  std::list<MockDevice> devices_;
  int next_address_ = 5;
};

}  // namespace qvx::test
