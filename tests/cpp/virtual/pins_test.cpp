#include "virtual/pins.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qvx::bench {
namespace {

const FixedPins kFixed = {{0, PinMode::DO}, {1, PinMode::DI}, {4, PinMode::ADC}};
const FreePins kFree = {{2, 0xCF}, {3, 0x3F}};

Pins wired(const std::vector<const char*>& texts) {
  std::vector<Wire> wires;
  for (const char* text : texts) {
    wires.push_back(Wire::parse(text));
  }
  return {kFixed, kFree, wires};
}

TEST(Pins, LevelsFollowTheWires) {
  Pins pins = wired({"do0=di2", "do3.5=di1.7", "do0.4=di1.6", "ao0.1=ai0.2"});
  pins.drive(0, 0xFF, 0xFF);
  EXPECT_EQ(pins.levels(0), 0xFF);
  EXPECT_EQ(pins.levels(2), 0xCF);  // the pins that both ports have
  EXPECT_EQ(pins.levels(1), 0x40);
  pins.drive(0, 0x01, 0x00);
  EXPECT_EQ(pins.levels(2), 0xCE);
  pins.drive(3, 0x20, 0x20);
  EXPECT_EQ(pins.levels(1), 0x40);  // 3.5 is no output yet
  EXPECT_TRUE(pins.take(3, 0x20, PinMode::DO));
  EXPECT_EQ(pins.levels(1), 0xC0);
  pins.release(3, 0x20, PinMode::DO);
  EXPECT_EQ(pins.levels(1), 0x40);
  EXPECT_TRUE(pins.take(2, 0x02, PinMode::DO));  // now shows what it drives itself
  EXPECT_EQ(pins.levels(2), 0xCC);
  pins.reset();
  EXPECT_EQ(pins.levels(2) | pins.levels(1) | pins.levels(0), 0);
}

TEST(Pins, RefusesWiresThatCannotBe) {
  for (const char* text :
       {"", "=", "do0.1", "do0.1=", "=di0.1", "do0.1=do0.2", "di0.1=do0.2", "do0.1=ai0.2", "do0.1=di1", "do0=di1.0",
        "ao0=ai0", "do.1=di1.1", "do0.=di1.1", "do0.1=di1.1 ", "do-1.1=di1.1", "do256.1=di1.1", "do0.1.2=di1.1"}) {
    EXPECT_THROW(Wire::parse(text), std::invalid_argument) << text;
  }
  for (const char* text :
       {"do1.0=di1.1", "do0.0=di0.1", "do2.4=di1.0", "do0.8=di1.0", "do0.0=di9.0", "do4=di1", "do0=di4", "do9=di1"}) {
    EXPECT_THROW(wired({text}), std::invalid_argument) << text;
  }
  EXPECT_THROW(wired({"do0.1=di1.1", "do0.2=di1.1"}), std::invalid_argument);
  EXPECT_THROW(wired({"do0=di1", "do0.2=di1.1"}), std::invalid_argument);
}

}  // namespace
}  // namespace qvx::bench
