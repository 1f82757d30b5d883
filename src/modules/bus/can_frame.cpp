#include "modules/bus/can_frame.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace qvx {
namespace {

constexpr std::uint32_t kRemoteBit = 0x100000;
constexpr std::uint32_t kExtendedBit = 0x80000;
constexpr unsigned kStandardShift = 21;
constexpr unsigned kExtendedShift = 3;          // of the upper 11 of 29 bits
constexpr std::uint32_t kUpper11 = 0x1FFC0000;  // in an extended identifier
constexpr std::uint32_t kLower18 = 0x3FFFF;     // there and in the word
constexpr std::uint32_t kUpperInWord = 0xFFE00000;
constexpr std::size_t kWordSize = 4;

bool checkedFlag(const Argument& value, std::string_view what) {
  return checkedRange(value, what, 0, 1) == 1;
}

}  // namespace

Bytes CANFrame::checkedData(const Argument& data) {
  const std::size_t size = std::max(data.items().size(), data.asData().size());
  if (data.kind() != Argument::Kind::Text && size > kDataSize) {
    refuse(ErrorId::CANDataLengthNotVaildError, "data",
           std::to_string(size) + " bytes are more than " + std::to_string(kDataSize));
  }
  try {
    return checkedByteList(data, "data");
  } catch (const Failure& failure) {
    if (failure.id() != ErrorId::InputDataNotInRangeError) {
      throw;
    }
  }
  fail(ErrorId::InputDataNotInRangeError, "The specified CAN data elements not in range");
}

// Which identifiers there are depends on the last argument: where that is wrong, any that one kind has will do.
CANFrame::CANFrame(const Argument& id, const Argument& data, const Argument& remote, const Argument& extended_id)
    : extended_(!extended_id.isInt() || extended_id.asInt() != 0) {
  const auto number = checkedInt(id, "id");
  const std::uint32_t highest = extended_ ? kHighestExtended : kHighestStandard;
  if (number < 0 || number > highest) {
    refuse(ErrorId::InputDataNotInRangeError, "id",
           id.show() + " is not in 0.." + std::to_string(highest) + " of " +
               (extended_ ? "an extended" : "a standard") + " identifier");
  }
  id_ = static_cast<std::uint32_t>(number);
  const Bytes given = checkedData(data);
  std::copy(given.begin(), given.end(), data_.begin());
  remote_ = checkedFlag(remote, "remote");
  extended_ = checkedFlag(extended_id, "extended_id");
}

CANFrame CANFrame::fromRecord(ByteView record) {
  CANFrame frame;
  const auto word = readBig<std::uint32_t>(record);
  frame.extended_ = (word & kExtendedBit) != 0;
  frame.remote_ = (word & kRemoteBit) != 0;
  frame.id_ = frame.extended_ ? (word & kUpperInWord) >> kExtendedShift | (word & kLower18) : word >> kStandardShift;
  frame.length_ = std::min<std::uint8_t>(record[kWordSize], kDataSize);
  // What stands behind the data is of no meaning.
  std::copy_n(record.begin() + kWordSize + 1, frame.length_, frame.data_.begin());
  return frame;
}

CANFrame CANFrame::fromBytes(ByteView bytes) {
  if (bytes.size() < kWordSize) {
    fail(ErrorId::InputDataNotInRangeError,
         "a CAN frame has an identifier of 4 bytes; these are " + std::to_string(bytes.size()));
  }
  if (bytes.size() > kRecordSize) {
    fail(ErrorId::CANDataLengthNotVaildError);
  }
  if (bytes.size() == kRecordSize) {
    return fromRecord(bytes);
  }
  Bytes record(bytes.begin(), bytes.begin() + kWordSize);
  record.push_back(static_cast<std::uint8_t>(bytes.size() - kWordSize));
  record.insert(record.end(), bytes.begin() + kWordSize, bytes.end());
  record.resize(kRecordSize);
  return fromRecord(record);
}

std::uint32_t CANFrame::word() const {
  const std::uint32_t identifier =
      extended_ ? (id_ & kUpper11) << kExtendedShift | (id_ & kLower18) | kExtendedBit : id_ << kStandardShift;
  return identifier | (remote_ ? kRemoteBit : 0);
}

Bytes CANFrame::bytes() const {
  return payload(u32(word()), Bytes(data_.begin(), data_.end()));
}

Bytes CANFrame::record() const {
  return payload(u32(word()), u8(length_), Bytes(data_.begin(), data_.end()));
}

std::string CANFrame::text() const {
  const auto flag = [](bool value) { return value ? "True" : "False"; };
  std::string items;
  for (const std::uint8_t byte : data_) {
    items += (items.empty() ? "" : ", ") + std::to_string(byte);
  }
  return "CANFrame(id=" + std::to_string(id_) + ", extended_id=" + flag(extended_) + ", remote=" + flag(remote_) +
         ", data=[" + items + "])";
}

bool CANFrame::operator==(const CANFrame& other) const {
  return word() == other.word() && (remote_ || data_ == other.data_);
}

std::size_t CANFrame::hash() const {
  const std::uint64_t data = remote_ ? 0 : readBig<std::uint64_t>(data_);
  return std::hash<std::uint64_t>()(data * 0x9E3779B97F4A7C15U ^ word());
}

}  // namespace qvx
