// What the core asks of the program it lives in: text for the user, warnings, and whether Ctrl-C was pressed.
// The binding installs the interpreter's; without one, text goes to std::cout.
#pragma once

#include "core/errors.h"

#include <optional>
#include <string>

namespace qvx {

class Host {
 public:
  virtual ~Host() = default;
  // Prints one line, and logs it. Any thread, with no mutex held.
  virtual void print(const std::string& line);
  // Logs a failure, and prints it unless the user wants nothing printed, as printGenericError does: "ClassName: Error
  // -8003: ...". Any thread, with no mutex held.
  virtual void reportFailure(const Failure& failure, bool printed);
  // Constructs the warning class, with its own text or `message`, which is what reports it. Any thread, with no mutex
  // held.
  virtual void warn(ErrorId id, const std::optional<std::string>& message = std::nullopt);
  // Whether waits on the calling thread must be ended by Ctrl-C; they then call checkInterrupt every 50 ms.
  virtual bool interruptible() { return false; }
  // Throws when the user has asked to stop. Called with no mutex held.
  virtual void checkInterrupt() {}
};

Host& host();
// `host` must outlive every device; nullptr restores the default.
void setHost(Host* host);

}  // namespace qvx
