// Bytes between C++ and Python, and the classes of the pools.
#pragma once

#include "binding/bindings.h"
#include "core/bytes.h"

namespace qvx::binding {

py::bytes makeBytes(ByteView bytes);
// Takes bytes, bytearray, memoryview, or a list of ints 0..255.
Bytes bytesOf(const py::handle& value);

void bindPools(py::module_& module);

}  // namespace qvx::binding
