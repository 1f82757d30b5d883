#include "modules/explain.h"

#include <gtest/gtest.h>

namespace qvx::test {
namespace {

std::string told(const Failure& failure, std::string_view operation, const Argument& port, const Argument& timeout) {
  const std::vector<NamedArgument> given{{"port", port}, {"timeout", timeout}};
  return explained(failure, operation, given).what();
}

TEST(Explained, DeviceErrorsNameTheOperationThePortAndTheCause) {
  EXPECT_EQ(told(Failure(ErrorId::FirmwareAIError), "AI_readOnDemand", 0, 3),
            "Error -7017: The AI error in the firmware. (AI_readOnDemand, port 0: is it open? AI_open)");
  EXPECT_NE(told(Failure(ErrorId::FirmwareUARTError), "UART_open", 1, 3).find("(UART_open, port 1: is it open already"),
            std::string::npos);
  EXPECT_NE(told(Failure(ErrorId::FirmwareSPIError), "_SPI_setCPOL", 2, 3).find("port 2: is it open? SPI_open)"),
            std::string::npos);
  EXPECT_EQ(explained(Failure(ErrorId::FirmwareOtherError, "a reply too short"), "Sys_getRTC", {}).what(),
            std::string("Error -7028: a reply too short (Sys_getRTC)"));
  EXPECT_EQ(
      told(Failure(ErrorId::ReceivePacketTimeoutError), "AO_open", 0, 0.5),
      std::string(Failure(ErrorId::ReceivePacketTimeoutError).what()) + " (AO_open, port 0: no reply within 0.5 s)");
}

TEST(Explained, OtherErrorsStayAsTheyAre) {
  const Failure wrong(ErrorId::InputTypeNotCorrectError, "text");
  EXPECT_STREQ(explained(wrong, "AI_open", {}).what(), wrong.what());
}

}  // namespace
}  // namespace qvx::test
