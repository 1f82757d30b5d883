// What the clients share whose medium is a file descriptor: read by one thread, written and closed by any.
#pragma once

#include "runtime/descriptor.h"
#include "runtime/process.h"
#include "runtime/wait.h"
#include "transport/client.h"

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace qvx {

// A device that has been sent something and has not been heard of for so long is not there any more.
inline constexpr std::chrono::milliseconds kAcknowledgeLimit{4500};
// A device that does not take a frame within this time has lost its connection.
inline constexpr std::chrono::milliseconds kSendLimit{5000};
// What one read returns at most, however much it may: the room for it is made before anything has come.
inline constexpr std::size_t kMostAtOnce = 1 << 20;

// Threads: one reader at a time, beside which any may call receiveNow; any number of senders; disconnect, wake and
// setTimeout from anywhere. All of them share the Link they work on, so that its descriptor is closed only when the
// last of them has let go, and is never recycled under a read or a send. Sends and reads don't wait for each other.
class DescriptorClient : public Client {
 public:
  // The descriptor of the open medium, 0 when none is open.
  int socket() const;
  // How long a read waits, in seconds from 0 up; nothing: without limit. Counts from the next read on. Raises
  // InputDataNotInRangeError on less than 0 and on NaN.
  void setTimeout(std::optional<double> timeout_s) override;

  // Writes all of `frame`; frames of several threads follow each other whole. Blocks while the device takes nothing,
  // for the send limit at most. Raises the medium's class when there is no connection, when it breaks, and when the
  // limit passes. A connection on which only a part of a frame went out is given up, also when Ctrl-C is the cause.
  void sendPacket(ByteView frame) override;
  void sendInTurn(ByteView frame, const std::function<void()>& before) override;
  // Returns what has arrived, at most `size` bytes; nothing when the timeout passes or wake or disconnect ends the
  // wait. Raises the medium's class when there is no connection or it has broken, on every read until the next connect.
  Bytes recvPacket(std::size_t size) override;
  std::vector<Frame> recvAndSplitPacket(std::size_t size) override;
  // Ends the traffic and closes the medium. A read in progress returns, a send or connect in progress raises. Raises
  // the medium's class when ending the traffic fails, except because the device has done so already; the medium is gone
  // all the same.
  void disconnect() override;
  bool isLost() const override;
  void wake() override;

 protected:
  // What each kind of descriptor does in its own way; none of it may wait.
  struct Medium {
    ErrorId connection_error;  // the class of a connect that fails
    ErrorId lost_error;        // and of everything else
    const char* lost_reason;   // what that says beside its default text; nullptr: nothing
    bool reads_to_the_end;     // whether reading ends by itself behind the last byte of a connection that is over
    ssize_t (*read)(int fd, void* to, std::size_t size);
    ssize_t (*write)(int fd, const void* from, std::size_t size);
    // Drops what a lost connection has not sent yet; nullptr where closing doesn't wait for it.
    void (*drop)(int fd);
    // Ends traffic in both directions, once for each connection. False when that fails.
    bool (*shutDown)(int fd);
    // For how long the peer has not acknowledged what was sent nor said anything else; 0 when nothing is owed. nullptr
    // where nothing is ever acknowledged.
    std::chrono::milliseconds (*unheard)(int fd);
  };

  // One connection, from the making of the descriptor until its last user has let go.
  class Link {
   public:
    // Takes a non-blocking descriptor. Raises std::system_error when no descriptor is left.
    Link(const Medium& medium, Descriptor descriptor, std::uint64_t number)
        : medium_(medium), descriptor_(std::move(descriptor)), number_(number) {
      if (medium.unheard != nullptr) {
        alarm_.emplace();
      }
    }
    int fd() const { return descriptor_.get(); }
    const Descriptor& descriptor() const { return descriptor_; }
    std::uint64_t number() const { return number_; }
    // Broken by the peer, or given up.
    bool isLost() const { return lost_; }
    // By disconnect.
    bool isEnded() const { return ended_; }
    void lose();
    // Returns false when ending the traffic fails.
    bool end();

    // What was just sent is to be acknowledged.
    void noteSent();
    // For the reader: waits for wake(), and for what arrives unless that is somebody else's.
    enum class Came : std::uint8_t { Nothing, Data, Call };
    Came await(bool arrivals, const Deadline& deadline);

    WakeUp wake;  // for the reader
    WakeUp over;  // for the sender: the connection is lost or ended

    // One frame at a time. Not a mutex: who waits for a device, or for its turn, listens for Ctrl-C, which takes the
    // interpreter's lock, and that nobody does while holding a mutex. False when it takes longer than `limit`.
    bool takeTurn(std::chrono::milliseconds limit);
    void giveTurn();

   private:
    bool shutDown();
    void checkSent();

    const Medium& medium_;
    const Descriptor descriptor_;
    const std::uint64_t number_;
    std::atomic<bool> shut_ = false;
    std::atomic<bool> lost_ = false;
    std::atomic<bool> ended_ = false;
    // Goes off while something that was sent may be unacknowledged.
    std::optional<Alarm> alarm_;
    std::atomic<bool> alarm_set_ = false;
    Mutex turn_mutex_;  // innermost
    Condition turn_free_;
    std::atomic<bool> sending_ = false;
    std::atomic<int> wanting_ = 0;  // who waits for the turn
  };

  // `medium` must outlive the client.
  DescriptorClient(const Medium& medium, std::chrono::milliseconds send_limit)
      : medium_(medium), send_limit_(send_limit) {}

  // Raises the class of a failed connect when the client has a connection or is making one. One known to be lost is
  // none.
  void refuseSecond() const;
  // Makes `descriptor` the one being connected, which disconnect can end, unless refuseSecond forbids it. A lost
  // connection is closed.
  std::shared_ptr<Link> prepare(Descriptor descriptor);
  // `link` is connected: empties the stream and lets sends and reads use it. False when disconnect came first.
  bool open(const std::shared_ptr<Link>& link);
  // `link` could not be connected.
  void abandon(const std::shared_ptr<Link>& link);
  // The open link. Raises the medium's class when there is none.
  std::shared_ptr<Link> current() const;
  // The same; nullptr when there is none.
  std::shared_ptr<Link> openLink() const;
  // Reads once, without waiting, and returns how many bytes: nothing when nothing has come, 0 when disconnect has ended
  // the connection. Raises when it is lost.
  std::optional<std::size_t> readOnce(Link& link, std::span<std::uint8_t> to);
  // When a read that begins now gives up.
  Deadline readDeadline() const;
  // Raises `id` with its default text, followed by `reason`.
  [[noreturn]] static void failBecause(ErrorId id, const std::string& reason);

 private:
  void refuseSecondLocked() const QVX_REQUIRES(mutex_);
  Bytes read(Link& link, std::size_t size);
  void sendAll(Link& link, ByteView frame);
  [[noreturn]] void failLost() const;

  const Medium& medium_;
  const std::chrono::milliseconds send_limit_;
  Origin origin_;
  mutable Mutex mutex_;  // the stream's mutex may be taken under it, nothing else
  std::shared_ptr<Link> link_ QVX_GUARDED_BY(mutex_);
  std::shared_ptr<Link> connecting_ QVX_GUARDED_BY(mutex_);
  std::optional<double> timeout_s_ QVX_GUARDED_BY(mutex_);
  std::uint64_t links_made_ QVX_GUARDED_BY(mutex_) = 0;
};

}  // namespace qvx
