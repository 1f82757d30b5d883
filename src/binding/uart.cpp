#include "modules/bus/uart.h"
#include "binding/modules.h"
#include "binding/operations.h"
#include "binding/pools.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindUARTLine(py::class_<UARTBased, std::shared_ptr<UARTBased>>& based, std::size_t line) {
  const std::string prefix = "uart_p" + std::to_string(line + 1);
  const std::string of_port = " of port " + std::to_string(line + 1) + ".";
  based
      .def_property_readonly((prefix + "_data_queue").c_str(),
                             [line](const UARTBased& self) { return self.rawQueue(line); },
                             ("-> RawQueue\n\nRaw blocks" + of_port).c_str())
      .def_property_readonly((prefix + "_signal_queue").c_str(),
                             [line](const UARTBased& self) { return self.signalQueue(line); },
                             ("-> ByteQueue\n\nReceived bytes" + of_port).c_str())
      .def_property_readonly(
          (prefix + "_lock").c_str(), [line](UARTBased& self) -> Gate& { return self.decoder(line).gate(); },
          py::return_value_policy::reference_internal, ("-> Gate\n\nThe gate of the decoder thread" + of_port).c_str())
      .def_property_readonly((prefix + "_stream_thread").c_str(),
                             [line](UARTBased& self) -> Worker& { return self.decoder(line).worker(); },
                             py::return_value_policy::reference_internal,
                             ("-> Worker\n\nThe decoder thread" + of_port).c_str());
}

void bindUARTBased(py::class_<UARTBased, std::shared_ptr<UARTBased>>& based) {
  based
      .def_readonly("uart_dict", &UARTBased::uart_dict,
                    "-> dict[int, list[tuple[int, int]]]\n\nThe UART ports: port number to its sending and its "
                    "receiving pin, each (digital port, pin).")
      .def_property_readonly("uart_open_flag", &UARTBased::uartOpenFlag, "-> bool\n\nWhether any port is open.")
      .def_property_readonly(
          "uart_killed", [](const UARTBased& self) { return self.uart_killed.load(); }, "-> bool");
  for (std::size_t line = 0; line < UARTBased::kLines; ++line) {
    bindUARTLine(based, line);
  }
}

}  // namespace

void bindUart(py::module_& module) {
  bindSignalQueue<ByteQueue>(
      module, "ByteQueue", "Received bytes, each an int, oldest first: a bounded queue.Queue.", {"bytes", "int"},
      [](const py::handle& item) { return bytesOf(py::make_tuple(item)); },
      [](const Bytes& byte) { return py::int_(byte.front()); });
  py::class_<UARTBased, std::shared_ptr<UARTBased>> based(module, "UARTBased",
                                                          "State, checks and decoder threads of the serial ports.");
  bindUARTBased(based);
  Operations(based)
      .check("_checkUARTPort", &UARTBased::_checkUARTPort, "port: int", "Raises UARTPortNotAvaliableError.")
      .check("_checkUARTBaudRate", &UARTBased::_checkUARTBaudRate, "rate: int",
             "0..400000; else UARTBaudRateNotSupportError.")
      .check("_checkUARTDataBit", &UARTBased::_checkUARTDataBit, "mode: int",
             "0 or 1; else UARTDataBitNotSupportError.")
      .check("_checkUARTParityMode", &UARTBased::_checkUARTParityMode, "mode: int",
             "0..3; else UARTParityNotSupportError.")
      .check("_checkUARTNumStopBitMode", &UARTBased::_checkUARTNumStopBitMode, "mode: int",
             "0..3; else UARTStopBitNotSupportError.")
      .check("_checkUARTDataLength", &UARTBased::_checkUARTDataLength, "data: str | list | bytes",
             "At most 50 elements; else UARTExceedMaxLengthError.")
      .check("_UART_free", &UARTBased::_UART_free, "", "Ends the decoder threads.")
      .request("_checkUARTPinState", &UARTBased::_checkUARTPinState, "port: int", "None",
               "Raises UARTPortNotAvaliableError unless the port's pins are idle or digital lines.");

  using M = UARTOperations;
  Operations(py::class_<UARTModule, UARTBased, std::shared_ptr<UARTModule>>(module, "UARTModule", "Serial ports."),
             py::class_<UARTModule_async, UARTBased, std::shared_ptr<UARTModule_async>>(module, "UARTModule_async",
                                                                                        "Serial ports as coroutines."),
             CoroutineTimeout::None)
      .request("UART_open", &M::UART_open, "port: int", "int",
               "Opens a port, whose pins must be idle or digital lines, and starts reading. Raises "
               "UARTPortNotAvaliableError, also for a port that an earlier program left open: UART_close frees it. "
               "Returns 0.")
      .request("UART_close", &M::UART_close, "port: int", "int",
               "Ends reading and closes a port. What has been received can still be read. Returns 0.")
      .request(
          "UART_setBaudRate", &M::UART_setBaudRate, "port: int, baud_rate: int", "int",
          "Bits per second, 115200 at first, at most 400000. Raises UARTBaudRateNotSupportError; FirmwareUARTError "
          "for 0. Returns 0.")
      .request("UART_setDataBit", &M::UART_setDataBit, "port: int, mode: int", "int",
               "Data bits of a character: 0 for 8, 1 for 9. Raises UARTDataBitNotSupportError. Returns 0.")
      .request("UART_setParity", &M::UART_setParity, "port: int, mode: int", "int",
               "0 none, 1 reserved, 2 even, 3 odd. Raises UARTParityNotSupportError. Returns 0.")
      .request("UART_setNumStopBit", &M::UART_setNumStopBit, "port: int, mode: int", "int",
               "Stop bits: 0 for 1, 1 for 0.5, 2 for 2, 3 for 1.5. Raises UARTStopBitNotSupportError. Returns 0.")
      .request("UART_write", &M::UART_write, "port: int, write_data: str | bytes | list[str] | list[int]", "int",
               "Sends at most 50 characters or bytes, 0..255 each, and returns before they have left. Raises "
               "UARTExceedMaxLengthError, InputDataNotInRangeError; FirmwareUARTError when the port is not open or too "
               "much waits to be sent. Returns 0.")
      .plain("UART_read", &M::UART_read, "port: int, bytes_to_read: int, delay: float", "list[int]",
             "At most `bytes_to_read` received bytes (-1: all that are there), oldest first. Waits at most `delay` "
             "seconds for them and returns what is there; never raises for lack of data.")
      .request("UART_reset", &M::UART_reset, "port: int", "int",
               "Gives a port its default settings: 115200 bit/s, 8 data bits, no parity, 1 stop bit. "
               "Returns 0.")
      .plain(
          "_UART_startReading", &M::_UART_startReading, "port: int", "int",
          "Makes the device send what the port receives, as UART_open does. Does not wait for a reply, and must not be "
          "called while the port is read: the device's answer would pass for a received byte. Returns 0.")
      .request("_UART_stopReading", &M::UART_stopReading, "port: int", "int", "Ends reading. Returns 0.")
      .request("UART_stopReading", &M::UART_stopReading, "port: int", "int", "Ends reading. Returns 0.");
}

}  // namespace qvx::binding
