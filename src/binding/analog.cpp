#include "binding/modules.h"
#include "binding/operations.h"
#include "modules/analog/ai24.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

void bindAIState(py::class_<AIUnion, std::shared_ptr<AIUnion>>& ai_union,
                 py::class_<AIBased, AIUnion, std::shared_ptr<AIBased>>& based) {
  ai_union
      .def_readonly("ai_dict", &AIUnion::ai_dict,
                    "-> dict[int, list[int]]\n\nThe AI ports: port number to its channels.")
      .def_readonly("ai_ratio", &AIUnion::ai_ratio, "-> float\n\nVolts per least-significant bit.")
      .def_readonly("ai_max_rate", &AIUnion::ai_max_rate, "-> float\n\nThe product's highest rate in Hz.")
      .def_property_readonly(
          "ai_num_channels", [](const AIUnion& self) { return self.ai_num_channels.load(); },
          "-> int\n\nChannels per sample, 1..8.");

  based.def_readonly("ai_echo_cmd", &AIBased::ai_echo_cmd, "-> int\n\nThe command of the on-demand read.")
      .def_readonly("ai_strm_cmd", &AIBased::ai_strm_cmd, "-> int\n\nThe command that starts streaming.")
      .def_property_readonly(
          "ai_mode", [](const AIBased& self) { return self.ai_mode.load(); }, "-> int\n\nThe mode set last.")
      .def_property_readonly(
          "ai_killed", [](const AIBased& self) { return self.ai_killed.load(); }, "-> bool")
      .def_property_readonly("ai_open_flag", &AIBased::aiOpenFlag, "-> bool\n\nWhether analog input is open.")
      .def_property_readonly(
          "chip_select_p0", [](const AIBased& self) { return self.chipSelects(0); }, "-> list[int]")
      .def_property_readonly(
          "chip_select_p1", [](const AIBased& self) { return self.chipSelects(1); }, "-> list[int]")
      .def_property_readonly(
          "chip_select_p3", [](const AIBased& self) { return self.chipSelects(3); }, "-> list[int]")
      .def_property_readonly("ai_data_queue_list", &AIBased::rawQueues,
                             "-> list[RawQueue]\n\nRaw blocks, by port index.")
      .def_property_readonly("ai_signal_queue_list", &AIBased::signalQueues,
                             "-> list[SampleQueue]\n\nDecoded samples, by port index.")
      .def_property_readonly(
          "ai_lock", [](AIBased& self) -> Gate& { return self.decoder().gate(); },
          py::return_value_policy::reference_internal, "-> Gate\n\nThe gate of the decoder thread.")
      .def_property_readonly(
          "ai_stream_thread", [](AIBased& self) -> Worker& { return self.decoder().worker(); },
          py::return_value_policy::reference_internal, "-> Worker\n\nThe decoder thread.");
}

// What both streaming kinds read with.
template <class Ops>
void bindReads(Ops& operations) {
  operations
      .request(
          "AI_readOnDemand", &AIBased::AI_readOnDemand, "port: int", "list[float]",
          "One sample now: volts of each channel. Raises AIPortNotAvaliableError, and FirmwareAIError where the input "
          "is not open.")
      .plain("AI_readStreaming", &AIBased::AI_readStreaming, "port: int, num_samples: int, delay: float",
             "list[list[float]]",
             "At most `num_samples` streamed samples (-1: all that are there), oldest first, each a list of volts. "
             "Waits at most `delay` seconds for them and returns what is there; never raises for lack of data. Raises "
             "InputDataNotInRangeError for `num_samples` below -1 and `delay` below 0, and AIPortNotAvaliableError.")
      .plain("AI_readStreamingArray", &AIBased::AI_readStreamingArray, "port: int, num_samples: int, delay: float",
             "numpy.ndarray",
             "As AI_readStreaming, as a float64 array of shape (samples, channels) in volts; a change of the number of "
             "channels ends it early. Needs numpy.");
}

}  // namespace

