// One transport of a handle, with the thread that reads it.
#pragma once

#include "core/frame.h"
#include "protocol/replies.h"
#include "protocol/worker.h"
#include "transport/transport.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace qvx {

class Connection;
class ConnectionReader;

// Of a connection, and of each channel that belongs to it; connection.h says how one follows the other.
enum class ConnectionState : std::uint8_t { Disconnected, Connecting, Connected, Lost, Disconnecting };

// Where a transport is kept that may be replaced at any time. Any thread.
class TransportSlot {
 public:
  explicit TransportSlot(std::shared_ptr<Transport> client = nullptr) : client_(std::move(client)) {}
  std::shared_ptr<Transport> get() const {
    const Lock lock(mutex_);
    return client_;
  }
  // A read in progress on the old one gives way to the new one.
  void set(std::shared_ptr<Transport> client) {
    {
      const Lock lock(mutex_);
      client_.swap(client);
    }
    if (client) {
      client->wake();
    }
  }

 private:
  mutable Mutex mutex_;
  std::shared_ptr<Transport> client_ QVX_GUARDED_BY(mutex_);
};

// Made by a connection, and belongs to it. The thread starts with the channel and parks at the closed gate until there
// is a connection. Any thread may call anything.
class Channel {
 public:
  struct Setup {
    const char* thread_name;
    std::size_t read_size;
    std::shared_ptr<TransportSlot> client;
    std::function<void(Frame)> file;  // takes each received frame
  };
  // `owner`: the thread also serves the connection's requests.
  Channel(Connection& connection, Setup setup, bool owner);

  // As the connection's, of which this is a part.
  using State = ConnectionState;
  State state() const;
  bool connected() const;
  std::string identifier() const;

  // A reply has been asked for. While a fiber waits for it, its loop reads the connection; a thread that waits reads it
  // by what is returned, nullptr where the receive thread has to.
  std::shared_ptr<Reader> expectReply();

  Gate& gate() { return *gate_; }
  Worker& worker() { return worker_; }
  Connection& connection() { return connection_; }

 private:
  friend class Connection;
  // Reads once, on the channel's thread.
  void read();
  void wake();
  // The gate's moves with the state of the connection.
  void begin() { gate_->release(); }
  void end();

  Connection& connection_;
  const Setup setup_;
  const std::shared_ptr<Intake> intake_;
  Mutex reader_mutex_;
  std::shared_ptr<ConnectionReader> reader_ QVX_GUARDED_BY(reader_mutex_);  // of those who read beside the thread
  const std::shared_ptr<Gate> gate_ = std::make_shared<Gate>();
  Worker worker_;
};

}  // namespace qvx
