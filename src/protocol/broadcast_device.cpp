#include "protocol/broadcast_device.h"

#include "core/constants.h"
#include "transport/udp.h"

namespace qvx {

BroadcastDevice::BroadcastDevice(bool verbose)
    : Device(ProductId::None, verbose, "BroadcastDevice"),
      udp_(*this, {.thread_name = "qvx-recv-udp",
                   .read_size = UDP_PKT_LENGTH_MAX,
                   .connection_error = ErrorId::NetworkConnectionError,
                   .client = [engine = engine()] { return engine->clientUdp(); },
                   .file =
                       [engine = engine()](Frame frame) {
                         if (engine->checkCommandType(frame.code, frame.payload) == PacketKind::Broadcast) {
                           engine->putToDataPool(frame.code, std::move(frame.payload));
                         }
                       }}) {
  setClientUdp(std::make_shared<UDPClient>());
  add(udp_);
  sayOpened();
}

BroadcastDevice::~BroadcastDevice() {
  close();
}

bool BroadcastDevice::connect() {
  udp_.connect("UDP port " + std::to_string(UDP_RECV_PORT), [this] {
    const auto client = clientUdp();
    if (!client) {
      fail(ErrorId::NetworkConnectionError, "This device has no transport to listen with.");
    }
    client->connect("", UDP_RECV_PORT);
  });
  return true;
}

}  // namespace qvx
