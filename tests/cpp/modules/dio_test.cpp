#include "modules/digital/dio.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

// Ports of fewer pins than eight, of which each has a place in the mask all the same.
TEST(DIO, PinsThatAreNotThereStayOut) {
  const std::vector<Golden> rows{
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
                });
}

}  // namespace
}  // namespace qvx::test
