#include "virtual/faults.h"
#include "virtual/session.h"

#include "bench_fixture.h"

#include "core/constants.h"

#include <gtest/gtest.h>
#include <memory>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

TEST(Faults, HappenAsOftenAsAskedAndDoNotShiftEachOther) {
  const auto dropped = [](const FaultOptions& options) {
    Faults faults(options, 5);
    int count = 0;
    for (int n = 0; n < 1000; ++n) {
      count += faults.pass(buildFrame(GET_DRIVER_INFO, Bytes{1, 2, 3})).empty() ? 1 : 0;
    }
    return count;
  };
  EXPECT_NEAR(dropped({.drop = 0.3}), 300, 75);  // five standard deviations
  EXPECT_EQ(dropped({.drop = 0.3, .duplicate = 0.3, .corrupt = 0.3}), dropped({.drop = 0.3}));
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
  Bytes written() {
    const Bytes out(session_->output().begin(), session_->output().end());
    session_->written(out.size());
    return out;
  }

  TimePoint now_{1h};
  Log log_{LogLevel::Quiet};
  std::unique_ptr<Device> device_;
  std::unique_ptr<Session> session_;
  const Bytes serial_ = buildFrame(GET_SERIAL_NUMBER, Bytes{'F', 'A', '0', '0', '0', '0', '0', '1'});
};

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
