#include "core/constants.h"

namespace qvx {

namespace {

constexpr NamedConstant kConstants[] = {
#define QVX_CONSTANT(name, value) {#name, name},
#include "core/constants.def"
#undef QVX_CONSTANT
};

}  // namespace

std::span<const NamedConstant> constants() {
  return kConstants;
}

}  // namespace qvx
