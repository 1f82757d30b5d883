// What the TCP and UDP clients share: one socket, read by one thread, written and closed by any.
#pragma once

#include "transport/client.h"
#include "transport/descriptor.h"
#include "transport/turn.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace qvx {

// A device that does not take a frame within this time has lost its connection.
inline constexpr std::chrono::milliseconds kSendLimit{5000};

// Threads: one reader at a time; any number of senders; disconnect, wake and setTimeout from anywhere. All of them
// share the Link they work on, so that its descriptor is closed only when the last of them has let go, and is never
// recycled under a read or a send. Sends and reads don't wait for each other.
class NetworkClient : public Client {
 public:
  explicit NetworkClient(std::chrono::milliseconds send_limit = kSendLimit) : send_limit_(send_limit) {}

  // The descriptor of the open socket, 0 when none is open.
  int socket() const;
  // How long a read waits, in seconds from 0 up; nothing: without limit. Counts from the next read on. Raises
  // InputDataNotInRangeError on less than 0 and on NaN.
  void setTimeout(std::optional<double> timeout_s) override;

  // Writes all of `frame`; frames of several threads follow each other whole. Blocks while the device takes nothing,
  // for the send limit at most. Raises NetworkConnectionLostError when there is no connection, when it breaks, and when
  // the limit passes. A connection on which only a part of a frame went out is given up, also when Ctrl-C is the cause.
  void sendPacket(ByteView frame) override;
  // Returns what has arrived, at most `size` bytes; nothing when the timeout passes or wake or disconnect ends the
  // wait. Raises NetworkConnectionLostError when there is no connection or it has broken, on every read until the next
  // connect.
  Bytes recvPacket(std::size_t size) override;
  std::vector<Frame> recvAndSplitPacket(std::size_t size) override;
  // Shuts the socket down in both directions and closes it. A read in progress returns, a send or connect in progress
  // raises. Never blocks. Raises NetworkConnectionLostError when the shutdown fails, except because the device has
  // closed already; the socket is gone all the same.
  void disconnect() override;
  void wake() override;

 protected:
  // One connection, from the making of the socket until its last user has let go.
  class Link {
   public:
    // Takes a non-blocking socket. Raises std::system_error when no descriptor is left.
    Link(Descriptor socket, std::uint64_t number) : socket_(std::move(socket)), number_(number) {}
    int fd() const { return socket_.get(); }
    std::uint64_t number() const { return number_; }
    // Broken by the peer, or given up.
    bool isLost() const { return lost_; }
    // By disconnect.
    bool isEnded() const { return ended_; }
    void lose();
    // Returns false when the shutdown fails.
    bool end();

    WakeUp wake;
    Turn sending;

   private:
    const Descriptor socket_;
    const std::uint64_t number_;
    std::atomic<bool> lost_ = false;
    std::atomic<bool> ended_ = false;
  };

  // Makes `socket` the one being connected, which disconnect can end. Raises NetworkConnectionError when the client has
  // a connection or is making one; a lost one is closed instead.
  std::shared_ptr<Link> prepare(Descriptor socket);
  // `link` is connected: empties the stream and lets sends and reads use it. False when disconnect came first.
  bool open(const std::shared_ptr<Link>& link);
  // `link` could not be connected.
  void abandon(const std::shared_ptr<Link>& link);

 private:
  // The open link. Raises NetworkConnectionLostError when there is none.
  std::shared_ptr<Link> current() const;
  Bytes receive(Link& link, std::size_t size);
  void sendAll(Link& link, ByteView frame, Clock::time_point deadline);

  const std::chrono::milliseconds send_limit_;
  mutable std::mutex mutex_;  // guards what follows; the stream's mutex may be taken under it, nothing else
  std::shared_ptr<Link> link_;
  std::shared_ptr<Link> connecting_;
  std::optional<double> timeout_s_;
  std::uint64_t links_made_ = 0;
};

}  // namespace qvx
