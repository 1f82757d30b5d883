#include "core/frame.h"

#include "core/constants.h"
#include "core/errors.h"

#include <string>

namespace qvx {

Bytes buildFrame(int code, ByteView payload) {
  if (code < 0 || code > 0xFFFF) {
    fail(ErrorId::InputDataNotInRangeError, "command code " + std::to_string(code) + " is not in 0..65535");
  }
  const std::size_t code_width = code < 256 ? 1 : 2;
  const std::size_t length = code_width + payload.size();
  if (length > 0xFFFF) {
    fail(ErrorId::InputDataNotInRangeError, "a payload of " + std::to_string(payload.size()) +
                                                " bytes does not fit a frame (at most " +
                                                std::to_string(0xFFFF - code_width) + ")");
  }
  Bytes frame;
  frame.reserve(length + 5);
  frame.push_back(CMD_STX);
  appendBig(frame, static_cast<std::uint16_t>(length));
  if (code_width == 1) {
    frame.push_back(static_cast<std::uint8_t>(code));
  } else {
    appendBig(frame, static_cast<std::uint16_t>(code));
  }
  frame.insert(frame.end(), payload.begin(), payload.end());
  frame.push_back(CMD_CR);
  frame.push_back(CMD_LF);
  return frame;
}

}  // namespace qvx
