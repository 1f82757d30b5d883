#include "modules/system/wifi.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

TEST(Wifi, NoMessageShowsAPassword) {
  Bench bench;
  for (const char* secret : {"sEcReT", "sEcReT\xC3\xA4 and more"}) {
    for (const int security : {0, 1}) {
      try {
        bench.wifi.Wifi_setConfiguration("Lab", secret, security, kTimeout);
        ADD_FAILURE() << secret;
      } catch (const Failure& failure) {
        EXPECT_EQ(std::string(failure.what()).find("sEcReT"), std::string::npos) << failure.what();
      }
    }
  }
}

}  // namespace
}  // namespace qvx::test
