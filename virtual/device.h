// One virtual device: a board, its firmware modules and its faults.
#pragma once

#include "virtual/board.h"
#include "virtual/broadcast_firmware.h"
#include "virtual/faults.h"
#include "virtual/models.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qvx::bench {

struct DeviceSetup {
  const ModelRow* model = nullptr;
  std::size_t index = 0;               // among the devices of this bench; makes serial number and seed its own
  std::uint32_t address = 0x7F000001;  // IPv4, host byte order
  std::optional<std::string> serial;   // 8 characters
  std::optional<std::string> alias;
  std::vector<SourceSpec> sources;
  std::vector<Wire> wires;
  std::vector<Attachment> attachments;
  std::uint64_t seed = 0;
  bool unpaced = false;
  FaultOptions faults;
  std::shared_ptr<CanBus> can_bus;  // nullptr: one of its own
  RealTimeClock::Moment clock;      // shown at the start
};

class Device {
 public:
  // Throws std::invalid_argument when a source, a wire or an attachment does not fit the model.
  Device(const DeviceSetup& setup, TimePoint now);

  // Runs a request; the reply goes to `outlet`. Nothing is done any more once a reboot is pending.
  void handle(const Frame& frame, Outlet& outlet, TimePoint now);
  // The payload of its answer to a request that was broadcast, if it answers at all.
  std::optional<Bytes> answerBroadcast(const Frame& frame, TimePoint now);
  void tick(TimePoint now);
  TimePoint due(TimePoint now);
  // `outlet` is about to vanish.
  void forget(const Outlet& outlet);

  // Set by the reboot commands: the transport then ends every connection and reports when the device is back.
  bool rebootPending() const { return reboot_pending_; }
  void rebooted() { reboot_pending_ = false; }

  // Whether another device has given this one something to do since the last call: then its transport must serve it.
  bool takeNews() { return std::exchange(board_.news, false); }

  Faults& faults() { return faults_; }
  const Board& board() const { return board_; }

 private:
  void restartModules();
  // Does what the last command has asked of the device as a whole.
  void takeEffect(TimePoint now);

  Board board_;
  Faults faults_;
  std::vector<std::unique_ptr<Module>> modules_;
  CommandTable commands_;
  BroadcastFirmware broadcasts_;
  bool reboot_pending_ = false;
};

}  // namespace qvx::bench
