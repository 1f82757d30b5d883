#include "modules/digital/dio.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

Argument pythonsTrue() {
  return Argument::intOf(1, "bool");
}

// Ports of fewer pins than eight, of which each has a place in the mask all the same.
TEST(DIO, PinsThatAreNotThereStayOut) {
  const std::vector<Golden> rows{
      {QVX_CALL(dio.DI_closePort(2, kTimeout)), "02 00 0A E3 02 00 CF 00 00 00 00 00 00 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(dio.DI_readPins(2, 6, kTimeout)), "02 00 04 E9 02 00 40 0D 0A", {2, 0, 0, 0x40}, "[1]", 1},
      {QVX_CALL(dio.DI_readPort(2, kTimeout)), "02 00 04 E9 02 00 CF 0D 0A", {2, 0, 0, 0x41}, "[1,0,0,0,0,0,1,0]", 1},
      // A value for each pin of the port, for each state of a read, or bits.
      {QVX_CALL(dio.DO_writePort(2, List{1, 0, 0, 1, 1, 0}, kTimeout)),
       "02 00 06 EA 02 00 CF 00 49 0D 0A",
       {2, 0, 0, 0x49},
       "[1,0,0,1,0,0,1,0]",
       1},
      {QVX_CALL(dio.DO_writePort(2, List{1, 0, 0, 1, 1, 1, 1, 0}, kTimeout)),
       "02 00 06 EA 02 00 CF 00 49 0D 0A",
       {2, 0, 0, 0x49},
       "[1,0,0,1,0,0,1,0]",
       1},
      {QVX_CALL(dio.DO_writePort(2, 0xFFF9, kTimeout)),
       "02 00 06 EA 02 00 CF 00 C9 0D 0A",
       {2, 0, 0, 0xC9},
       "[1,0,0,1,0,0,1,1]",
       1},
  };
  Bench bench;
  for (const auto& row : rows) {
    check(bench, row);
  }
}

TEST(DIO, OtherPinsOfThePortMayBeInUse) {
  Bench bench(ProductId::CordlogF1D);
  bench.replies = {{GET_PIN_MODE_OF_SLOT, {0, 8, 0x44, 0x44, 0x44, 0x14}}, {SET_DIO_CURRENT, {0, 0}}};
  EXPECT_EQ(bench.dio.DO_openPins(0, List{1}, kTimeout), 0);
  EXPECT_EQ(failureOf([&] { bench.dio.DO_openPort(0, kTimeout); }), "DOPortNotAvaliableError");
}

TEST(DIO, RefusesPinsAndPortsOfTheOtherDirection) {
  Bench bench(ProductId::CordlogF1D);
  checkRefusals(bench,
                {
                    {"outputs only", [](Bench& b) { b.dio.DI_openPins(5, 6, kTimeout); }, "DIPortNotAvaliableError"},
                    {"inputs only", [](Bench& b) { b.dio.DO_writePins(4, 0, 1, kTimeout); }, "DOPortNotAvaliableError"},
                    {"no pin 4", [](Bench& b) { b.dio.DI_readPins(2, 4, kTimeout); }, "PinsNotExistError"},
                    {"no pin 5", [](Bench& b) { b.dio.DO_togglePins(2, 5, kTimeout); }, "PinsNotExistError"},
                    {"7 states of 6 or 8", [](Bench& b) { b.dio.DO_writePort(2, List(7, 1), kTimeout); },
                     "PinsValueNotDefineError"},
                    {"a bool and ints",
                     [](Bench& b) {
                       b.dio.DO_writePins(0, List{0, 1}, List{pythonsTrue(), 1}, kTimeout);
                     },
                     "InputTypeNotConsistentError"},
                    {"ints and a bool",
                     [](Bench& b) {
                       b.dio._setDIOState(0, 255, List{0, 0, 0, 0, 0, 0, 0, pythonsTrue()}, kTimeout);
                     },
                     "InputTypeNotConsistentError"},
                });
}

}  // namespace
}  // namespace qvx::test
