// Links that fail. Each fault is written once and runs over every road to a device; this is what a road offers.
#pragma once

#include "protocol/device.h"
#include "tests/cpp/protocol/fakes.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace qvx::test {

// How the far end may end a connection. Not every medium knows all of them.
enum class Cut : std::uint8_t {
  Closed,  // in good order, or unplugged
  Reset,
  HalfClosed,  // it says no more, but still takes what comes
};

// A handle, and the device at the other end, which does what the test says. One thread plays the far end at a time.
class Road {
 public:
  Road() = default;
  Road(const Road&) = delete;
  Road& operator=(const Road&) = delete;
  virtual ~Road() = default;

  virtual Device& device() = 0;
  // The channel that the far end sends on and cuts.
  virtual Channel& channel() = 0;
  virtual ErrorId connectionError() const = 0;
  virtual ErrorId lostError() const = 0;

  // Connects the handle to a far end that is there.
  virtual void connect() = 0;
  virtual void disconnect() { device().disconnect(); }
  // Connects that cannot come about.
  virtual std::vector<std::function<void()>> hopelessConnects() = 0;
  // Waits for an answer that doesn't come, for seconds; nothing where there is no such thing.
  virtual std::function<void()> longConnect() { return {}; }
  // The next connection gives up on a send early; false where that is not to be had.
  virtual bool becomeImpatient() { return false; }

  // How many connections there may be in a test that takes seconds.
  virtual int manyConnections() { return 1000; }

  // False where the medium knows no such end.
  virtual bool cut(Cut how) = 0;
  // False when the connection is over. Blocks while the handle takes nothing.
  virtual bool send(ByteView bytes) = 0;
  // What has come for commands since the last call, waiting for at least one byte of it; nothing when the connection is
  // over.
  virtual Bytes receive() = 0;
  // The far end takes nothing more of what the handle sends, until the next connection.
  virtual void stopTaking() {}
};

struct RoadChoice {
  std::string name;
  std::function<std::unique_ptr<Road>()> make;
};
inline void PrintTo(const RoadChoice& choice, std::ostream* out) {
  *out << choice.name;
}

// The roads of this test program.
std::vector<RoadChoice> roads();

// Ends the program when a test hangs, so that a hang is a failure that names itself.
class Watchdog {
 public:
  Watchdog();
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::mutex mutex_;  // guards done_
  std::condition_variable changed_;
  bool done_ = false;
  std::thread thread_;
};

std::ptrdiff_t threadsNow();
std::ptrdiff_t descriptorsNow();
// Resident memory, in bytes.
std::size_t memoryNow();

class LinkTest : public testing::TestWithParam<RoadChoice> {
 protected:
  Device& device() { return road->device(); }
  Channel::State state() { return road->channel().state(); }
  // Sends a request and answers it at the far end; true when the reply is the one.
  bool answers();
  // The handle has noticed that the connection is lost, and has told of it once.
  void expectLost();
  std::string lostName() const { return errorKind(road->lostError()).name; }
  std::string connectionName() const { return errorKind(road->connectionError()).name; }

  Watchdog watchdog;
  RecordingHost host;
  std::unique_ptr<Road> road = GetParam().make();
};

// In every program that has roads: INSTANTIATE_TEST_SUITE_P needs the suite's own name.
#define QVX_OVER_EVERY_ROAD(suite)                                  \
  INSTANTIATE_TEST_SUITE_P(Over, suite, testing::ValuesIn(roads()), \
                           [](const auto& instance) { return instance.param.name; })

}  // namespace qvx::test
