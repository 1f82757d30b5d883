#include "binding/modules.h"
#include "binding/operations.h"
#include "modules/analog/ao.h"

#include <pybind11/stl.h>

namespace qvx::binding {
namespace {

using BasedClass = py::class_<AOBased, std::shared_ptr<AOBased>>;

void bindAOState(BasedClass& based) {
  based
      .def_readonly("ao_dict", &AOBased::ao_dict,
                    "-> dict[int, list[int]]\n\nThe AO ports: port number to its channels.")
      .def_readonly("ao_volt_min", &AOBased::ao_volt_min, "-> float\n\nThe lowest output in volts.")
      .def_readonly("ao_volt_max", &AOBased::ao_volt_max, "-> float\n\nThe highest output in volts.")
      .def_readonly("ao_channel", &AOBased::ao_channel, "-> int\n\nHow many channels the product has.")
      .def_readonly("ao_rate", &AOBased::ao_rate, "-> int\n\nThe product's highest sampling rate in Hz.");
  Operations(based)
      .plain("AO_getPort", &AOBased::AO_getPort, "", "list[int]", "The AO ports of the product.")
      .plain("_AO_getPinMapPort", &AOBased::_AO_getPinMapPort, "port: int", "list[int]",
             "The channels of a port. Raises AOPortNotAvaliableError.")
      .request(
          "_checkAOPinState", &AOBased::_checkAOPinState, "port: int", "None",
          "Raises AOPortNotAvaliableError unless the pins of the port of that number in the device's pin query are "
          "idle; on CordlogF1AOD those of the digital port.")
      .check("_checkAOPort", &AOBased::_checkAOPort, "port: int", "Raises AOPortNotAvaliableError.")
      .check("_checkAOChannel", &AOBased::_checkAOChannel, "channel: int", "0..7; else AOChannelNotAvaliableError.")
      .check("_checkAOMode", &AOBased::_checkAOMode, "mode: int", "0, 1 or 2; else AOModeNotVaildError.")
      .check("_checkAOForm", &AOBased::_checkAOForm, "form: int", "1, 2 or 3; else AOFormNotAvaliableError.")
      .check("_checkAOSpan", &AOBased::_checkAOSpan, "span: int", "0..4; else AOSpanNotVaildError.")
      .check("_ckeckAOSamplingRate", &AOBased::_ckeckAOSamplingRate, "rate: int",
             "1..ao_rate in Hz; else AORateNotVaildError.")
      .instant("_checkAONumOfValues", &AOBased::_checkAONumOfValues, "n: int", "bool",
               "Whether one push can carry as many: at most 13.");
}

template <class Ops>
void bindOutput(Ops& operations) {
  using M = AOOperations;
  operations
      .request(
          "AO_open", &M::AO_open, "port: int", "int",
          "Opens analog output. Where it is always open (FeroxO) nothing is sent, and a device that is closed is not "
          "noticed. On CordlogF1AOD it takes all pins "
          "of the digital port of that number until it is closed. Raises AOPortNotAvaliableError, also where one of "
          "these pins is not idle: when the output is open already, too, and AO_close frees it. Returns 0.")
      .request(
          "AO_close", &M::AO_close, "port: int", "int",
          "Closes analog output: ends generation, sets 0 V and gives back its pins. Raises AOPortNotAvaliableError. "
          "Returns 0.")
      .request("AO_writeOneChannel", &M::AO_writeOneChannel, "port: int, channel: int, value: float", "int",
               "Sets one channel, 0..7, to `value` volts. Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, "
               "InputDataNotInRangeError outside ao_volt_min..ao_volt_max, and FirmwareAOError for a channel that the "
               "product does not have, and where the output is not open or generates. Returns 0.")
      .request("AO_writeAllChannels", &M::AO_writeAllChannels, "port: int, value_list: list[float]", "int",
               "Sets all channels at the same instant, channel 0 first, in volts; those without a value to 0 V. Raises "
               "PinsValueNotDefineError for more values than channels, InputDataNotInRangeError outside "
               "ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError where the output is not open or "
               "generates. Returns 0.");
}

template <class Ops>
void bindGeneration(Ops& operations) {
  using M = AOStreamingOperations;
  operations
      .request("AO_openStreaming", &M::AO_openStreaming, "port: int", "list[int | float]",
               "Prepares a port for generation. Raises AOPortNotAvaliableError, and FirmwareAOError where the "
               "output is not open. Returns the mode and the sampling rate in Hz that are set.")
      .plain("AO_startStreaming", &M::AO_startStreaming, "port: int", "int",
             "Starts generation. Does not wait for a reply: _AO_getState tells whether it runs. Raises "
             "AOPortNotAvaliableError. Returns 0.")
      .request("AO_closeStreaming", &M::AO_closeStreaming, "port: int", "int",
               "Ends generation; the outputs stay where they are. Raises AOPortNotAvaliableError. Returns 0.")
      .request("_AO_stopStreaming", &M::_AO_stopStreaming, "port: int", "int",
               "Stops generation; it may be started again. The outputs stay where they are. Raises "
               "AOPortNotAvaliableError. Returns 0.")
      .request("AO_setMode", &M::AO_setMode, "port: int, mode: int", "int",
               "Chooses the generation: 0 on demand, 1 a number of samples, 2 continuous. Raises AOModeNotVaildError, "
               "AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0.")
      .request("AO_setSamplingRate", &M::AO_setSamplingRate, "port: int, sampling_rate: int", "int",
               "Samples per second and channel, in Hz, 1..ao_rate. Raises AORateNotVaildError outside, "
               "AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0.")
      .request("AO_setNumSamples", &M::AO_setNumSamples, "port: int, num_samples: int", "int",
               "How many samples mode 1 generates, 0..4294967295. Raises InputDataNotInRangeError outside, "
               "AOPortNotAvaliableError, and FirmwareAOError for 0 and while it generates. Returns 0.")
      .request(
          "AO_setEnableChannels", &M::AO_setEnableChannels, "port: int, channel_list: list[int]", "int",
          "The channels that generate, each 0..7; the others do not. Raises AOChannelNotAvaliableError, "
          "AOPortNotAvaliableError, and FirmwareAOError for a channel that the product does not have, and while it "
          "generates. Returns 0.")
      .request(
          "AO_setForm", &M::AO_setForm, "port: int, channel: int, form: int", "int",
          "The form of a channel's signal: 1 rectangular, 2 triangular, 3 sine. Raises AOFormNotAvaliableError, "
          "AOChannelNotAvaliableError, AOPortNotAvaliableError, and FirmwareAOError for a channel that the product "
          "does not have, and while it generates. Returns 0.")
      .request("AO_setFormParam", &M::AO_setFormParam,
               "port: int, channel: int, amplitude: float, offset: float, frequency: float, phase: float, "
               "duty_cycle: float",
               "int",
               "The signal of a channel: amplitude (from the middle to the peak) and offset in volts, frequency in Hz, "
               "phase in degrees, duty cycle in per cent of a period (the high part of a rectangle, the rising one of "
               "a triangle). Raises AOChannelNotAvaliableError, AOPortNotAvaliableError, InputDataNotInRangeError for "
               "what is not finite, and FirmwareAOError for an amplitude or a frequency below 0, a duty cycle outside "
               "0..100, a channel that the product does not have, and while it generates. Returns 0.")
      .request("AO_getValues", &M::AO_getValues, "port: int", "list[float]",
               "What each channel puts out, in volts. Raises "
               "AOPortNotAvaliableError.")
      .request("_AO_setSpan", &M::_AO_setSpan, "port: int, span: int", "int",
               "The output's span: 0: 0..5 V, 1: 0..10 V, 2: -5..5 V, 3: -10..10 V (at first), 4: -2.5..2.5 V. Raises "
               "AOSpanNotVaildError, AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns 0.")
      .request("_AO_getMode", &M::_AO_getMode, "port: int", "int",
               "The mode that is set. Raises AOPortNotAvaliableError.")
      .request(
          "_AO_getState", &M::_AO_getState, "port: int", "int",
          "What generation does: 0 idle, 1 stand-by (open, not running), 2 running. Raises AOPortNotAvaliableError.")
      .request("_AO_getCounters", &M::_AO_getCounters, "port: int", "list[int]",
               "The device's counters since the start: interrupts (samples), SPI transfers (values). Raises "
               "AOPortNotAvaliableError.")
      .request("_AO_initialBuffer", &M::_AO_initialBuffer, "port: int", "int",
               "Empties the device's buffer, from which generation takes its values then instead of the forms. Raises "
               "AOPortNotAvaliableError, and FirmwareAOError while it generates. Returns how many values it holds.")
      .request("_AO_pushToBuffer", &M::_AO_pushToBuffer, "port: int, num_of_val: int, value_list: list[float]", "int",
               "Appends `num_of_val` values in volts to the device's buffer; those of the enabled channels take turns, "
               "the lowest first. Sends them in pushes of at most 13; the first one that is refused ends it. A push "
               "that is sent "
               "again because its reply is late is appended again: set `resend` to False where that matters. Raises "
               "PinsValueNotDefineError when value_list has another number of them, InputDataNotInRangeError outside "
               "ao_volt_min..ao_volt_max, AOPortNotAvaliableError, and FirmwareAOError without room, without "
               "_AO_initialBuffer before, and while it generates. Returns 0.");
}

}  // namespace

void bindAnalogOutput(py::module_& module) {
  BasedClass based(module, "AOBased", "State and checks of analog output.");
  bindAOState(based);

  Operations output(py::class_<AOModule, AOBased, std::shared_ptr<AOModule>>(module, "AOModule", "Analog output."),
                    py::class_<AOModule_async, AOBased, std::shared_ptr<AOModule_async>>(
                        module, "AOModule_async", "Analog output as coroutines."),
                    CoroutineTimeout::None);
  bindOutput(output);

  Operations generation(py::class_<AOStreamingModule, AOBased, std::shared_ptr<AOStreamingModule>>(
                            module, "AOStreamingModule", "Analog output with generation of waveforms."),
                        py::class_<AOStreamingModule_async, AOBased, std::shared_ptr<AOStreamingModule_async>>(
                            module, "AOStreamingModule_async", "Analog output with generation as coroutines."),
                        CoroutineTimeout::None);
  bindOutput(generation);
  bindGeneration(generation);
}

}  // namespace qvx::binding
