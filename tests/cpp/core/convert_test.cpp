#include "core/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace qvx {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <class Call>
void expectOutOfRange(const Call& call, const std::string& what) {
  try {
    call();
    ADD_FAILURE() << "nothing raised: " << what;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.id(), ErrorId::InputDataNotInRangeError) << what;
  }
}

TEST(Convert, RealsTruncateTowardZeroInsideTheTypeOnly) {
  EXPECT_EQ(truncateTo<std::uint16_t>(65535.9), 65535);
  EXPECT_EQ(truncateTo<std::uint16_t>(-0.9), 0);
  EXPECT_EQ(truncateTo<std::int16_t>(-32768.9), -32768);
  EXPECT_EQ(truncateTo<std::int64_t>(-0x1p63), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(truncateTo<std::uint64_t>(std::nextafter(0x1p64, 0)), 0xFFFFFFFFFFFFF800U);
  for (const double value : {65536.0, -1.0, kInfinity, -kInfinity, std::nan("")}) {
    expectOutOfRange([&] { truncateTo<std::uint16_t>(value); }, std::to_string(value));
  }
  // The largest values of the 64-bit types are no doubles: the next double up must be refused.
  expectOutOfRange([] { truncateTo<std::int64_t>(0x1p63); }, "2^63");
  expectOutOfRange([] { truncateTo<std::uint64_t>(0x1p64); }, "2^64");
}

TEST(Convert, TextsBecomeCodePoints) {
  using Points = std::vector<std::uint32_t>;
  EXPECT_EQ(convertStrToU8List("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), (Points{0x41, 0xE9, 0x20AC, 0x1F600}));
  EXPECT_EQ(convertStrToU8List(std::string("a\0b", 3)), (Points{97, 0, 98}));
  // Stray and missing continuation bytes, overlong forms, a surrogate, beyond the last code point.
  for (const char* text :
       {"\x80", "\xC3", "\xC3(", "\xE2\x82", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    expectOutOfRange([&] { convertStrToU8List(text); }, text);
  }
}

TEST(Convert, AddressesKeepTheWrittenOrder) {
  using Octets = std::array<std::uint8_t, 4>;
  EXPECT_EQ(convertIPAddrTo4U8("192.168.1.10"), (Octets{192, 168, 1, 10}));
  EXPECT_EQ(convertIPAddrTo4U8("10.1"), (Octets{10, 0, 0, 1}));
  for (const char* text : {"", "256.0.0.1", "1.2.3.4.5", "host", "1.2.3.-4"}) {
    expectOutOfRange([&] { convertIPAddrTo4U8(text); }, text);
  }
  expectOutOfRange([] { convertIPAddrTo4U8(std::string("1.2.3.4\0x", 9)); }, "NUL inside");
  using Parts = std::vector<std::int64_t>;
  EXPECT_EQ(convertMACAddrTo6U8("00:1A:ff:0x0b:1ff:7"), (Parts{0, 26, 255, 11, 511, 7}));
  for (const char* text : {"", "0:", ":0", "0x:1", "zz:0", "1 :2", "-1:0", "-0", "0x-1", "8000000000000000"}) {
    expectOutOfRange([&] { convertMACAddrTo6U8(text); }, text);
  }
}

}  // namespace
}  // namespace qvx
