#include "modules/digital/dio.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

Argument pythonsTrue() {
  return Argument::intOf(1, "bool");
}
constexpr const char* kPinModes0 = "02 00 02 7F 00 0D 0A";

TEST(DIO, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_CALL(dio.DI_closePins(2, List{1, 7}, kTimeout)),
       "02 00 0A E3 02 00 82 00 00 00 00 00 00 0D 0A",
       {2, 0},
       "0",
       1},
      {QVX_CALL(dio.DI_closePort(2, kTimeout)), "02 00 0A E3 02 00 CF 00 00 00 00 00 00 0D 0A", {2, 0}, "0", 1},
      {QVX_CALL(dio.DO_closePins(0, 5, kTimeout)), "02 00 0A E3 00 00 20 00 00 00 00 00 00 0D 0A", {0, 0}, "0", 1},
      {QVX_CALL(dio.DO_closePort(5, kTimeout)), "02 00 0A E3 05 00 C0 00 00 00 00 00 00 0D 0A", {5, 0}, "0", 1},
      {QVX_CALL(dio._closeDIOInPins(5, 6, kTimeout)), "02 00 0A E3 05 00 40 00 00 00 00 00 00 0D 0A", {5, 0}, "0", 1},
      {QVX_CALL(dio._closeDIOInPort(4, kTimeout)), "02 00 0A E3 04 00 03 00 00 00 00 00 00 0D 0A", {4, 0}, "0", 1},
      // Of the chosen pins, in the caller's order; of the port, pin 0 first.
      {QVX_CALL(dio.DI_readPins(0, List{7, 0, 7, 1}, kTimeout)),
       "02 00 04 E9 00 00 83 0D 0A",
       {0, 0, 0xFF, 0x81},
       "[1,1,1,0]",
       1},
      {QVX_CALL(dio.DI_readPins(2, 6, kTimeout)), "02 00 04 E9 02 00 40 0D 0A", {2, 0, 0, 0x40}, "[1]", 1},
      {QVX_CALL(dio.DI_readPort(2, kTimeout)), "02 00 04 E9 02 00 CF 0D 0A", {2, 0, 0, 0x41}, "[1,0,0,0,0,0,1,0]", 1},
      {QVX_CALL(dio.DO_writePins(0, List{0, 1, 5}, List{1, 0, 1}, kTimeout)),
       "02 00 06 EA 00 00 23 00 21 0D 0A",
       {0, 0, 0, 0x21},
       "[1,0,0,0,0,1,0,0]",
       1},
      {QVX_CALL(dio.DO_writePins(0, List{5, 0}, List{1, 0}, kTimeout)),
       "02 00 06 EA 00 00 21 00 20 0D 0A",
       {0, 0, 0, 0x20},
       "[0,0,0,0,0,1,0,0]",
       1},
      {QVX_CALL(dio.DO_writePins(0, List{0, 1}, List{5, -5}, kTimeout)),
       "02 00 06 EA 00 00 03 00 01 0D 0A",
       {0, 0, 0, 1},
       "[1,0,0,0,0,0,0,0]",
       1},
      {QVX_CALL(dio.DO_writePins(0, 3, 1, kTimeout)),
       "02 00 06 EA 00 00 08 00 08 0D 0A",
       {0, 0, 0, 8},
       "[0,0,0,1,0,0,0,0]",
       1},
      // A value for each pin of the port, for each state of a read, or bits: the pins that are not there stay out.
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
      {QVX_CALL(dio.DO_togglePins(5, List{6, 7}, kTimeout)),
       "02 00 04 EE 05 00 C0 0D 0A",
       {5, 0, 0, 0x80},
       "[0,0,0,0,0,0,0,1]",
       1},
      {QVX_CALL(dio.DO_togglePort(0, kTimeout)), "02 00 04 EE 00 00 FF 0D 0A", {0, 0, 0, 3}, "[1,1,0,0,0,0,0,0]", 1},
      {QVX_CALL(dio.DIO_loadStartup(0, kTimeout)),
       "02 00 02 E0 00 0D 0A",
       {0, 0, 0, 3, 0, 1, 0, 0x80},
       "[[1,1,0,0,0,0,0,0],[1,0,0,0,0,0,0,0],[0,0,0,0,0,0,0,1]]",
       1},
      {QVX_CALL(dio._DIO_saveStartup(0, 0x0103, List{1, 0, 0, 0, 0, 0, 0, 1}, 0, kTimeout)),
       "02 00 08 E1 00 01 03 00 81 00 00 0D 0A",
       {0, 0},
       "0",
       1},
      {QVX_CALL(dio._DIO_setPortIdle(4, kTimeout)), "02 00 02 ED 04 0D 0A", {4, 0}, "0", 1},
      {QVX_CALL(dio._DIO_setPortDI(4, kTimeout)), "02 00 02 EB 04 0D 0A", {4, 0}, "0", 1},
      {QVX_CALL(dio._DIO_setPortDO(5, kTimeout)), "02 00 02 EC 05 0D 0A", {5, 0}, "0", 1},
      {QVX_CALL(dio._setDIOCurrent(0, 0x0102, 0x0304, 0x0506, 0x0708, kTimeout)),
       "02 00 0A E3 00 01 02 03 04 05 06 07 08 0D 0A",
       {0, 0},
       "0",
       1},
      {QVX_CALL(dio._getDIOCurrent(0, 0x83, kTimeout)),
       "02 00 04 E2 00 00 83 0D 0A",
       {0, 0, 0, 3, 0, 1, 0, 0x80},
       "[[1,1,0,0,0,0,0,0],[1,0,0,0,0,0,0,0],[0,0,0,0,0,0,0,1]]",
       1},
      {QVX_CALL(dio._setDIOState(0, 0x0F, 5, kTimeout)), "02 00 06 E6 00 00 0F 00 05 0D 0A", {0, 0}, "0", 1},
      {QVX_CALL(dio._getDIOState(0, 0x0F, kTimeout)),
       "02 00 04 E5 00 00 0F 0D 0A",
       {0, 0, 0, 5},
       "[1,0,1,0,0,0,0,0]",
       1},
      {QVX_CALL(dio._toggleDIODirection(0, 1, 1, kTimeout)), "02 00 06 E4 00 00 01 00 01 0D 0A", {0, 0}, "0", 1},
      {QVX_CALL(dio._readAndGetDI(0, 0xFF, kTimeout)),
       "02 00 04 E9 00 00 FF 0D 0A",
       {0, 0, 0, 5},
       "[1,0,1,0,0,0,0,0]",
       1},
      {QVX_CALL(dio._setAndWriteDO(0, 7, 3, kTimeout)),
       "02 00 06 EA 00 00 07 00 03 0D 0A",
       {0, 0, 0, 3},
       "[1,1,0,0,0,0,0,0]",
       1},
      {QVX_CALL(dio._toggleAndWriteDO(0, 1, kTimeout)),
       "02 00 04 EE 00 00 01 0D 0A",
       {0, 0, 0, 1},
       "[1,0,0,0,0,0,0,0]",
       1},
      {QVX_CALL(dio._readDI(0, kTimeout)), "02 00 02 E7 00 0D 0A", {0, 0}, "0", 1},
      {QVX_CALL(dio._writeDO(0, kTimeout)), "02 00 02 E8 00 0D 0A", {0, 0}, "0", 1},
  };
  Bench bench;
  for (const auto& row : rows) {
    check(bench, row);
  }
}

