// The device's addresses on the network. What is set comes into effect at the next restart.
#pragma once

#include "virtual/board.h"

namespace qvx::bench {

class NetworkFirmware final : public Module {
 public:
  explicit NetworkFirmware(Board& board) : board_(board), delivered_(board.addresses) {}
  void addCommands(CommandTable& table) override;
  void restart() override { board_.addresses = board_.next_addresses; }
  // The connection that asked for it must not be lost: the addresses as delivered come with the next restart. The MAC
  // address stays.
  void factoryReset() override;

 private:
  Answer ip(const Request& request);
  Answer setIp(const Request& request);
  Answer gateway(const Request& request);
  Answer setGateway(const Request& request);
  Answer mac(const Request& request);
  Answer setMac(const Request& request);

  Board& board_;
  const Addresses delivered_;
};

}  // namespace qvx::bench
