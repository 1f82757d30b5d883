// A device of the virtual bench, without a road: what it answers over its control endpoint and its bulk endpoints.
#pragma once

#include "virtual/session.h"
#include "virtual/usb_function.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx::test {

// Runs on a thread of its own, so that streams and delays have their time. Any thread may call what is public.
class VirtualFirmware {
 public:
  struct Road {
    std::function<void(ByteView)> send;
    std::function<bool()> has_room;  // to be told of by look() when it comes
    std::function<void()> unplug;    // the device reboots, or is to fail
  };
  // `options` are those of qvx-virtual. The road is used from the thread, with nothing locked.
  VirtualFirmware(const std::string& serial, const std::vector<std::string>& options, Road road);
  ~VirtualFirmware();
  VirtualFirmware(const VirtualFirmware&) = delete;
  VirtualFirmware& operator=(const VirtualFirmware&) = delete;

  void take(ByteView bytes);
  void look();
  // A control transfer that asks for data; nothing where the device stalls.
  std::optional<Bytes> control(const bench::UsbSetup& setup);

 private:
  void run();

  const Road road_;
  const bench::Log log_{bench::LogLevel::Quiet};
  bench::Device device_;
  bench::Session session_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bench::UsbFunction function_;
  Bytes input_;
  bool told_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace qvx::test
