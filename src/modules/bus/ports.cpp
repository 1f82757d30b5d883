#include "modules/bus/ports.h"

#include "modules/system/system.h"

#include <algorithm>

namespace qvx {
namespace {

std::vector<std::string> checkedNames(const Argument& value) {
  std::vector<std::string> names;
  for (const Argument& item : checkedList(value, "pin_modes")) {
    names.push_back(checkedText(item, "a pin mode"));
  }
  return names;
}

Reply askPort(const Link& link, int cmd, int port, const Bytes& fields, const Argument& timeout, Repeat repeat) {
  return link.request(cmd, payload(u8(port), fields), checkedTimeout(timeout), repeat);
}

}  // namespace

int checkBusPort(const BusPorts& ports, const Argument& port, ErrorId not_available) {
  return checkedKey(port, "port", ports, not_available);
}

void checkBusPins(const Link& link, const BusPorts& ports, int port, const Argument& timeout, ErrorId not_available) {
  checkBusPins(link, ports, port, std::vector<Argument>{"Idle", "DI", "DO"}, timeout, not_available);
}

void checkBusPins(const Link& link, const BusPorts& ports, int port, const Argument& allowed, const Argument& timeout,
                  ErrorId not_available) {
  const std::vector<std::string> names = checkedNames(allowed);
  const double seconds = checkedTimeout(timeout);
  std::map<int, PinModes> asked;  // by digital port: each is asked once
  for (const auto& [digital, pin] : ports.at(port)) {
    if (!asked.contains(digital)) {
      asked.emplace(digital, readPinModes(link, digital, seconds));
    }
    const auto& modes = asked.at(digital).second;
    const auto at = static_cast<std::size_t>(pin);
    const std::string mode = at < modes.size() ? modes[at] : "not there";
    if (std::find(names.begin(), names.end(), mode) == names.end()) {
      refuse(
          not_available, "port",
          std::to_string(port) + ", its pin P" + std::to_string(digital) + "." + std::to_string(pin) + " is " + mode);
    }
  }
}

int statusOfPort(const Link& link, int cmd, int port, const Bytes& fields, const Argument& timeout, Repeat repeat) {
  return askPort(link, cmd, port, fields, timeout, repeat).status(1);
}

Bytes dataOfPort(const Link& link, int cmd, int port, const Bytes& fields, const Argument& timeout, Repeat repeat) {
  const Reply reply = askPort(link, cmd, port, fields, timeout, repeat);
  reply.status(1);
  const ByteView data = reply.rest(2);
  return {data.begin(), data.end()};
}

}  // namespace qvx
