#include "modules/system/network.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

TEST(Network, RepliesThatAreTooShortRaise) {
  Bench bench;
  bench.replies = {{GET_IP, {0, 1, 2, 3, 4, 255, 0, 0}}, {GET_GATEWAY, {0, 1, 2, 3}}, {GET_MAC, {0, 1, 2, 3, 4, 5}}};
  EXPECT_EQ(failureOf([&] { bench.network.Net_getIP(kTimeout); }), "FirmwareOtherError");
  EXPECT_EQ(failureOf([&] { bench.network.Net_getGateway(kTimeout); }), "FirmwareOtherError");
  EXPECT_EQ(failureOf([&] { bench.network.Net_getMAC(kTimeout); }), "FirmwareOtherError");
}

}  // namespace
}  // namespace qvx::test
