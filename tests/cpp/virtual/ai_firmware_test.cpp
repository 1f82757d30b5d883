#include "bench_fixture.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

DeviceSetup withSource(const std::string& text) {
  DeviceSetup setup = feroxA();
  setup.sources = {SourceSpec::parse(text)};
  return setup;
}

class AiFirmwareTest : public BenchTest {
 protected:
  AiFirmwareTest() : AiFirmwareTest(withSource("ramp:-5:5:1")) {}
  explicit AiFirmwareTest(const DeviceSetup& setup) : BenchTest(setup), source_(makeInputs(setup.sources, 8, 0)) {}

  void configure(int mode, double rate, std::uint32_t number = 1) {
    EXPECT_EQ(ask(SET_AI_MODE, payload(u8(0), u8(mode))), (Bytes{0, 0}));
    EXPECT_EQ(ask(SET_AI_SAMPLING_RATE, payload(u8(0), f32(rate))), (Bytes{0, 0}));
    EXPECT_EQ(ask(SET_AI_NUM_SAMPLES, payload(u8(0), u32(number))), (Bytes{0, 0}));
    EXPECT_EQ(ask(OPEN_AI_STREAMING, {0}), (Bytes{0, 0}));
    outlet_.frames.clear();
  }
  void expectSamples(const std::vector<std::int16_t>& codes, double rate, std::uint64_t first = 0) {
    for (std::size_t i = 0; i < codes.size(); ++i) {
      ASSERT_EQ(codes[i], codeOfVolts(source_[i % 8]->sample(first + i / 8, rate, 0))) << "value " << i;
    }
  }
  Bytes countersReply(unsigned acquired, unsigned packets, unsigned lost) {
    return payload(u8(0), u8(0), u32(acquired), u32(packets), u32(lost));
  }

  Inputs source_;
};

TEST_F(AiFirmwareTest, RefusesWhatDoesNotFit) {
  struct Case {
    int code;
    Bytes request;
    int status;
  };
  const Case cases[] = {
      {OPEN_AI, {0}, 0},
      {OPEN_AI, {1}, 11},
      {READ_AI_ON_DEMAND, {9}, 11},
      {SET_AI_MODE, {0, 3}, 52},
      {SET_AI_MODE, {0}, 80},
      {SET_AI_MODE, {0, 1, 1}, 80},
      {SET_AI_SAMPLING_RATE, payload(u8(0), f32(1e6)), 0},
      {SET_AI_SAMPLING_RATE, payload(u8(0), f32(1.1e6)), 52},
      {SET_AI_SAMPLING_RATE, payload(u8(0), f32(0)), 52},
      {SET_AI_SAMPLING_RATE, payload(u8(0), f32(-5)), 52},
      {SET_AI_SAMPLING_RATE, payload(u8(0), u32(0x7FC00000)), 52},  // NaN
      {SET_AI_SAMPLING_RATE, payload(u8(0), u32(0x7F800000)), 52},  // infinity
      {SET_AI_NUM_SAMPLES, payload(u8(0), u32(0)), 52},
      {SET_AI_ENABLED_CS, {0, 8}, 0},
      {SET_AI_ENABLED_CS, {0, 4}, 52},  // this model's channels are fixed
      {AI_SET_TRIG_MODE, {0, 0}, 52},
      {AI_SET_TRIG_MODE, {0, 8}, 52},
      {START_AI_STREAMING, {0}, 52},  // not opened
      {START_AI_STREAMING, {3}, 11},
      {CLOSE_AI_STREAMING, {0}, 0},
      {OPEN_AI_STREAMING, {0}, 0},
      {OPEN_AI_STREAMING, {0}, 0},    // repeated requests succeed
      {START_AI_STREAMING, {0}, 52},  // on demand
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ask(c.code, c.request), (Bytes{c.request[0], static_cast<std::uint8_t>(c.status)})) << c.code;
  }
}

