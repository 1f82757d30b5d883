#include "modules/bus/can.h"
#include "binding/modules.h"
#include "binding/operations.h"
#include "binding/pools.h"

#include <pybind11/operators.h>
#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

std::vector<int> listOf(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

void bindCANFrame(py::module_& module) {
  const auto word = [](const CANFrame& frame) { return listOf(payload(u32(frame.word()))); };
  const auto data = [](const CANFrame& frame) { return listOf(frame.data()); };
  py::class_<CANFrame>(module, "CANFrame",
                       "CANFrame(id: int, data: list[int], remote: bool = False, extended_id: bool = False)\n\nA frame "
                       "of a CAN bus. It doesn't change; frames that mean the same on the bus are equal. Raises "
                       "InputDataNotInRangeError, CANDataLengthNotVaildError.")
      .def(py::init<const Argument&, const Argument&, const Argument&, const Argument&>(), py::arg("id"),
           py::arg("data"), py::arg("remote") = false, py::arg("extended_id") = false,
           "CANFrame(id: int, data: list[int], remote: bool = False, extended_id: bool = False)")
      .def_property_readonly("id", &CANFrame::id, "-> int\n\nThe identifier, 11 bits or 29.")
      .def_property_readonly("extended_id", &CANFrame::extended, "-> bool\n\nWhether the identifier has 29 bits.")
      .def_property_readonly("remote", &CANFrame::remote, "-> bool\n\nWhether it asks for data and has none.")
      .def_property_readonly("data", data, "-> list[int]\n\n8 bytes; what was not given is 0.")
      .def_property_readonly("length", &CANFrame::length,
                             "-> int\n\nHow many of the bytes the bus carried; 8 for a frame that was not received.")
      .def_property_readonly("timestamp", &CANFrame::timestamp,
                             "-> float\n\nWhen it was received, in seconds since 1970; 0 for a frame that was not.")
      .def_property_readonly("id_in_list", word, "-> list[int]\n\nThe identifier as it is sent, 4 bytes.")
      .def_property_readonly(
          "frame_in_list", [](const CANFrame& frame) { return listOf(frame.bytes()); },
          "-> list[int]\n\nWhat CAN_write sends: id_in_list, then data.")
      .def("setID", word, "setID() -> list[int]\n\nThe identifier as it is sent: id_in_list.")
      .def("regularizeData", data, "regularizeData() -> list[int]\n\nThe data, extended with zeros to 8 bytes.")
      .def_static(
          "fromU8List", [](const py::object& bytes) { return CANFrame::fromBytes(bytesOf(bytes)); },
          py::arg("int_list"),
          "fromU8List(int_list: list[int]) -> CANFrame\n\nA frame from 4 bytes of identifier and up to 8 of data, or "
          "from the 13 bytes of a received one, which have the length between the two.")
      .def(
          "__eq__", [](const CANFrame& a, const CANFrame& b) { return a == b; }, py::is_operator())
      .def("__hash__", &CANFrame::hash)
      .def(py::pickle(
          [](const py::object& self) {
            const auto& frame = self.cast<const CANFrame&>();
            return py::make_tuple(makeBytes(frame.record()), frame.timestamp(),
                                  py::getattr(self, "__dict__", py::dict()));  // that of a subclass
          },
          [](const py::tuple& state) {
            auto frame = CANFrame::fromBytes(bytesOf(state[0]));
            frame.stamp(py::float_(state[1]));
            return std::make_pair(frame, state[2].cast<py::dict>());
          }))
      .def("__str__", &CANFrame::text)
      .def("__repr__", &CANFrame::text);
}

void bindCANBased(py::class_<CANBased, std::shared_ptr<CANBased>>& based) {
  based
      .def_readonly("can_dict", &CANBased::can_dict,
                    "-> dict[int, list[tuple[int, int]]]\n\nThe CAN ports: port number to its sending and its "
                    "receiving pin, each (digital port, pin).")
      .def_property_readonly("can_open_flag", &CANBased::canOpenFlag, "-> bool\n\nWhether CAN is open.")
      .def_property_readonly(
          "can_killed", [](const CANBased& self) { return self.can_killed.load(); }, "-> bool")
      .def_property_readonly("can_data_queue", &CANBased::rawQueue, "-> RawQueue\n\nRaw blocks of frames.")
      .def_property_readonly("can_frame_queue", &CANBased::frameQueue, "-> FrameQueue\n\nReceived frames.")
      .def_property_readonly(
          "can_lock", [](CANBased& self) -> Gate& { return self.decoder().gate(); },
          py::return_value_policy::reference_internal, "-> Gate\n\nThe gate of the decoder thread.")
      .def_property_readonly(
          "can_stream_thread", [](CANBased& self) -> Worker& { return self.decoder().worker(); },
          py::return_value_policy::reference_internal, "-> Worker\n\nThe decoder thread.");
}

}  // namespace

