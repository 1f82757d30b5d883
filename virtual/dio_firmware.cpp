#include "virtual/dio_firmware.h"

#include "core/constants.h"

#include <algorithm>

namespace qvx::bench {
namespace {

Bytes threeWords(PinMask first, PinMask second, PinMask third) {
  return payload(u16(first), u16(second), u16(third));
}

}  // namespace

DioFirmware::DioFirmware(Board& board) : board_(board) {
  for (const int number : board.pins.ports()) {
    const Port port{.number = number, .state = 0, .startup = {}};
    if (board.pins.isFree(number) || (inputs(port) | outputs(port)) != 0) {
      ports_.emplace(number, port);
    }
  }
}

std::span<const DioFirmware::Row> DioFirmware::rows() {
  using D = DioFirmware;
  static constexpr Row kRows[] = {
      {SET_DIO_CURRENT, 4, true, &D::setCurrent},
      {GET_DIO_CURRENT, 1, true, &D::current},
      {SET_DIO_STATE, 2, true, &D::setState},
      {GET_DIO_STATE, 1, true, &D::state},
      {TOGGLE_DIO_DIR, 2, true, &D::toggleDirection},
      {READ_AND_GET_DI, 1, true, &D::readAndGet},
      {SET_AND_WRITE_DO, 2, true, &D::setAndWrite},
      {TOGGLE_AND_WRITE_DO, 1, true, &D::toggleAndWrite},
      {READ_DI, 0, false, &D::readInputs},
      {WRITE_DO, 0, false, &D::writeOutputs},
      {LOAD_DIO_STARTUP, 0, false, &D::loadStartup},
      {SAVE_DIO_STARTUP, 3, true, &D::saveStartup},  // of those that it enables
      {SET_SLOT_IDLE, 0, false, &D::setIdle},
      {SET_SLOT_DI, 0, false, &D::setInputs},
      {SET_SLOT_DO, 0, false, &D::setOutputs},
  };
  return kRows;
}

void DioFirmware::addCommands(CommandTable& table) {
  for (const Row& row : rows()) {
    const std::size_t length = 1 + 2 * row.words;
    const CommandRow<DioFirmware> command{row.code, length, length, ReplyForm::EchoStatus, &DioFirmware::dispatch};
    table.add<DioFirmware>(*this, {&command, 1});
  }
}

Answer DioFirmware::dispatch(const Request& request) {
  const auto port = ports_.find(request.payload[0]);
  const auto row =
      std::find_if(rows().begin(), rows().end(), [&](const Row& candidate) { return candidate.code == request.code; });
  Words given{};
  for (std::size_t i = 0; i < row->words; ++i) {
    given[i] = readBig<PinMask>(request.payload, 1 + 2 * i);
  }
  if (port == ports_.end() || (row->masked && (given[0] & ~board_.pins.pinsOf(port->first)) != 0)) {
    return status::kPinIndex;
  }
  return (this->*row->run)(port->second, given);
}

// The pins are as after the reset of the board.
void DioFirmware::restart() {
  for (auto& [number, port] : ports_) {
    const Startup& startup = port.startup;
    const auto chosen = static_cast<PinMask>(startup.enabled & startup.direction);
    configure(port, startup.enabled, static_cast<PinMask>(startup.enabled & ~startup.direction), chosen);
    port.state = startup.state;
    write(port, board_.pins.pinsOf(number));
  }
}

void DioFirmware::factoryReset() {
  for (auto& [number, port] : ports_) {
    configure(port, board_.pins.pinsOf(number), 0, 0);
    port.startup = {};
    setRegister(port, board_.pins.pinsOf(number), 0);
    write(port, board_.pins.pinsOf(number));
  }
}

int DioFirmware::configure(const Port& port, PinMask mask, PinMask inputs_, PinMask outputs_) {
  Pins& pins = board_.pins;
  const int number = port.number;
  const PinMask dio = inputs(port) | outputs(port);
  const bool fits = pins.isFree(number) ? ((inputs_ | outputs_) & ~(dio | pins.pinsIn(number, PinMode::Idle))) == 0
                                        : (inputs_ & ~inputs(port)) == 0 && (outputs_ & ~outputs(port)) == 0;
  if (!fits) {
    return status::kDio;
  }
  pins.release(number, static_cast<PinMask>(mask & ~inputs_), PinMode::DI);
  pins.release(number, static_cast<PinMask>(mask & ~outputs_), PinMode::DO);
  pins.take(number, inputs_, PinMode::DI);
  pins.take(number, outputs_, PinMode::DO);
  return status::kOk;
}

void DioFirmware::setRegister(Port& port, PinMask mask, PinMask state) {
  port.state = static_cast<PinMask>((port.state & ~mask) | (state & mask));
}

void DioFirmware::write(Port& port, PinMask mask) {
  board_.pins.drive(port.number, static_cast<PinMask>(mask & outputs(port)), port.state);
}

Bytes DioFirmware::outputLevels(const Port& port) const {
  return payload(u16(board_.pins.levels(port.number) & outputs(port)));
}

// words: mask, enabled, direction, state
Answer DioFirmware::setCurrent(Port& port, const Words& words) {
  const auto enabled = static_cast<PinMask>(words[0] & words[1]);
  const auto chosen = static_cast<PinMask>(enabled & words[2]);
  const int status = configure(port, words[0], static_cast<PinMask>(enabled & ~words[2]), chosen);
  if (status == status::kOk) {
    setRegister(port, words[0], words[3]);
    write(port, words[0]);
  }
  return status;
}

Answer DioFirmware::current(Port& port, const Words& words) {
  const PinMask mask = words[0];
  return threeWords((inputs(port) | outputs(port)) & mask, outputs(port) & mask, port.state & mask);
}

Answer DioFirmware::setState(Port& port, const Words& words) {
  setRegister(port, words[0], words[1]);
  return status::kOk;
}

Answer DioFirmware::state(Port& port, const Words& words) {
  return payload(u16(port.state & words[0]));
}

Answer DioFirmware::toggleDirection(Port& port, const Words& words) {
  const PinMask mask = words[0];
  const auto were_inputs = static_cast<PinMask>(mask & inputs(port));
  const auto were_outputs = static_cast<PinMask>(mask & outputs(port));
  if ((were_inputs | were_outputs) != mask) {
    return status::kEnable;
  }
  const int status = configure(port, mask, were_outputs, were_inputs);
  if (status == status::kOk) {
    setRegister(port, were_inputs, words[1]);
    write(port, were_inputs);
  }
  return status;
}

Answer DioFirmware::readAndGet(Port& port, const Words& words) {
  readInputs(port, words);
  return payload(u16(board_.pins.levels(port.number) & (inputs(port) | outputs(port)) & words[0]));
}

Answer DioFirmware::writeChosen(Port& port, PinMask mask, PinMask state) {
  if ((mask & ~outputs(port)) != 0) {
    return status::kEnable;
  }
  setRegister(port, mask, state);
  write(port, mask);
  return outputLevels(port);
}

Answer DioFirmware::setAndWrite(Port& port, const Words& words) {
  return writeChosen(port, words[0], words[1]);
}

Answer DioFirmware::toggleAndWrite(Port& port, const Words& words) {
  return writeChosen(port, words[0], static_cast<PinMask>(~board_.pins.driven(port.number)));
}

Answer DioFirmware::readInputs(Port& port, const Words&) {
  setRegister(port, inputs(port), board_.pins.levels(port.number));
  return status::kOk;
}

Answer DioFirmware::writeOutputs(Port& port, const Words&) {
  write(port, outputs(port));
  return status::kOk;
}

Answer DioFirmware::loadStartup(Port& port, const Words&) {
  return threeWords(port.startup.enabled, port.startup.direction, port.startup.state);
}

Answer DioFirmware::saveStartup(Port& port, const Words& words) {
  port.startup = {.enabled = words[0], .direction = words[1], .state = words[2]};
  return status::kOk;
}

Answer DioFirmware::setIdle(Port& port, const Words&) {
  return board_.pins.isFree(port.number) ? configure(port, board_.pins.pinsOf(port.number), 0, 0) : status::kDio;
}

Answer DioFirmware::setInputs(Port& port, const Words&) {
  const PinMask all = board_.pins.pinsOf(port.number);
  return configure(port, all, all, 0);
}

Answer DioFirmware::setOutputs(Port& port, const Words&) {
  const PinMask all = board_.pins.pinsOf(port.number);
  return configure(port, all, 0, all);
}

}  // namespace qvx::bench
