// Ports of the buses and the pins that they use.
#pragma once

#include "core/argument.h"
#include "protocol/link.h"

#include <map>
#include <utility>
#include <vector>

namespace qvx {

// Port number to its pins, each a pair (digital port, pin).
using BusPorts = std::map<int, std::vector<std::pair<int, int>>>;

// The port number; what is no port of the product raises `not_available`.
int checkBusPort(const BusPorts& ports, const Argument& port, ErrorId not_available);

// Each pin of the port must be in one of the modes that `allowed`, a list, names, by default idle or a digital line;
// one that another function uses raises `not_available`. Asks the device for the modes of the pins.
void checkBusPins(const Link& link, const BusPorts& ports, int port, const Argument& allowed, const Argument& timeout,
                  ErrorId not_available);
void checkBusPins(const Link& link, const BusPorts& ports, int port, const Argument& timeout, ErrorId not_available);

// A command about a port. Requests carry the port u8 first; replies the port u8, then the status u8, then data.
int statusOfPort(const Link& link, int cmd, int port, const Bytes& fields, const Argument& timeout,
                 Repeat repeat = Repeat::Harmless);
Bytes dataOfPort(const Link& link, int cmd, int port, const Bytes& fields, const Argument& timeout,
                 Repeat repeat = Repeat::Harmless);

}  // namespace qvx
