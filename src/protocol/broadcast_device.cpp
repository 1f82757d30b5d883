#include "protocol/broadcast_device.h"

#include "core/constants.h"
#include "transport/udp.h"

namespace qvx {

BroadcastDevice::BroadcastDevice(bool verbose)
    : Device({.verbose = verbose, .handle_name = "BroadcastDevice"}),
      udp_(add({.thread_name = "qvx-recv-udp",
                .read_size = UDP_PKT_LENGTH_MAX,
                .client = broadcastSlot(),
                .file = [engine = engine()](Frame frame) {
                  if (engine->checkCommandType(frame.code, frame.payload) == PacketKind::Broadcast) {
                    engine->putToDataPool(frame.code, std::move(frame.payload));
                  }
                }})) {
  setClientUdp(std::make_shared<UDPClient>());
  sayOpened();
}

BroadcastDevice::~BroadcastDevice() {
  close();
}

bool BroadcastDevice::connect() {
  open({.identifier = "UDP port " + std::to_string(UDP_RECV_PORT), .open = [client = clientUdp()] {
          if (!client) {
            fail(ErrorId::NetworkConnectionError, "This device has no transport to listen with.");
          }
          client->connect("", UDP_RECV_PORT);
        }});
  return true;
}

}  // namespace qvx
