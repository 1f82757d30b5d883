#include "tests/cpp/modules/bus_bench.h"

#include <future>

namespace qvx::test {
namespace {

using List = std::vector<Argument>;
using Frames = std::vector<std::string>;

constexpr const char* kRange = "InputDataNotInRangeError";

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
  EXPECT_EQ(frame(5, {1, 255}, false, true).text(),
            "CANFrame(id=5, extended_id=True, remote=False, data=[1, 255, 0, 0, 0, 0, 0, 0])");
}

TEST(CANFrame, RefusesWhatNoFrameHas) {
  EXPECT_EQ(failureOf([] { CANFrame(0x800, List{}, false, false); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame(0x20000000, List{}, false, true); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame(-1, List{}, false, true); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame(1, List(9, 0), false, false); }), "CANDataLengthNotVaildError");
  EXPECT_EQ(failureOf([] { CANFrame(1, List{256}, false, false); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame(1, List{}, 2, false); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame::fromBytes(Bytes(3)); }), kRange);
  EXPECT_EQ(failureOf([] { CANFrame::fromBytes(Bytes(14)); }), "CANDataLengthNotVaildError");
  EXPECT_EQ(CANFrame::fromBytes(payload(u32(0), u8(200), Bytes(8, 7))).length(), 8);
}

TEST(CAN, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_BUS_CALL(can.CAN_start(1, kTimeout)), "02 00 02 31 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can.CAN_stop(1, kTimeout)), "02 00 02 33 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can.CAN_setSpeed(1, 3, kTimeout)), "02 00 03 35 01 03 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can.CAN_write(1, 0x123, List{1, 2, 3}, false, false, kTimeout)),
       "02 00 0E 32 01 24 60 00 00 01 02 03 00 00 00 00 00 0D 0A",
       {1, 0},
       "0",
       1},
      {QVX_BUS_CALL(can.CAN_write(1, 0x1FFFFFFF, List(8, 255), true, true, kTimeout)),
       "02 00 0E 32 01 FF FB FF FF FF FF FF FF FF FF FF FF 0D 0A",
       {1, 0},
       "0",
       1},
      {QVX_BUS_CALL(can.CAN_setRXFilteringOn(1, 1, kTimeout)), "02 00 03 39 01 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can.CAN_setRXFilterOrMask(1, 7, 0x7FF, false, false, kTimeout)),
       "02 00 07 3A 01 07 FF E0 00 00 0D 0A",
       {1, 0},
       "0",
       1},
      {QVX_BUS_CALL(can.CAN_setRXFilterOrMask(1, 0, 0x3FFFF, true, true, kTimeout)),
       "02 00 07 3A 01 00 00 1B FF FF 0D 0A",
       {1, 0},
       "0",
       1},
      {QVX_BUS_CALL(can._CAN_setTXPriority(1, 2, 3, kTimeout)), "02 00 04 37 01 02 03 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can._CAN_setRXRollover(1, 1, kTimeout)), "02 00 03 38 01 01 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can._CAN_setEnableInterrupt(1, 255, kTimeout)), "02 00 03 36 01 FF 0D 0A", {1, 0}, "0", 1},
      {QVX_BUS_CALL(can._CAN_getInterrupts(1, kTimeout)), "02 00 02 3B 01 0D 0A", {1, 0, 1, 2, 3}, "[1,2,3]", 1},
      {QVX_BUS_CALL(can._CAN_getErrors(1, kTimeout)), "02 00 02 3C 01 0D 0A", {1, 0, 96, 255}, "[96,255]", 1},
      {QVX_BUS_CALL(can._CAN_getCounters(1, kTimeout)),
       "02 00 02 3D 01 0D 0A",
       {1, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 255, 255, 255, 255},
       "[1,2,3,4,5,4294967295]",
       1},
  };
  BusBench bench;
  for (const auto& row : rows) {
    check(bench, row);
  }
  bench.replies[GET_CAN_COUNTERS] = Bytes(2 + 4 * 5);
  EXPECT_EQ(failureOf([&] { bench.can._CAN_getCounters(1, kTimeout); }), "FirmwareOtherError");
}

TEST(CAN, RefusesBeforeAnythingIsSent) {
  constexpr const char* kPort = "CANPortNotAvaliableError";
  BusBench bench;
  checkRefusals(
      bench, {
                 {"port 0", QVX_BUS_REFUSAL(can.CAN_open(0, kTimeout)), kPort},
                 {"port 2", QVX_BUS_REFUSAL(can.CAN_start(2, kTimeout)), kPort},
                 {"read", QVX_BUS_REFUSAL(can.CAN_read(2, 1, 0)), kPort},
                 {"speed", QVX_BUS_REFUSAL(can.CAN_setSpeed(1, 4, kTimeout)), "CANSpeedNotVaildError"},
                 {"buffer", QVX_BUS_REFUSAL(can._CAN_setTXPriority(1, 3, 0, kTimeout)), "CANTXNotVaildError"},
                 {"priority", QVX_BUS_REFUSAL(can._CAN_setTXPriority(1, 0, 4, kTimeout)), "CANTXPriorityNotVaildError"},
                 {"9 bytes", QVX_BUS_REFUSAL(can.CAN_write(1, 1, List(9, 0), false, false, kTimeout)),
                  "CANDataLengthNotVaildError"},
                 {"256", QVX_BUS_REFUSAL(can.CAN_write(1, 1, List{256}, false, false, kTimeout)), kRange},
                 {"id", QVX_BUS_REFUSAL(can.CAN_write(1, 0x800, List{}, false, false, kTimeout)), kRange},
                 {"index", QVX_BUS_REFUSAL(can.CAN_setRXFilterOrMask(1, 8, 0, false, false, kTimeout)), kRange},
                 {"on_off", QVX_BUS_REFUSAL(can.CAN_setRXFilteringOn(1, 2, kTimeout)), kRange},
                 {"timeout", QVX_BUS_REFUSAL(can.CAN_close(1, "soon")), "InputTypeNotCorrectError"},
                 {"count", QVX_BUS_REFUSAL(can.CAN_read(1, -2, 0)), kRange},
             });
}