TEST_F(AiFirmwareTest, SamplesComeWhenTheyAreDueAndAllBeforeTheEnd) {
  configure(2, 1000);
  send(START_AI_STREAMING, {0});
  EXPECT_EQ(streamed().size(), 8U);  // sample 0
  pass(10s);
  // 0..10000 are due; those of the last few milliseconds may still be on their way.
  const std::size_t samples = streamed().size() / 8 + 1;
  EXPECT_GE(samples, 9990U);
  EXPECT_LE(samples, 10001U);
  send(CLOSE_AI_STREAMING, {0});
  EXPECT_EQ(outlet_.frames.back().code, CLOSE_AI_STREAMING);
  outlet_.frames.pop_back();
  EXPECT_EQ(streamed().size() / 8 + samples, 10001U);
  pass(1s);
  EXPECT_TRUE(outlet_.frames.empty());
  EXPECT_EQ(device_.due(now_), kNever);
}

TEST_F(AiFirmwareTest, ASlowRateDoesNotDrift) {
  configure(2, 0.25);
  send(START_AI_STREAMING, {0});
  outlet_.frames.clear();
  pass(3999999999ns);
  EXPECT_TRUE(outlet_.frames.empty());
  pass(1ns);
  EXPECT_EQ(outlet_.frames.size(), 1U);
  pass(3000s);
  EXPECT_EQ(outlet_.frames.size(), 751U);
}

TEST_F(AiFirmwareTest, LosesTheOldestWhenTheClientDoesNotRead) {
  constexpr unsigned kCapacity = (4 << 20) / 16;
  configure(2, 1e6);
  outlet_.space = 0;
  send(START_AI_STREAMING, {0});
  EXPECT_EQ(device_.due(now_), kNever);  // room is reported by a tick, not by time
  now_ += 999999us;
  EXPECT_EQ(ask(CHECK_BUFFER_STATUS, {0}), payload(u8(0), u8(0), u32(kCapacity), u32(kCapacity)));
  EXPECT_EQ(ask(GET_AI_COUNTERS, {0}), countersReply(1000000, 0, 1000000 - kCapacity));
  outlet_.frames.clear();
  outlet_.space = 1 << 20;
  device_.tick(now_);
  pass(0ns);
  const auto codes = streamed();
  ASSERT_EQ(codes.size(), kCapacity * 8);
  expectSamples(codes, 1e6, 1000000 - kCapacity);
}

TEST_F(AiFirmwareTest, TheAlarmStartsAStreamThatWaitsForIt) {
  configure(1, 1000, 10);
  ask(AI_SET_TRIG_MODE, {0, 2});
  ask(RTC_START_ALARM, {0, 29, 0, 0, 0});  // two seconds from the start of the test
  outlet_.frames.clear();
  send(START_AI_STREAMING, {0});
  pass(1900ms);
  EXPECT_TRUE(outlet_.frames.empty());
  pass(200ms);
  EXPECT_EQ(streamed().size(), 80U);
}

class UnpacedTest : public AiFirmwareTest {
 protected:
  static DeviceSetup setup() {
    DeviceSetup setup = withSource("noise");
    setup.unpaced = true;
    return setup;
  }
  UnpacedTest() : AiFirmwareTest(setup()) {}
};

TEST_F(UnpacedTest, StreamsWithoutWaitingForTime) {
  configure(1, 1, 100000);
  send(START_AI_STREAMING, {0});
  pass(0ns);
  const auto codes = streamed();
  ASSERT_EQ(codes.size(), 800000U);
  expectSamples(codes, 1);
  EXPECT_EQ(device_.due(now_), kNever);
}

TEST_F(UnpacedTest, AnEndlessStreamLeavesTimeForOthers) {
  configure(2, 1);
  send(START_AI_STREAMING, {0});  // must return although the outlet takes everything
  EXPECT_EQ(device_.due(now_), now_);
  send(CLOSE_AI_STREAMING, {0});
  EXPECT_EQ(outlet_.frames.back(), (Frame{CLOSE_AI_STREAMING, {0, 0}}));
}

}  // namespace
}  // namespace qvx::bench
