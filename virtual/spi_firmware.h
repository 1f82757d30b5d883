// SPI masters, and the slaves on their buses, bit by bit.
#pragma once

#include "virtual/bus_firmware.h"

#include <memory>

namespace qvx::bench {

// What shares the clock with a master.
class SpiSlave {
 public:
  virtual ~SpiSlave() = default;
  // The clock rises while the master's data line has this level.
  virtual void rise(bool mosi) = 0;
  // The level of its own data line.
  virtual bool miso(bool mosi) const = 0;
};

// 74HC595: each rising edge shifts a bit in; the one of eight edges ago comes out at the end.
class ShiftRegister final : public SpiSlave {
 public:
  void rise(bool mosi) override { bits_ = static_cast<std::uint8_t>(bits_ << 1 | (mosi ? 1 : 0)); }
  bool miso(bool) const override { return (bits_ & 0x80) != 0; }

 private:
  std::uint8_t bits_ = 0;
};

// A wire from the master's data output to its input.
class SpiLoopback final : public SpiSlave {
 public:
  void rise(bool) override {}
  bool miso(bool mosi) const override { return mosi; }
};

struct SpiSettings {
  bool sixteen_bits = false;
  bool least_first = false;
  bool polarity = false;  // the clock's level between transfers
  bool phase = false;     // data is taken at the second edge of the clock
  int prescaler = 256;
};

class SpiFirmware final : public BusFirmware<SpiFirmware, SpiSettings> {
 public:
  // Throws std::invalid_argument when two slaves are to be on one bus: there is one select line.
  explicit SpiFirmware(Board& board);

 private:
  friend BusFirmware;
  static std::span<const Row> rows();

  // Settings of one bit.
  template <bool SpiSettings::*Setting>
  Answer set(Port& port, const Request& request) {
    if (request.payload[1] > 1) {
      return status::kSpi;
    }
    port.settings.*Setting = request.payload[1] == 1;
    return status::kOk;
  }
  Answer setPrescaler(Port& port, const Request& request);
  Answer read(Port& port, const Request& request);
  Answer write(Port& port, const Request& request);
  Answer readAndWrite(Port& port, const Request& request);

  Answer transfer(Port& port, ByteView bytes, TimePoint now);
  Bytes exchanged(const Port& port, ByteView bytes);
  // Sends a bit and gives the one that the slave sends.
  static bool exchange(const SpiSettings& settings, bool& line, bool bit, SpiSlave& slave);

  std::map<int, std::unique_ptr<SpiSlave>> slaves_;  // by port; outlive restarts of the device
};

}  // namespace qvx::bench