void bindAnalog(py::module_& module) {
  py::class_<AIUnion, std::shared_ptr<AIUnion>> ai_union(module, "AIUnion", "What every kind of analog input shares.");
  py::class_<AIBased, AIUnion, std::shared_ptr<AIBased>> based(
      module, "AIBased", "State, checks, decoder thread and streaming of analog input.");
  bindAIState(ai_union, based);

  Operations(ai_union)
      .check("_checkAIPort", &AIUnion::_checkAIPort, "port: int", "Raises AIPortNotAvaliableError.")
      .instant("_convertAITriggerModeToMask", &AIUnion::_convertAITriggerModeToMask, "mode: int", "int",
               "Bit 0 command, bit 1 real-time clock, bit 2 external interrupt.")
      .request("AI_open", &AIUnion::AI_open, "port: int", "int",
               "Opens analog input; streamed samples are decoded only while it is open. Where inputs are always on "
               "(FeroxA, FeroxA2, FeroxI, FeroxIA) nothing is sent, and a device that is closed is not noticed; "
               "streams need it all the same. Raises AIPortNotAvaliableError. Returns 0.")
      .request("AI_close", &AIUnion::AI_close, "port: int", "int",
               "Closes analog input and ends its stream; samples that have come can still be read. Where inputs are "
               "always on (FeroxA, FeroxA2) nothing is sent: call AI_closeStreaming first, else the stream goes on and "
               "its samples wait in memory until the input is opened again. Raises AIPortNotAvaliableError. "
               "Returns 0.");
  Operations(based)
      .check("_checkAIMode", &AIBased::_checkAIMode, "mode: int", "0, 1 or 2; else AIModeNotAvaliableError.")
      .check("_checkAIChannel", &AIBased::_checkAIChannel, "channel: int", "1..8; else AIChannelNotAvaliableError.")
      .check("_checkAITriggerMode", &AIBased::_checkAITriggerMode, "mode: int",
             "0..6; else AITriggerModeNotAvaliableError.")
      .check("_checkAIChipSelect", &AIBased::_checkAIChipSelect, "cs: list[int]",
             "Each 0, 1 or 2; else AICSNotAvaliableError.")
      .check("_ckeckAISamplingRate", &AIBased::_ckeckAISamplingRate, "port: int, rate: int",
             "1 to the product's limit, in Hz; else AIRateNotVaildError. Raises AIPortNotAvaliableError.")
      .instant("_AI_changePortToIndex", &AIBased::_AI_changePortToIndex, "port: int", "int",
               "The place of the port in the lists of queues. Raises AIPortNotAvaliableError.")
      .check("_AI_free", &AIBased::_AI_free, "", "Ends the decoder thread.")
      .request(
          "AI_openStreaming", &AIBased::AI_openStreaming, "port: int", "int",
          "Prepares a port for streaming. Raises AIPortNotAvaliableError, and FirmwareAIError where the input is not "
          "open. Returns 0.")
      .plain(
          "AI_startStreaming", &AIBased::AI_startStreaming, "port: int", "int",
          "Starts streaming; samples arrive from now on. Does not wait for a reply: after a refusal none come. Raises "
          "AIPortNotAvaliableError. Returns 0.")
      .request("AI_closeStreaming", &AIBased::AI_closeStreaming, "port: int", "int",
               "Ends streaming; samples that have come can still be read. Raises AIPortNotAvaliableError. Returns 0.")
      .request(
          "AI_setMode", &AIBased::AI_setMode, "port: int, mode: int", "int",
          "Chooses the acquisition: 0 on demand, 1 a number of samples, 2 continuous. Raises AIModeNotAvaliableError, "
          "AIPortNotAvaliableError, and FirmwareAIError while a stream runs. Returns 0.")
      .request("AI_setNumSamples", &AIBased::AI_setNumSamples, "port: int, num_samples: int", "int",
               "How many samples mode 1 acquires, 0..4294967295. Raises InputDataNotInRangeError outside, "
               "AIPortNotAvaliableError, and FirmwareAIError for 0 and while a stream runs. Returns 0.")
      .request(
          "AI_setSamplingRate", &AIBased::AI_setSamplingRate, "port: int, sampling_rate: int", "int",
          "Samples per second and channel, in Hz, from 1 to the product's limit, which depends on the channels in use "
          "where their number can be chosen. Raises AIRateNotVaildError outside, AIPortNotAvaliableError, and "
          "FirmwareAIError while a stream runs. Returns 0.")
      .request(
          "_checkAIPinState", &AIBased::_checkAIPinState, "port: int", "None",
          "Raises AIPortNotAvaliableError unless the port's pins are ADC in the device's pin query, where AI port 0 of "
          "CordlogF1AD and CordlogF1AOD is port 4: 0 to 3 are digital.");

  using M = AIOperations;
  Operations ops(py::class_<AIModule, AIBased, std::shared_ptr<AIModule>>(module, "AIModule", "16-bit analog input."),
                 py::class_<AIModule_async, AIBased, std::shared_ptr<AIModule_async>>(
                     module, "AIModule_async", "16-bit analog input as coroutines."),
                 CoroutineTimeout::None);
  bindReads(ops);
  ops.request(
         "AI_enableChannel", &M::AI_enableChannel, "port: int, channel: int", "int",
         "How many channels a sample has, 1..8; on CordlogF1AD and CordlogF1AOD, else APINotSupportError. Samples that "
         "have come keep their number. The device keeps it until it restarts, for the next program too, and cannot be "
         "asked for it: a new object takes it to be 8, and one that is connected again what it was. Call this after "
         "every connect, else values may pass for those of other channels. Raises AIChannelNotAvaliableError, "
         "AIPortNotAvaliableError, and "
         "FirmwareAIError while a stream runs. Returns 0.")
      .request("AI_enableCS", &M::AI_enableCS, "slot: int, chip_select: list[int]", "int",
               "Enables chips 0..2 of a slot; on LUMA, else APINotSupportError. Raises AICSNotAvaliableError, also for "
               "none, "
               "and AIPortNotAvaliableError. Returns 0.")
      .request(
          "AI_setTriggerMode", &M::AI_setTriggerMode, "port: int, mode: int", "int",
          "What starts streaming: 0 command, 1 clock, 2 external interrupt, 3 command and clock, 4 command and "
          "interrupt, 5 clock and interrupt, 6 all; not on CordlogF1AD and CordlogF1AOD: APINotSupportError. Raises "
          "AITriggerModeNotAvaliableError, AIPortNotAvaliableError, and FirmwareAIError while a stream runs. "
          "Returns 0.")
      .request(
          "_AI_getDataRTC", &M::_AI_getDataRTC, "port: int", "list[float]",
          "The sample taken at the clock's last trigger: volts of each channel. Raises AIPortNotAvaliableError, and "
          "FirmwareAIError where the input is not open.")
      .request("_AI_getCounter", &M::_AI_getCounter, "port: int", "list[int]",
               "The device's counters: samples acquired, packets sent, samples lost. Raises AIPortNotAvaliableError.")
      .request("_AI_clearBufferStatus", &M::_AI_clearBufferStatus, "port: int", "int",
               "Empties the device's buffer and sets its counters to 0. Raises AIPortNotAvaliableError. Returns 0.")
      .request("_AI_readBufferStatus", &M::_AI_readBufferStatus, "port: int", "list[int]",
               "The device's buffer: samples waiting, capacity. Raises AIPortNotAvaliableError.");

  Operations streaming24(
      py::class_<AI24BitStreamingModule, AIBased, std::shared_ptr<AI24BitStreamingModule>>(
          module, "AI24BitStreamingModule", "24-bit analog input with streaming. Volts are not rounded."),
      py::class_<AI24BitStreamingModule_async, AIBased, std::shared_ptr<AI24BitStreamingModule_async>>(
          module, "AI24BitStreamingModule_async", "24-bit analog input with streaming as coroutines."),
      CoroutineTimeout::None);
  bindReads(streaming24);

  Operations(py::class_<AI24BitModule, AIUnion, std::shared_ptr<AI24BitModule>>(module, "AI24BitModule",
                                                                                "24-bit analog input, read on demand."),
             py::class_<AI24BitModule_async, AIUnion, std::shared_ptr<AI24BitModule_async>>(
                 module, "AI24BitModule_async", "24-bit analog input, read on demand, as coroutines."),
             CoroutineTimeout::None)
      .request("AI_readOnDemand", &AI24BitOperations::AI_readOnDemand, "port: int", "list[float]",
               "One sample now: volts of each channel, rounded to three decimals. Raises AIPortNotAvaliableError.");
}

}  // namespace qvx::binding
