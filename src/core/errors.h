// The error family: one table (errors.def) from which C++ raises and the Python classes are made.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <string>

namespace qvx {

enum class ErrorId : std::uint16_t {
#define QVX_ERROR(name, constant, code, base, message) name,
#include "core/errors.def"
#undef QVX_ERROR
};

enum class ErrorBase : std::uint8_t { Error, QVXWarning };

struct ErrorKind {
  ErrorId id;
  const char* name;      // class name
  const char* constant;  // name of the module-level code constant, nullptr where there is none
  int code;
  ErrorBase base;
  const char* message;  // default message, nullptr where there is none
};

// The whole family in declaration order; indexable by ErrorId.
std::span<const ErrorKind> errorKinds();
const ErrorKind& errorKind(ErrorId id);

// What C++ throws; the binding turns it into the Python class of the same name.
class Failure : public std::exception {
 public:
  explicit Failure(ErrorId id, std::optional<std::string> message = std::nullopt);
  ErrorId id() const { return id_; }
  const ErrorKind& kind() const { return errorKind(id_); }
  // The text given by the raiser; nothing when the default message stands.
  const std::optional<std::string>& givenMessage() const { return message_; }
  // "Error -8005: The pin index is not valid or is not recognized."
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  ErrorId id_;
  std::optional<std::string> message_;
  std::string text_;
};

[[noreturn]] void fail(ErrorId id);
[[noreturn]] void fail(ErrorId id, std::string message);

// Returns 0 for status 0; raises the class of the firmware status otherwise (FirmwareOtherError when unlisted).
int checkFirmwareError(int status);

}  // namespace qvx
