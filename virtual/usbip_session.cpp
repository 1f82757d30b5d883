#include "virtual/usbip_session.h"

#include "core/constants.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace qvx::bench {
namespace {

// Operations, before a device is imported: version u16, code u16, status u32, then what belongs to the code.
constexpr std::uint16_t kVersion = 0x0111;
constexpr std::uint16_t kListRequest = 0x8005;
constexpr std::uint16_t kListReply = 0x0005;
constexpr std::uint16_t kImportRequest = 0x8003;
constexpr std::uint16_t kImportReply = 0x0003;
constexpr std::size_t kOperationSize = 8;
constexpr std::size_t kBusIdSize = 32;
constexpr std::size_t kPathSize = 256;
enum ImportStatus : std::uint32_t { kImported = 0, kBusy = 2, kNoDevice = 4 };
constexpr std::uint32_t kBus = 1;
constexpr std::uint32_t kFullSpeed = 2;

// Messages about transfers, each of 48 bytes: command u32, sequence number u32, device u32, direction u32, endpoint
// u32; of a submission then flags u32, length i32, first frame i32, packets i32, interval i32, setup in 8 bytes.
enum Command : std::uint32_t { kSubmit = 1, kUnlink = 2, kSubmitReply = 3, kUnlinkReply = 4 };
constexpr std::size_t kMessageSize = 48;
constexpr std::size_t kLengthAt = 24;
constexpr std::size_t kPacketsAt = 32;
constexpr std::size_t kSetupAt = 40;
constexpr std::size_t kVictimAt = 20;
constexpr std::uint32_t kIn = 1;

std::uint32_t deviceId(const UsbipExport& device) {
  return kBus << 16 | device.number;
}

Bytes padded(std::string_view text, std::size_t size) {
  Bytes field(text.begin(), text.end());
  field.resize(size);
  return field;
}

Bytes describe(const UsbipExport& device) {
  const UsbIdentity identity = UsbFunction::identity();
  return payload(padded("/sys/devices/qvx-virtual/usb1/" + device.bus_id, kPathSize), padded(device.bus_id, kBusIdSize),
                 u32(kBus), u32(device.number), u32(kFullSpeed), u16(identity.vendor), u16(identity.product),
                 u16(identity.release), u8(0), u8(0), u8(0), u8(identity.configuration), u8(1), u8(1));
}

Bytes message(Command command, std::uint32_t number, int status, std::size_t actual) {
  Bytes bytes =
      payload(u32(static_cast<std::uint32_t>(command)), u32(number), u32(0), u32(0), u32(0), u32(status), u32(actual));
  bytes.resize(kMessageSize);
  return bytes;
}

void take(Bytes& bytes, std::size_t count) {
  bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

UsbipSession::~UsbipSession() {
  if (imported_ != nullptr) {
    imported_->imported = false;
  }
}

void UsbipSession::receive(ByteView bytes, TimePoint now) {
  input_.insert(input_.end(), bytes.begin(), bytes.end());
  std::size_t head = 0;
  while (!ending_ && !broken_) {
    const ByteView rest = ByteView(input_).subspan(head);
    const std::size_t size = session_ ? transferMessage(rest) : operation(rest);
    if (size == 0) {
      break;
    }
    head += size;
  }
  take(input_, head);
  advance(now);
}

TimePoint UsbipSession::due() const {
  if (!session_) {
    return kNever;
  }
  const bool can_send = !in_.empty() && output_.empty() && !session_->output().empty();
  const bool can_take = !out_.empty() && session_->wantsInput();
  return can_send || can_take ? TimePoint() : session_->due();
}

void UsbipSession::written(std::size_t count) {
  take(output_, count);
}

std::size_t UsbipSession::operation(ByteView bytes) {
  if (bytes.size() < kOperationSize) {
    return 0;
  }
  const auto code = readBig<std::uint16_t>(bytes, 2);
  broken_ = readBig<std::uint16_t>(bytes) != kVersion || (code != kListRequest && code != kImportRequest);
  if (broken_) {
    return 0;
  }
  if (code == kListRequest) {
    listDevices();
    return kOperationSize;
  }
  if (bytes.size() < kOperationSize + kBusIdSize) {
    return 0;
  }
  import(bytes.subspan(kOperationSize, kBusIdSize));
  return kOperationSize + kBusIdSize;
}

void UsbipSession::listDevices() {
  appendField(output_, payload(u16(kVersion), u16(kListReply), u32(0), u32(exports_.size())));
  for (const UsbipExport& device : exports_) {
    appendField(output_, describe(device));
    appendField(output_, payload(u8(UsbFunction::identity().interface_class), u8(0), u8(0), u8(0)));
  }
  ending_ = true;
}

void UsbipSession::import(ByteView bus_id) {
  const std::string wanted(bus_id.begin(), std::find(bus_id.begin(), bus_id.end(), 0));
  const auto found = std::find_if(exports_.begin(), exports_.end(),
                                  [&](const UsbipExport& device) { return device.bus_id == wanted; });
  ImportStatus status = kImported;
  if (found == exports_.end()) {
    status = kNoDevice;
  } else if (found->imported || found->device.rebootPending()) {
    status = kBusy;
  }
  appendField(output_, payload(u16(kVersion), u16(kImportReply), u32(static_cast<std::uint32_t>(status))));
  if (status != kImported) {
    ending_ = true;
    return;
  }
  appendField(output_, describe(*found));
  found->imported = true;
  imported_ = &*found;
  session_ = std::make_unique<Session>(found->device, log_, found->bus_id);
  log_.event(found->bus_id, "imported");
}

std::size_t UsbipSession::transferMessage(ByteView bytes) {
  if (bytes.size() < kMessageSize) {
    return 0;
  }
  const auto command = readBig<std::uint32_t>(bytes);
  broken_ = readBig<std::uint32_t>(bytes, 8) != deviceId(*imported_) || (command != kSubmit && command != kUnlink);
  if (broken_) {
    return 0;
  }
  if (command == kUnlink) {
    unlink(readBig<std::uint32_t>(bytes, 4), readBig<std::uint32_t>(bytes, kVictimAt));
    return kMessageSize;
  }
  return submit(bytes);
}

std::size_t UsbipSession::submit(ByteView bytes) {
  const auto number = readBig<std::uint32_t>(bytes, 4);
  const bool in = readBig<std::uint32_t>(bytes, 12) == kIn;
  const auto endpoint = readBig<std::uint32_t>(bytes, 16);
  const auto length = readBig<std::int32_t>(bytes, kLengthAt);
  // No endpoint is isochronous: there are no packets to count.
  const auto packets = readBig<std::int32_t>(bytes, kPacketsAt);
  broken_ = readBig<std::uint32_t>(bytes, 12) > kIn || length < 0 ||
            length > static_cast<std::int32_t>(kLongestTransfer) || packets > 0;
  const std::size_t carried = in || broken_ ? 0 : static_cast<std::size_t>(length);
  if (broken_ || bytes.size() < kMessageSize + carried) {
    return 0;
  }
  const ByteView data = bytes.subspan(kMessageSize, carried);
  const auto size = static_cast<std::size_t>(length);
  if (endpoint == 0) {
    submitControl(number, bytes.subspan(kSetupAt, UsbSetup::kSize), size);
  } else if (in && (endpoint | 0x80U) == USB_EP_IN) {
    in_.push_back({number, size, {}});
  } else if (!in && endpoint == USB_EP_OUT) {
    out_.push_back({number, size, Bytes(data.begin(), data.end())});
    out_bytes_ += size;
  } else {
    complete(number, -EPIPE, 0, {});
  }
  broken_ = broken_ || isOverfull();
  return kMessageSize + carried;
}

void UsbipSession::submitControl(std::uint32_t number, ByteView setup_bytes, std::size_t room) {
  const UsbSetup setup = UsbSetup::parse(setup_bytes);
  auto data = imported_->function.control(setup);
  if (!data) {
    complete(number, -EPIPE, 0, {});
    return;
  }
  if (data->size() > room) {
    data->resize(room);
  }
  complete(number, 0, setup.in() ? data->size() : room, *data);
}

bool UsbipSession::isOverfull() const {
  return in_.size() + out_.size() > kMostWaiting || out_bytes_ > kMostBytesWaiting;
}

// One that has ended, or holds packets that the device has sent already, is not undone.
void UsbipSession::unlink(std::uint32_t number, std::uint32_t victim) {
  int status = 0;
  for (auto* const waiting : {&in_, &out_}) {
    const auto found = std::find_if(waiting->begin(), waiting->end(),
                                    [&](const Transfer& transfer) { return transfer.number == victim; });
    if (found == waiting->end()) {
      continue;
    }
    if (waiting == &in_ && !found->bytes.empty()) {
      complete(victim, 0, found->bytes.size(), found->bytes);
    } else {
      status = -ECONNRESET;
    }
    out_bytes_ -= waiting == &out_ ? found->bytes.size() : 0;
    waiting->erase(found);
    break;
  }
  appendField(output_, message(kUnlinkReply, number, status, 0));
}

void UsbipSession::complete(std::uint32_t number, int status, std::size_t actual, ByteView data) {
  appendField(output_, message(kSubmitReply, number, status, actual));
  output_.insert(output_.end(), data.begin(), data.end());
}

void UsbipSession::advance(TimePoint now) {
  if (!session_ || broken_) {
    return;
  }
  session_->advance(now);
  while (!out_.empty() && session_->wantsInput()) {
    Transfer& transfer = out_.front();
    const ByteView rest = ByteView(transfer.bytes).subspan(transfer.taken);
    const ByteView piece = rest.first(std::min(rest.size(), kPiece));
    session_->receive(piece, now);
    transfer.taken += piece.size();
    if (transfer.taken == transfer.bytes.size()) {
      complete(transfer.number, 0, transfer.taken, {});
      out_bytes_ -= transfer.taken;
      out_.pop_front();
    }
  }
  // A packet that is not full ends a transfer.
  while (!in_.empty() && output_.size() < kBacklog) {
    Transfer& transfer = in_.front();
    const ByteView ready = session_->output();
    const std::size_t room = transfer.length - transfer.bytes.size();
    if (ready.empty() && room != 0) {
      break;
    }
    const std::size_t count = std::min({ready.size(), room, UsbFunction::kPacketSize});
    transfer.bytes.insert(transfer.bytes.end(), ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(count));
    session_->written(count);
    if (count < UsbFunction::kPacketSize || count == room) {
      complete(transfer.number, 0, transfer.bytes.size(), transfer.bytes);
      in_.pop_front();
    }
  }
  broken_ = session_->resetDue();
}

}  // namespace qvx::bench
