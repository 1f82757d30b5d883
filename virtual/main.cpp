// qvx-virtual: devices without hardware. Exit status 0 after SIGTERM or SIGINT, 2 for a wrong command line, 1 for
// anything else.

#include "virtual/discovery_port.h"
#include "virtual/event_loop.h"
#include "virtual/options.h"
#include "virtual/process.h"
#include "virtual/pty_port.h"
#include "virtual/tcp_port.h"
#include "virtual/usbip_port.h"

#include "core/constants.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace qvx::bench {
namespace {

std::string explainFailure(const std::system_error& error, const Options& options) {
  const bool privileged = options.road == Road::Network && options.endpoints[0].port < 1024;
  std::string text =
      (options.road == Road::SerialLine ? "cannot use " : "cannot listen at ") + std::string(error.what());
  if (error.code() == std::errc::permission_denied && privileged) {
    text +=
        "\nPorts below 1024 need rights. Give another port (--listen 127.0.0.1:7007, or port 0 for any free one), or "
        "let the program use them:\n  sudo setcap cap_net_bind_service=+ep \"$(command -v qvx-virtual)\"";
  }
  return text;
}

struct Bench {
  EventLoop loop;
  std::vector<std::unique_ptr<Device>> devices;
  std::vector<std::unique_ptr<Port>> ports;  // after the devices that they serve

  void open(const Options& options, const Log& log) {
    for (const DeviceSetup& setup : options.devices) {
      devices.push_back(std::make_unique<Device>(setup, steady_clock::now()));
    }
    try {
      openPorts(options, log);
    } catch (const std::system_error& error) {
      throw std::runtime_error(explainFailure(error, options));
    }
  }

  void openPorts(const Options& options, const Log& log) {
    if (options.road == Road::Usb) {
      std::vector<Device*> served;
      for (const auto& device : devices) {
        served.push_back(device.get());
      }
      ports.push_back(std::make_unique<UsbipPort>(loop, log, options.endpoints[0], served));
      return;
    }
    std::vector<DiscoveryPort::Member> members;
    for (std::size_t i = 0; i < devices.size(); ++i) {
      if (options.road == Road::SerialLine) {
        ports.push_back(std::make_unique<PtyPort>(loop, *devices[i], log));
      } else {
        ports.push_back(std::make_unique<TcpPort>(loop, *devices[i], log, options.endpoints[i]));
        members.push_back({*devices[i], *ports[i], options.endpoints[i]});
      }
    }
    if (options.discovery) {
      ports.push_back(std::make_unique<DiscoveryPort>(loop, log, DiscoveryPort::UdpPorts{UDP_SEND_PORT, UDP_RECV_PORT},
                                                      std::move(members)));
    }
  }

  void run(const StopRequests& stop) {
    bool news = false;  // one device has given another something to do
    while (!stop.stopped()) {
      TimePoint until = news ? steady_clock::now() : kNever;
      for (const auto& port : ports) {
        until = std::min(until, port->due());
      }
      loop.wait(until);
      const TimePoint now = steady_clock::now();
      for (const auto& port : ports) {
        if (news || port->touched() || port->due() <= now) {
          port->service(now);
        }
      }
      news = false;
      for (const auto& device : devices) {
        news = device->takeNews() || news;
      }
    }
  }
};

int runBench(const Options& options, int parent) {
  const Log log(options.log);
  raiseDescriptorLimit();
  Bench bench;
  const StopRequests stop(bench.loop, options.die_with_parent ? parent : 0);
  bench.open(options, log);
  std::size_t device = 0;
  for (const auto& port : bench.ports) {
    for (const std::string& place : port->places()) {
      std::printf("ready %s %s\n", bench.devices[device++]->board().model.c_str(), place.c_str());
    }
  }
  std::printf("ready\n");
  std::fflush(stdout);
  bench.run(stop);
  return 0;
}

}  // namespace
}  // namespace qvx::bench

int main(int argc, char** argv) {
  const int parent = getppid();
  std::signal(SIGPIPE, SIG_IGN);  // whoever reads the log may go away
  try {
    const auto options = qvx::bench::parseOptions(argc, argv);
    if (!options.information.empty()) {
      std::fputs(options.information.c_str(), stdout);
      return 0;
    }
    return qvx::bench::runBench(options, parent);
  } catch (const qvx::bench::UsageError& error) {
    std::fprintf(stderr, "qvx-virtual: %s\nTry qvx-virtual --help.\n", error.what());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qvx-virtual: %s\n", error.what());
    return 1;
  }
}
