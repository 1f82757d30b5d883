#include "virtual/can_bus.h"

#include <algorithm>
#include <utility>

namespace qvx::bench {

std::uint32_t BusFrame::arbitration() const {
  constexpr std::uint32_t kUpper11 = 0xFFE00000;
  constexpr std::uint32_t kLower18 = 0x3FFFF;
  const std::uint32_t upper = word & kUpper11;
  // In the order on the bus: 11 bits, remote; extended: 11 bits, two ones, 18 bits, remote.
  return extended() ? upper | kRemote | kExtended | (word & kLower18) << 1 | (remote() ? 1 : 0)
                    : upper | (remote() ? kRemote : 0);
}

unsigned BusFrame::bits() const {
  constexpr unsigned kStandard = 47;
  constexpr unsigned kMoreOfExtended = 20;
  return kStandard + (extended() ? kMoreOfExtended : 0) + (remote() ? 0 : 8U * length);
}

// Another station, of which nobody knows but by its frames: it takes part while somebody listens, at that one's bit
// rate, and counts its frames in their data.
class CanBus::Traffic final : public CanNode {
 public:
  Traffic(const CanBus& bus, double load) : bus_(bus), load_(load) {}

  bool active() const override { return listener() != nullptr; }
  std::uint32_t bitRate() const override { return listener()->bitRate(); }
  const BusFrame* pending() const override { return &frame_; }
  TimePoint pendingFrom() const override { return from_; }
  void begun() override {}
  void sent() override {
    schedule(from_);
    for (std::size_t i = frame_.data.size(); i-- > 0 && ++frame_.data[i] == 0;) {
    }
  }
  void failed(bool, TimePoint now) override { schedule(now); }
  void received(const BusFrame&) override {}
  void disturbed() override {}
  // It has been away until now.
  void resume(TimePoint now) { from_ = std::max(from_, now); }

 private:
  const CanNode* listener() const {
    const auto node = std::find_if(bus_.nodes_.begin(), bus_.nodes_.end(),
                                   [this](const CanNode* other) { return other != this && other->active(); });
    return node == bus_.nodes_.end() ? nullptr : *node;
  }
  void schedule(TimePoint last) {
    const std::chrono::duration<double> period(active() ? frame_.bits() / (load_ * bitRate()) : 0);
    from_ = last + std::chrono::ceil<TimePoint::duration>(period);
  }

  const CanBus& bus_;
  const double load_;
  BusFrame frame_{.word = 0x7F0U << 21, .length = 8, .data = {}};
  TimePoint from_;
};

CanBus::CanBus(bool paced, double load) : paced_(paced) {
  if (load > 0) {
    traffic_ = std::make_unique<Traffic>(*this, load);
    attach(*traffic_);
  }
}

CanBus::~CanBus() = default;

void CanBus::detach(CanNode& node) {
  std::erase(nodes_, &node);
  sender_ = sender_ == &node ? nullptr : sender_;
}

void CanBus::joined(TimePoint now) {
  if (traffic_) {
    traffic_->resume(now);
  }
}

void CanBus::silence(const CanNode& node, TimePoint now) {
  if (sender_ == &node) {
    sender_ = nullptr;
    end_ = now;
  }
}

CanNode* CanBus::next(TimePoint& begin) const {
  begin = kNever;
  for (const CanNode* node : nodes_) {
    if (node->active() && node->pending() != nullptr) {
      begin = std::min(begin, std::max(end_, node->pendingFrom()));
    }
  }
  CanNode* winner = nullptr;
  for (CanNode* node : nodes_) {
    if (node->active() && node->pending() != nullptr && node->pendingFrom() <= begin &&
        (winner == nullptr || node->pending()->arbitration() < winner->pending()->arbitration())) {
      winner = node;
    }
  }
  return winner;
}

TimePoint CanBus::due() const {
  if (sender_ != nullptr) {
    return end_;
  }
  TimePoint begin;
  next(begin);
  return begin;
}

void CanBus::advance(TimePoint now) {
  for (;;) {
    if (sender_ != nullptr) {
      if (end_ > now) {
        return;
      }
      finish(end_);
    }
    TimePoint begin;
    CanNode* const winner = next(begin);
    if (winner == nullptr || begin > now) {
      return;
    }
    sender_ = winner;
    frame_ = *winner->pending();
    winner->begun();
    const std::chrono::duration<double> time(paced_ ? static_cast<double>(frame_.bits()) / winner->bitRate() : 0);
    end_ = begin + std::chrono::ceil<TimePoint::duration>(time);
  }
}

void CanBus::finish(TimePoint now) {
  CanNode* const sender = std::exchange(sender_, nullptr);
  bool readable = true;
  std::vector<CanNode*> others;
  for (CanNode* node : nodes_) {
    if (node != sender && node->active()) {
      others.push_back(node);
      readable = readable && node->bitRate() == sender->bitRate();
    }
  }
  if (readable && !others.empty()) {
    for (CanNode* node : others) {
      node->received(frame_);
    }
    sender->sent();
    return;
  }
  for (CanNode* node : others) {
    if (node->bitRate() != sender->bitRate()) {
      node->disturbed();
    }
  }
  sender->failed(!readable, now);
}

}  // namespace qvx::bench