struct Opening {
  std::function<int(Bench&)> call;
  const char* frame;
  const char* error;  // when a pin is not to be had
};

TEST(DIO, OpensPinsThatAreFree) {
  const std::vector<Opening> rows{
      {[](Bench& b) {
         return b.dio.DI_openPins(0, List{0, 1}, kTimeout);
       },
       "02 00 0A E3 00 00 03 00 03 00 00 00 00 0D 0A", "DIPortNotAvaliableError"},
      {[](Bench& b) { return b.dio.DI_openPins(0, 1, kTimeout); }, "02 00 0A E3 00 00 02 00 02 00 00 00 00 0D 0A",
       "DIPortNotAvaliableError"},
      {[](Bench& b) { return b.dio.DI_openPort(0, kTimeout); }, "02 00 0A E3 00 00 FF 00 FF 00 00 00 00 0D 0A",
       "DIPortNotAvaliableError"},
      {[](Bench& b) {
         return b.dio.DO_openPins(0, List{0, 1}, kTimeout);
       },
       "02 00 0A E3 00 00 03 00 03 00 03 00 00 0D 0A", "DOPortNotAvaliableError"},
      {[](Bench& b) { return b.dio.DO_openPort(0, kTimeout); }, "02 00 0A E3 00 00 FF 00 FF 00 FF 00 00 0D 0A",
       "DOPortNotAvaliableError"},
  };
  // In the reply pin 0 is the last digit: 1 idle, 2 DI, 3 DO, 4 UART.
  for (const auto& row : rows) {
    SCOPED_TRACE(row.frame);
    const bool input = std::string(row.error) == "DIPortNotAvaliableError";
    Bench bench(ProductId::CordlogF1D);
    const std::uint8_t own = input ? 0x22 : 0x33;
    for (const std::uint8_t modes : {std::uint8_t{0x11}, own}) {
      bench.replies = {{GET_PIN_MODE_OF_SLOT, {0, 8, modes, 0x11, 0x11, modes}}, {SET_DIO_CURRENT, {0, 0}}};
      bench.transport->sent();
      EXPECT_EQ(row.call(bench), 0);
      EXPECT_EQ(bench.transport->sent(), (std::vector<std::string>{kPinModes0, row.frame}));
    }
    for (const std::uint8_t modes : {0x41, 0x01, input ? 0x31 : 0x21}) {  // of pin 1
      bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 8, 0x11, 0x11, 0x11, modes};
      EXPECT_EQ(failureOf([&] { row.call(bench); }), row.error);
      EXPECT_EQ(bench.transport->sent(), std::vector<std::string>{kPinModes0});
    }
    bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 8, 0x11, 0x11, 0x11, 0x11};
    bench.replies[SET_DIO_CURRENT] = {0, 50};
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwareDIOError");
    bench.replies[GET_PIN_MODE_OF_SLOT] = {11};
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwarePinIndexError");
  }
}

