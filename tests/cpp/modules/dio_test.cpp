#include "modules/digital/dio.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

constexpr const char* kPinModes0 = "02 00 02 7F 00 0D 0A";

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
    for (const int port : {0, 9}) {
      EXPECT_EQ(bench.dio.DI_openPins(port, List{0, 1}, kTimeout), 0);
      EXPECT_EQ(bench.dio.DI_openPort(port, kTimeout), 0);
      EXPECT_EQ(bench.dio.DO_openPins(port, 15, kTimeout), 0);
      EXPECT_EQ(bench.dio.DO_openPort(port, kTimeout), 0);
    }
    EXPECT_TRUE(bench.transport->sent().empty());
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
