#include "virtual/frame_reader.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

constexpr std::size_t kFraming = 5;            // start byte, length, two end bytes
constexpr std::uint8_t kHighestHighByte = 47;  // 48 is OPEN_CAN

}  // namespace

void FrameReader::feed(ByteView bytes, TimePoint now) {
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  last_byte_ = now;
}

std::optional<Frame> FrameReader::next(TimePoint now) {
  const bool patient = now - last_byte_ < kPatience;
  while (head_ < buffer_.size()) {
    const auto start = std::find(buffer_.begin() + static_cast<std::ptrdiff_t>(head_), buffer_.end(), CMD_STX);
    head_ = static_cast<std::size_t>(start - buffer_.begin());
    const ByteView rest = ByteView(buffer_).subspan(head_);
    const std::size_t length = rest.size() >= CMD_INDEX ? readBig<std::uint16_t>(rest, 1) : 1;
    if (rest.empty() || length == 0) {
      head_ += rest.empty() ? 0 : 1;
      continue;
    }
    if (rest.size() < length + kFraming) {
      if (patient) {
        break;
      }
      ++head_;
      continue;
    }
    if (rest[CMD_INDEX + length] != CMD_CR || rest[CMD_INDEX + length + 1] != CMD_LF) {
      ++head_;
      continue;
    }
    head_ += length + kFraming;
    const ByteView body = rest.subspan(CMD_INDEX, length);
    const std::size_t width = body[0] > kHighestHighByte ? 1 : 2;
    if (length < width) {
      continue;  // the first half of a two-byte code: nothing to answer
    }
    const int code = width == 1 ? body[0] : readBig<std::uint16_t>(body);
    return Frame{code, Bytes(body.begin() + static_cast<std::ptrdiff_t>(width), body.end())};
  }
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(head_));
  head_ = 0;
  return std::nullopt;
}

}  // namespace qvx::bench
