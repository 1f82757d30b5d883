// The frame on the wire, the same in both directions:
//   offset 0: CMD_STX (2) | 1: length u16 BE = bytes of code and payload | 3: code (1 or 2 bytes) | payload | CMD_CR
//   CMD_LF
#pragma once

#include "core/bytes.h"

namespace qvx {

// A received frame as the splitter delivers it.
struct Frame {
  int code = 0;
  Bytes payload;
  bool operator==(const Frame&) const = default;
};

// Frames `payload` under command `code` (0..65535; below 256 it travels as one byte). Raises
// InputDataNotInRangeError when the code or the length of the frame does not fit its field.
Bytes buildFrame(int code, ByteView payload);

}  // namespace qvx
