#include "models/products.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace qvx {
namespace {

struct Product {
  ProductId id;
  ProductConfiguration configuration;
};

constexpr double kBipolar10Volts16Bit = 10.0 / 32768;

AIConfiguration eightChannels(double max_rate, bool variable = false) {
  return {.ports = {{0, {0, 1, 2, 3, 4, 5, 6, 7}}},
          .ratio = kBipolar10Volts16Bit,
          .num_channels = 8,
          .max_rate = max_rate,
          .variable = variable};
}

const std::vector<int> kEightPins{0, 1, 2, 3, 4, 5, 6, 7};

DIOConfiguration fixedDirections(int output_port, int input_port) {
  return {.inputs = {{input_port, kEightPins}}, .outputs = {{output_port, kEightPins}}};
}

// Each pin is an input or an output, by choice.
DIOConfiguration eitherWay(const PinMap& pins) {
  return {.inputs = pins, .outputs = pins};
}

const DIOConfiguration kCordlogPins =
    eitherWay({{0, kEightPins}, {1, {0, 1, 2, 3, 4, 5}}, {2, {0, 1, 2, 3, 6, 7}}, {3, {0, 1, 2, 3, 4, 5}}});
AIConfiguration eightChannels24Bit() {
  AIConfiguration configuration = eightChannels(10000);
  configuration.ratio = 10.0 / (1 << 23);
  return configuration;
}

// The numbers of the digital ports come first in the pin query.
AIConfiguration cordlogInput() {
  AIConfiguration configuration = eightChannels(16000, true);
  configuration.pin_ports_from = 4;
  return configuration;
}

// Each reading tells its own range.
AIConfiguration onDemandInput() {
  return {.ports = {{0, {0}}}, .ratio = 25.0 / (1 << 23), .num_channels = 1};
}

AOConfiguration eightOutputs() {
  return {.ports = {{0, {0, 1, 2, 3, 4, 5, 6, 7}}}};
}

AOConfiguration fourOutputs() {
  return {.ports = {{0, {0, 1, 2, 3}}}, .channels = 4};
}

// Clock and data.
const I2CConfiguration kCordlogI2C{{{1, {{2, 6}, {2, 7}}}, {2, {{3, 0}, {3, 1}}}}};
// Clock, data in, data out, select.
const SPIConfiguration kCordlogSPI{{{1, {{1, 0}, {1, 1}, {1, 2}, {1, 3}}}, {2, {{3, 2}, {3, 3}, {3, 4}, {3, 5}}}}};
// Sending pin, receiving pin.
const UARTConfiguration kCordlogUART{{{1, {{2, 0}, {2, 1}}}, {2, {{2, 2}, {2, 3}}}}};
const CANConfiguration kCordlogCAN{{{1, {{1, 4}, {1, 5}}}}};

// Built once: the rows own their port tables.
const std::vector<Product>& products() {
  static const std::vector<Product> table{
      {ProductId::SkylogE3A, {.ai = eightChannels(10000)}},
      {ProductId::SkylogE3AH, {.ai = eightChannels(10000)}},
      {ProductId::SkylogE3AO, {.ao = eightOutputs()}},
      {ProductId::SkylogE3AOD, {.ai = eightChannels(10000), .ao = fourOutputs(), .dio = fixedDirections(1, 2)}},
      {ProductId::SkylogF4A, {.ai = eightChannels(20000)}},
      {ProductId::FeroxA, {.ai = eightChannels(20000)}},
      {ProductId::FeroxA2, {.ai = eightChannels24Bit()}},
      {ProductId::FeroxI, {.ai = onDemandInput()}},
      {ProductId::FeroxIA, {.ai = onDemandInput()}},
      {ProductId::FeroxO, {.ao = eightOutputs()}},
      {ProductId::FeroxD, {.dio = fixedDirections(0, 1)}},
      {ProductId::FeroxEXD, {.dio = eitherWay({{0, kEightPins}, {1, kEightPins}, {2, kEightPins}, {3, kEightPins}})}},
      {ProductId::CordlogF1D, {.dio = kCordlogPins, .uart = kCordlogUART, .i2c = kCordlogI2C, .spi = kCordlogSPI}},
      {ProductId::CordlogF1AD,
       {.ai = cordlogInput(), .dio = kCordlogPins, .uart = kCordlogUART, .i2c = kCordlogI2C, .spi = kCordlogSPI}},
      {ProductId::CordlogF1TD, {.dio = kCordlogPins, .uart = kCordlogUART, .i2c = kCordlogI2C, .spi = kCordlogSPI}},
      {ProductId::CordlogF1CD,
       {.dio = kCordlogPins, .uart = kCordlogUART, .can = kCordlogCAN, .i2c = kCordlogI2C, .spi = kCordlogSPI}},
      {ProductId::CordlogF1RD, {.dio = kCordlogPins, .uart = kCordlogUART, .i2c = kCordlogI2C, .spi = kCordlogSPI}},
      {ProductId::CordlogF1DSNK, {.dio = kCordlogPins}},
      {ProductId::CordlogF1AOD,
       {.ai = cordlogInput(), .ao = fourOutputs(), .dio = kCordlogPins, .uart = kCordlogUART, .i2c = kCordlogI2C}},
  };
  return table;
}

}  // namespace

const ProductConfiguration& productConfiguration(ProductId product) {
  const auto& table = products();
  const auto row = std::find_if(table.begin(), table.end(), [product](const Product& p) { return p.id == product; });
  if (row == table.end()) {
    throw std::logic_error("no configuration for product " + std::string(productLabel(product)));
  }
  return row->configuration;
}

}  // namespace qvx
