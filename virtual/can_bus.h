// A CAN bus between virtual devices of one process: arbitration, acknowledgement, bit rates that must agree, and time.
#pragma once

#include "virtual/clock.h"

#include "core/bytes.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace qvx::bench {

// The identifier stands in the word as it does in the protocol: 11 bits at 21, 18 bits at 0, bit 20 remote, bit 19
// extended.
struct BusFrame {
  static constexpr std::uint32_t kRemote = 0x100000;
  static constexpr std::uint32_t kExtended = 0x80000;

  std::uint32_t word = 0;
  std::uint8_t length = 0;
  std::array<std::uint8_t, 8> data{};

  bool extended() const { return (word & kExtended) != 0; }
  bool remote() const { return (word & kRemote) != 0; }
  // The lower one wins the bus.
  std::uint32_t arbitration() const;
  // With the pause behind it, without stuff bits.
  unsigned bits() const;
};

// A station. Times never go back.
class CanNode {
 public:
  virtual ~CanNode() = default;
  // Whether it takes part: sends, acknowledges, receives.
  virtual bool active() const = 0;
  virtual std::uint32_t bitRate() const = 0;
  // What it wants to send next, nullptr for nothing, and from when on.
  virtual const BusFrame* pending() const = 0;
  virtual TimePoint pendingFrom() const = 0;
  // That frame goes out now.
  virtual void begun() = 0;
  // It has been received by all; or not, because somebody disturbed it or nobody was there to acknowledge it.
  virtual void sent() = 0;
  virtual void failed(bool disturbed, TimePoint now) = 0;
  virtual void received(const BusFrame& frame) = 0;
  // It heard a frame that it could not read.
  virtual void disturbed() = 0;
};

// Owned by the devices on it.
class CanBus {
 public:
  // `paced` false: frames take no time. `load`, 0 to 1: the share of the bus that another station fills.
  explicit CanBus(bool paced = true, double load = 0);
  ~CanBus();
  CanBus(const CanBus&) = delete;
  CanBus& operator=(const CanBus&) = delete;
  // A node leaves the bus before it is destroyed.
  void attach(CanNode& node) { nodes_.push_back(&node); }
  void detach(CanNode& node);
  // A node has become active.
  void joined(TimePoint now);
  // A node is no longer active: what it was sending is cut off.
  void silence(const CanNode& node, TimePoint now);

  // Lets everything happen that is due by `now`.
  void advance(TimePoint now);
  TimePoint due() const;

 private:
  // Of those that want to send: the winner and the moment it begins; nullptr when there is none.
  CanNode* next(TimePoint& begin) const;
  void finish(TimePoint now);

  class Traffic;

  const bool paced_;
  std::unique_ptr<Traffic> traffic_;
  std::vector<CanNode*> nodes_;
  CanNode* sender_ = nullptr;
  BusFrame frame_;  // which it sends
  TimePoint end_;   // of that frame, or of the last one
};

}  // namespace qvx::bench
