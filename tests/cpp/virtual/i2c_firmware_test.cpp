#include "bench_fixture.h"

#include "virtual/i2c_firmware.h"

#include "core/constants.h"

#include <stdexcept>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

DeviceSetup withParts(const char* name, const std::vector<const char*>& attachments) {
  DeviceSetup setup = feroxA();
  setup.model = findModel(name);
  for (const char* each : attachments) {
    setup.attachments.push_back(Attachment::parse(each));
  }
  return setup;
}

class I2cFirmwareTest : public BenchTest {
 protected:
  I2cFirmwareTest() : BenchTest(withParts("CordlogF1AOD", {"i2c1=24c02", "i2c1=24c02:0x57", "i2c2=24c02:0x250"})) {}
};

TEST_F(I2cFirmwareTest, AnEepromKeepsPagesAndTakesItsTime) {
  play({
      {OPEN_I2C, {1}, {1, 0}},
      {READ_I2C, {1, 0x50, 2}, {1, 0, 0xFF, 0xFF}},
  });
  EXPECT_EQ(outlet_.took, 290us);  // 29 bits at 100 kHz
  pass(1s);
  play({{WRITE_I2C, {1, 0x50, 0x0D, 1, 2, 3, 4}, {1, 0}}});  // from 13 on: 16 is the next page
  EXPECT_EQ(outlet_.took, 560us);
  play({{READ_I2C, {1, 0x50, 1}, {1, 21}}});       // it is storing
  EXPECT_EQ(outlet_.took, 560us + 110us);          // behind the write
  play({{READ_I2C, {1, 0x57, 1}, {1, 0, 0xFF}}});  // the other one is not
  pass(5559us);
  play({{WRITE_I2C, {1, 0x50, 0}, {1, 21}}});
  pass(1us);
  play({
      {WRITE_I2C, {1, 0x50, 7}, {1, 0}},  // only the pointer: nothing to store
      {READ_I2C, {1, 0x50, 10}, {1, 0, 0xFF, 4, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 0xFF}},
      {WRITE_I2C, {1, 0x50, 0xFF}, {1, 0}},
      {READ_I2C, {1, 0x50, 1}, {1, 0, 0xFF}},  // and on from 0
      {READ_I2C, {1, 0x50, 0}, {1, 0}},
      {WRITE_I2C, {1, 0x50, 0, 9}, {1, 0}},
      {REBOOT, {}, {0}},
  });
  device_.rebooted();
  pass(1s);
  play({
      {WRITE_I2C, {1, 0x50, 0}, {1, 10}},  // the port is closed, the EEPROM has not noticed
      {OPEN_I2C, {1}, {1, 0}},
      {WRITE_I2C, {1, 0x50, 0}, {1, 0}},
      {READ_I2C, {1, 0x50, 1}, {1, 0, 9}},
  });
}

TEST_F(I2cFirmwareTest, TakesOnlyWhatFitsItsLimits) {
  play({
      {OPEN_I2C, {1}, {1, 0}},
      {OPEN_I2C, {3}, {3, 11}},
      {SET_I2C_FREQUENCY, {1, 0, 0x0F, 0x42, 0x40}, {1, 0}},
      {WRITE_I2C, {1, 0x50}, {1, 0}},
      {SET_I2C_FREQUENCY, {1, 0, 0, 0, 1}, {1, 21}},
      {WRITE_I2C, payload(u8(1), u8(0x50), Bytes(255)), {1, 0}},
      {WRITE_I2C, payload(u8(1), u8(0x57), Bytes(256)), {1, 21}},
      {CLOSE_I2C, {1}, {1, 0}},
      {CLOSE_I2C, {1}, {1, 0}},
      {OPEN_I2C, {2}, {2, 0}},
      {SET_I2C_ADDR_SIZE, {2, 2}, {2, 21}},
      {SET_I2C_ADDR_SIZE, {2, 1}, {2, 0}},
      {WRITE_I2C, {2, 0x50}, {2, 80}},  // half an address
      {READ_I2C, {2, 0x50, 1}, {2, 80}},
      {READ_I2C, {2, 2, 0x50, 1}, {2, 0, 0xFF}},
  });
}

