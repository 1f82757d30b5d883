#include "virtual/source.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace qvx::bench {
namespace {

Inputs inputsOf(const std::vector<std::string>& texts, std::uint64_t seed = 0) {
  std::vector<SourceSpec> specs;
  for (const auto& text : texts) {
    specs.push_back(SourceSpec::parse(text));
  }
  return makeInputs(specs, 8, seed);
}

TEST(Source, ValuesAtKnownMoments) {
  struct Case {
    const char* text;
    std::size_t channel;
    double seconds;
    int code;
  };
  const Case cases[] = {
      {"constant:1", 0, 0, 3277},      {"constant:-1", 7, 9, -3277},   {"constant:10", 0, 0, 32767},
      {"constant:1e300", 0, 0, 32767}, {"constant:-12", 0, 0, -32768}, {"ramp", 0, 0, -16384},
      {"ramp:0:8:2", 0, 0.25, 13107},  {"ramp:0:8:2", 4, 0, 13107},    {"ramp:0:8:2", 4, 0.25, 0},
      {"sine:5:50", 0, 0.005, 16384},  {"sine:5:50", 2, 0, 16384},     {"sine:5:50", 0, 0.015, -16384},
      {"sine:5:50:1", 0, 0, 3277},     {"square:2:1", 0, 0.25, 6554},  {"square:2:1", 0, 0.75, -6554},
      {"square:2:1", 4, 0.25, -6554},  {"3=constant:2", 3, 0, 6554},   {"3=constant:2", 2, 0, 0},
      {"sine:1:1e-3", 0, 250, 3277},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(codeOfVolts(inputsOf({c.text})[c.channel]->at(c.seconds)), c.code) << c.text << " channel " << c.channel;
  }
}

TEST(Source, CodesOfTwoWidths) {
  for (const int code : {-8388608, -8388607, -1, 0, 1, 4194304, 8388607}) {
    EXPECT_EQ(codeOfVolts(code * 10.0 / 8388608, 24), code);
    EXPECT_EQ(codeOfVolts(code / 256 * 10.0 / 32768), code / 256);
  }
  EXPECT_EQ(codeOfVolts(10, 24), 8388607);
  EXPECT_EQ(codeOfVolts(-11, 24), -8388608);
}

TEST(Source, ASampleOfAStreamIsTheSignalAtItsTime) {
  const auto inputs = inputsOf({"sine:5:50"});
  EXPECT_EQ(inputs[0]->sample(5, 1000, 77), inputs[0]->at(0.005));
}

TEST(Source, OneChannelGoesBeforeAllWhateverTheOrder) {
  for (const auto& texts : {std::vector<std::string>{"1=constant:1", "constant:2"}, {"constant:2", "1=constant:1"}}) {
    const auto inputs = inputsOf(texts);
    EXPECT_EQ(inputs[1]->at(0), 1);
    EXPECT_EQ(inputs[0]->at(0), 2);
  }
}

TEST(Source, NoiseFollowsItsSeedAndStaysInRange) {
  const auto first = inputsOf({"noise:2"}, 1);
  const auto again = inputsOf({"noise:2"}, 1);
  const auto other = inputsOf({"noise:2"}, 2);
  int differs = 0;
  double sum = 0;
  for (std::uint64_t n = 0; n < 10000; ++n) {
    const double volts = first[0]->sample(n, 1000, 0);
    EXPECT_LE(std::abs(volts), 2);
    EXPECT_EQ(volts, again[0]->sample(n, 1, 5));
    differs += static_cast<int>(volts != other[0]->sample(n, 1000, 0)) +
               static_cast<int>(volts != first[1]->sample(n, 1000, 0));
    sum += volts;
  }
  EXPECT_GT(differs, 19900);
  EXPECT_LT(std::abs(sum / 10000), 0.06);  // the mean's standard deviation is 0.0115
}

TEST(Source, RefusesWhatItCannotMean) {
  for (const char* text : {"", "sin", "constant", "constant:", "constant:x", "constant:1:2", "constant:nan",
                           "sine:1:inf", "sine::", "noise:1 ", "9=constant:1", "99999999999999999999=constant:1",
                           "=constant:1", "wav", "wav:", "wav:/no/such/file.wav", "wav:/dev/zero"}) {
    EXPECT_THROW(inputsOf({text}), std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace qvx::bench
