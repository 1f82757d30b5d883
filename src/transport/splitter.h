// Cuts whole frames out of a stream of received bytes.
#pragma once

#include "core/bytes.h"
#include "core/frame.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace qvx {

// The frame format has no escape: a start byte and CR LF may stand anywhere in a payload. What makes a frame is that
// the length behind a start byte leads exactly to a CR LF. The rule: take the first CR LF at or after lastIndex(); the
// leftmost start byte whose length (signed, so 0..32767) ends there opens the frame, and everything up to and including
// the CR LF leaves the stream; without such a start byte the CR LF was payload and lastIndex() moves behind it.
//
// Trying every start byte at every CR LF is quadratic, which hostile bytes can exploit. Here every byte is looked at
// once: a start byte claims its end as soon as its length has arrived, and a CR LF asks for the claim on its position.
// At most 32770 claims are pending, because none reaches further ahead, so the cost per byte is bounded.
//
// What is further back than the longest frame can belong to none. When more than kHopeless bytes are waiting, it goes:
// a serial line at the wrong rate would otherwise fill the memory in days, a hostile peer in minutes.
//
// Not synchronized: the owner locks.
class FrameSplitter {
 public:
  static constexpr std::size_t kHopeless = 1 << 20;

  void append(ByteView bytes);
  // The frames that are now whole, in stream order; their bytes and all before them leave the stream.
  std::vector<Frame> split();

  // The bytes not yet consumed.
  ByteView stream() const { return ByteView(buffer_).subspan(head_); }
  // Position in stream() from which the next frame end is searched.
  std::size_t lastIndex() const { return last_index_; }
  // Both setters make the next split() look at the whole stream again; neither touches what the other one sets.
  void setStream(ByteView bytes);
  void setLastIndex(std::size_t index);

 private:
  struct Claim {
    std::size_t end;
    std::size_t start;
    auto operator<=>(const Claim&) const = default;
  };

  void rescan();
  void claimEnd(std::size_t start);
  std::optional<std::size_t> startOfFrame(std::size_t end);
  void dropClaimsBefore(std::size_t end);
  Frame cutFrame(std::size_t start, std::size_t end) const;
  void consume(std::size_t count);
  void dropHopeless();
  void compact();

  Bytes buffer_;
  std::size_t head_ = 0;  // where the stream begins in buffer_
  std::size_t last_index_ = 0;
  // Positions in the stream, like last_index_.
  std::size_t scanned_ = 0;    // bytes before this one have been looked at
  std::vector<Claim> claims_;  // heap, the nearest end on top, of equal ends the leftmost start
};

}  // namespace qvx
