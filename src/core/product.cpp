#include "core/product.h"

#include <array>

namespace qvx {
namespace {

constexpr std::array kLabels{
#define QVX_PRODUCT(name, label) ProductLabel{ProductId::name, #name, label},
#include "core/product.def"
#undef QVX_PRODUCT
};

}  // namespace

std::span<const ProductLabel> productLabels() {
  return kLabels;
}

std::string_view productLabel(ProductId id) {
  return id == ProductId::None ? "" : kLabels[static_cast<std::size_t>(id) - 1].label;
}

const char* productName(ProductId id) {
  return id == ProductId::None ? "" : kLabels[static_cast<std::size_t>(id) - 1].class_name;
}

}  // namespace qvx
