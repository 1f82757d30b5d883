#include "bench_fixture.h"

#include "core/constants.h"

#include <cmath>
#include <numbers>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

constexpr double kStep = 20.0 / 65536;

DeviceSetup generator(const char* model = "FeroxO", const std::vector<const char*>& wires = {}) {
  DeviceSetup setup = feroxA();
  setup.model = findModel(model);
  for (const char* wire : wires) {
    setup.wires.push_back(Wire::parse(wire));
  }
  return setup;
}

class AoFirmwareTest : public BenchTest {
 protected:
  explicit AoFirmwareTest(const DeviceSetup& setup = generator()) : BenchTest(setup) {}

  void expectStatus(int code, Bytes request, int status) {
    const Bytes expected{request[0], static_cast<std::uint8_t>(status)};
    EXPECT_EQ(ask(code, std::move(request)), expected) << code;
  }
  void configure(int mode, double rate, std::uint8_t enabled, std::uint32_t number = 1) {
    expectStatus(SET_AO_MODE, payload(u8(0), u8(mode)), 0);
    expectStatus(SET_AO_SAMPLING_RATE, payload(u8(0), f32(rate)), 0);
    expectStatus(SET_AO_NUM_SAMPLES, payload(u8(0), u32(number)), 0);
    expectStatus(SET_AO_ENABLED_CHANNELS, {0, enabled}, 0);
    EXPECT_EQ(ask(OPEN_AO_STREAMING, {0}), payload(u8(0), u8(0), u8(mode), f32(rate)));
  }
  void form(int channel, int kind, double amplitude, double offset, double frequency, double phase, double duty) {
    expectStatus(SET_AO_FORM, payload(u8(0), u8(channel), u8(kind)), 0);
    expectStatus(SET_AO_FORM_PARAM,
                 payload(u8(0), u8(channel), f32(amplitude), f32(offset), f32(frequency), f32(phase), f32(duty)), 0);
  }
  void push(const std::vector<double>& volts, int status = 0) {
    Bytes request = payload(u8(0), u8(volts.size()));
    for (const double value : volts) {
      appendField(request, f32(value));
    }
    expectStatus(SET_AO_PUSH_TO_BUFFER, request, status);
  }
  void start() {
    outlet_.frames.clear();
    send(START_AO_STREAMING, {0});
    EXPECT_TRUE(outlet_.frames.empty());
  }
  double output(std::size_t channel) {
    return static_cast<double>(readBig<float>(ask(GET_AO_VALUES, {0}), 2 + 4 * channel));
  }
};

TEST_F(AoFirmwareTest, LevelsAreThoseOfTheConverter) {
  Bytes all{0};
  for (int channel = 0; channel < 8; ++channel) {
    appendField(all, f32(channel * 1.25 + 1.25));
  }
  expectStatus(WRITE_AO_SYNCHRONIZED, all, 0);
  EXPECT_EQ(output(3), 5);
  EXPECT_EQ(output(7), 10 - kStep);  // the converter's highest
  all.pop_back();
  expectStatus(WRITE_AO_SYNCHRONIZED, all, 80);

  expectStatus(SET_AO_SPAN, {0, 4}, 0);
  EXPECT_NEAR(output(3), 2.5, 1e-4);
  expectStatus(WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(2.6)), 53);
  expectStatus(SET_AO_SPAN, {0, 1}, 0);
  expectStatus(WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(-0.1)), 53);
  expectStatus(CLOSE_AO, {0}, 0);
  EXPECT_EQ(output(0), 0);
  send(REBOOT, {});
  device_.rebooted();
  expectStatus(WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(-10)), 0);  // the widest span again
}

