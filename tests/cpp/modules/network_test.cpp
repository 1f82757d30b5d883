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

TEST(Network, RefusesArgumentsBeforeAnythingIsSent) {
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kType = "InputTypeNotCorrectError";
  std::vector<Refusal> rows;
  for (const char* ip : {"1.2.3", "192.168.1.256", "0.0.0.0", "0.1.2.3", "224.0.0.1", "255.255.255.255"}) {
    rows.push_back({ip, [ip](Bench& b) { b.network.Net_setIP(ip, "255.255.255.0", kTimeout); }, kRange});
  }
  for (const char* gateway : {"1.2.3", "0.0.0.1", "224.0.0.1"}) {
    rows.push_back({gateway, [gateway](Bench& b) { b.network.Net_setGateway(gateway, kTimeout); }, kRange});
  }
  for (const char* mask :
       {"24", "0.0.0.0", "254.0.0.0", "255.0.255.0", "255.255.255.1", "255.255.255.254", "255.255.255.255"}) {
    rows.push_back({mask, [mask](Bench& b) { b.network.Net_setIP("192.168.1.5", mask, kTimeout); }, kRange});
  }
  // The first and the last address of a subnet.
  struct Edge {
    const char* ip;
    const char* mask;
  };
  for (const Edge& edge : {Edge{"192.168.1.0", "255.255.255.0"}, Edge{"192.168.1.255", "255.255.255.0"},
                           Edge{"10.0.0.4", "255.255.255.252"}, Edge{"10.255.255.255", "255.0.0.0"}}) {
    rows.push_back({edge.ip, [edge](Bench& b) { b.network.Net_setIP(edge.ip, edge.mask, kTimeout); }, kRange});
  }
  for (const char* mac : {"02:51:56:00:00", "00:00:00:00:00:00", "ff:ff:ff:ff:ff:ff", "01:00:5e:00:00:01"}) {
    rows.push_back({mac, [mac](Bench& b) { b.network._Net_setMAC(mac, kTimeout); }, kRange});
  }
  rows.push_back({"ip type", [](Bench& b) { b.network.Net_setIP(1, "255.0.0.0", kTimeout); }, kType});
  rows.push_back({"mask type", [](Bench& b) { b.network.Net_setIP("10.0.0.1", 8, kTimeout); }, kType});
  rows.push_back({"gateway type", [](Bench& b) { b.network.Net_setGateway(Argument(), kTimeout); }, kType});
  rows.push_back({"mac type", [](Bench& b) { b.network._Net_setMAC(1.5, kTimeout); }, kType});
  rows.push_back({"timeout", [](Bench& b) { b.network.Net_getIP("soon"); }, kType});
  Bench bench;
  checkRefusals(bench, rows);
}

}  // namespace
}  // namespace qvx::test