// GET_PIN_MODE_OF_SLOT: 1 idle, 2 DI, 3 DO, 4 UART, 5 I2C, 6 SPI; SET_DIO_CURRENT: port, mask, enabled, direction,
// state
class PinTest : public BenchTest {
 protected:
  PinTest() : BenchTest(withParts("CordlogF1D", {})) {}
};

TEST_F(PinTest, ClosingGivesBackOnlyThePinsThatArePortsOwn) {
  play({
      {OPEN_I2C, {2}, {2, 0}},
      {OPEN_SPI, {2}, {2, 0}},
      {GET_PIN_MODE_OF_SLOT, {3}, {0, 6, 0x00, 0x66, 0x66, 0x55}},
      {SET_DIO_CURRENT, {3, 0, 0x05, 0, 0x05, 0, 0, 0, 0}, {3, 50}},
      {CLOSE_I2C, {2}, {2, 0}},
      {SET_DIO_CURRENT, {3, 0, 0x01, 0, 0x01, 0, 0, 0, 0}, {3, 0}},
      {CLOSE_I2C, {2}, {2, 0}},  // the pins are not its own any more
      {GET_PIN_MODE_OF_SLOT, {3}, {0, 6, 0x00, 0x66, 0x66, 0x12}},
      {RESET_FACTORY, {}, {0}},
      {GET_PIN_MODE_OF_SLOT, {3}, {0, 6, 0x00, 0x11, 0x11, 0x11}},
  });
}

TEST(BusPorts, TakeAllTheirPinsOrNone) {
  Pins pins({{1, PinMode::DI}}, {{2, 0xFF}, {3, 0x0F}}, {});
  const BusPort port{Bus::SPI, 1, {{2, 0x03}, {3, 0x01}}};
  EXPECT_TRUE(pins.take(2, 0x01, PinMode::DO));
  EXPECT_TRUE(pins.take(3, 0x01, PinMode::UART));
  EXPECT_FALSE(port.take(pins, PinMode::SPI));
  EXPECT_EQ(pins.pinsIn(2, PinMode::DO), 0x01);
  pins.release(3, 0x01, PinMode::UART);
  EXPECT_TRUE(port.take(pins, PinMode::SPI));
  EXPECT_EQ(pins.pinsIn(2, PinMode::SPI), 0x03);
  port.release(pins, PinMode::SPI);
  EXPECT_EQ(pins.pinsIn(2, PinMode::Idle), 0xFF);
  EXPECT_FALSE((BusPort{Bus::SPI, 1, {{1, 0x01}}}.take(pins, PinMode::SPI)));  // an input for good
  EXPECT_FALSE((BusPort{Bus::SPI, 1, {{9, 0x01}}}.take(pins, PinMode::SPI)));
}

TEST(Attachments, AreRefusedWhereTheyCannotBe) {
  for (const char* text :
       {"", "=", "i2c1", "i2c=24c02", "i2c1=", "i2cx=24c02", "i2c256=24c02", "usb1=24c02", "i2c1=74hc595", "spi1=24c02",
        "spi1=loopback:1", "i2c1=24c02:", "i2c1=24c02:7", "i2c1=24c02:0x78", "i2c1=24c02:0x7f", "i2c1=24c02:0x400",
        "i2c1=24c02:0x", "i2c1=24c02:0x50 ", "i2c1=24c02:-1"}) {
    EXPECT_THROW(Attachment::parse(text), std::invalid_argument) << text;
  }
  EXPECT_EQ(Attachment::parse("i2c1=24c02:81").address, 0x51);
  struct Case {
    const char* model;
    std::vector<const char*> attachments;
  };
  for (const Case& c :
       {Case{"CordlogF1D", {"i2c3=24c02"}}, Case{"CordlogF1AOD", {"spi1=loopback"}},
        Case{"CordlogF1DSNK", {"i2c1=24c02"}}, Case{"FeroxA", {"i2c1=24c02"}},
        Case{"CordlogF1D", {"i2c1=24c02", "i2c1=24c02:0x50"}}, Case{"CordlogF1D", {"spi1=loopback", "spi1=74hc595"}}}) {
    EXPECT_THROW(Device(withParts(c.model, c.attachments), {}), std::invalid_argument) << c.attachments.front();
  }
}

}  // namespace
}  // namespace qvx::bench
