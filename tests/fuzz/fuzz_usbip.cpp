// Hostile bytes at a USB/IP connection: operations, messages about transfers, and what travels in them. The input's
// first byte sets the size of the pieces, and whether the device is imported already.

#include "virtual/usbip_session.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qvx;
  using namespace qvx::bench;
  if (size == 0) {
    return 0;
  }
  TimePoint now{std::chrono::hours(1)};
  DeviceSetup setup;
  setup.model = findModel("FeroxA");
  Device device(setup, now);
  const Log log(LogLevel::Quiet);
  std::vector<UsbipExport> exports{{device, "1-1", 1, UsbFunction(device.board())}};
  UsbipSession session(exports, log);
  if ((data[0] & 0x80) != 0) {
    Bytes import = payload(u16(0x0111), u16(0x8003), u32(0), Bytes{'1', '-', '1'});
    import.resize(40);
    session.receive(import, now);
    session.written(session.output().size());
  }
  const std::size_t piece = 1 + (data[0] & 0x7F);
  for (std::size_t at = 1; at < size && session.wantsInput() && !session.done(); at += piece) {
    session.receive({data + at, std::min(piece, size - at)}, now);
    now += std::chrono::milliseconds(7);
    device.tick(now);
    session.advance(now);
    if (session.output().size() > (4U << 20)) {
      std::abort();
    }
    if ((at / piece) % 4 != 0) {
      session.written(session.output().size());
    }
    device.rebooted();
  }
  return 0;
}
