#include "protocol/wifi_device.h"

#include "core/constants.h"
#include "protocol/attempts.h"
#include "transport/tcp.h"

#include <algorithm>

namespace qvx {

WifiDevice::WifiDevice(ProductId product, bool verbose)
    : NetworkDevice(product, verbose, "WifiDevice"),
      client_data_(std::make_shared<TCPClient>()),
      data_(*this, {.thread_name = "qvx-recv-data",
                    .read_size = TCP_DATA_LENGTH_MAX,
                    .connection_error = ErrorId::NetworkConnectionError,
                    .client = [this] { return clientData(); },
                    .file = fileInPools()}) {
  add(data_);
}

WifiDevice::~WifiDevice() {
  close();
}

std::shared_ptr<Transport> WifiDevice::clientData() const {
  const std::lock_guard lock(client_mutex_);
  return client_data_;
}

void WifiDevice::setClientData(std::shared_ptr<Transport> client) {
  {
    const std::lock_guard lock(client_mutex_);
    client_data_.swap(client);
  }
  if (client) {
    client->wake();  // a read in progress on the old one gives way to the new one
  }
}

bool WifiDevice::connect(const Argument& ip_addr, const Argument& port, const Argument& cmd_port,
                         std::optional<bool> verbose) {
  const std::string& address = checkedText(ip_addr, "ip_addr");
  const int data_number = checkedRange(port, "port", 1, 65535);
  const int command_number = checkedRange(cmd_port, "cmd_port", 1, 65535);
  if (pairing_.exchange(true)) {
    fail(ErrorId::NetworkConnectionError, "Another connect is in progress.");
  }
  Channel& command = commandChannel();
  Attempts attempt;
  attempt([&] {
    std::ranges::for_each(channels(), &Channel::noticeLoss);
    if (lostChannel() != nullptr) {
      disconnect();
    }
    open(command, clientCmd(), address, command_number, false);
    try {
      open(data_, clientData(), address, data_number, verbose);
    } catch (...) {
      command.disconnect();
      throw;
    }
  });
  // A disconnect that came meanwhile may have found one of the channels only, and left this one to see it.
  pairing_ = false;
  attempt([this] {
    if (halved()) {
      disconnect();
      fail(ErrorId::NetworkConnectionError, "The connect was ended by disconnect.");
    }
  });
  attempt.end();
  return true;
}

void WifiDevice::disconnect(std::optional<bool> verbose) {
  Attempts attempt;
  do {
    attempt([&] { commandChannel().disconnect(); });
    attempt([&] { data_.disconnect(verbose); });
  } while (!forked() && !pairing_ && halved());
  attempt.end();
}

bool WifiDevice::halved() const {
  return commandChannel().connected() != data_.connected();
}

}  // namespace qvx
