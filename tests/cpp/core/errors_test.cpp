#include "core/errors.h"

#include "core/host.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace qvx {
namespace {

TEST(Errors, TableIsIndexableAndItsNamesAreUnique) {
  std::set<std::string> names;
  std::set<std::string> constant_names;
  ASSERT_EQ(errorKinds().size(), 115U);
  for (std::size_t i = 0; i < errorKinds().size(); ++i) {
    const ErrorKind& kind = errorKinds()[i];
    EXPECT_EQ(&errorKind(static_cast<ErrorId>(i)), &kind);
    EXPECT_EQ(kind.id, static_cast<ErrorId>(i));
    EXPECT_TRUE(names.insert(kind.name).second) << kind.name;
    if (kind.constant != nullptr) {
      EXPECT_TRUE(constant_names.insert(kind.constant).second) << kind.constant;
    }
  }
}

TEST(Errors, CodesAreUniqueButForTheStepperPort) {
  std::set<int> codes;
  for (const ErrorKind& kind : errorKinds()) {
    EXPECT_EQ(codes.insert(kind.code).second, kind.id != ErrorId::DVSTPortNotAvaliable) << kind.name;
    // Motion conditions and the positive codes are warnings, nothing else is.
    const bool warning = (kind.code <= -9100 && kind.code >= -9113) || kind.code > 0;
    EXPECT_EQ(kind.base, warning ? ErrorBase::QVXWarning : ErrorBase::Error) << kind.name;
  }
}

TEST(Host, TheInstalledOneReceivesAndTheDefaultComesBack) {
  struct Recorder : Host {
    void print(const std::string& line) override { lines.push_back(line); }
    std::vector<std::string> lines;
  } recorder;
  setHost(&recorder);
  host().printFailure(Failure(ErrorId::NetworkConnectionLostError));
  host().warn(ErrorId::CANQueueOverflowWarning);
  setHost(nullptr);
  testing::internal::CaptureStdout();
  host().print("plain");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain\n");
  const std::vector<std::string> expected = {"NetworkConnectionLostError: Error -8003: Network DAQ connection lost.",
                                             "Warning 520002: Occurrence CAN queue overflow."};
  EXPECT_EQ(recorder.lines, expected);
}

}  // namespace
}  // namespace qvx