TEST_F(AoFirmwareTest, FormsAsTheReferenceDrawsThem) {
  struct Case {
    int kind;
    double phase;
    double duty;
    std::array<double, 8> expected;  // at every eighth of a period
  };
  const double half = std::numbers::sqrt2;
  const Case cases[] = {
      {0, 0, 50, {1, 1, 1, 1, 1, 1, 1, 1}},
      {1, 0, 50, {3, 3, 3, 3, -1, -1, -1, -1}},
      {1, 0, 25, {3, 3, -1, -1, -1, -1, -1, -1}},
      {1, 90, 50, {3, 3, -1, -1, -1, -1, 3, 3}},
      {1, 0, 0, {-1, -1, -1, -1, -1, -1, -1, -1}},
      {1, 0, 100, {3, 3, 3, 3, 3, 3, 3, 3}},
      {2, 0, 50, {-1, 0, 1, 2, 3, 2, 1, 0}},
      {2, 0, 100, {-1, -0.5, 0, 0.5, 1, 1.5, 2, 2.5}},
      {2, 0, 0, {3, 2.5, 2, 1.5, 1, 0.5, 0, -0.5}},
      {3, 0, 50, {1, 1 + half, 3, 1 + half, 1, 1 - half, -1, 1 - half}},
      {3, -90, 50, {-1, 1 - half, 1, 1 + half, 3, 1 + half, 1, 1 - half}},
  };
  for (const Case& c : cases) {
    configure(2, 800, 0x04);
    form(2, c.kind, 2, 1, 100, c.phase, c.duty);
    start();
    for (std::size_t i = 0; i < 24; ++i) {  // three periods
      EXPECT_NEAR(output(2), c.expected.at(i % 8), kStep) << "form " << c.kind << " sample " << i;
      pass(1250us);
    }
    EXPECT_EQ(output(1), 0);
    expectStatus(STOP_AO_STREAMING, {0}, 0);
  }
}

TEST_F(AoFirmwareTest, WhatWasPlayedLastStays) {
  configure(2, 1000, 0x01);
  form(0, 3, 5, 0, 10, 0, 50);
  start();
  pass(1025ms);
  for (int again = 0; again < 2; ++again) {
    expectStatus(STOP_AO_STREAMING, {0}, 0);
  }
  pass(1s);
  EXPECT_NEAR(output(0), 5, kStep);
  EXPECT_EQ(ask(GET_AO_COUNTERS, {0}), payload(u8(0), u8(0), u32(1026U), u32(1026U)));
  expectStatus(CLOSE_AO_STREAMING, {0}, 0);
  EXPECT_NEAR(output(0), 5, kStep);
}

TEST_F(AoFirmwareTest, ThePushedBufferPlaysInTurnsAndAgain) {
  configure(2, 1000, 0x05);
  push({1}, 53);  // not initialised
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(ask(INIT_AO_BUFFER, {0}), payload(u8(0), u8(0), u32(16384)));
    EXPECT_EQ(ask(START_AO_STREAMING, {0}), (Bytes{0, 53}));  // empty
    push({1, -1, 2, -2});
    push({3, -3, 4});  // the odd one has no partner
    start();
    pass(500us);
    for (int sample = 0; sample < 7; ++sample) {
      const double expected = sample % 3 + 1;
      EXPECT_NEAR(output(0), expected, kStep);
      EXPECT_NEAR(output(2), -expected, kStep);
      EXPECT_EQ(output(1), 0);
      pass(1ms);
    }
    push({1}, 53);
    expectStatus(STOP_AO_STREAMING, {0}, 0);
  }
  EXPECT_EQ(ask(INIT_AO_BUFFER, {0}).size(), 6U);
  for (int i = 0; i < 16384 / 13; ++i) {
    push(std::vector<double>(13, 1));
  }
  push({1, 1, 1, 1, 1}, 53);  // 16384 is 13 * 1260 + 4
  push({1, 1, 1, 1});
}

