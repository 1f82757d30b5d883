#include "bench_fixture.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

// Devices of one bus, and time that stands still until it is moved.
class CanBusTest : public ::testing::Test {
 protected:
  struct Station {
    Station(const std::shared_ptr<CanBus>& bus, TimePoint now) : device(setup(bus), now) {}
    static DeviceSetup setup(const std::shared_ptr<CanBus>& bus) {
      DeviceSetup setup = feroxA();
      setup.model = findModel("CordlogF1CD");
      setup.can_bus = bus;
      return setup;
    }
    RecordingOutlet outlet;
    Device device;
  };

  Station& add(int speed_mode = 2) {
    Station& station = *stations_.emplace_back(std::make_unique<Station>(bus_, now_));
    EXPECT_EQ(ask(station, OPEN_CAN, {1}), (Bytes{1, 0}));
    EXPECT_EQ(ask(station, SET_CAN_SPEED, {1, static_cast<std::uint8_t>(speed_mode)}), (Bytes{1, 0}));
    EXPECT_EQ(ask(station, START_CAN, {1}), (Bytes{1, 0}));
    return station;
  }
  Bytes ask(Station& station, int code, Bytes payload) {
    const std::size_t before = station.outlet.frames.size();
    station.device.handle({code, std::move(payload)}, station.outlet, now_);
    if (station.outlet.frames.size() <= before) {
      ADD_FAILURE() << "no reply to " << code;
      return {};
    }
    Frame reply = std::move(station.outlet.frames.back());
    station.outlet.frames.pop_back();
    EXPECT_EQ(reply.code, code);
    return reply.payload;
  }
  int write(Station& station, std::uint32_t word, std::uint8_t first = 0) {
    return ask(station, WRITE_CAN, payload(u8(1), u32(word), Bytes{first, 0, 0, 0, 0, 0, 0, 0})).at(1);
  }
  void pass(std::chrono::nanoseconds time) {
    const TimePoint end = now_ + time;
    for (;;) {
      TimePoint next = kNever;
      for (const auto& station : stations_) {
        next = std::min(next, station->device.due(now_));
      }
      if (next > end) {
        break;
      }
      now_ = std::max(now_, next);
      for (const auto& station : stations_) {
        station->device.tick(now_);
      }
    }
    now_ = end;
  }
  // Identifier words received, and the first data byte of each.
  static std::vector<std::pair<std::uint32_t, int>> received(Station& station) {
    std::vector<std::pair<std::uint32_t, int>> frames;
    for (const Frame& frame : station.outlet.frames) {
      EXPECT_EQ(frame.code, START_CAN);
      EXPECT_EQ((frame.payload.size() - 1) % 13, 0U);
      EXPECT_EQ(frame.payload[0], 1);
      for (std::size_t at = 1; at + 13 <= frame.payload.size(); at += 13) {
        EXPECT_EQ(frame.payload[at + 4], 8);
        frames.emplace_back(readBig<std::uint32_t>(frame.payload, at), frame.payload[at + 5]);
      }
    }
    station.outlet.frames.clear();
    return frames;
  }
  // TX interrupt, RX interrupt, SPI, send, bus error, overflow.
  std::uint32_t counter(Station& station, std::size_t index) {
    return readBig<std::uint32_t>(ask(station, GET_CAN_COUNTERS, {1}), 2 + 4 * index);
  }
  Bytes errors(Station& station) { return ask(station, GET_CAN_ERRORS, {1}); }

  using Received = std::vector<std::pair<std::uint32_t, int>>;
  static constexpr std::uint32_t standard(std::uint32_t id) { return id << 21; }

  TimePoint now_ = TimePoint(std::chrono::hours(1));
  std::shared_ptr<CanBus> bus_ = std::make_shared<CanBus>();
  std::vector<std::unique_ptr<Station>> stations_;
};

TEST_F(CanBusTest, FramesTakeTheirTimeAndTheLowestIdentifierWins) {
  Station& a = add(0);  // 125 kbit/s: a standard frame of 111 bits takes 888 us
  Station& b = add(0);
  Station& c = add(0);
  write(a, standard(0x400), 1);
  write(a, standard(0x300), 2);
  write(b, standard(0x200), 3);
  write(b, standard(0x100) | 0x80000, 4);  // extended, after a standard one with the same 11 bits
  write(c, standard(0x100), 5);
  pass(880us);
  EXPECT_EQ(counter(c, 1), 0U);
  pass(10us);
  EXPECT_EQ(counter(c, 1), 1U);
  pass(20ms);
  // The first had the bus for itself; of one station's, the buffers leave in the order of the writes.
  EXPECT_EQ(
      received(c),
      (Received{{standard(0x400), 1}, {standard(0x200), 3}, {standard(0x100) | 0x80000, 4}, {standard(0x300), 2}}));
}

TEST_F(CanBusTest, PriorityDecidesAmongTheBuffersOfAStation) {
  Station& a = add(0);
  Station& b = add(0);
  EXPECT_EQ(ask(a, SET_CAN_TX_PRIORITY, {1, 2, 3}), (Bytes{1, 0}));
  EXPECT_EQ(ask(a, SET_CAN_TX_PRIORITY, {1, 3, 3}), (Bytes{1, 57}));
  for (std::uint8_t i = 0; i < 6; ++i) {
    write(a, standard(i), i);
  }
  pass(20ms);
  std::vector<int> order;
  for (const auto& [word, value] : received(b)) {
    order.push_back(value);
  }
  // 0 is on the bus when 1 and 2 come; the third buffer always goes first.
  EXPECT_EQ(order, (std::vector<int>{0, 2, 4, 5, 1, 3}));
}

