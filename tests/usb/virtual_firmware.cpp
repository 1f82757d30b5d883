#include "tests/usb/virtual_firmware.h"

#include "virtual/options.h"

#include <algorithm>
#include <utility>

namespace qvx::test {
namespace {

constexpr std::size_t kPiece = 16 * bench::UsbFunction::kPacketSize;

bench::DeviceSetup setupOf(const std::string& serial, const std::vector<std::string>& options) {
  std::vector<const char*> arguments{"qvx-virtual", "--usbip"};
  for (const std::string& option : options) {
    arguments.push_back(option.c_str());
  }
  auto setup = bench::parseOptions(static_cast<int>(arguments.size()), arguments.data()).devices.at(0);
  setup.serial = serial;
  return setup;
}

}  // namespace

VirtualFirmware::VirtualFirmware(const std::string& serial, const std::vector<std::string>& options, Road road)
    : road_(std::move(road)),
      device_(setupOf(serial, options), bench::steady_clock::now()),
      session_(device_, log_, serial),
      function_(device_.board()),
      thread_([this] { run(); }) {}

VirtualFirmware::~VirtualFirmware() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void VirtualFirmware::take(ByteView bytes) {
  const std::lock_guard lock(mutex_);
  input_.insert(input_.end(), bytes.begin(), bytes.end());
  told_ = true;
  changed_.notify_all();
}

void VirtualFirmware::look() {
  take({});
}

std::optional<Bytes> VirtualFirmware::control(const bench::UsbSetup& setup) {
  const std::lock_guard lock(mutex_);
  return function_.control(setup);
}

void VirtualFirmware::run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const Bytes input = std::exchange(input_, {});
    told_ = false;
    lock.unlock();
    const auto now = bench::steady_clock::now();
    session_.receive(input, now);
    device_.tick(now);
    session_.advance(now);
    while (!session_.output().empty() && road_.has_room()) {
      const ByteView all = session_.output();
      const ByteView output = all.first(std::min(all.size(), kPiece));
      road_.send(output);
      session_.written(output.size());
    }
    const bool over = device_.rebootPending() || session_.resetDue();
    if (over) {
      road_.unplug();
    }
    const auto due = over ? bench::kNever : std::min(session_.due(), device_.due(now));
    lock.lock();
    const auto awaited = [&] { return stopping_ || told_; };
    if (due == bench::kNever) {
      changed_.wait(lock, awaited);
    } else {
      changed_.wait_until(lock, due, awaited);
    }
  }
}

}  // namespace qvx::test
