#include "core/errors.h"

#include <gtest/gtest.h>

#include <set>

namespace qvx {
namespace {

TEST(Errors, CodesAreUniqueButForTheStepperPort) {
  std::set<int> codes;
  for (const ErrorKind& kind : errorKinds()) {
    EXPECT_EQ(codes.insert(kind.code).second, kind.id != ErrorId::DVSTPortNotAvaliable) << kind.name;
    // Motion conditions and the positive codes are warnings, nothing else is.
    const bool warning = (kind.code <= -9100 && kind.code >= -9113) || kind.code > 0;
    EXPECT_EQ(kind.base, warning ? ErrorBase::QVXWarning : ErrorBase::Error) << kind.name;
  }
}

}  // namespace
}  // namespace qvx