TEST_F(CanBusTest, FiltersPassWhatEqualsThemUnderTheirMask) {
  Station& a = add();
  Station& b = add();
  const auto set = [&](std::uint8_t index, std::uint32_t word) {
    EXPECT_EQ(ask(b, SET_CAN_RX_FILTER_OR_MASK, payload(u8(1), u8(index), u32(word))),
              (Bytes{1, static_cast<std::uint8_t>(index < 8 ? 0 : 57)}));
  };
  for (std::uint8_t filter = 0; filter < 6; ++filter) {
    set(filter, standard(0x7FF));
  }
  set(6, standard(0x7F0));  // mask 0, of filters 0 and 1
  set(7, 0xFFE3FFFF);       // mask 1
  set(1, standard(0x120));
  set(2, standard(0x200));
  set(3, standard(0x10) | 0x80000 | 5);  // extended
  set(8, 0);
  EXPECT_EQ(ask(b, SET_CAN_RX_FILTERING_ON, {1, 1}), (Bytes{1, 0}));
  const std::vector<std::pair<std::uint32_t, bool>> cases = {
      {standard(0x120), true},
      {standard(0x12F), true},
      {standard(0x130), false},
      {standard(0x200), true},
      {standard(0x201), false},
      {standard(0x7FE), true},
      {standard(0x10), false},
      {standard(0x10) | 0x80005, true},
      {standard(0x10) | 0x80004, false},
      {standard(0x120) | 0x80000, false},
      {standard(0x120) | 0x100000, true},
  };
  for (const auto& [word, passes] : cases) {
    write(a, word);
    pass(10ms);
    EXPECT_EQ(received(b).size(), passes ? 1U : 0U) << std::hex << word;
  }
  EXPECT_EQ(ask(b, SET_CAN_RX_FILTERING_ON, {1, 0}), (Bytes{1, 0}));
  write(a, standard(0x130));
  pass(10ms);
  EXPECT_EQ(received(b).size(), 1U);
}

TEST_F(CanBusTest, UnequalBitRatesEndInBusOff) {
  Station& a = add(2);
  Station& b = add(3);
  write(a, standard(1), 1);
  write(a, standard(2), 2);
  pass(10s);
  EXPECT_TRUE(received(b).empty());
  EXPECT_EQ(errors(a), (Bytes{1, 0, 255, 0}));
  EXPECT_EQ(errors(b), (Bytes{1, 0, 0, 32}));
  EXPECT_EQ(ask(a, GET_CAN_INTERRUPTS, {1}).at(4) & 0x20, 0x20);
  EXPECT_EQ(write(a, standard(3)), 57);
  EXPECT_EQ(ask(a, SET_CAN_SPEED, {1, 3}), (Bytes{1, 57}));  // not while it is started
  EXPECT_EQ(ask(a, STOP_CAN, {1}), (Bytes{1, 0}));
  EXPECT_EQ(ask(a, SET_CAN_SPEED, {1, 3}), (Bytes{1, 0}));
  EXPECT_EQ(ask(a, START_CAN, {1}), (Bytes{1, 0}));
  EXPECT_EQ(errors(a), (Bytes{1, 0, 0, 0}));
  EXPECT_EQ(write(a, standard(3), 3), 0);
  pass(10ms);
  EXPECT_EQ(received(b), (Received{{standard(3), 3}}));
  EXPECT_EQ(errors(b).at(3), 31);
}

TEST_F(CanBusTest, FramesForASlowClientAreCountedWhenTheyAreLost) {
  bus_ = std::make_shared<CanBus>(false);
  Station& a = add();
  Station& b = add();
  b.outlet.space = 0;
  for (int i = 0; i < 5000; ++i) {
    write(a, standard(1), static_cast<std::uint8_t>(i));
  }
  EXPECT_EQ(counter(b, 5), 5000U - 4096U);
  b.outlet.space = 1 << 20;
  pass(1s);
  EXPECT_EQ(received(b).size(), 4096U);
}

TEST_F(CanBusTest, AFullQueueRefusesAndAGoneClientLeavesTheBus) {
  Station& a = add(0);
  Station& b = add(0);
  int written = 0;
  while (write(a, standard(1)) == 0) {
    ASSERT_LE(++written, 1000);
  }
  EXPECT_EQ(written, 256 + 3);
  a.device.forget(a.outlet);
  pass(1s);
  EXPECT_TRUE(received(b).empty());
  EXPECT_EQ(bus_->due(), kNever);
}

TEST_F(CanBusTest, AnotherStationFillsItsShare) {
  bus_ = std::make_shared<CanBus>(true, 0.5);
  Station& a = add(3);
  pass(1s);
  const auto frames = received(a);
  // Half of 1 Mbit in frames of 111 bits.
  EXPECT_NEAR(static_cast<double>(frames.size()), 0.5e6 / 111, 20);
  EXPECT_EQ(ask(a, STOP_CAN, {1}), (Bytes{1, 0}));
  received(a);  // what came before the stop
  pass(10s);
  EXPECT_TRUE(received(a).empty());
  EXPECT_EQ(bus_->due(), kNever);
  EXPECT_EQ(ask(a, START_CAN, {1}), (Bytes{1, 0}));
  pass(100ms);
  EXPECT_NEAR(static_cast<double>(received(a).size()), 0.05e6 / 111, 20);
}

}  // namespace
}  // namespace qvx::bench