void bindCan(py::module_& module) {
  bindCANFrame(module);
  bindSignalQueue<FrameQueue>(
      module, "FrameQueue", "Received frames, each a CANFrame, oldest first: a bounded queue.Queue.",
      {"frames", "CANFrame"},
      [](const py::handle& item) {
        if (!py::isinstance<CANFrame>(item)) {
          fail(ErrorId::InputTypeNotCorrectError, "a FrameQueue holds CANFrame objects");
        }
        return std::vector<CANFrame>{item.cast<CANFrame>()};
      },
      [](const std::vector<CANFrame>& frame) { return frame.front(); });
  py::class_<CANBased, std::shared_ptr<CANBased>> based(module, "CANBased",
                                                        "State, checks and decoder thread of the CAN bus.");
  bindCANBased(based);
  Operations(based)
      .check("_checkCANPort", &CANBased::_checkCANPort, "port: int", "Raises CANPortNotAvaliableError.")
      .check("_checkCANSpeed", &CANBased::_checkCANSpeed, "speed: int", "0..3; else CANSpeedNotVaildError.")
      .check("_checkCANTXIndex", &CANBased::_checkCANTXIndex, "index: int", "0, 1 or 2; else CANTXNotVaildError.")
      .check("_checkCANTXPriority", &CANBased::_checkCANTXPriority, "priority: int",
             "0..3; else CANTXPriorityNotVaildError.")
      .check("_checkCANDataRangeAndLength", &CANFrame::checkedData, "data: list[int]",
             "At most 8 elements, else CANDataLengthNotVaildError; each 0..255, else InputDataNotInRangeError.")
      .check("_CAN_free", &CANBased::_CAN_free, "", "Ends the decoder thread.")
      .request("_checkCANPinState_", &CANBased::_checkCANPinState_, "port: int", "None",
               "Raises CANPortNotAvaliableError unless the port's pins are idle or digital lines.");

  using M = CANOperations;
  Operations(py::class_<CANModule, CANBased, std::shared_ptr<CANModule>>(module, "CANModule", "CAN bus."),
             py::class_<CANModule_async, CANBased, std::shared_ptr<CANModule_async>>(module, "CANModule_async",
                                                                                     "CAN bus as coroutines."),
             CoroutineTimeout::None)
      .plain("CAN_getPort", &M::CAN_getPort, "", "dict[int, list[tuple[int, int]]]",
             "The product's CAN ports: can_dict. Nothing is sent.")
      .request(
          "CAN_open", &M::CAN_open, "port: int", "int",
          "Opens a port, whose pins must be idle or digital lines. Raises CANPortNotAvaliableError, also for a port "
          "that an earlier program left open: CAN_close frees it. Nothing is sent or received before CAN_start. "
          "Returns 0.")
      .request("CAN_close", &M::CAN_close, "port: int", "int",
               "Stops the bus and closes a port. What has been received can still be read. Returns 0.")
      .request(
          "CAN_start", &M::CAN_start, "port: int", "int",
          "Takes part in the bus: frames are sent and received from now on. Also brings back a port that went off the "
          "bus, after CAN_stop. Raises FirmwareCANError when the port is not open. Returns 0.")
      .request("CAN_stop", &M::CAN_stop, "port: int", "int", "Takes no part in the bus any more. Returns 0.")
      .request(
          "CAN_setSpeed", &M::CAN_setSpeed, "port: int, speed_mode: int", "int",
          "The bit rate: 0 for 125 kbit/s, 1 for 250, 2 for 500 (at first), 3 for 1000. Raises CANSpeedNotVaildError; "
          "FirmwareCANError between CAN_start and CAN_stop. Returns 0.")
      .request("CAN_write", &M::CAN_write,
               "port: int, id_: int, data: list[int], remote: bool = False, extended_id: bool = False", "int",
               "Sends a frame: identifier 0..0x7FF, or 0..0x1FFFFFFF with `extended_id`; at most 8 bytes 0..255, "
               "extended with zeros to 8. Returns when it waits to be sent. Raises CANDataLengthNotVaildError, "
               "InputDataNotInRangeError; FirmwareCANError when the port is not started, is off the bus after too many "
               "errors, or too many frames wait. Returns 0.")
      .plain("CAN_read", &M::CAN_read, "port: int, num_frames: int, delay: float", "list[CANFrame]",
             "At most `num_frames` received frames (-1: all that are there), oldest first. Waits at most `delay` "
             "seconds for them and returns what is there; never raises for lack of frames.")
      .request("CAN_setRXFilteringOn", &M::CAN_setRXFilteringOn, "port: int, on_off: int", "int",
               "1: only frames that pass a filter are received; 0: all. Returns 0.")
      .request("CAN_setRXFilterOrMask", &M::CAN_setRXFilterOrMask,
               "port: int, index: int, id_: int, remote: bool = False, extended_id: bool = False", "int",
               "Sets filter 0..5 (index 0..5), mask 0 (6, of filters 0 and 1) or mask 1 (7, of filters 2 to 5). A "
               "frame passes when it equals a filter, of its own format, in the bits that are 1 in the mask. "
               "Returns 0.")
      .request("_CAN_setTXPriority", &M::_CAN_setTXPriority, "port: int, tx_mode: int, priority: int", "int",
               "Priority 0 (lowest) to 3 of transmit buffer 0..2. Raises CANTXNotVaildError, "
               "CANTXPriorityNotVaildError. Returns 0.")
      .request("_CAN_setRXRollover", &M::_CAN_setRXRollover, "port: int, status: int", "int",
               "1: a frame for a full receive buffer may go to the other one. Returns 0.")
      .request("_CAN_setEnableInterrupt", &M::_CAN_setEnableInterrupt, "port: int, status: int", "int",
               "Which interrupts are enabled, a mask 0..255. Returns 0.")
      .request("_CAN_getInterrupts", &M::_CAN_getInterrupts, "port: int", "list[int]",
               "Interrupt enable, interrupt state, error state, each with bits as in docs/protocol.md.")
      .request("_CAN_getErrors", &M::_CAN_getErrors, "port: int", "list[int]",
               "TX and RX error counters; from 128 on the port is error-passive.")
      .request(
          "_CAN_getCounters", &M::_CAN_getCounters, "port: int", "list[int]",
          "TX interrupts (frames that were sent), RX interrupts (frames received), SPI transfers, sends (frames that "
          "were written), bus errors, overflows (frames lost), since the device started.");
}

}  // namespace qvx::binding
