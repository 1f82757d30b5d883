// A device as USB sees it: its descriptors, and what it answers on the control endpoint.
#pragma once

#include "virtual/board.h"

namespace qvx::bench {

// The eight bytes that begin a control transfer; numbers are little-endian, as everywhere in USB.
struct UsbSetup {
  static constexpr std::size_t kSize = 8;
  std::uint8_t request_type;
  std::uint8_t request;
  std::uint16_t value;
  std::uint16_t index;
  std::uint16_t length;

  // `bytes`: kSize of them.
  static UsbSetup parse(ByteView bytes);
  bool in() const { return (request_type & 0x80U) != 0; }
};

// What others are told of it besides its descriptors.
struct UsbIdentity {
  std::uint16_t vendor;
  std::uint16_t product;
  std::uint16_t release;
  std::uint8_t configuration;
  std::uint8_t interface_class;
};

// One configuration with one interface, which has a bulk endpoint each way.
class UsbFunction {
 public:
  static constexpr std::size_t kPacketSize = 64;

  // Its strings are those of `board`, which must outlive it.
  explicit UsbFunction(const Board& board) : board_(board) {}

  static UsbIdentity identity();
  // The data of a request that asks for some, at most as long as it asks for; empty for others. Nothing: the device
  // does not know the request, and stalls.
  std::optional<Bytes> control(const UsbSetup& setup);

 private:
  struct Row {
    std::uint8_t request_type;
    std::uint8_t request;
    std::optional<Bytes> (UsbFunction::*run)(const UsbSetup&);
  };
  std::optional<Bytes> descriptor(const UsbSetup& setup);
  std::optional<Bytes> string(std::uint8_t index) const;
  std::optional<Bytes> deviceStatus(const UsbSetup& setup);
  std::optional<Bytes> status(const UsbSetup& setup);
  std::optional<Bytes> configuration(const UsbSetup& setup);
  std::optional<Bytes> setConfiguration(const UsbSetup& setup);
  std::optional<Bytes> interface(const UsbSetup& setup);
  std::optional<Bytes> setInterface(const UsbSetup& setup);
  std::optional<Bytes> clearHalt(const UsbSetup& setup);

  const Board& board_;
  std::uint8_t configuration_ = 0;
};

}  // namespace qvx::bench
