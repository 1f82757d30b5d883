#include "core/address.h"

#include <gtest/gtest.h>
#include <optional>

namespace qvx {
namespace {

template <class Call>
std::optional<ErrorId> refusalOf(Call call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure.id();
  }
  return std::nullopt;
}

TEST(Address, ReadsTheStrictFormsAndShowsThemAgain) {
  for (const char* text : {"0.0.0.0", "192.168.1.20", "255.255.255.255", "10.13.10.1"}) {
    EXPECT_EQ(showIPv4(checkedIPv4(text, "ip")), text);
  }
  EXPECT_EQ(checkedIPv4("1.2.3.4", "ip"), 0x01020304U);
  EXPECT_EQ(checkedMAC("02:51:aB:CD:0f:F0", "mac"), (Bytes{0x02, 0x51, 0xAB, 0xCD, 0x0F, 0xF0}));
  EXPECT_EQ(showMAC(checkedMAC("02:51:aB:CD:0f:F0", "mac")), "02:51:ab:cd:0f:f0");
}

TEST(Address, RefusesEveryOtherForm) {
  for (const char* text :
       {"",          ".",         "1.2.3",    "1.2.3.4.5", "1.2.3.",    ".2.3.4",   "1..3.4",   "1.2.3.4.",
        "256.1.1.1", "1.2.3.999", "01.2.3.4", "1.2.3.00",  "0x1.2.3.4", "+1.2.3.4", "-1.2.3.4", " 1.2.3.4",
        "1.2.3.4 ",  "1.2.3.4\n", "1,2,3,4",  "host",      "1.2.3.4/8", "::1",      "16909060"}) {
    EXPECT_EQ(refusalOf([&] { checkedIPv4(text, "ip"); }), ErrorId::InputDataNotInRangeError) << text;
  }
  EXPECT_EQ(refusalOf([] { checkedIPv4(std::string("1.2.3.4\0", 8), "ip"); }), ErrorId::InputDataNotInRangeError);
  for (const char* text : {"", "02:51:56:00:00", "02:51:56:00:00:01:02", "02-51-56-00-00-01", "025156000001",
                           "2:51:56:0:0:1", "02:51:56:00:00:0g", "02:51:56:00:00:001", "02:51:56:00:00:",
                           ":51:56:00:00:01", "0x:51:56:00:00:01", " 02:51:56:00:00:1", "+2:51:56:00:00:01"}) {
    EXPECT_EQ(refusalOf([&] { checkedMAC(text, "mac"); }), ErrorId::InputDataNotInRangeError) << text;
  }
  for (const Argument& value : {Argument(), Argument(1), Argument(1.0), Argument(std::vector<Argument>{1, 2, 3, 4})}) {
    EXPECT_EQ(refusalOf([&] { checkedIPv4(value, "ip"); }), ErrorId::InputTypeNotCorrectError) << value.typeName();
    EXPECT_EQ(refusalOf([&] { checkedMAC(value, "mac"); }), ErrorId::InputTypeNotCorrectError) << value.typeName();
  }
}

}  // namespace
}  // namespace qvx
