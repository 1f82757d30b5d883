// What a device answers to requests that are broadcast: who it is, and the orders to the one with its MAC address.
#pragma once

#include "virtual/board.h"

namespace qvx::bench {

class BroadcastFirmware {
 public:
  // Orders that are also commands are run by `commands`, which must outlive it.
  BroadcastFirmware(Board& board, const CommandTable& commands) : board_(board), commands_(commands) {}

  // The payload of the answer; nothing to what is malformed, for another device, or no broadcast request at all. A
  // forced status is that of an order, which is not run then unless it is 0.
  std::optional<Bytes> answer(const Frame& request, std::optional<int> forced_status, TimePoint now);

 private:
  struct Order {
    int code;
    std::size_t length;  // of what follows the MAC address
    int command;         // that takes it as its payload; 0: none
  };
  Bytes deviceInfo() const;
  int run(const Order& order, ByteView payload, std::optional<int> forced_status, TimePoint now);

  Board& board_;
  const CommandTable& commands_;
};

}  // namespace qvx::bench