TEST(DIO, OtherPinsOfThePortMayBeInUse) {
  Bench bench(ProductId::CordlogF1D);
  bench.replies = {{GET_PIN_MODE_OF_SLOT, {0, 8, 0x44, 0x44, 0x44, 0x14}}, {SET_DIO_CURRENT, {0, 0}}};
  EXPECT_EQ(bench.dio.DO_openPins(0, List{1}, kTimeout), 0);
  EXPECT_EQ(failureOf([&] { bench.dio.DO_openPort(0, kTimeout); }), "DOPortNotAvaliableError");
}

TEST(DIO, PinsOfAFixedDirectionNeedNoOpening) {
  for (const auto product :
       {ProductId::FeroxL, ProductId::FeroxD, ProductId::CordlogF1DSNK, ProductId::LUMA, ProductId::SkylogE3AOD}) {
    SCOPED_TRACE(productLabel(product));
    Bench bench(product);
    for (const int port : {-1, 0, 9, 256}) {
      EXPECT_EQ(bench.dio.DI_openPins(port, List{0, -1}, kTimeout), 0);
      EXPECT_EQ(bench.dio.DI_openPort(port, kTimeout), 0);
      EXPECT_EQ(bench.dio.DO_openPins(port, 16, kTimeout), 0);
      EXPECT_EQ(bench.dio.DO_openPort(port, kTimeout), 0);
    }
    constexpr const char* kType = "InputTypeNotCorrectError";
    checkRefusals(bench, {{"port", [](Bench& b) { b.dio.DI_openPort("0", kTimeout); }, kType},
                          {"pin", [](Bench& b) { b.dio.DO_openPins(0, List{1.0}, kTimeout); }, kType},
                          {"timeout", [](Bench& b) { b.dio.DI_openPins(0, 0, "soon"); }, kType},
                          {"closing", [](Bench& b) { b.dio.DI_closePort(9, kTimeout); }, "DIPortNotAvaliableError"}});
  }
}

