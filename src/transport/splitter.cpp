#include "transport/splitter.h"

#include "core/constants.h"

#include <algorithm>
#include <functional>

namespace qvx {
namespace {

constexpr int kLastTwoBytePrefix = 48;  // a code byte up to here is the high byte of a two-byte code
constexpr std::size_t kKeptCapacity = 1 << 20;
// From a start byte to the end bytes of the longest frame, these included.
constexpr std::size_t kLongestFrame = CMD_INDEX_2 + 32767 + 2;

}  // namespace

void FrameSplitter::append(ByteView bytes) {
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
}

void FrameSplitter::setStream(ByteView bytes) {
  buffer_.assign(bytes.begin(), bytes.end());
  head_ = 0;
  rescan();
}

void FrameSplitter::setLastIndex(std::size_t index) {
  last_index_ = index;
  rescan();
}

std::vector<Frame> FrameSplitter::split() {
  std::vector<Frame> frames;
  while (scanned_ < stream().size()) {
    const std::size_t at = scanned_++;
    const ByteView bytes = stream();
    if (at >= 2 && bytes[at - 2] == CMD_STX_2) {
      claimEnd(at - 2);
    }
    if (at < 1 || bytes[at] != CMD_LF_2 || bytes[at - 1] != CMD_CR_2 || at - 1 < last_index_) {
      continue;
    }
    const std::size_t end = at - 1;
    if (const auto start = startOfFrame(end)) {
      frames.push_back(cutFrame(*start, end));
      consume(end + 2);
    } else {
      last_index_ = end + 1;
    }
  }
  if (stream().size() > kHopeless) {
    dropHopeless();
  }
  compact();
  return frames;
}

// The whole stream has been looked at, so a frame that is still to end begins at its last kLongestFrame bytes at most.
void FrameSplitter::dropHopeless() {
  const std::size_t count = stream().size() - kLongestFrame;
  std::erase_if(claims_, [count](const Claim& claim) { return claim.start < count; });
  for (Claim& claim : claims_) {
    claim.end -= count;
    claim.start -= count;
  }
  std::ranges::make_heap(claims_, std::greater<>());
  head_ += count;
  scanned_ -= count;
  last_index_ -= std::min(last_index_, count);
}

// Called when the two length bytes behind `start` have arrived.
void FrameSplitter::claimEnd(std::size_t start) {
  const auto length = readBig<std::int16_t>(stream(), start + 1);
  if (length < 0) {
    return;
  }
  dropClaimsBefore(start + 1);  // these length bytes may yet be a CR LF; drops here bound the claims where none comes
  claims_.push_back({start + CMD_INDEX_2 + static_cast<std::size_t>(length), start});
  std::ranges::push_heap(claims_, std::greater<>());
}

std::optional<std::size_t> FrameSplitter::startOfFrame(std::size_t end) {
  dropClaimsBefore(end);
  if (claims_.empty() || claims_.front().end != end) {
    return std::nullopt;
  }
  return claims_.front().start;
}

// Positions pass in rising order, so a claim on an earlier one is never asked for again.
void FrameSplitter::dropClaimsBefore(std::size_t end) {
  while (!claims_.empty() && claims_.front().end < end) {
    std::ranges::pop_heap(claims_, std::greater<>());
    claims_.pop_back();
  }
}

// The code is read without regard to the length, so that of an empty frame is made of CR and LF, and a two-byte code in
// a frame of length 1 ends with CR.
Frame FrameSplitter::cutFrame(std::size_t start, std::size_t end) const {
  const ByteView bytes = stream();
  const std::size_t code_at = start + CMD_INDEX_2;
  const bool one_byte = bytes[code_at] > kLastTwoBytePrefix;
  const std::size_t payload_at = std::min(code_at + (one_byte ? 1 : 2), end);
  const ByteView data = bytes.subspan(payload_at, end - payload_at);
  return {one_byte ? bytes[code_at] : readBig<std::uint16_t>(bytes, code_at), Bytes(data.begin(), data.end())};
}

void FrameSplitter::consume(std::size_t count) {
  head_ += count;
  last_index_ = 0;
  rescan();
}

void FrameSplitter::rescan() {
  scanned_ = 0;
  claims_.clear();
}

// Moves the rest to the front when it is no longer than what was consumed, so that each byte is moved once on average.
void FrameSplitter::compact() {
  if (head_ < stream().size()) {
    return;
  }
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(head_));
  head_ = 0;
  if (buffer_.capacity() > kKeptCapacity && buffer_.size() < buffer_.capacity() / 4) {
    buffer_.shrink_to_fit();
  }
}

}  // namespace qvx
