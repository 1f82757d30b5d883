#include "core/errors.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qvx {

namespace {

constexpr ErrorKind kErrorKinds[] = {
#define QVX_ERROR(name, constant, code, base, message) {ErrorId::name, #name, constant, code, ErrorBase::base, message},
#include "core/errors.def"
#undef QVX_ERROR
};

struct FirmwareStatus {
  int status;
  ErrorId id;
};

// The firmware's own numbering. 10s: indices of its core, 20s: peripherals on the chip, 40s: the board, 50s: I/O
// functions, 70s: transports and boot, 80: the command parser.
constexpr FirmwareStatus kFirmwareStatuses[] = {
    {10, ErrorId::FirmwareEnableError},   {11, ErrorId::FirmwarePinIndexError}, {12, ErrorId::FirmwareHALIndexError},
    {13, ErrorId::FirmwareQVXIndexError}, {20, ErrorId::FirmwareRTCError},      {21, ErrorId::FirmwareI2CError},
    {22, ErrorId::FirmwareSPIError},      {23, ErrorId::FirmwareUARTError},     {24, ErrorId::FirmwareTIMError},
    {25, ErrorId::FirmwarePWMError},      {26, ErrorId::FirmwarePulseError},    {27, ErrorId::FirmwareEncoderError},
    {40, ErrorId::FirmwareEEPROMError},   {41, ErrorId::FirmwareOLEDError},     {42, ErrorId::FirmwareCoreError},
    {50, ErrorId::FirmwareDIOError},      {51, ErrorId::FirmwareRelayError},    {52, ErrorId::FirmwareAIError},
    {53, ErrorId::FirmwareAOError},       {54, ErrorId::FirmwareMotionError},   {55, ErrorId::FirmwareDriveError},
    {56, ErrorId::FirmwareThermalError},  {57, ErrorId::FirmwareCANError},      {70, ErrorId::FirmwareUSBError},
    {71, ErrorId::FirmwareTCPError},      {72, ErrorId::FirmwareUDPError},      {73, ErrorId::FirmwareBootloaderError},
    {80, ErrorId::FirmwareParserError},
};

// The same form as str() of the Python object, where a missing text reads None.
std::string describe(const ErrorKind& kind, const std::optional<std::string>& given) {
  const char* family = kind.base == ErrorBase::Error ? "Error " : "Warning ";
  const std::string text = given ? *given : kind.message != nullptr ? kind.message : "None";
  return family + std::to_string(kind.code) + ": " + text;
}

}  // namespace

std::span<const ErrorKind> errorKinds() {
  return kErrorKinds;
}

const ErrorKind& errorKind(ErrorId id) {
  return kErrorKinds[static_cast<std::size_t>(id)];
}

Failure::Failure(ErrorId id, std::optional<std::string> message)
    : id_(id), message_(std::move(message)), text_(describe(errorKind(id), message_)) {}

void fail(ErrorId id) {
  throw Failure(id);
}

void fail(ErrorId id, std::string message) {
  throw Failure(id, std::move(message));
}

int checkFirmwareError(int status) {
  if (status == 0) {
    return status;
  }
  const auto* row = std::ranges::find(kFirmwareStatuses, status, &FirmwareStatus::status);
  fail(row != std::end(kFirmwareStatuses) ? row->id : ErrorId::FirmwareOtherError);
}

}  // namespace qvx