TEST_F(AoFirmwareTest, RefusesWhatDoesNotFit) {
  struct Case {
    int code;
    Bytes request;
    int status;
  };
  const auto parameters = [](double amplitude, double frequency, double duty) {
    return payload(u8(0), u8(0), f32(amplitude), f32(0), f32(frequency), f32(0), f32(duty));
  };
  const double nan = std::nan("");
  const Case cases[] = {
      {OPEN_AO, {1}, 11},
      {WRITE_AO_BY_CHANNEL, payload(u8(0), u8(8), f32(0)), 53},
      {WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(10.01)), 53},
      {WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(nan)), 53},
      {SET_AO_SPAN, {0, 5}, 53},
      {SET_AO_MODE, {0, 3}, 53},
      {SET_AO_MODE, {0}, 80},
      {SET_AO_SAMPLING_RATE, payload(u8(0), f32(0)), 53},
      {SET_AO_SAMPLING_RATE, payload(u8(0), f32(nan)), 53},
      {SET_AO_SAMPLING_RATE, payload(u8(0), f32(1.1e6)), 53},
      {SET_AO_NUM_SAMPLES, payload(u8(0), u32(0)), 53},
      {SET_AO_FORM, {0, 8, 1}, 53},
      {SET_AO_FORM, {0, 0, 4}, 53},
      {SET_AO_FORM_PARAM, parameters(-1, 1, 50), 53},
      {SET_AO_FORM_PARAM, parameters(1, -1, 50), 53},
      {SET_AO_FORM_PARAM, parameters(1, 1, 100.5), 53},
      {SET_AO_FORM_PARAM, parameters(nan, 1, 50), 53},
      {SET_AO_FORM_PARAM, parameters(3e38, 3e38, 50), 0},
      {SET_AO_PUSH_TO_BUFFER, {0, 1}, 80},
      {START_AO_STREAMING, {0}, 53},  // not opened
      {SET_AO_MODE, {0, 2}, 0},
      {SET_AO_ENABLED_CHANNELS, {0, 0}, 0},
      {OPEN_AO_STREAMING, {7}, 11},
  };
  for (const Case& c : cases) {
    expectStatus(c.code, c.request, c.status);
  }
  EXPECT_EQ(ask(OPEN_AO_STREAMING, {0}).size(), 7U);
  EXPECT_EQ(ask(START_AO_STREAMING, {0}), (Bytes{0, 53}));  // no channel
}

class WiredTest : public AoFirmwareTest {
 protected:
  WiredTest() : AoFirmwareTest(generator("CordlogF1AOD", {"ao0.1=ai0.2", "ao0.0=ai0.3"})) {}
};

// What was put out while nobody read is what comes, not what is put out when it is read.
TEST_F(WiredTest, InputsSampleTheOutputOfTheirTime) {
  expectStatus(OPEN_AO, {0}, 0);
  expectStatus(OPEN_AI, {0}, 0);
  expectStatus(SET_AI_ENABLED_CS, {0, 4}, 0);
  expectStatus(SET_AI_MODE, {0, 2}, 0);
  expectStatus(SET_AI_SAMPLING_RATE, payload(u8(0), f32(1000)), 0);
  expectStatus(OPEN_AI_STREAMING, {0}, 0);
  configure(1, 1000, 0x02, 40);
  form(1, 3, 5, 1, 50, 0, 50);
  outlet_.space = 0;
  send(START_AI_STREAMING_VARIABLE, {0});
  pass(10ms);
  send(START_AO_STREAMING, {0});
  pass(50ms);
  expectStatus(WRITE_AO_BY_CHANNEL, payload(u8(0), u8(0), f32(7)), 0);
  EXPECT_EQ(readBig<std::int16_t>(ask(READ_AI_ON_DEMAND_VARIABLE, {0}), 8), codeOfVolts(7));
  pass(10ms);
  outlet_.frames.clear();
  outlet_.space = 1 << 20;
  device_.tick(now_);
  ASSERT_FALSE(outlet_.frames.empty());
  const Bytes& samples = outlet_.frames[0].payload;
  ASSERT_GE(samples.size(), 1 + 8 * 70U);
  for (std::size_t n = 0; n < 70; ++n) {
    const auto played = static_cast<double>(std::min<std::size_t>(n - 10, 39));
    const double volts = n < 10 ? 0 : 1 + 5 * std::sin(2 * std::numbers::pi * played / 20);
    EXPECT_NEAR(readBig<std::int16_t>(samples, 1 + 8 * n + 4), codeOfVolts(volts), 1) << n;
    EXPECT_EQ(readBig<std::int16_t>(samples, 1 + 8 * n + 6), n < 60 ? 0 : codeOfVolts(7)) << n;
    EXPECT_EQ(readBig<std::int16_t>(samples, 1 + 8 * n), 0);
  }
}

TEST(AnalogWires, RefusesWiresThatCannotBe) {
  for (const char* wire : {"ao0.4=ai0.0", "ao0.0=ai0.8", "ao1.0=ai0.0", "ao0.0=ai1.0"}) {
    EXPECT_THROW(Device(generator("CordlogF1AOD", {wire}), {}), std::invalid_argument) << wire;
  }
  EXPECT_THROW(Device(generator("CordlogF1AOD", {"ao0.0=ai0.0", "ao0.1=ai0.0"}), {}), std::invalid_argument);
}

}  // namespace
}  // namespace qvx::bench
