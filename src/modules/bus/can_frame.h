// One frame of a CAN bus and its forms on the wire.
//
// The identifier word, u32: a standard identifier (11 bits) stands in bits 31..21; an extended one (29 bits) has its
// upper 11 bits there and its lower 18 in bits 17..0. Bit 20 marks a remote frame, bit 19 the extended format.
#pragma once

#include "core/argument.h"
#include "core/bytes.h"

#include <array>
#include <cstdint>
#include <string>

namespace qvx {

// A plain value. Frames are equal when they mean the same on the bus: the data of a remote frame, the length and the
// time don't count.
class CANFrame {
 public:
  static constexpr std::size_t kDataSize = 8;
  // Received: identifier word, length u8, data in 8 bytes.
  static constexpr std::size_t kRecordSize = 13;
  static constexpr std::uint32_t kHighestStandard = 0x7FF;
  static constexpr std::uint32_t kHighestExtended = 0x1FFFFFFF;

  CANFrame() = default;
  // An identifier that its format has no room for raises InputDataNotInRangeError, more than 8 bytes of data
  // CANDataLengthNotVaildError. Data are extended with zeros to 8 bytes.
  CANFrame(const Argument& id, const Argument& data, const Argument& remote, const Argument& extended_id);
  // Reads a record, or an identifier word and up to 8 bytes of data. Fewer than 4 bytes raise
  // InputDataNotInRangeError, more than a record CANDataLengthNotVaildError.
  static CANFrame fromBytes(ByteView bytes);
  // `record`: kRecordSize bytes.
  static CANFrame fromRecord(ByteView record);

  std::uint32_t id() const { return id_; }
  bool extended() const { return extended_; }
  bool remote() const { return remote_; }
  const std::array<std::uint8_t, kDataSize>& data() const { return data_; }
  // How many of the 8 bytes the bus carried, or asked for; of a frame that was not received 8, as all are written.
  int length() const { return length_; }
  // When it was received, in seconds since 1970; 0 for a frame that was not.
  double timestamp() const { return timestamp_; }
  void stamp(double seconds) { timestamp_ = seconds; }

  std::uint32_t word() const;
  // What a write sends: the identifier word and 8 bytes.
  Bytes bytes() const;
  // What a received frame is made of.
  Bytes record() const;
  // "CANFrame(id=291, extended_id=False, remote=False, data=[1, 2, 3, 0, 0, 0, 0, 0])"
  std::string text() const;

  bool operator==(const CANFrame& other) const;
  std::size_t hash() const;

  // At most 8 ints, else CANDataLengthNotVaildError, each 0..255, else InputDataNotInRangeError.
  static Bytes checkedData(const Argument& data);

 private:
  double timestamp_ = 0;
  std::uint32_t id_ = 0;
  std::array<std::uint8_t, kDataSize> data_{};
  std::uint8_t length_ = kDataSize;
  bool extended_ = false;
  bool remote_ = false;
};

}  // namespace qvx
