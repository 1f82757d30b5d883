#include "transport/usb.h"

#include "core/constants.h"
#include "core/errors.h"
#include "runtime/thread.h"
#include "runtime/wait.h"

#include <libusb.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

namespace qvx {
namespace {

// How many reads wait in the kernel at a time. A device that streams fills one every 50 us at the most, so these cover
// the time until the receive thread runs again on a busy machine.
constexpr std::size_t kReadsInFlight = 32;
// Until the event thread looks up without a reason. libusb wants a number, and it may be any.
constexpr timeval kADay{86'400, 0};
constexpr const char* kEnded = "The connection was ended by disconnect.";

const char* describeStatus(libusb_transfer_status status) {
  switch (status) {
    case LIBUSB_TRANSFER_NO_DEVICE:
      return "The USB device was unplugged.";
    case LIBUSB_TRANSFER_STALL:
      return "The USB device has stalled its endpoint.";
    case LIBUSB_TRANSFER_OVERFLOW:
      return "The USB device sent a longer packet than it had announced.";
    case LIBUSB_TRANSFER_CANCELLED:
    case LIBUSB_TRANSFER_TIMED_OUT:
      return "The USB device did not take a frame in time.";
    case LIBUSB_TRANSFER_COMPLETED:
    case LIBUSB_TRANSFER_ERROR:
      break;
  }
  return "A USB transfer failed.";
}

}  // namespace

// One open device: its transfers and the thread that is told of their ends. libusb is never called back from within
// submit or cancel, so both may be called under the mutex that the callback takes.
class USBClient::Link {
 public:
  // Reading begins at once. Raises USBConnectionError.
  explicit Link(USBPort port);
  ~Link() { close(); }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  void send(ByteView frame, Clock::time_point deadline, const std::function<void()>& before);
  Bytes receive(std::size_t size, const Deadline& deadline);
  bool isLost() const {
    const Lock lock(mutex_);
    return !lost_.empty();
  }
  void wake();
  void close();
  std::string place() const;

 private:
  enum class State : std::uint8_t { Idle, InFlight, Done };
  struct Transfer {
    explicit Transfer(Link& owner) : link(owner), usb(libusb_alloc_transfer(0), &libusb_free_transfer) {
      if (!usb) {
        throw std::bad_alloc();
      }
    }
    Link& link;
    std::unique_ptr<libusb_transfer, decltype(&libusb_free_transfer)> usb;
    State state = State::Idle;
    Bytes buffer;           // of a read
    std::size_t taken = 0;  // bytes of it that the reader has had
  };

  // Transfers are freed before the context on which they ran, so close waits for those who send. Lives under the mutex.
  struct Sender {
    explicit Sender(Link& owner) : link(owner) { ++link.senders_; }
    ~Sender() {
      --link.senders_;
      link.changed_.notifyHeld();
    }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    Link& link;
  };

  void runEvents();
  static void LIBUSB_CALL finished(libusb_transfer* usb);
  // Raises nothing: a transfer that cannot be submitted loses the connection.
  void submit(Transfer& transfer) QVX_REQUIRES(mutex_);
  void submitRead(Transfer& read) QVX_REQUIRES(mutex_);
  // Ends what is in flight; the reader still gets what came before.
  void lose(const std::string& reason) QVX_REQUIRES(mutex_);
  void cancel(Transfer& transfer);
  // Moves what has been read into `bytes`, up to `size` in all, and starts those reads anew.
  void collect(Bytes& bytes, std::size_t size) QVX_REQUIRES(mutex_);

