// The products the bench can be: a row each.
#pragma once

#include "virtual/board.h"

#include "core/product.h"

#include <memory>
#include <string_view>
#include <vector>

namespace qvx::bench {

using MakeModule = std::unique_ptr<Module> (*)(Board&);

struct ModelRow {
  ProductId product;
  bool wireless;
  const char* serial_prefix;       // two letters; six digits follow
  std::size_t analog_inputs = 0;   // channels that --source and --wire name
  std::size_t analog_outputs = 0;  // channels that --wire names
  int serial_ports = 0;            // that --wire names, from 1
  FixedPins fixed_pins{};
  FreePins free_pins{};
  std::vector<BusPort> buses{};
  std::vector<MakeModule> modules;  // beside the system module, which every device has

  std::string_view name() const;
};

const std::vector<ModelRow>& modelRows();
// nullptr when there is no such model.
const ModelRow* findModel(std::string_view name);

}  // namespace qvx::bench
