// Digital input and output.
#pragma once

#include "virtual/board.h"

#include <map>

namespace qvx::bench {

class DioFirmware final : public Module {
 public:
  explicit DioFirmware(Board& board);
  void addCommands(CommandTable& table) override;
  void restart() override;
  void factoryReset() override;

 private:
  // What a port's pins become when the device starts; of a fixed port, the state only.
  struct Startup {
    PinMask enabled = 0;
    PinMask direction = 0;
    PinMask state = 0;
  };
  struct Port {
    int number = 0;
    PinMask state = 0;  // the register between commands and pins
    Startup startup;    // survives restarts
  };
  // The words of a request, as many as its command has.
  using Words = std::array<PinMask, 4>;
  struct Row {
    int code;
    std::size_t words;
    bool masked;  // the first of them chooses pins
    Answer (DioFirmware::*run)(Port&, const Words&);
  };
  static std::span<const Row> rows();

  Answer dispatch(const Request& request);
  Answer setCurrent(Port& port, const Words& words);
  Answer current(Port& port, const Words& words);
  Answer setState(Port& port, const Words& words);
  Answer state(Port& port, const Words& words);
  Answer toggleDirection(Port& port, const Words& words);
  Answer readAndGet(Port& port, const Words& words);
  Answer setAndWrite(Port& port, const Words& words);
  Answer toggleAndWrite(Port& port, const Words& words);
  Answer readInputs(Port& port, const Words& words);
  Answer writeOutputs(Port& port, const Words& words);
  Answer loadStartup(Port& port, const Words& words);
  Answer saveStartup(Port& port, const Words& words);
  Answer setIdle(Port& port, const Words& words);
  Answer setInputs(Port& port, const Words& words);
  Answer setOutputs(Port& port, const Words& words);

  // Makes `inputs` and `outputs` what they say and the rest of `mask` idle, or refuses and changes nothing.
  int configure(const Port& port, PinMask mask, PinMask inputs, PinMask outputs);
  void setRegister(Port& port, PinMask mask, PinMask state);
  // The register's bits as levels of those of the pins that are outputs.
  void write(Port& port, PinMask mask);
  Answer writeChosen(Port& port, PinMask mask, PinMask state);
  PinMask inputs(const Port& port) const { return board_.pins.pinsIn(port.number, PinMode::DI); }
  PinMask outputs(const Port& port) const { return board_.pins.pinsIn(port.number, PinMode::DO); }
  Bytes outputLevels(const Port& port) const;

  Board& board_;
  std::map<int, Port> ports_;
};

}  // namespace qvx::bench
