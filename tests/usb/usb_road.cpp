// The road whose far end is a device on the mock bus.
#include "protocol/usb_device.h"
#include "tests/cpp/links/road.h"
#include "tests/usb/mock_bus.h"
#include "transport/usb.h"

namespace qvx::test {
namespace {

constexpr std::size_t kPacket = 64;

class USBRoad : public Road {
 public:
  Device& device() override { return handle_; }
  Channel& channel() override { return handle_.commandChannel(); }
  ErrorId connectionError() const override { return ErrorId::USBConnectionError; }
  ErrorId lostError() const override { return ErrorId::USBConnectionError; }
  void connect() override {
    MockDevice* const gone = plugged_ ? nullptr : attached_;
    if (!plugged_) {
      attached_ = &bus_.plug();
      attached_->setFirmware([](ByteView) { return std::vector<Bytes>{}; });
      plugged_ = true;
    }
    attached_->takeFrames(true);
    handle_.connect("default");
    attached_->takeReceived();
    if (gone != nullptr) {
      EXPECT_TRUE(eventually([&] { return gone->timesOpen() == 0; }));
      bus_.forget(*gone);
    }
  }
  std::vector<std::function<void()>> hopelessConnects() override {
    return {
        [this] { handle_.connect("none such"); },
        [this] { handle_.connect(""); },
        [this] { handle_.connect(std::string(127, '1')); },
        [this] {
          MockDevice& busy = bus_.plug({.serial = "BUSY"});
          {
            const USBClient other("BUSY");
            EXPECT_EQ(failureOf([&] { handle_.connect("BUSY"); }), "USBConnectionError");
          }
          busy.unplug();
          handle_.connect("BUSY");
        },
    };
  }
  // The mock bus takes 20 ms for each, and more under a sanitizer.
#ifdef NDEBUG
  int manyConnections() override {
    return 1000;
  }
#else
  int manyConnections() override {
    return 100;
  }
#endif
  bool cut(Cut how) override {
    if (how != Cut::Closed) {
      return false;
    }
    attached_->unplug();
    plugged_ = false;
    return true;
  }
  // Packet after packet, each when a read waits for it.
  bool send(ByteView bytes) override {
    while (!bytes.empty()) {
      while (attached_->transfersWaiting() == 0) {
        if (attached_->interfacesClaimed() == 0) {
          return false;
        }
        std::this_thread::yield();
      }
      const ByteView packet = bytes.first(std::min(bytes.size(), kPacket));
      attached_->sendPacket(Bytes(packet.begin(), packet.end()));
      bytes = bytes.subspan(packet.size());
    }
    return true;
  }
  Bytes receive() override {
    std::vector<Bytes> transfers;
    eventually([&] { return !(transfers = attached_->takeReceived()).empty(); });
    Bytes bytes;
    for (const Bytes& transfer : transfers) {
      bytes.insert(bytes.end(), transfer.begin(), transfer.end());
    }
    return bytes;
  }
  void stopTaking() override {
    attached_->takeFrames(false);
  }

 private:
  MockBus bus_;
  MockDevice* attached_ = nullptr;
  std::atomic<bool> plugged_{false};
  USBDevice handle_{ProductId::None, false};
};

}  // namespace

std::vector<RoadChoice> roads() {
  return {{"USB", [] { return std::make_unique<USBRoad>(); }}};
}

}  // namespace qvx::test
