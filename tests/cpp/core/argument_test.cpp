#include "core/argument.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace qvx {
namespace {

using Items = std::vector<Argument>;

// Which class a check raises, and that its text names what it should.
void expectFailure(const std::function<void()>& check, ErrorId id, const std::string& text) {
  try {
    check();
    ADD_FAILURE() << "nothing raised: " << text;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.id(), id) << failure.what();
    EXPECT_NE(std::string(failure.what()).find(text), std::string::npos) << failure.what();
  }
}

TEST(Argument, ShowsValues) {
  EXPECT_EQ(Argument().show(), "None");
  EXPECT_EQ(Argument(-3).show(), "-3");
  EXPECT_EQ(Argument::intOf(1, "bool").show() + Argument::intOf(1, "Color").show(), "True1");
  EXPECT_EQ(Argument(1.0).show(), "1.0");
  EXPECT_EQ(Argument(0.1).show(), "0.1");
  EXPECT_EQ(Argument(1e300).show(), "1e+300");
  EXPECT_EQ(Argument(-INFINITY).show(), "-inf");
  EXPECT_EQ(Argument("x").show(), "'x'");
  EXPECT_EQ(Argument(Items{1, "a", Items{2.5}}).show(), "[1, 'a', [2.5]]");
  EXPECT_EQ(Argument(Items(100, 7)).show(), "[7, 7, 7, 7, 7, 7, 7, 7, ...]");
  EXPECT_EQ(Argument::numbers({{.real = 0.5}, {.integer = 3, .is_int = true}}).show(), "[0.5, 3]");
  EXPECT_EQ(Argument::data(Bytes{0, 255}).show(), "b'\\x00\\xff'");
  EXPECT_EQ(Argument::data(Bytes(9)).show().size(), 2 + 8 * 4 + 4);
  // 59 letters and a two-byte character across the limit.
  EXPECT_EQ(Argument(std::string(59, 'a') + "\xC3\xA9z").show(), "'" + std::string(59, 'a') + "...'");
}

TEST(Argument, WrongTypesAreNamed) {
  constexpr auto kType = ErrorId::InputTypeNotCorrectError;
  expectFailure([] { checkedInt(1.0, "port"); }, kType, "(port: 1.0 is of type float, not int)");
  expectFailure([] { checkedInt({}, "port"); }, kType, "None is of type NoneType");
  expectFailure([] { checkedInt(Argument::other("int16"), "port"); }, kType, "of type int16, not int");
  expectFailure([] { checkedRange("1", "mode", 0, 2); }, kType, "mode: '1'");
  expectFailure([] { checkedNumber("1", "rate"); }, kType, "rate: '1' is of type str, not int or float");
  expectFailure([] { checkedText(1, "alias"); }, kType, "alias: 1 is of type int, not str");
  expectFailure([] { checkedByteList(1, "data"); }, kType, "not list");
  expectFailure([] { checkedByteList(Items{0, 1.5}, "data"); }, kType, "(data[1]: 1.5 is of type float");
  expectFailure([] { checkedTimeout("3"); }, kType, "timeout");
  const Argument data = Argument::data(Bytes{1});
  expectFailure([&] { checkedList(data, "pin"); }, kType, "b'\\x01' is of type bytes, not list");
  expectFailure([] { checkedText(Argument::data(Bytes{65}), "alias"); }, kType, "of type bytes, not str");
}

TEST(Argument, RangesHoldAtTheirEnds) {
  EXPECT_EQ(checkedRange(0, "mode", 0, 2), 0);
  EXPECT_EQ(checkedRange(2, "mode", 0, 2), 2);
  for (const Argument& value : {Argument(-1), Argument(3), Argument::hugeInt(true), Argument::hugeInt(false)}) {
    expectFailure([&] { checkedRange(value, "mode", 0, 2, ErrorId::AIModeNotAvaliableError); },
                  ErrorId::AIModeNotAvaliableError,
                  "The AI mode is not valid or is not recognized. (mode: " + value.show() + " is not in 0..2)");
  }
  const std::map<int, char> ports{{0, 'a'}, {3, 'b'}};
  EXPECT_EQ(checkedKey(3, "port", ports, ErrorId::AIPortNotAvaliableError), 3);
  for (const Argument& value : {Argument(1), Argument(std::int64_t{1} << 32), Argument::hugeInt(true)}) {
    expectFailure([&] { checkedKey(value, "port", ports, ErrorId::AIPortNotAvaliableError); },
                  ErrorId::AIPortNotAvaliableError, "(port: " + value.show() + " is not in [0, 3])");
  }
  EXPECT_EQ(checkedU32(std::int64_t{4294967295}, "number"), 4294967295U);
  EXPECT_EQ(checkedByteList(Items{0, 255}, "data"), (Bytes{0, 255}));
  EXPECT_EQ(checkedByteList(Items{}, "data"), Bytes{});
  EXPECT_EQ(checkedByteList(Argument::data(Bytes{0, 255}), "data"), (Bytes{0, 255}));
  EXPECT_EQ(checkedByteList(Argument::numbers({{.integer = 7, .is_int = true}}), "data"), Bytes{7});
  constexpr auto kRange = ErrorId::InputDataNotInRangeError;
  expectFailure([] { checkedByteList(Items{0, 256}, "data"); }, kRange, "data[1]: 256 is not in 0..255");
  expectFailure([] { checkedByteList(Items{-1}, "data"); }, kRange, "data[0]: -1");
  expectFailure([] { checkedByteList(Items{Argument::hugeInt(false)}, "data"); }, kRange, "above 2**63 - 1");
}

}  // namespace
}  // namespace qvx
