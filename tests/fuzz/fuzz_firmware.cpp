// Hostile bytes at a device of any model: the frame reader, every command, broadcasts and the faults. The input's
// first byte sets the size of the pieces, the second the model; between two pieces time passes and the client reads.
// Each piece is a datagram as well.

#include "virtual/session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qvx::bench;
  if (size < 2) {
    return 0;
  }
  TimePoint now{std::chrono::hours(1)};
  DeviceSetup setup;
  setup.model = &modelRows()[data[1] % modelRows().size()];
  if (setup.model->analog_inputs != 0 && setup.model->analog_outputs != 0) {
    setup.wires = {Wire::parse("ao0.0=ai0.0")};
  }
  setup.faults.duplicate = (data[0] & 0x80) != 0 ? 0.5 : 0;
  setup.unpaced = (data[0] & 0x40) != 0;
  Device device(setup, now);
  const Log log(LogLevel::Quiet);
  Session session(device, log, "fuzz");
  const std::size_t piece = 1 + (data[0] & 0x1F);
  for (std::size_t at = 2; at < size; at += piece) {
    const qvx::ByteView bytes{data + at, std::min(piece, size - at)};
    FrameReader datagram;
    datagram.feed(bytes, now);
    if (const auto request = datagram.next(now)) {
      device.answerBroadcast(*request, now);
    }
    session.receive(bytes, now);
    now += std::chrono::milliseconds(7);
    device.tick(now);
    session.advance(now);
    if (session.room() > (1U << 20)) {
      std::abort();
    }
    if ((at / piece) % 4 != 0) {
      session.written(session.output().size());
    }
    device.rebooted();
  }
  return 0;
}
