#include "tests/cpp/links/road.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace qvx::test {
namespace {

constexpr std::chrono::seconds kHung{90};
constexpr int kEcho = GET_SERIAL_NUMBER;

std::ptrdiff_t entriesOf(const char* directory) {
  const std::filesystem::directory_iterator entries(directory);
  return std::distance(begin(entries), end(entries));
}

}  // namespace

Watchdog::Watchdog()
    : thread_([this] {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, kHung, [this] { return done_; })) {
          std::fprintf(stderr, "%s hangs\n", testing::UnitTest::GetInstance()->current_test_info()->name());
          std::abort();
        }
      }) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

std::ptrdiff_t threadsNow() {
  return entriesOf("/proc/self/task");
}

std::ptrdiff_t descriptorsNow() {
  return entriesOf("/proc/self/fd");
}

std::size_t memoryNow() {
  std::ifstream statm("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  statm >> size >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

bool LinkTest::answers() {
  const Bytes payload{1, 2, 3};
  const Bytes frame = buildFrame(kEcho, payload);
  auto reply = std::async(std::launch::async, [&] { return device().echoPacket(kEcho, payload, 20); });
  Bytes request;
  while (request.size() < frame.size()) {
    const Bytes more = road->receive();
    if (more.empty()) {
      break;
    }
    request.insert(request.end(), more.begin(), more.end());
  }
  EXPECT_EQ(hex(request), hex(frame));
  road->send(frame);
  return reply.get() == payload;
}

void LinkTest::expectLost() {
  EXPECT_TRUE(eventually([&] { return state() == Channel::State::Lost && !host.failures().empty(); }));
  EXPECT_EQ(host.failures(), std::vector<std::string>{lostName()});
}

}  // namespace qvx::test
