#include "virtual/models.h"

#include "virtual/ai_firmware.h"

#include <algorithm>

namespace qvx::bench {
namespace {

constexpr double kFastestRate = 1e6;

constexpr AiPortRow kEightChannelsAlwaysOpen[] = {
    {.port = 0, .channels = 8, .selectable_channels = false, .always_open = true, .max_rate = kFastestRate}};

}  // namespace

const std::vector<ModelRow>& modelRows() {
  static const std::vector<ModelRow> rows = {
      {.product = ProductId::FeroxA,
       .wireless = false,
       .serial_prefix = "FA",
       .analog_inputs = 8,
       .fixed_pins = {{0, PinMode::ADC}},
       .modules = {[](Board& board) -> std::unique_ptr<Module> {
         return std::make_unique<AiFirmware>(board, kEightChannelsAlwaysOpen);
       }}},
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