TEST(CAN, OpensWhenItsPinsAreFreeAndStopsBeforeItCloses) {
  BusBench bench;
  // What the splitter makes of a reply to OPEN_CAN with the payload [1, 0].
  bench.replies = {{OPEN_CAN << 8 | 1, {0}}, {STOP_CAN, {1, 0}}, {CLOSE_CAN, {1, 0}}};
  for (const std::uint32_t modes : {0x11711111U, 0x14111111U, 0x11111111U, 0x00320000U}) {
    SCOPED_TRACE(modes);
    bench.replies[GET_PIN_MODE_OF_SLOT] = pinModes(modes);
    const bool free = (modes & 0xFF0000) == 0x110000 || (modes & 0xFF0000) == 0x320000;
    Frames frames{"02 00 02 7F 01 0D 0A"};
    if (free) {
      frames.emplace_back("02 00 02 30 01 0D 0A");
    }
    std::string failure;
    EXPECT_EQ(bench.framesOf([&] { failure = failureOf([&] { bench.can.CAN_open(1, kTimeout); }); }), frames);
    EXPECT_EQ(failure, free ? "" : "CANPortNotAvaliableError");
    EXPECT_EQ(bench.can.canOpenFlag(), free);
    if (free) {
      EXPECT_EQ(bench.framesOf([&] { bench.can.CAN_close(1, kTimeout); }),
                (Frames{"02 00 02 33 01 0D 0A", "02 00 02 34 01 0D 0A"}));
      EXPECT_FALSE(bench.can.canOpenFlag());
    }
  }
  bench.replies[OPEN_CAN << 8 | 1] = {57};
  EXPECT_EQ(failureOf([&] { bench.can.CAN_open(1, kTimeout); }), "FirmwareCANError");
  EXPECT_FALSE(bench.can.canOpenFlag());
}

Bytes records(std::initializer_list<int> ids) {
  Bytes packet{1};
  for (const int id : ids) {
    const Bytes record = payload(u32(static_cast<std::uint32_t>(id) << 21), u8(2), Bytes{7, 8, 0, 0, 0, 0, 0, 0});
    packet.insert(packet.end(), record.begin(), record.end());
  }
  return packet;
}

std::vector<std::uint32_t> idsOf(const std::vector<CANFrame>& frames) {
  std::vector<std::uint32_t> ids;
  for (const CANFrame& frame : frames) {
    ids.push_back(frame.id());
  }
  return ids;
}

TEST(CAN, ReadsFramesInOrder) {
  BusBench bench;
  bench.can.decoder().open();
  bench.device.putToDataPool(START_CAN, {1, 0});  // a reply
  bench.device.putToDataPool(START_CAN, records({1, 2, 3}));
  auto broken = records({4, 5});
  broken.resize(broken.size() - 1);
  bench.device.putToDataPool(START_CAN, broken);
  bench.device.putToDataPool(START_CAN, records({6}));
  const auto frames = bench.can.CAN_read(1, 2, kTimeout);
  EXPECT_EQ(idsOf(frames), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_EQ(frames[0], CANFrame(1, List{7, 8}, false, false));
  EXPECT_EQ(frames[0].length(), 2);
  EXPECT_GT(frames[0].timestamp(), 1.7e9);
  EXPECT_EQ(idsOf(bench.can.CAN_read(1, 3, kTimeout)), (std::vector<std::uint32_t>{3, 4, 6}));
  EXPECT_TRUE(bench.can.CAN_read(1, -1, 600).empty());
  EXPECT_TRUE(bench.can.CAN_read(1, 1, 0.01).empty());
  const auto closing = std::async(std::launch::async, [&] { bench.device.close(); });
  EXPECT_TRUE(bench.can.CAN_read(1, 1, 600).empty());  // close() ends the wait
  EXPECT_TRUE(bench.can.can_killed);
}

TEST(CAN, AFullQueueDropsAndWarns) {
  BusBench bench;
  bench.can.decoder().open();
  constexpr std::size_t kFrames = 50000;
  const std::size_t blocks = QUEUE_SIZE_MAX / kFrames + 1;
  for (std::size_t i = 0; i < blocks; ++i) {
    bench.can.rawQueue()->put(Bytes(kFrames * CANFrame::kRecordSize));
  }
  EXPECT_TRUE(eventually([&] { return bench.can.frameQueue()->dropped() == kFrames; }));
  EXPECT_TRUE(eventually([&] { return !bench.host.warnings().empty(); }));
  EXPECT_EQ(bench.host.warnings().front(), "CANQueueOverflowWarning");
}

}  // namespace
}  // namespace qvx::test
