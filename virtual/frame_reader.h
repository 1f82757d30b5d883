// Cuts request frames out of the bytes a client sends.
#pragma once

#include "virtual/clock.h"

#include "core/bytes.h"
#include "core/frame.h"

#include <optional>

namespace qvx::bench {

// Driven by the length field: a start byte whose length is 0, or whose end bytes are missing where the length says, is
// garbage, and the search goes on behind it. Takes time linear in the bytes and holds at most one frame.
//
// A stray start byte may claim bytes that never come and would swallow the requests behind it, so bytes that stay
// incomplete for kPatience without a new one are given up too.
class FrameReader {
 public:
  static constexpr std::chrono::seconds kPatience{1};

  void feed(ByteView bytes, TimePoint now);
  // The next frame, or nothing until more bytes or deadline() have come.
  std::optional<Frame> next(TimePoint now);
  // When an incomplete frame is given up.
  TimePoint deadline() const { return buffer_.empty() ? kNever : last_byte_ + kPatience; }

 private:
  Bytes buffer_;
  std::size_t head_ = 0;  // bytes of buffer_ already consumed
  TimePoint last_byte_;
};

}  // namespace qvx::bench
