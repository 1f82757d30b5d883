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

// Built once: the rows own their port tables.
const std::vector<Product>& products() {
  static const std::vector<Product> table{
      {ProductId::FeroxA,
       {.ai = {.ports = {{0, {0, 1, 2, 3, 4, 5, 6, 7}}},
               .ratio = kBipolar10Volts16Bit,
               .num_channels = 8,
               .max_rate = 20000,
               .variable = false}}},
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
