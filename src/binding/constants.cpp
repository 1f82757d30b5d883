#include "core/constants.h"

#include "binding/bindings.h"

namespace qvx::binding {

namespace {

py::list toList(std::span<const int> values) {
  py::list list;
  for (const int value : values) {
    list.append(value);
  }
  return list;
}

}  // namespace

void bindConstants(py::module_& module) {
  for (const NamedConstant& constant : constants()) {
    module.attr(constant.name) = constant.value;
  }
  module.attr("ECHO_DELAY") = ECHO_DELAY;
  module.attr("UART_READ_TIMEOUT") = UART_READ_TIMEOUT;
  module.attr("STREAMING_CMD_LIST") = toList(STREAMING_CMD_LIST);
  module.attr("BROADCAST_CMD_LIST") = toList(BROADCAST_CMD_LIST);
  module.attr("PKG_NAME") = PKG_NAME;
  module.attr("PKG_FULL_NAME") = PKG_FULL_NAME;
  module.attr("__version__") = kVersion;
}

}  // namespace qvx::binding
