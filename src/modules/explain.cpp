#include "modules/explain.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace qvx {
namespace {

// "AI" of "AI_open" and of "_AI_getDataRTC"; nothing of what belongs to no family.
std::string familyOf(std::string_view operation) {
  operation.remove_prefix(std::min(operation.find_first_not_of('_'), operation.size()));
  const auto end = operation.find('_');
  return end == std::string_view::npos ? "" : std::string(operation.substr(0, end));
}

// Of a port that must be opened before it does anything else.
std::string causeAtPort(const std::string& family, std::string_view operation) {
  const std::string open = family + "_open";
  if (operation.find(open) != std::string_view::npos) {
    return "is it open already, or does another function use its pins?";
  }
  return "is it open? " + open;
}

bool hasPorts(const std::string& family) {
  constexpr std::array kFamilies{"AI", "AO", "SPI", "I2C", "UART", "CAN"};
  return std::ranges::find(kFamilies, family) != kFamilies.end();
}

std::string causeOf(ErrorId id, std::string_view operation) {
  const std::string family = familyOf(operation);
  switch (id) {
    case ErrorId::FirmwareAIError:
      return causeAtPort("AI", operation);
    case ErrorId::FirmwareAOError:
      return causeAtPort("AO", operation);
    case ErrorId::FirmwareUARTError:
      return causeAtPort("UART", operation);
    case ErrorId::FirmwareCANError:
      return causeAtPort("CAN", operation);
    case ErrorId::FirmwareSPIError:
      return causeAtPort("SPI", operation);
    case ErrorId::FirmwareI2CError:
      return causeAtPort("I2C", operation) + "; does a chip answer at this address?";
    case ErrorId::FirmwareEnableError:
      if (family == "DI" || family == "DO") {
        return "are the pins open? " + family + "_openPins, " + family + "_openPort";
      }
      return hasPorts(family) ? causeAtPort(family, operation) : "has it been opened or enabled?";
    case ErrorId::FirmwareDIOError:
      return "have these pins a direction for good?";
    case ErrorId::FirmwarePinIndexError:
      return "the device has no such port or pin";
    case ErrorId::FirmwareEEPROMError:
      return "the memory has no such page or byte";
    case ErrorId::FirmwareRTCError:
      return "there is no such date or time, or the device cannot keep it";
    case ErrorId::FirmwareParserError:
      return "the device does not understand it: is it of the model whose class this is?";
    default:
      return "";
  }
}

const Argument* find(std::span<const NamedArgument> given, std::string_view name) {
  const auto found = std::ranges::find(given, name, &NamedArgument::name);
  return found == given.end() ? nullptr : &found->value;
}

bool isFirmwares(ErrorId id) {
  constexpr int kFirst = -7000;
  constexpr int kLast = -7028;
  const int code = errorKind(id).code;
  return code <= kFirst && code >= kLast;
}

}  // namespace

Failure explained(const Failure& failure, std::string_view operation, std::span<const NamedArgument> given) {
  const ErrorId id = failure.id();
  const bool silent = id == ErrorId::ReceivePacketTimeoutError;
  if (!silent && !isFirmwares(id)) {
    return failure;
  }
  std::string text = failure.givenMessage().value_or(std::string(failure.kind().message));
  text += " (" + std::string(operation);
  if (const Argument* port = find(given, "port")) {
    text += ", port " + port->show();
  }
  const Argument* const timeout = find(given, "timeout");
  const std::string cause = !silent              ? causeOf(id, operation)
                            : timeout != nullptr ? "no reply within " + timeout->show() + " s"
                                                 : "no reply in time";
  return Failure(id, text + (cause.empty() ? ")" : ": " + cause + ")"));
}

}  // namespace qvx
