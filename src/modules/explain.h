// What an error that a device has caused says beside its published text: in which operation, on which port, and what
// the cause is as a rule.
#pragma once

#include "core/argument.h"
#include "core/errors.h"

#include <span>
#include <string>
#include <string_view>

namespace qvx {

// What was called: "AI_open", and its arguments by name.
struct NamedArgument {
  std::string_view name;
  const Argument& value;
};

// The failure of an operation, in more words where the device or its silence is the reason; else as it is.
Failure explained(const Failure& failure, std::string_view operation, std::span<const NamedArgument> given);

}  // namespace qvx
