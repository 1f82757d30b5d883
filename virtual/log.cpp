#include "virtual/log.h"

#include <algorithm>
#include <cstdio>

namespace qvx::bench {

void Log::event(const std::string& device, const std::string& text) const {
  if (level_ != LogLevel::Quiet) {
    std::fprintf(stderr, "%s %s\n", device.c_str(), text.c_str());
  }
}

void Log::frame(const std::string& device, const std::string& direction, int code, ByteView payload) const {
  if (level_ != LogLevel::Verbose) {
    return;
  }
  constexpr std::size_t kShown = 16;
  std::string bytes;
  for (const std::uint8_t byte : payload.first(std::min(payload.size(), kShown))) {
    bytes += " " + std::to_string(byte);
  }
  if (payload.size() > kShown) {
    bytes += " ... (" + std::to_string(payload.size()) + " bytes)";
  }
  std::fprintf(stderr, "%s %s %d:%s\n", device.c_str(), direction.c_str(), code, bytes.c_str());
}

}  // namespace qvx::bench
