// Analog input of 24 bits with two ranges, read on demand only.
#pragma once

#include "virtual/board.h"

namespace qvx::bench {

// Port 0, all channels of the board. Each reading is taken in the range that it fits: +-25 V, or +-50 V.
class Ai24Firmware final : public Module {
 public:
  explicit Ai24Firmware(Board& board) : board_(board) {}
  void addCommands(CommandTable& table) override;
  void restart() override {}

 private:
  Answer read(const Request& request);

  Board& board_;
};

}  // namespace qvx::bench
