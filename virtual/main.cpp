// qvx-virtual: devices without hardware. Exit status 0 after SIGTERM or SIGINT, 2 for a wrong command line, 1 for
// anything else.

#include "virtual/event_loop.h"
#include "virtual/options.h"
#include "virtual/process.h"
#include "virtual/tcp_port.h"

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

std::string explainListenFailure(const std::system_error& error, const Endpoint& endpoint) {
  std::string text = std::string("cannot listen at ") + error.what();
  if (error.code() == std::errc::permission_denied && endpoint.port < 1024) {
    text +=
        "\nPorts below 1024 need rights. Give another port (--listen 127.0.0.1:7007, or port 0 for any free one), or "
        "let the program use them:\n  sudo setcap cap_net_bind_service=+ep \"$(command -v qvx-virtual)\"";
  }
  return text;
}

struct Bench {
  EventLoop loop;
  std::vector<std::unique_ptr<Device>> devices;
  std::vector<std::unique_ptr<TcpPort>> ports;  // after the devices that they serve

  void open(const Options& options, const Log& log) {
    for (std::size_t i = 0; i < options.devices.size(); ++i) {
      devices.push_back(std::make_unique<Device>(options.devices[i], steady_clock::now()));
      try {
        ports.push_back(std::make_unique<TcpPort>(loop, *devices.back(), log, options.endpoints[i]));
      } catch (const std::system_error& error) {
        throw std::runtime_error(explainListenFailure(error, options.endpoints[i]));
      }
    }
  }

  void run(const StopRequests& stop) {
    while (!stop.stopped()) {
      TimePoint until = kNever;
      for (const auto& port : ports) {
        until = std::min(until, port->due());
      }
      loop.wait(until);
      const TimePoint now = steady_clock::now();
      for (const auto& port : ports) {
        if (port->touched() || port->due() <= now) {
          port->service(now);
        }
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
  for (std::size_t i = 0; i < bench.ports.size(); ++i) {
    const TcpPort& port = *bench.ports[i];
    const auto data = port.dataEndpoint();
    std::printf("ready %s %s%s\n", bench.devices[i]->board().model.c_str(), port.endpoint().text().c_str(),
                data ? (" " + data->text()).c_str() : "");
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
