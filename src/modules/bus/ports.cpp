#include "modules/bus/ports.h"

#include "modules/system/system.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace qvx {

int checkBusPort(const BusPorts& ports, const Argument& port, ErrorId not_available) {
  const auto number = checkedInt(port, "port");
  if (number < 0 || number > 255 || !ports.contains(static_cast<int>(number))) {
    fail(not_available);
  }
  return static_cast<int>(number);
}

void checkBusPins(const Link& link, const BusPorts& ports, int port, double timeout, ErrorId not_available) {
  constexpr std::array<std::string_view, 3> kAllowed{"Idle", "DI", "DO"};
  std::map<int, PinModes> asked;  // by digital port: each is asked once
  for (const auto& [digital, pin] : ports.at(port)) {
    if (!asked.contains(digital)) {
      asked.emplace(digital, readPinModes(link, digital, timeout));
    }
    const auto& modes = asked.at(digital).second;
    const auto at = static_cast<std::size_t>(pin);
    if (at >= modes.size() || std::find(kAllowed.begin(), kAllowed.end(), modes[at]) == kAllowed.end()) {
      fail(not_available);
    }
  }
}

}  // namespace qvx