#define QVX_REFUSE(call, error)                 \
  {                                             \
#call, [](Bench & b) { b.dio.call; }, error \
  }

TEST(DIO, RefusesArgumentsBeforeAnythingIsSent) {
  Bench bench(ProductId::CordlogF1D);
  checkRefusals(bench,
                {
                    QVX_REFUSE(DI_openPins(5, 6, kTimeout), "DIPortNotAvaliableError"),  // outputs only
                    QVX_REFUSE(DO_openPins(4, 0, kTimeout), "DOPortNotAvaliableError"),  // inputs only
                    QVX_REFUSE(DI_openPort(1, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(DO_openPort(-1, kTimeout), "DOPortNotAvaliableError"),
                    QVX_REFUSE(DI_openPort("0", kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DI_openPort(0, "soon"), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DI_closePort(5, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(DO_closePort(256, kTimeout), "DOPortNotAvaliableError"),
                    QVX_REFUSE(DI_closePins(0, 8, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(_closeDIOInPins(5, 0, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(_closeDIOInPort(1, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(DI_readPins(2, 4, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DI_readPins(0, (List{0, 8}), kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DI_readPins(0, List{-1}, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DI_readPins(0, List{}, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DI_readPins(0, List{1.0}, kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DI_readPort(7, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(DO_writePins(4, 0, 1, kTimeout), "DOPortNotAvaliableError"),
                    QVX_REFUSE(DO_writePins(0, 9, 1, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DO_writePins(0, (List{0, 1}), List{1}, kTimeout), "PinsValueNotDefineError"),
                    QVX_REFUSE(DO_writePins(0, List{0}, (List{1, 0}), kTimeout), "PinsValueNotDefineError"),
                    QVX_REFUSE(DO_writePins(0, List{0}, 1, kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DO_writePins(0, List{0}, List{1.0}, kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DO_writePins(0, (List{0, 1}), (List{1, "1"}), kTimeout), "InputTypeNotConsistentError"),
                    QVX_REFUSE(DO_writePins(0, (List{0, 1}), (List{"1", 1}), kTimeout), "InputTypeNotConsistentError"),
                    QVX_REFUSE(DO_writePort(0, (List{pythonsTrue(), 1, 0, 0, 0, 0, 0, 0}), kTimeout),
                               "InputTypeNotConsistentError"),
                    QVX_REFUSE(_setDIOState(0, 255, (List{0, 0, 0, 0, 0, 0, 0, pythonsTrue()}), kTimeout),
                               "InputTypeNotConsistentError"),
                    QVX_REFUSE(DO_writePort(0, "1", kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(DO_writePort(0, 0x10000, kTimeout), "InputDataNotInRangeError"),
                    QVX_REFUSE(DO_writePort(0, -1, kTimeout), "InputDataNotInRangeError"),
                    QVX_REFUSE(DO_writePort(2, (List{1, 0, 1, 0, 1, 0, 1}), kTimeout), "PinsValueNotDefineError"),
                    QVX_REFUSE(DO_writePort(0, List{}, kTimeout), "PinsValueNotDefineError"),
                    QVX_REFUSE(DO_togglePins(2, 5, kTimeout), "PinsNotExistError"),
                    QVX_REFUSE(DO_togglePort(4, kTimeout), "DOPortNotAvaliableError"),
                    QVX_REFUSE(DIO_loadStartup(1, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(_DIO_saveStartup(0, List{1}, 0, 0, kTimeout), "PinsValueNotDefineError"),
                    QVX_REFUSE(_DIO_setPortDI(5, kTimeout), "DIPortNotAvaliableError"),
                    QVX_REFUSE(_DIO_setPortDO(4, kTimeout), "DOPortNotAvaliableError"),
                    QVX_REFUSE(_setDIOCurrent(0, 0x10000, 0, 0, 0, kTimeout), "InputDataNotInRangeError"),
                    QVX_REFUSE(_setDIOCurrent(0, List{0}, 0, 0, 0, kTimeout), "InputTypeNotCorrectError"),
                    QVX_REFUSE(_getDIOState(0, -1, kTimeout), "InputDataNotInRangeError"),
                });
}

}  // namespace
}  // namespace qvx::test
