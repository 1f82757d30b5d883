#include "modules/bus/spi.h"
#include "binding/modules.h"
#include "binding/operations.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindSPIBased(py::class_<SPIBased, std::shared_ptr<SPIBased>>& based) {
  based.def_readonly("SPI_dict", &SPIBased::SPI_dict,
                     "-> dict[int, list[tuple[int, int]]]\n\nThe SPI ports: port number to its pins (clock, data in, "
                     "data out, select), each a digital port and a pin of it.");
  Operations(based)
      .plain("SPI_getPinMap", &SPIBased::SPI_getPinMap, "", "dict[int, list[tuple[int, int]]]",
             "The SPI ports: port number to its pins (clock, data in, data out, select), each a digital port and a pin "
             "of it. Nothing is sent.")
      .check("_checkSPIPort", &SPIBased::_checkSPIPort, "port: int", "Raises SPIPortNotAvaliableError.")
      .check("_checkSPIDataSize", &SPIBased::_checkSPIDataSize, "mode: int", "0 or 1; else SPIDataSizeNotVaildError.")
      .check("_checkSPIFirstBit", &SPIBased::_checkSPIFirstBit, "mode: int", "0 or 1; else SPIFirstBitNotVaildError.")
      .check("_checkSPIMode", &SPIBased::_checkSPIMode, "mode: int", "0..3; else SPIModeNotVaildError.")
      .check("_checkSPIPrescaler", &SPIBased::_checkSPIPrescaler, "prescaler: int",
             "A power of two, 2..256; else SPIPrescalerNotVaildError.")
      .request("_checkSPIPinState", &SPIBased::_checkSPIPinState, "port: int, allow_state: list[str]", "None",
               "Raises SPIPortNotAvaliableError unless each pin of the port is in one of these modes, such as "
               "[\"Idle\", \"DI\", \"DO\"].");
}

}  // namespace

void bindSPI(py::module_& module) {
  py::class_<SPIBased, std::shared_ptr<SPIBased>> based(module, "SPIBased", "Ports, pins and checks of SPI.");
  bindSPIBased(based);

  using M = SPIOperations;
  Operations ops(py::class_<SPIModule, SPIBased, std::shared_ptr<SPIModule>>(module, "SPIModule", "SPI masters."),
                 py::class_<SPIModule_async, SPIBased, std::shared_ptr<SPIModule_async>>(module, "SPIModule_async",
                                                                                         "SPI masters as coroutines."),
                 CoroutineTimeout::None);
  ops.request(
         "SPI_open", &M::SPI_open, "port: int", "int",
         "Opens a port; its pins must be idle or digital lines. Raises SPIPortNotAvaliableError, also when another "
         "function uses one of them or an earlier program left the port open: SPI_close frees it. Returns 0.")
      .request("SPI_close", &M::SPI_close, "port: int", "int",
               "Closes a port; its pins are idle then. Raises SPIPortNotAvaliableError. Returns 0.")
      .request("SPI_setDataSize", &M::SPI_setDataSize, "port: int, mode: int", "int",
               "0: 8 bits; 1: 16 bits, for each of which the data has two bytes, the more significant one first. "
               "Raises SPIDataSizeNotVaildError. Returns 0.")
      .request("SPI_setFirstBit", &M::SPI_setFirstBit, "port: int, mode: int", "int",
               "Which bit goes first: 0 the most significant, 1 the least. Raises SPIFirstBitNotVaildError. Returns 0.")
      .request(
          "SPI_setPrescaler", &M::SPI_setPrescaler, "port: int, prescaler: int", "int",
          "Divides the port's clock by a power of two, 2..256 (at first). Raises SPIPrescalerNotVaildError. Returns 0.")
      .request("SPI_setMode", &M::SPI_setMode, "port: int, mode: int", "int",
               "Polarity and phase of the clock: 0 idles low, data taken at its first edge; 1 low, second edge; 2 "
               "high, first edge; 3 high, second edge. Raises SPIModeNotVaildError. Returns 0.")
      .request("_SPI_setCPOL", &M::_SPI_setCPOL, "port: int, polarity: int", "int",
               "The level at which the clock idles, 0 or 1; else SPIModeNotVaildError. Returns 0.")
      .request("_SPI_setCPHA", &M::_SPI_setCPHA, "port: int, phase: int", "int",
               "The edge of the clock at which data is taken: 0 the first, 1 the second; else SPIModeNotVaildError. "
               "Returns 0.")
      .request("SPI_write", &M::SPI_write, "port: int, write_data: list[int]", "int",
               "Sends bytes, 0..255 each (else InputDataNotInRangeError), in one selection of the slave. The device "
               "takes at most 256 (else FirmwareSPIError), and whole words: an even number when the data size is 16 "
               "bits. More than 65533 fit in no packet: InputDataNotInRangeError. Waits until they are sent; what "
               "takes longer than 0.01 s is sent again unless `resend` is False. Returns 0.")
      .request("SPI_read", &M::SPI_read, "port: int, bytes_to_read: int", "list[int]",
               "What the slave sends in this many bytes, 0..255 (else InputDataNotInRangeError), while zeros are sent. "
               "Raises FirmwareSPIError for half a word when the data size is 16 bits.")
      .request("SPI_readAndWrite", &M::SPI_readAndWrite, "port: int, write_data: list[int]", "list[int]",
               "Sends bytes as SPI_write does, with its limits, and gives the bytes that the slave sends meanwhile.")
      .request(
          "SPI_reset", &M::SPI_reset, "port: int", "int",
          "Restores the default settings of a port: 8 bits, most significant first, mode 0, prescaler 256. Returns "
          "0.");
}

}  // namespace qvx::binding
