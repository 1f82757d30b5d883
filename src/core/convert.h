// Conversions between what callers pass and what travels, under their published names. Numbers themselves go through
// core/bytes.h. Pure functions, any thread.
#pragma once

#include "core/bytes.h"
#include "core/errors.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qvx {

double convertDegToRad(double degrees);
double convertRadToDeg(double radians);

// A real as an integer of the wire, truncated toward zero. What does not fit, NaN and infinities raise
// InputDataNotInRangeError.
template <std::integral T>
T truncateTo(double value) {
  using Limits = std::numeric_limits<T>;
  const double whole = std::trunc(value);
  // 2 to the number of value bits: exact as a double, unlike max() of the 64-bit types.
  const double above = std::ldexp(1.0, Limits::digits);
  if (!(whole >= static_cast<double>(Limits::min()) && whole < above)) {
    fail(ErrorId::InputDataNotInRangeError);
  }
  return static_cast<T>(whole);
}

// A text field of a reply: the bytes before the first NUL. That they are UTF-8 is not checked.
std::string convertU8ListToStr(ByteView bytes);
// The code points of a UTF-8 text. Text that is not UTF-8 raises InputDataNotInRangeError.
std::vector<std::uint32_t> convertStrToU8List(std::string_view text);

// The four octets in written order. Accepts what inet_aton accepts ("10.1" is 10.0.0.1); anything else raises
// InputDataNotInRangeError.
std::array<std::uint8_t, 4> convertIPAddrTo4U8(const std::string& text);
// The parts between colons, each a hexadecimal number (with or without 0x) below 2**63; their number is the caller's
// to check. A malformed part raises InputDataNotInRangeError.
std::vector<std::int64_t> convertMACAddrTo6U8(std::string_view text);

// `width` elements, element i being bit i; bit 0 is the least significant.
std::vector<int> convertIntToBinaryList(std::uint64_t value, int width);
// The number whose bits at these positions are set; an index outside 0..63 raises InputDataNotInRangeError.
std::uint64_t convertIndexListToInt(std::span<const int> indexes);
// Sets bit indexes[i] where values[i], clipped to 0..1, is 1; ends with the shorter list.
std::uint64_t convertIndexAndBinaryListsToInt(std::span<const int> indexes, std::span<const int> values);

}  // namespace qvx
