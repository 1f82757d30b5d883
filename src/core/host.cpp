#include "core/host.h"

#include <atomic>
#include <iostream>

namespace qvx {

namespace {

Host default_host;
std::atomic<Host*> installed_host = &default_host;

}  // namespace

// One insertion for the line and its end, so that lines of several threads stay whole.
void Host::print(const std::string& line) {
  std::cout << line + "\n" << std::flush;
}

void Host::reportFailure(const Failure& failure, bool printed) {
  if (printed) {
    print(std::string(failure.kind().name) + ": " + failure.what());
  }
}

void Host::warn(ErrorId id, const std::optional<std::string>& message) {
  print(Failure(id, message).what());
}

Host& host() {
  return *installed_host;
}

void setHost(Host* host) {
  installed_host = host != nullptr ? host : &default_host;
}

}  // namespace qvx
