// The device's side of the commands: modules of command rows, and the table that finds the row of a request.
//
// Nothing here knows how bytes travel. Everything runs on the bench's one thread; time is always passed in.
#pragma once

#include "virtual/clock.h"

#include "core/bytes.h"
#include "core/frame.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <unordered_map>

namespace qvx::bench {

// Firmware statuses; the numbering is part of the protocol.
namespace status {
inline constexpr int kOk = 0;
inline constexpr int kEnable = 10;
inline constexpr int kPinIndex = 11;
inline constexpr int kRtc = 20;
inline constexpr int kI2c = 21;
inline constexpr int kSpi = 22;
inline constexpr int kUart = 23;
inline constexpr int kEeprom = 40;
inline constexpr int kCore = 42;
inline constexpr int kDio = 50;
inline constexpr int kAi = 52;
inline constexpr int kAo = 53;
inline constexpr int kCan = 57;
inline constexpr int kTcp = 71;
inline constexpr int kParser = 80;
}  // namespace status

// Where a module's packets go: the connection that a request came from.
class Outlet {
 public:
  virtual ~Outlet() = default;
  virtual void send(int code, ByteView payload, TimePoint now) = 0;
  // The same when the device has been busy with it for a time.
  virtual void sendAfter(std::chrono::nanoseconds, int code, ByteView payload, TimePoint now) {
    send(code, payload, now);
  }
  // Payload bytes of stream packets that may be sent now; a slow client has little room.
  virtual std::size_t room() const = 0;
  // Where stream packets go that are asked for here: over this connection, or over the data connection beside it;
  // nullptr while that is missing.
  virtual Outlet* streams() { return this; }
};

struct Request {
  int code;
  ByteView payload;
  Outlet& outlet;
  TimePoint now;
};

// How a command's reply begins.
enum class ReplyForm : std::uint8_t {
  Data,        // nothing but data
  Status,      // status, data
  EchoStatus,  // first byte of the request's payload (the port), status, data
};

// A handler's result. Data is sent only with status 0.
struct Answer {
  Answer(int status_) : status(status_) {}
  Answer(Bytes data_) : data(std::move(data_)) {}
  static Answer silence() {
    Answer answer(status::kOk);
    answer.silent = true;
    return answer;
  }

  int status = status::kOk;
  Bytes data;
  bool silent = false;                // accepted without a reply; a refusal is always sent
  std::chrono::nanoseconds takes{0};  // until the reply is sent
};

// One command of module M. Payloads shorter or longer than min..max never reach `run`.
template <class M>
struct CommandRow {
  int code;
  std::size_t min;
  std::size_t max;
  ReplyForm form;
  Answer (M::*run)(const Request&);
};

class CommandTable {
 public:
  // `module` must outlive the table. A code may be added once.
  template <class M>
  void add(M& module, std::span<const CommandRow<M>> rows) {
    for (const CommandRow<M>& row : rows) {
      insert(row.code, {row.min, row.max, row.form,
                        [&module, run = row.run](const Request& request) { return (module.*run)(request); }});
    }
  }

  // Runs the request and sends the reply. A forced status other than 0 refuses the command without running it; 0 hides
  // a refusal. Unknown commands are answered with status 80 in both positions a status may have.
  void handle(const Request& request, std::optional<int> forced_status) const;

 private:
  struct Entry {
    std::size_t min;
    std::size_t max;
    ReplyForm form;
    std::function<Answer(const Request&)> run;
  };
  void insert(int code, Entry entry);

  std::unordered_map<int, Entry> entries_;
};

// A family of commands with its state.
class Module {
 public:
  Module() = default;
  virtual ~Module() = default;
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  virtual void addCommands(CommandTable& table) = 0;
  // Reboot: what lives in RAM starts anew.
  virtual void restart() = 0;
  // Back to what the factory delivers; also restarts.
  virtual void factoryReset() { restart(); }
  // Sends what is due.
  virtual void tick(TimePoint) {}
  // When tick has something to do by itself. Room in an outlet is no event: the transport ticks after it made some.
  virtual TimePoint due(TimePoint) { return kNever; }
  // `outlet` is about to vanish.
  virtual void forget(const Outlet&) {}
};

}  // namespace qvx::bench
