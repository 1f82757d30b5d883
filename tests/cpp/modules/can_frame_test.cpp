#include "modules/bus/can_frame.h"

#include "tests/cpp/protocol/fakes.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

TEST(CANFrame, IdentifiersTravelAsTheyShould) {
  struct Row {
    int id;
    bool extended;
    bool remote;
    std::uint32_t word;
  };
  for (const Row& row :
       {Row{0x7FF, false, false, 0xFFE00000}, Row{0x1FFFFFFF, true, false, 0xFFEBFFFF}, Row{0, false, true, 0x00100000},
        Row{0x123, false, false, 0x24600000}, Row{0, true, false, 0x00080000}, Row{0x40000, true, true, 0x00380000},
        Row{0x3FFFF, true, false, 0x000BFFFF}, Row{0x12345678, true, true, 0x91B85678}}) {
    const CANFrame frame(row.id, List{1, 2, 3}, row.remote, row.extended);
    EXPECT_EQ(frame.word(), row.word) << row.id;
    for (const Bytes& bytes : {frame.bytes(), payload(u32(row.word), u8(3), Bytes{1, 2, 3, 9, 9, 9, 9, 9})}) {
      const CANFrame back = CANFrame::fromBytes(bytes);
      EXPECT_EQ(back.id(), static_cast<std::uint32_t>(row.id));
      EXPECT_EQ(back.extended(), row.extended);
      EXPECT_EQ(back.remote(), row.remote);
      EXPECT_EQ(back, frame);
      EXPECT_EQ(back.hash(), frame.hash());
      EXPECT_EQ(back.data(), (std::array<std::uint8_t, 8>{1, 2, 3}));
      EXPECT_EQ(back.length(), bytes.size() == 13 ? 3 : 8);
    }
  }
}

TEST(CANFrame, EqualMeansTheSameOnTheBus) {
  const auto frame = [](int id, const List& data, bool remote, bool extended) {
    return CANFrame(id, data, remote, extended);
  };
  EXPECT_EQ(frame(5, {1}, false, false), frame(5, {1, 0, 0}, false, false));
  EXPECT_EQ(frame(5, {1}, true, false), frame(5, {2}, true, false));  // a remote frame has no data
  EXPECT_NE(frame(5, {1}, false, false), frame(5, {2}, false, false));
  EXPECT_NE(frame(5, {}, false, false), frame(5, {}, false, true));
  EXPECT_NE(frame(5, {}, false, false), frame(5, {}, true, false));
}

TEST(CANFrame, RefusesWhatNoFrameHas) {
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kLength = "CANDataLengthNotVaildError";
  EXPECT_EQ(failureOf([] { CANFrame(0x20000000, List{}, false, true); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame(-1, List{}, false, true); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame::fromBytes(Bytes(3)); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame::fromBytes(Bytes(14)); }), kLength);
  EXPECT_EQ(CANFrame::fromBytes(payload(u32(0), u8(200), Bytes(8, 7))).length(), 8);
}

}  // namespace
}  // namespace qvx::test
