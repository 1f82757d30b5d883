// I2C masters, and the slaves on their buses.
#pragma once

#include "virtual/bus_firmware.h"

#include <array>
#include <memory>
#include <optional>

namespace qvx::bench {

// A slave that understands its address.
class I2cSlave {
 public:
  virtual ~I2cSlave() = default;
  // A transfer to or from it begins; false: it does not acknowledge.
  virtual bool begin(TimePoint now) = 0;
  virtual void write(std::uint8_t byte) = 0;
  virtual std::uint8_t read() = 0;
  virtual void end(TimePoint now) = 0;
};

// 24C02: 256 bytes behind a pointer. The first byte of a write sets the pointer, the others go to its page, of 8 bytes,
// and begin there again after the last; then it takes 5 ms to store them and does not acknowledge meanwhile. A read
// gives the byte at the pointer and moves it on.
class Eeprom final : public I2cSlave {
 public:
  Eeprom() { memory_.fill(0xFF); }
  bool begin(TimePoint now) override;
  void write(std::uint8_t byte) override;
  std::uint8_t read() override { return memory_[pointer_++]; }
  void end(TimePoint now) override;

 private:
  static constexpr std::uint8_t kPageSize = 8;
  static constexpr std::chrono::milliseconds kWriteTime{5};

  std::array<std::uint8_t, 256> memory_{};
  std::uint8_t pointer_ = 0;
  bool addressed_ = false;  // the pointer has been sent in this transfer
  bool changed_ = false;
  TimePoint ready_;
};

struct I2cSettings {
  std::uint32_t rate = 100000;  // Hz
  bool ten_bit = false;
};

class I2cFirmware final : public BusFirmware<I2cFirmware, I2cSettings> {
 public:
  // Throws std::invalid_argument when two slaves have one address.
  explicit I2cFirmware(Board& board);

 private:
  friend BusFirmware;
  static std::span<const Row> rows();

  struct Place {
    int port;
    int address;
    bool ten_bit;
    auto operator<=>(const Place&) const = default;
  };

  Answer setRate(Port& port, const Request& request);
  Answer setAddressSize(Port& port, const Request& request);
  Answer write(Port& port, const Request& request);
  Answer read(Port& port, const Request& request);
  // The slave that acknowledges; nullptr: nobody.
  I2cSlave* address(const Port& port, ByteView address, TimePoint now);
  static double seconds(const Port& port, std::size_t bytes);

  std::map<Place, std::unique_ptr<I2cSlave>> slaves_;  // outlive restarts of the device
};

}  // namespace qvx::bench
