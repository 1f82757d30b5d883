// What the protocol needs of whatever moves its bytes: a native client or one that an application brings.
#pragma once

#include "core/bytes.h"
#include "core/errors.h"
#include "core/frame.h"
#include "runtime/descriptor.h"
#include "transport/intake.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qvx {

// One device over one medium. Owned by a device handle. At most one thread reads at a time, receiveNow excepted; any
// thread may send, wake or disconnect while it does.
class Transport {
 public:
  Transport() = default;
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;
  virtual ~Transport() = default;

  // Writes one whole frame; frames of several threads never mix. Raises the connection class of the medium.
  virtual void sendPacket(ByteView frame) = 0;
  // The same, and calls `before` right before, so that these calls come in the order of the frames where the medium
  // allows it. `before` does not wait, and calls nothing of a transport.
  virtual void sendInTurn(ByteView frame, const std::function<void()>& before) {
    before();
    sendPacket(frame);
  }
  // Reads at most `size` bytes, waiting up to the medium's read timeout, and returns the frames that are now whole.
  virtual std::vector<Frame> recvAndSplitPacket(std::size_t size) = 0;
  // Waits and reads as recvAndSplitPacket does, and files the frames.
  virtual void receive(Intake& intake) {
    auto frames = recvAndSplitPacket(intake.readSize());
    intake.step([&](std::span<std::uint8_t>) { return std::move(frames); });
  }
  // The descriptor of the open connection, for an event loop to watch: it becomes readable when something has come or
  // the connection is over, and stays open while it is held. nullptr where there is none, or none to be watched.
  virtual std::shared_ptr<const Descriptor> watchable() const { return nullptr; }
  // Reads and files what has come on the connection of `descriptor`; leaves it to a thread that is reading already.
  // False when that connection is over, which the receive thread finds out by itself. Any thread, never waits.
  virtual bool receiveNow(const Descriptor& /*descriptor*/, Intake& /*intake*/) { return false; }
  // Opens the medium: an address and a port number, or what identifies a device on another medium. Blocks. Raises the
  // connection class of the medium.
  virtual bool connect(const std::string& /*address*/, int /*number*/) {
    fail(ErrorId::APINotSupportError, "This transport has nothing to connect.");
  }
  // How long a read waits, in seconds; nothing: without limit, until it is woken.
  virtual void setTimeout(std::optional<double> /*timeout_s*/) {}
  // Writes one whole frame to every device on the attached networks.
  virtual void sendBcstPacket(ByteView /*frame*/) {
    fail(ErrorId::APINotSupportError, "This transport does not broadcast.");
  }
  // Closes the medium. Safe to repeat, and during a read or a send of another thread, which it ends.
  virtual void disconnect() = 0;
  // Whether the open connection has broken, as far as a send or a read has found out.
  virtual bool isLost() const { return false; }
  // How long a reply may take at most. A request that has waited longer has been lost, or its reply. Where the medium
  // loses nothing, this is beyond what any command takes.
  virtual std::chrono::milliseconds longestSilence() const { return std::chrono::minutes(1); }
  // Ends the read in progress, or else the next one that would wait, early with nothing. Any thread, never blocks.
  virtual void wake() {}
};

}  // namespace qvx
