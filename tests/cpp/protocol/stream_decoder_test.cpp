#include "protocol/stream_decoder.h"

#include "tests/cpp/protocol/fakes.h"

namespace qvx::test {
namespace {

TEST(OverflowReport, WarnsAtOnceAndThenAtMostOnceASecond) {
  const RecordingHost host;
  OverflowReport report(ErrorId::AIQueueOverflowWarning);
  const auto begin = Clock::now();
  report.dropped();
  EXPECT_EQ(host.warnings().size(), 1U);
  EXPECT_TRUE(eventually([&] {
    report.dropped();
    return host.warnings().size() > 1;
  }));
  EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1));
  EXPECT_EQ(host.warnings(), std::vector<std::string>(2, "AIQueueOverflowWarning"));
}

}  // namespace
}  // namespace qvx::test
