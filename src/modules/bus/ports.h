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

// Each pin of the port must be idle or a digital line; one that another function uses raises `not_available`. Asks the
// device for the modes of the pins.
void checkBusPins(const Link& link, const BusPorts& ports, int port, double timeout, ErrorId not_available);

}  // namespace qvx
