#include "virtual/faults.h"
#include "virtual/session.h"

#include "bench_fixture.h"

#include "core/constants.h"

#include <gtest/gtest.h>
#include <map>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

// How many frames of 1000 came out how many times, and how many changed, by the number of changed bytes.
struct Tally {
  std::map<std::size_t, int> copies;
  std::map<std::size_t, int> changed;
  bool operator==(const Tally&) const = default;
};

Tally tally(const FaultOptions& options, std::uint64_t seed) {
  Faults faults(options, seed);
  Tally tally;
  for (int n = 0; n < 1000; ++n) {
    const Bytes frame = buildFrame(GET_DRIVER_INFO, Bytes{1, 2, 3});
    const auto out = faults.pass(frame);
    ++tally.copies[out.size()];
    for (const Bytes& copy : out) {
      EXPECT_EQ(copy.size(), frame.size());
      std::size_t differing = 0;
      for (std::size_t i = 0; i < copy.size(); ++i) {
        differing += copy[i] != frame[i] ? 1U : 0U;
      }
      ++tally.changed[differing];
    }
  }
  return tally;
}

TEST(Faults, HappenAsOftenAsAsked) {
  EXPECT_EQ(tally({}, 1).copies, (std::map<std::size_t, int>{{1, 1000}}));
  EXPECT_EQ(tally({.drop = 1}, 1).copies, (std::map<std::size_t, int>{{0, 1000}}));
  EXPECT_EQ(tally({.duplicate = 1}, 1).copies, (std::map<std::size_t, int>{{2, 1000}}));
  EXPECT_EQ(tally({.corrupt = 1}, 1).changed, (std::map<std::size_t, int>{{1, 1000}}));
  EXPECT_EQ(tally({.silent_after = 10}, 1).copies, (std::map<std::size_t, int>{{0, 990}, {1, 10}}));
  EXPECT_NEAR(tally({.drop = 0.3}, 1).copies[0], 300, 75);  // five standard deviations
}

TEST(Faults, FollowTheSeed) {
  const FaultOptions options{.drop = 0.3, .duplicate = 0.3, .corrupt = 0.3};
  EXPECT_EQ(tally(options, 5), tally(options, 5));
  EXPECT_NE(tally(options, 5), tally(options, 6));
  // The dice of one fault are not shifted by another.
  EXPECT_EQ(tally({.drop = 0.3}, 5).copies[0], tally(options, 5).copies[0]);
}

class SessionTest : public ::testing::Test {
 protected:
  void start(const FaultOptions& faults) {
    DeviceSetup setup = feroxA();
    setup.faults = faults;
    session_.reset();
    device_ = std::make_unique<Device>(setup, now_);
    session_ = std::make_unique<Session>(*device_, log_, "test");
  }
  void request(int code, const Bytes& payload = {}) { session_->receive(buildFrame(code, payload), now_); }
  // Takes what may be written, at most `pieces` times.
  Bytes written(std::size_t pieces = 1) {
    Bytes out;
    for (std::size_t i = 0; i < pieces && !session_->output().empty(); ++i) {
      const ByteView bytes = session_->output();
      out.insert(out.end(), bytes.begin(), bytes.end());
      session_->written(bytes.size());
    }
    return out;
  }

  TimePoint now_{1h};
  Log log_{LogLevel::Quiet};
  std::unique_ptr<Device> device_;
  std::unique_ptr<Session> session_;
  const Bytes serial_ = buildFrame(GET_SERIAL_NUMBER, Bytes{'F', 'A', '0', '0', '0', '0', '0', '1'});
};

TEST_F(SessionTest, DelaysAndSplits) {
  start({.delay = 30ms, .split = true});
  request(GET_SERIAL_NUMBER);
  EXPECT_EQ(session_->due(), now_ + 30ms);
  now_ += 29ms;
  session_->advance(now_);
  EXPECT_TRUE(session_->output().empty());
  now_ += 1ms;
  session_->advance(now_);
  EXPECT_EQ(session_->output().size(), 1U);
  EXPECT_EQ(written(100), serial_);
}

TEST_F(SessionTest, ResetsAfterTheAskedNumberOfPackets) {
  start({.reset_after = 2});
  request(GET_SERIAL_NUMBER);
  EXPECT_EQ(written(), serial_);
  EXPECT_FALSE(session_->resetDue());
  request(GET_SERIAL_NUMBER);
  request(GET_SERIAL_NUMBER);
  EXPECT_FALSE(session_->resetDue());  // the second one is not out yet
  EXPECT_EQ(written(), serial_);
  EXPECT_TRUE(session_->resetDue());
}

TEST_F(SessionTest, StopsReadingForAClientThatDoesNotRead) {
  start({});
  std::size_t sent = 0;
  while (session_->wantsInput() && sent < 100000) {
    request(GET_EEPROM_PAGE, {0});
    ++sent;
  }
  EXPECT_LT(sent, 100000U);
  written();
  EXPECT_TRUE(session_->wantsInput());
}

TEST_F(SessionTest, ForcedStatuses) {
  start({.status = 57, .status_of = {{GET_DATE_TIME, 20}, {SET_EEPROM_BYTE, 0}}});
  request(SET_SLOT_MODE, {1, 3});
  EXPECT_EQ(written(), buildFrame(SET_SLOT_MODE, Bytes{1, 57}));
  request(GET_DATE_TIME, {0});
  EXPECT_EQ(written(), buildFrame(GET_DATE_TIME, Bytes{20}));
  request(SET_EEPROM_BYTE, {0, 200, 1});
  EXPECT_EQ(written(), buildFrame(SET_EEPROM_BYTE, Bytes{0}));  // out of range, but must not say so
  request(START_AI_STREAMING, {0});
  EXPECT_EQ(written(), buildFrame(START_AI_STREAMING, Bytes{0, 57}));
  request(GET_SERIAL_NUMBER);
  EXPECT_EQ(written(), serial_);  // has no status
}

}  // namespace
}  // namespace qvx::bench