  USBPort port_;
  mutable Mutex mutex_;
  Condition changed_;
  std::vector<std::unique_ptr<Transfer>> reads_ QVX_GUARDED_BY(mutex_);
  std::size_t next_read_ QVX_GUARDED_BY(mutex_) = 0;  // the one that was submitted first
  std::size_t in_flight_ QVX_GUARDED_BY(mutex_) = 0;
  std::size_t senders_ QVX_GUARDED_BY(mutex_) = 0;
  bool woken_ QVX_GUARDED_BY(mutex_) = false;
  bool ended_ QVX_GUARDED_BY(mutex_) = false;
  std::string lost_ QVX_GUARDED_BY(mutex_);  // why the connection is lost, "" while it is not
  std::atomic<bool> stopping_{false};
  std::thread events_;
};

USBClient::Link::Link(USBPort port) : port_(std::move(port)) {
  // As long as a packet of the device, so that a read ends with each packet. A longer one would wait for more.
  const auto size = static_cast<std::size_t>(std::max(USB_PKT_SIZE, port_.packet_size));
  for (std::size_t i = 0; i < kReadsInFlight; ++i) {
    reads_.push_back(std::make_unique<Transfer>(*this));
    reads_.back()->buffer.resize(size);
  }
  events_ = startThread("qvx-usb", [this] { runEvents(); });
  Lock lock(mutex_);
  for (const auto& read : reads_) {
    submitRead(*read);
  }
  if (!lost_.empty()) {
    const std::string reason = lost_;
    lock.unlock();
    close();
    failUSB(reason);
  }
}

std::string USBClient::Link::place() const {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%03d/%03d", port_.bus, port_.address);
  return text.data();
}

void USBClient::Link::runEvents() {
  while (!stopping_) {
    timeval limit = kADay;
    const int code = libusb_handle_events_timeout_completed(port_.context.get(), &limit, nullptr);
    if (code != 0 && code != LIBUSB_ERROR_INTERRUPTED) {
      {
        const Lock lock(mutex_);
        lose("libusb failed: " + describeUSB(code) + ".");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));  // lest it fail again at full speed
    }
  }
}

void USBClient::Link::finished(libusb_transfer* usb) {
  auto& transfer = *static_cast<Transfer*>(usb->user_data);
  Link& link = transfer.link;
  // Notified under the mutex: who waits may delete the transfer as soon as it is free.
  const Lock lock(link.mutex_);
  transfer.state = State::Done;
  --link.in_flight_;
  link.changed_.notifyHeld();
}

void USBClient::Link::submit(Transfer& transfer) {
  const int code = libusb_submit_transfer(transfer.usb.get());
  if (code == 0) {
    transfer.state = State::InFlight;
    ++in_flight_;
  } else {
    lose(code == LIBUSB_ERROR_NO_DEVICE ? describeStatus(LIBUSB_TRANSFER_NO_DEVICE)
                                        : "A USB transfer was refused: " + describeUSB(code) + ".");
  }
}

void USBClient::Link::submitRead(Transfer& read) {
  read.state = State::Idle;
  read.taken = 0;
  if (ended_ || !lost_.empty()) {
    return;
  }
  libusb_fill_bulk_transfer(read.usb.get(), port_.handle.get(), USB_EP_IN, read.buffer.data(),
                            static_cast<int>(read.buffer.size()), &Link::finished, &read, 0);
  submit(read);
}

void USBClient::Link::lose(const std::string& reason) {
  if (!lost_.empty()) {
    return;
  }
  lost_ = reason;
  for (const auto& read : reads_) {
    cancel(*read);
  }
  changed_.notifyHeld();
}

void USBClient::Link::cancel(Transfer& transfer) {
  if (transfer.state == State::InFlight) {
    libusb_cancel_transfer(transfer.usb.get());
  }
}

void USBClient::Link::send(ByteView frame, Clock::time_point deadline, const std::function<void()>& before) {
  Lock lock(mutex_);
  if (ended_) {
    failUSB(kEnded);
  }
  const Sender sender(*this);
  Transfer out(*this);
  libusb_fill_bulk_transfer(out.usb.get(), port_.handle.get(), USB_EP_OUT, const_cast<unsigned char*>(frame.data()),
                            static_cast<int>(frame.size()), &Link::finished, &out, 0);
  std::exception_ptr interrupt;
  if (lost_.empty()) {
    before();
    submit(out);
  }
  if (out.state == State::Idle) {
    failUSB(lost_);
  }
  try {
    changed_.wait(lock, deadline,
                  [&]() QVX_REQUIRES(mutex_) { return out.state == State::Done || ended_ || !lost_.empty(); });
  } catch (...) {
    interrupt = std::current_exception();
  }
  cancel(out);
  changed_.waitUndisturbed(lock, std::nullopt, [&]() QVX_REQUIRES(mutex_) { return out.state == State::Done; });

  const auto sent = static_cast<std::size_t>(out.usb->actual_length);
  const bool whole = out.usb->status == LIBUSB_TRANSFER_COMPLETED && sent == frame.size();
  const bool untouched = out.usb->status == LIBUSB_TRANSFER_CANCELLED && sent == 0;
  if (!whole && !(interrupt && untouched)) {
    lose(ended_ ? kEnded : describeStatus(out.usb->status));
  }
  if (interrupt) {
    std::rethrow_exception(interrupt);
  }
  if (!whole) {
    failUSB(lost_);
  }
}

Bytes USBClient::Link::receive(std::size_t size, const Deadline& deadline) {
  Bytes bytes;
  Lock lock(mutex_);
  while (bytes.empty() && size != 0) {
    const bool due = changed_.wait(lock, deadline, [this]() QVX_REQUIRES(mutex_) {
      return woken_ || ended_ || reads_[next_read_]->state != State::InFlight;
    });
    if (!due || ended_) {
      break;
    }
    collect(bytes, size);
    if (bytes.empty() && !lost_.empty() && reads_[next_read_]->state != State::InFlight) {
      failUSB(lost_);
    }
    if (bytes.empty() && std::exchange(woken_, false)) {
      break;
    }
  }
  return bytes;
}

void USBClient::Link::collect(Bytes& bytes, std::size_t size) {
  while (bytes.size() < size && reads_[next_read_]->state == State::Done) {
    Transfer& read = *reads_[next_read_];
    if (read.usb->status != LIBUSB_TRANSFER_COMPLETED) {
      lose(describeStatus(read.usb->status));
      return;
    }
    const auto length = static_cast<std::size_t>(read.usb->actual_length);
    const std::size_t count = std::min(size - bytes.size(), length - read.taken);
    const auto from = read.buffer.begin() + static_cast<std::ptrdiff_t>(read.taken);
    bytes.insert(bytes.end(), from, from + static_cast<std::ptrdiff_t>(count));
    read.taken += count;
    if (read.taken == length) {
      submitRead(read);
      next_read_ = (next_read_ + 1) % reads_.size();
    }
  }
}

void USBClient::Link::wake() {
  const Lock lock(mutex_);
  woken_ = true;
  changed_.notifyHeld();
}

void USBClient::Link::close() {
  {
    Lock lock(mutex_);
    if (std::exchange(ended_, true)) {
      return;
    }
    changed_.notifyHeld();
    for (const auto& read : reads_) {
      cancel(*read);
    }
    changed_.waitUndisturbed(lock, std::nullopt,
                             [this]() QVX_REQUIRES(mutex_) { return in_flight_ == 0 && senders_ == 0; });
    reads_.clear();
  }
  stopping_ = true;
  libusb_interrupt_event_handler(port_.context.get());
  events_.join();
  libusb_release_interface(port_.handle.get(), port_.interface);
  port_.handle.reset();
  port_.context.reset();
}

USBClient::USBClient(const std::string& serial_num, std::chrono::milliseconds send_limit) : send_limit_(send_limit) {
  USBPort port = openUSB(serial_num);
  serial_ = port.serial;
  product_ = port.product;
  configuration_ = port.configuration;
  interface_ = port.interface;
  try {
    link_ = std::make_shared<Link>(std::move(port));
  } catch (const std::system_error& error) {
    failUSB(error.what());
  }
}

USBClient::~USBClient() {
  if (origin_.isLeft()) {
    // The thread is not here and the device is the parent's; what describes them stays behind.
    new (std::nothrow) std::shared_ptr<Link>(std::move(link_));
  }
}

std::shared_ptr<USBClient::Link> USBClient::current() const {
  if (origin_.isLeft()) {
    failUSB("This connection belongs to the parent process; open another one.");
  }
  auto link = openLink();
  if (!link) {
    failUSB("Not connected: disconnect has been called.");
  }
  return link;
}

std::shared_ptr<USBClient::Link> USBClient::openLink() const {
  const Lock lock(mutex_);
  return link_;
}

std::optional<std::string> USBClient::place() const {
  const auto link = openLink();
  return link ? std::optional(link->place()) : std::nullopt;
}

void USBClient::setTimeout(std::optional<double> timeout_s) {
  if (timeout_s && !(*timeout_s >= 0)) {
    fail(ErrorId::InputDataNotInRangeError, "a read timeout of " + std::to_string(*timeout_s) + " s is below 0");
  }
  const Lock lock(mutex_);
  timeout_s_ = timeout_s;
}

void USBClient::sendPacket(ByteView frame) {
  sendInTurn(frame, [] {});
}

void USBClient::sendInTurn(ByteView frame, const std::function<void()>& before) {
  const auto link = current();
  if (!frame.empty()) {
    link->send(frame, Clock::now() + send_limit_, before);
  }
}

Bytes USBClient::recvPacket(std::size_t size) {
  const auto link = current();
  std::optional<double> timeout_s;
  {
    const Lock lock(mutex_);
    timeout_s = timeout_s_;
  }
  return link->receive(size, timeout_s ? deadlineAfter(*timeout_s) : std::nullopt);
}

void USBClient::disconnect() {
  if (origin_.isLeft()) {
    return;
  }
  std::shared_ptr<Link> link;
  {
    const Lock lock(mutex_);
    link.swap(link_);
  }
  if (link) {
    link->close();
  }
}

bool USBClient::isLost() const {
  const auto link = openLink();
  return link && link->isLost();
}

void USBClient::wake() {
  if (origin_.isLeft()) {
    return;
  }
  if (const auto link = openLink()) {
    link->wake();
  }
}

}  // namespace qvx
