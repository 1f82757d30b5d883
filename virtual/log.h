// What the bench tells on standard error.
#pragma once

#include "core/frame.h"

#include <string>

namespace qvx::bench {

enum class LogLevel : std::uint8_t { Quiet, Normal, Verbose };

class Log {
 public:
  explicit Log(LogLevel level) : level_(level) {}
  // Connections that come and go; unless quiet.
  void event(const std::string& device, const std::string& text) const;
  // Frames, when verbose; `direction` is "<-" for a request, "->" for a packet sent.
  void frame(const std::string& device, const std::string& direction, int code, ByteView payload) const;

 private:
  LogLevel level_;
};

}  // namespace qvx::bench
