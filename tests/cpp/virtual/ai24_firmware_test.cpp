#include "bench_fixture.h"

#include "core/constants.h"

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

DeviceSetup measuring(const char* model, const std::vector<const char*>& sources) {
  DeviceSetup setup = feroxA();
  setup.model = findModel(model);
  for (const char* source : sources) {
    setup.sources.push_back(SourceSpec::parse(source));
  }
  return setup;
}

class Ai24FirmwareTest : public BenchTest {
 protected:
  Ai24FirmwareTest() : BenchTest(measuring("FeroxA2", {"sine:9:7", "1=constant:-0.000002", "2=constant:11"})) {}
};

TEST_F(Ai24FirmwareTest, ReadsAndStreamsItsOwnWidthUnderItsOwnCommands) {
  const Bytes read = ask(READAI24BIT, {0});
  ASSERT_EQ(read.size(), 2 + 3 * 8U);
  EXPECT_EQ(Bytes(read.begin() + 2, read.begin() + 11), (Bytes{0, 0, 0, 0xFF, 0xFF, 0xFE, 0x7F, 0xFF, 0xFF}));
  EXPECT_EQ(ask(READ_AI_ON_DEMAND, {0}), (Bytes{80, 80}));

  ask(SET_AI_MODE, {0, 1});
  ask(SET_AI_NUM_SAMPLES, payload(u8(0), u32(500)));
  ask(OPEN_AI_STREAMING, {0});
  outlet_.frames.clear();
  send(AI_START_STREAMING_24BIT, {0});
  pass(2s);
  std::size_t number = 0;
  const auto source = makeInputs({SourceSpec::parse("sine:9:7")}, 8, 0)[0];
  for (const Frame& frame : outlet_.frames) {
    EXPECT_EQ(frame.code, AI_START_STREAMING_24BIT);
    ASSERT_EQ((frame.payload.size() - 1) % 24, 0U);
    ASSERT_LE(frame.payload.size() - 1, 1440U);
    for (std::size_t at = 1; at < frame.payload.size(); at += 24, ++number) {
      const Bytes expected = payload(u32(codeOfVolts(source->sample(number, 1000, 0), 24)));
      EXPECT_TRUE(std::equal(expected.begin() + 1, expected.end(), frame.payload.begin() + static_cast<long>(at)));
    }
  }
  EXPECT_EQ(number, 500U);
}

TEST(Ai24OnDemand, EachReadingHasTheRangeThatItFits) {
  struct Case {
    const char* source;
    Bytes reading;
  };
  const Case cases[] = {
      {"constant:0", {1, 0x80, 0, 0}},         {"constant:12.5", {1, 0xC0, 0, 0}},
      {"constant:-24", {1, 0x05, 0x1E, 0xB8}}, {"constant:25", {0, 0xC0, 0, 0}},
      {"constant:-50", {0, 0, 0, 0}},          {"constant:-60", {0, 0, 0, 0}},
      {"constant:60", {0, 0xFF, 0xFF, 0xFF}},
  };
  for (const Case& c : cases) {
    Device device(measuring("FeroxI", {c.source}), TimePoint());
    RecordingOutlet outlet;
    const auto ask = [&](Bytes request) {
      device.handle({READAI24BIT, std::move(request)}, outlet, TimePoint());
      return std::exchange(outlet.frames, {}).at(0).payload;
    };
    Bytes expected{0, 0};
    expected.insert(expected.end(), c.reading.begin(), c.reading.end());
    EXPECT_EQ(ask({0, 255}), expected) << c.source;
    EXPECT_EQ(ask({1, 255}), (Bytes{1, 11}));
    EXPECT_EQ(ask({0, 1}), (Bytes{0, 52}));
    EXPECT_EQ(ask({0}), (Bytes{0, 80}));
  }
}

}  // namespace
}  // namespace qvx::bench
