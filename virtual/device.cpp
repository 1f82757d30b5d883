#include "virtual/device.h"

#include "virtual/system_firmware.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace qvx::bench {
namespace {

std::string defaultSerial(const DeviceSetup& setup) {
  char digits[7];
  std::snprintf(digits, sizeof digits, "%06zu", (setup.index + 1) % 1000000);
  return setup.model->serial_prefix + std::string(digits);
}

// The address that it listens at, and a locally administered MAC address of its own.
Addresses defaultAddresses(const DeviceSetup& setup) {
  constexpr std::uint32_t kLoopback = 127;
  const auto product = static_cast<std::uint8_t>(setup.model->product);
  const std::size_t number = setup.index + 1;
  return {.ip = setup.address,
          .mask = setup.address >> 24 == kLoopback ? 0xFF000000 : 0xFFFFFF00,
          .gateway = 0,
          .mac = {0x02, 'Q', 'V', product, static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)}};
}

void checkAttachments(const std::vector<Attachment>& attachments, const ModelRow& model) {
  for (const Attachment& each : attachments) {
    if (std::none_of(model.buses.begin(), model.buses.end(),
                     [&](const BusPort& port) { return port.bus == each.bus && port.number == each.port; })) {
      throw std::invalid_argument("attach to " + each.place() + ": the device has no such bus");
    }
  }
}

std::vector<std::pair<int, int>> serialWires(const std::vector<Wire>& wires, const ModelRow& model) {
  std::vector<std::pair<int, int>> pairs;
  for (const Wire& wire : wires) {
    if (wire.kind != Terminal::Kind::Serial) {
      continue;
    }
    for (const int port : {wire.from.port, wire.to.port}) {
      if (port < 1 || port > model.serial_ports) {
        throw std::invalid_argument("wire to or from uart" + std::to_string(port) + ": the device has no such port");
      }
    }
    for (const auto& [from, to] : pairs) {
      if (to == wire.to.port) {
        throw std::invalid_argument("two wires lead to uart" + std::to_string(to));
      }
    }
    pairs.emplace_back(wire.from.port, wire.to.port);
  }
  return pairs;
}

Board makeBoard(const DeviceSetup& setup, TimePoint now) {
  const ModelRow& model = *setup.model;
  checkAttachments(setup.attachments, model);
  Outputs outputs(model.analog_outputs);
  std::generate(outputs.begin(), outputs.end(), [] { return std::make_shared<OutputLine>(); });
  Inputs inputs = makeInputs(setup.sources, model.analog_inputs, setup.seed + setup.index);
  connect(setup.wires, outputs, now, inputs);
  return {.model = std::string(model.name()),
          .driver_name = std::string(productLabel(model.product)),
          .wireless = model.wireless,
          .pins = Pins(model.fixed_pins, model.free_pins, setup.wires),
          .inputs = std::move(inputs),
          .outputs = std::move(outputs),
          .buses = model.buses,
          .attachments = setup.attachments,
          .serial_wires = serialWires(setup.wires, model),
          .can_bus = setup.can_bus ? setup.can_bus : std::make_shared<CanBus>(!setup.unpaced),
          .unpaced = setup.unpaced,
          .switched_on = now,
          .seed = setup.seed + setup.index,
          .serial = setup.serial.value_or(defaultSerial(setup)),
          .alias = setup.alias.value_or(std::string(model.name())),
          .clock = RealTimeClock(setup.clock, now),
          .addresses = defaultAddresses(setup),
          .next_addresses = defaultAddresses(setup)};
}

}  // namespace

Device::Device(const DeviceSetup& setup, TimePoint now)
    : board_(makeBoard(setup, now)), faults_(setup.faults, setup.seed + setup.index), broadcasts_(board_, commands_) {
  modules_.push_back(std::make_unique<SystemFirmware>(board_));
  for (const MakeModule make : setup.model->modules) {
    modules_.push_back(make(board_));
  }
  for (const auto& module : modules_) {
    module->addCommands(commands_);
  }
}

void Device::handle(const Frame& frame, Outlet& outlet, TimePoint now) {
  if (reboot_pending_) {
    return;
  }
  commands_.handle({frame.code, frame.payload, outlet, now}, faults_.forcedStatus(frame.code));
  takeEffect(now);
}

std::optional<Bytes> Device::answerBroadcast(const Frame& frame, TimePoint now) {
  if (reboot_pending_) {
    return std::nullopt;
  }
  auto answer = broadcasts_.answer(frame, faults_.forcedStatus(frame.code), now);
  takeEffect(now);
  return answer;
}

void Device::takeEffect(TimePoint now) {
  const Effect effect = std::exchange(board_.effect, Effect::None);
  if (effect == Effect::FactoryReset) {
    board_.clock.stopAlarm(now);
    for (const auto& module : modules_) {
      module->factoryReset();
    }
  } else if (effect != Effect::None) {
    restartModules();
    board_.in_bootloader = effect == Effect::RebootOnBootloader;
    reboot_pending_ = true;
  }
}

void Device::restartModules() {
  board_.pins.reset();
  for (const auto& module : modules_) {
    module->restart();
  }
}

void Device::tick(TimePoint now) {
  for (const auto& module : modules_) {
    module->tick(now);
  }
}

TimePoint Device::due(TimePoint now) {
  TimePoint earliest = kNever;
  for (const auto& module : modules_) {
    earliest = std::min(earliest, module->due(now));
  }
  return earliest;
}

void Device::forget(const Outlet& outlet) {
  for (const auto& module : modules_) {
    module->forget(outlet);
  }
}

}  // namespace qvx::bench
