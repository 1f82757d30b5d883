// UDP: broadcasts to every attached network, and the answers to them.
#pragma once

#include "transport/network.h"

#include <netinet/in.h>

#include <optional>
#include <string>
#include <vector>

namespace qvx {

// Several programs on one machine may listen on the same port at once. Linux hands a broadcast to all of them, but a
// datagram to this machine's own address to one of them only. Who gets one passes its frames on by a broadcast within
// the machine, so that each program has every answer once, whichever way the device sent it.
class UDPClient : public NetworkClient {
 public:
  using NetworkClient::NetworkClient;

  // Listens on `port` (0..65535, 0: any that is free) of the local IPv4 address `ip`, "" for all of them; returns true.
  // Reads wait up to 1 s then. Begins to look up the host's own name. Raises InputDataNotInRangeError when the port is
  // not in range, NetworkConnectionError when the address has another form or is not local, when the port is taken by a
  // program that shares it with nobody, and when this client listens already.
  bool bind(const std::string& ip, int port);
  bool connect(const std::string& ip, int port) override { return bind(ip, port); }

  // One datagram, cut off at `size` bytes; nothing as for every client, and for an empty datagram.
  Bytes recvPacket(std::size_t size) override;
  // The whole frames of one datagram. What is left of it is dropped: the next one may be anybody's.
  std::vector<Frame> recvAndSplitPacket(std::size_t size) override;

  // Raises APINotSupportError: there is no device at the other end, only everybody.
  void sendInTurn(ByteView frame, const std::function<void()>& before) override;
  // Sends `frame` to 255.255.255.255, port UDP_SEND_PORT, from each local IPv4 address: those of the interfaces and
  // those that the host's own name stands for, as far as that is known 2 s after it was first asked for. Raises
  // NetworkConnectionError when it could leave from none of them. Needs no bind.
  void sendBcstPacket(ByteView frame) override;

 private:
  struct Datagram {
    Bytes bytes;
    bool to_this_host_alone = false;
  };
  // The broadcasts within the machine for one bound socket.
  struct Relay {
    std::uint64_t link = 0;  // for which it was made
    Descriptor socket;       // none where nobody shares the port
    sockaddr_in own{};
    sockaddr_in others{};
  };

  Datagram readDatagram(Link& link, std::size_t size);
  void relay(const Link& link, ByteView bytes);
  // The answer to the question for the addresses of this host's name, which may take a resolver many seconds.
  struct NameLookUp;
  std::shared_ptr<NameLookUp> lookUpOwnName();

  Relay relay_;       // of the thread that reads
  Mutex name_mutex_;  // innermost
  std::shared_ptr<NameLookUp> own_name_ QVX_GUARDED_BY(name_mutex_);
};

}  // namespace qvx
