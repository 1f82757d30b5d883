// The products, as far as more than one room must know them: identity and label.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qvx {

enum class ProductId : std::uint8_t {
  None,  // a bare handle
#define QVX_PRODUCT(name, label) name,
#include "core/product.def"
#undef QVX_PRODUCT
};

struct ProductLabel {
  ProductId id;
  const char* class_name;
  const char* label;
};

// One row for each product, in the order of the table of products.
std::span<const ProductLabel> productLabels();
// "Ferox-A"; empty for ProductId::None.
std::string_view productLabel(ProductId id);
// The name of its class, "FeroxA"; empty for ProductId::None.
const char* productName(ProductId id);

}  // namespace qvx
