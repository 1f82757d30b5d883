#include "virtual/models.h"

#include "virtual/ai_firmware.h"
#include "virtual/network_firmware.h"
#include "virtual/wireless_firmware.h"

#include <algorithm>

namespace qvx::bench {
namespace {

constexpr double kFastestRate = 1e6;

constexpr AiPortRow kEightChannelsAlwaysOpen[] = {
    {.port = 0, .channels = 8, .selectable_channels = false, .always_open = true, .max_rate = kFastestRate}};
constexpr AiPortRow kEightChannels[] = {
    {.port = 0, .channels = 8, .selectable_channels = false, .always_open = false, .max_rate = kFastestRate}};

template <class Firmware>
std::unique_ptr<Module> make(Board& board) {
  return std::make_unique<Firmware>(board);
}

template <auto& Ports>
std::unique_ptr<Module> makeAi(Board& board) {
  return std::make_unique<AiFirmware>(board, Ports);
}

ModelRow wirelessAnalogInput(ProductId product, const char* serial_prefix) {
  return {.product = product,
          .wireless = true,
          .serial_prefix = serial_prefix,
          .analog_inputs = 8,
          .fixed_pins = {{0, PinMode::ADC}},
          .modules = {make<NetworkFirmware>, make<WirelessFirmware>, makeAi<kEightChannels>}};
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
      wirelessAnalogInput(ProductId::SkylogE3A, "SE"),
      wirelessAnalogInput(ProductId::SkylogF4A, "SF"),
  };
  return rows;
}

std::string_view ModelRow::name() const {
  const auto labels = productLabels();
  return std::find_if(labels.begin(), labels.end(), [this](const ProductLabel& label) { return label.id == product; })
      ->class_name;
}

const ModelRow* findModel(std::string_view name) {
  const auto& rows = modelRows();
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const ModelRow& row) { return row.name() == name; });
  return found != rows.end() ? &*found : nullptr;
}

}  // namespace qvx::bench
