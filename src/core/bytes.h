// Big-endian bytes: the only way payloads are written and read.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace qvx {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

namespace detail {
template <std::size_t Width>
struct UnsignedOf;
template <>
struct UnsignedOf<1> {
  using type = std::uint8_t;
};
template <>
struct UnsignedOf<2> {
  using type = std::uint16_t;
};
template <>
struct UnsignedOf<4> {
  using type = std::uint32_t;
};
template <>
struct UnsignedOf<8> {
  using type = std::uint64_t;
};
}  // namespace detail

// A number that travels: fixed-width integer, binary32 or binary64.
template <class T>
concept WireNumber = std::integral<T> || std::floating_point<T>;

// Appends `value`, most significant byte first; signed integers are two's complement, reals IEEE 754.
template <WireNumber T>
void appendBig(Bytes& out, T value) {
  const auto bits = std::bit_cast<typename detail::UnsignedOf<sizeof(T)>::type>(value);
  for (std::size_t shift = sizeof(T) * 8; shift != 0; shift -= 8) {
    out.push_back(static_cast<std::uint8_t>(bits >> (shift - 8)));
  }
}

// Reads a number at `offset`. Throws std::out_of_range when the bytes end before it does.
template <WireNumber T>
T readBig(ByteView bytes, std::size_t offset = 0) {
  if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) {
    throw std::out_of_range("readBig");
  }
  using Bits = typename detail::UnsignedOf<sizeof(T)>::type;
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bits = (bits << 8) | bytes[offset + i];
  }
  return std::bit_cast<T>(static_cast<Bits>(bits));
}

// The payload of a command, field by field: payload(u8(port), f32(rate)).
struct u8 {
  std::uint8_t value;
  explicit constexpr u8(std::integral auto v) : value(static_cast<std::uint8_t>(v)) {}
};
struct u16 {
  std::uint16_t value;
  explicit constexpr u16(std::integral auto v) : value(static_cast<std::uint16_t>(v)) {}
};
struct u32 {
  std::uint32_t value;
  explicit constexpr u32(std::integral auto v) : value(static_cast<std::uint32_t>(v)) {}
};
struct f32 {
  float value;
  explicit constexpr f32(double v) : value(static_cast<float>(v)) {}
};

inline void appendField(Bytes& out, const Bytes& field) {
  out.insert(out.end(), field.begin(), field.end());
}
template <class Field>
void appendField(Bytes& out, const Field& field) {
  appendBig(out, field.value);
}

template <class... Fields>
Bytes payload(const Fields&... fields) {
  Bytes out;
  (appendField(out, fields), ...);
  return out;
}

}  // namespace qvx
