#include "virtual/models.h"

#include "virtual/ai24_firmware.h"
#include "virtual/ai_firmware.h"
#include "virtual/ao_firmware.h"
#include "virtual/can_firmware.h"
#include "virtual/dio_firmware.h"
#include "virtual/i2c_firmware.h"
#include "virtual/network_firmware.h"
#include "virtual/spi_firmware.h"
#include "virtual/uart_firmware.h"
#include "virtual/wireless_firmware.h"

#include <algorithm>
#include <utility>

namespace qvx::bench {
namespace {

constexpr double kFastestRate = 1e6;

constexpr AiPortRow kEightChannelsAlwaysOpen[] = {
    {.port = 0, .channels = 8, .selectable_channels = false, .always_open = true, .max_rate = kFastestRate}};
constexpr AiPortRow kEightChannels[] = {
    {.port = 0, .channels = 8, .selectable_channels = false, .always_open = false, .max_rate = kFastestRate}};

constexpr AiPortRow kChosenChannels[] = {
    {.port = 0, .channels = 8, .selectable_channels = true, .always_open = false, .max_rate = kFastestRate}};

constexpr AiPortRow kEightChannels24Bit[] = {{.port = 0,
                                              .channels = 8,
                                              .selectable_channels = false,
                                              .always_open = true,
                                              .max_rate = kFastestRate,
                                              .bits = 24}};

constexpr AoPortRow kGenerator[] = {
    {.port = 0, .channels = 8, .generates = true, .always_open = true, .takes_pins = false}};
constexpr AoPortRow kGeneratorOnPins[] = {
    {.port = 0, .channels = 4, .generates = true, .always_open = false, .takes_pins = true}};
constexpr AoPortRow kEightLevels[] = {
    {.port = 0, .channels = 8, .generates = false, .always_open = false, .takes_pins = false}};
constexpr AoPortRow kFourLevels[] = {
    {.port = 0, .channels = 4, .generates = false, .always_open = false, .takes_pins = false}};

// Four ports; some of the processor's pins are not led out.
const FreePins kCordlogPins = {{0, 0xFF}, {1, 0x3F}, {2, 0xCF}, {3, 0x3F}};

// Clock and data; clock, data in, data out and select.
const std::vector<BusPort> kI2cPorts = {{Bus::I2C, 1, {{2, 0xC0}}}, {Bus::I2C, 2, {{3, 0x03}}}};
const std::vector<BusPort> kSpiPorts = {{Bus::SPI, 1, {{1, 0x0F}}}, {Bus::SPI, 2, {{3, 0x3C}}}};
// Sending pin, receiving pin.
const std::vector<BusPort> kSerialPorts = {{Bus::UART, 1, {{2, 0x03}}}, {Bus::UART, 2, {{2, 0x0C}}}};
const BusPort kCanPort = {Bus::CAN, 1, {{1, 0x30}}};

template <class Firmware>
std::unique_ptr<Module> make(Board& board) {
  return std::make_unique<Firmware>(board);
}

template <auto& Ports>
std::unique_ptr<Module> makeAi(Board& board) {
  return std::make_unique<AiFirmware>(board, Ports);
}

template <auto& Ports>
std::unique_ptr<Module> makeAo(Board& board) {
  return std::make_unique<AoFirmware>(board, Ports);
}

ModelRow onDemandInput(ProductId product, const char* serial_prefix) {
  return {.product = product,
          .wireless = false,
          .serial_prefix = serial_prefix,
          .analog_inputs = 1,
          .fixed_pins = {{0, PinMode::ADC}},
          .modules = {make<NetworkFirmware>, make<Ai24Firmware>}};
}

std::unique_ptr<Module> makeUart(Board& board) {
  return std::make_unique<UartFirmware>(board, kSerialPorts);
}

std::unique_ptr<Module> makeCan(Board& board) {
  return std::make_unique<CanFirmware>(board, kCanPort);
}

ModelRow wirelessAnalogInput(ProductId product, const char* serial_prefix) {
  return {.product = product,
          .wireless = true,
          .serial_prefix = serial_prefix,
          .analog_inputs = 8,
          .fixed_pins = {{0, PinMode::ADC}},
          .modules = {make<NetworkFirmware>, make<WirelessFirmware>, makeAi<kEightChannels>}};
}

ModelRow withFourOutputs(ModelRow row, MakeModule outputs) {
  row.analog_outputs = 4;
  row.modules.push_back(outputs);
  return row;
}

ModelRow withDigitalPorts(ModelRow row, int outputs, int inputs) {
  row.fixed_pins.emplace(outputs, PinMode::DO);
  row.fixed_pins.emplace(inputs, PinMode::DI);
  row.modules.push_back(make<DioFirmware>);
  return row;
}

// `modules`: those beside digital input and output, which all of them have.
ModelRow cordlog(ProductId product, const char* serial_prefix, std::vector<MakeModule> modules = {}) {
  modules.push_back(make<DioFirmware>);
  return {.product = product,
          .wireless = false,
          .serial_prefix = serial_prefix,
          .free_pins = kCordlogPins,
          .modules = std::move(modules)};
}

ModelRow cordlogWithSerialPorts(ProductId product, const char* serial_prefix, std::vector<MakeModule> modules = {}) {
  modules.push_back(makeUart);
  ModelRow row = cordlog(product, serial_prefix, std::move(modules));
  row.serial_ports = static_cast<int>(kSerialPorts.size());
  return row;
}

ModelRow cordlogWithAnalogInput(ProductId product, const char* serial_prefix) {
  ModelRow row = cordlogWithSerialPorts(product, serial_prefix, {makeAi<kChosenChannels>});
  row.analog_inputs = 8;
  row.fixed_pins = {{4, PinMode::ADC}};  // behind the digital ports
  return row;
}

template <class Firmware>
ModelRow withBus(ModelRow row, const std::vector<BusPort>& ports) {
  row.buses.insert(row.buses.end(), ports.begin(), ports.end());
  row.modules.push_back(make<Firmware>);
  return row;
}

ModelRow withCan(ModelRow row) {
  row.buses.push_back(kCanPort);
  row.modules.push_back(makeCan);
  return row;
}

ModelRow withI2c(ModelRow row) {
  return withBus<I2cFirmware>(std::move(row), kI2cPorts);
}

ModelRow withI2cAndSpi(ModelRow row) {
  return withBus<SpiFirmware>(withI2c(std::move(row)), kSpiPorts);
}

// Two ports of outputs that sink current, two of inputs.
ModelRow cordlogWithSinks() {
  ModelRow row = cordlog(ProductId::CordlogF1DSNK, "CS");
  for (const auto& [port, pins] : kCordlogPins) {
    row.fixed_pins.emplace(port, FixedPort(port < 2 ? PinMode::DO : PinMode::DI, pins));
  }
  row.free_pins.clear();
  return row;
}

}  // namespace

const std::vector<ModelRow>& modelRows() {
  static const std::vector<ModelRow> rows = {
      {.product = ProductId::FeroxA,
       .wireless = false,
       .serial_prefix = "FA",
       .analog_inputs = 8,
       .fixed_pins = {{0, PinMode::ADC}},
       .modules = {make<NetworkFirmware>, makeAi<kEightChannelsAlwaysOpen>}},
      {.product = ProductId::FeroxA2,
       .wireless = false,
       .serial_prefix = "FB",
       .analog_inputs = 8,
       .fixed_pins = {{0, PinMode::ADC}},
       .modules = {make<NetworkFirmware>, makeAi<kEightChannels24Bit>}},
      onDemandInput(ProductId::FeroxI, "FI"),
      onDemandInput(ProductId::FeroxIA, "FJ"),
      {.product = ProductId::FeroxO,
       .wireless = false,
       .serial_prefix = "FO",
       .analog_outputs = 8,
       .fixed_pins = {{0, PinMode::Disabled}},
       .modules = {make<NetworkFirmware>, makeAo<kGenerator>}},
      {.product = ProductId::FeroxD,
       .wireless = false,
       .serial_prefix = "FD",
       .fixed_pins = {{0, PinMode::DO}, {1, PinMode::DI}},
       .modules = {make<NetworkFirmware>, make<DioFirmware>}},
      {.product = ProductId::FeroxEXD,
       .wireless = false,
       .serial_prefix = "FX",
       .free_pins = {{0, 0xFF}, {1, 0xFF}, {2, 0xFF}, {3, 0xFF}},
       .modules = {make<NetworkFirmware>, make<DioFirmware>}},
      withI2cAndSpi(cordlogWithSerialPorts(ProductId::CordlogF1D, "CD")),
      withI2cAndSpi(cordlogWithAnalogInput(ProductId::CordlogF1AD, "CA")),
      withI2cAndSpi(cordlogWithSerialPorts(ProductId::CordlogF1TD, "CT")),
      withCan(withI2cAndSpi(cordlogWithSerialPorts(ProductId::CordlogF1CD, "CC"))),
      withI2cAndSpi(cordlogWithSerialPorts(ProductId::CordlogF1RD, "CR")),
      cordlogWithSinks(),
      withI2c(withFourOutputs(cordlogWithAnalogInput(ProductId::CordlogF1AOD, "CO"), makeAo<kGeneratorOnPins>)),
      wirelessAnalogInput(ProductId::SkylogE3A, "SE"),
      wirelessAnalogInput(ProductId::SkylogE3AH, "SH"),
      {.product = ProductId::SkylogE3AO,
       .wireless = true,
       .serial_prefix = "SO",
       .analog_outputs = 8,
       .fixed_pins = {{0, PinMode::Disabled}},
       .modules = {make<NetworkFirmware>, make<WirelessFirmware>, makeAo<kEightLevels>}},
      withDigitalPorts(withFourOutputs(wirelessAnalogInput(ProductId::SkylogE3AOD, "SD"), makeAo<kFourLevels>), 1, 2),
      wirelessAnalogInput(ProductId::SkylogF4A, "SF"),
  };
  return rows;
}

std::string_view ModelRow::name() const {
  return productName(product);
}

const ModelRow* findModel(std::string_view name) {
  const auto& rows = modelRows();
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const ModelRow& row) { return row.name() == name; });
  return found != rows.end() ? &*found : nullptr;
}

}  // namespace qvx::bench
