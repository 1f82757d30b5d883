// The receive buffer that every client has, whatever its medium.
#pragma once

#include "runtime/mutex.h"
#include "transport/splitter.h"
#include "transport/transport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvx {

// A client without a medium: it can cut frames out of bytes put into its stream, but neither send nor receive. The
// clients of real media derive from it. The buffer belongs to the thread that reads; other threads may look at it.
class Client : public Transport {
 public:
  // The received bytes not yet consumed, and the position in them from which the next frame end is searched: `stream`
  // and `last_index`. Setting either makes the next split look at the whole stream again. Any thread.
  Bytes stream() const;
  void setStream(ByteView bytes);
  std::size_t lastIndex() const;
  void setLastIndex(std::size_t index);
  // Takes the whole frames from the front of the stream: `_splitPacket`.
  std::vector<Frame> splitPacket();

  // Raises APINotSupportError, for want of a medium.
  void sendPacket(ByteView frame) override;
  // Reads at most `size` bytes once; returns what arrived within the read timeout, possibly nothing. Raises
  // APINotSupportError here, and the connection class of the medium in a client that has lost it.
  virtual Bytes recvPacket(std::size_t size);
  std::vector<Frame> recvAndSplitPacket(std::size_t size) override;
  void disconnect() override {}

 protected:
  // Connections are numbered, so that bytes which a reader still holds from one that has ended don't enter the stream
  // of the next. beginStream empties the stream for connection `number`, before anything can be read from it.
  void beginStream(std::uint64_t number);
  // Appends what came from connection `number`, and splits.
  std::vector<Frame> appendAndSplit(ByteView bytes, std::uint64_t number);

 private:
  mutable Mutex mutex_;  // innermost, nothing is called under it
  FrameSplitter splitter_ QVX_GUARDED_BY(mutex_);
  std::uint64_t connection_ QVX_GUARDED_BY(mutex_) = 0;
};

}  // namespace qvx
