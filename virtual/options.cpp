#include "virtual/options.h"

#include "core/constants.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <map>
#include <memory>
#include <string_view>

#include <arpa/inet.h>
#include <CLI/CLI.hpp>

namespace qvx::bench {
namespace {

constexpr std::size_t kMostDevices = 1000;
constexpr int kUsbipPort = 3240;
constexpr std::size_t kSerialLength = 8;
constexpr std::size_t kLongestAlias = 64;

// What the options say, before it is checked and combined.
struct Given {
  std::string model = "FeroxA";
  std::vector<std::string> listen;
  std::size_t count = 1;
  bool expose = false;
  bool discovery = false;
  bool pty = false;
  std::optional<std::string> usbip;
  std::vector<std::string> aliases;
  std::vector<std::string> serials;
  std::vector<std::string> sources;
  std::vector<std::string> wires;
  std::vector<std::string> attachments;
  std::vector<std::string> can_buses;
  double can_load = 0;
  std::vector<std::string> statuses;
  std::uint64_t seed = 0;
  std::uint32_t delay_ms = 0;
  bool silent = false;
  bool unpaced = false;
  bool quiet = false;
  bool verbose = false;
  FaultOptions faults;
  bool die_with_parent = false;
};

std::optional<int> parseInt(std::string_view text, int low, int high) {
  int value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = problem == std::errc() && end == text.data() + text.size();
  return whole && value >= low && value <= high ? std::optional(value) : std::nullopt;
}

// `option`, for messages: what it is the value of.
Endpoint parseEndpoint(const std::string& option, const std::string& text, int default_port) {
  const std::size_t colon = text.find(':');
  in_addr address{};
  if (inet_pton(AF_INET, text.substr(0, colon).c_str(), &address) != 1) {
    throw UsageError(option + " " + text + ": not an IPv4 address such as 127.0.0.2 or 127.0.0.2:7007");
  }
  Endpoint endpoint{ntohl(address.s_addr), static_cast<std::uint16_t>(default_port)};
  if (colon != std::string::npos) {
    const auto port = parseInt(std::string_view(text).substr(colon + 1), 0, 65535);
    if (!port) {
      throw UsageError(option + " " + text + ": the port must be 0 to 65535");
    }
    endpoint.port = static_cast<std::uint16_t>(*port);
  }
  return endpoint;
}

void refuseExposed(const std::string& option, const Endpoint& endpoint) {
  if (!endpoint.loopback()) {
    throw UsageError(option + " " + endpoint.text() +
                     " is not a loopback address: anybody on the network could use the device; add --expose if that "
                     "is wanted");
  }
}

std::vector<Endpoint> listEndpoints(const Given& given) {
  std::vector<Endpoint> endpoints;
  for (const std::string& text : given.listen) {
    endpoints.push_back(parseEndpoint("--listen", text, TCP_CMD_PORT));
  }
  if (endpoints.empty()) {
    endpoints.push_back(parseEndpoint("--listen", "127.0.0.1", TCP_CMD_PORT));
  }
  if (given.count > 1 && endpoints.size() > 1) {
    throw UsageError("--count goes with a single --listen, the first of the addresses");
  }
  while (endpoints.size() < given.count) {
    Endpoint next = endpoints.back();
    ++next.address;
    endpoints.push_back(next);
  }
  for (const Endpoint& endpoint : endpoints) {
    if (!given.expose) {
      refuseExposed("--listen", endpoint);
    }
  }
  return endpoints;
}

// What a device says of itself must be of use to whoever asks.
void refuseUnnamed(const Options& options) {
  for (const Endpoint& endpoint : options.endpoints) {
    if (options.discovery && endpoint.address == 0) {
      throw UsageError("--discovery tells others a device's address: give that instead of --listen " + endpoint.text());
    }
  }
}

Endpoint usbipEndpoint(const Given& given) {
  const std::string text = given.usbip->empty() ? "127.0.0.1" : *given.usbip;
  const Endpoint endpoint = parseEndpoint("--usbip", text, kUsbipPort);
  if (!given.expose) {
    refuseExposed("--usbip", endpoint);
  }
  return endpoint;
}

void parseStatus(const std::string& text, FaultOptions& faults) {
  const std::size_t equals = text.find('=');
  const bool for_one = equals != std::string::npos;
  const auto code = parseInt(std::string_view(text).substr(0, for_one ? equals : 0), 0, 65535);
  const auto status = parseInt(std::string_view(text).substr(for_one ? equals + 1 : 0), 0, 255);
  if (!status || (for_one && !code)) {
    throw UsageError("--status " + text + ": not STATUS or CODE=STATUS, with a status 0 to 255 and a code 0 to 65535");
  }
  if (for_one) {
    faults.status_of[*code] = *status;
  } else {
    faults.status = status;
  }
}

// The local time, as a device's clock shows it.
RealTimeClock::Moment localTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return std::chrono::sys_seconds(std::chrono::seconds(now + local.tm_gmtoff));
}

std::vector<DeviceSetup> listDevices(const Given& given, std::size_t count) {
  DeviceSetup setup;
  setup.model = findModel(given.model);
  if (setup.model == nullptr) {
    std::string known;
    for (const ModelRow& row : modelRows()) {
      known += (known.empty() ? "" : ", ") + std::string(row.name());
    }
    throw UsageError("--model " + given.model + ": not one of " + known);
  }
  setup.faults = given.faults;
  setup.faults.delay = std::chrono::milliseconds(given.delay_ms);
  if (given.silent) {
    setup.faults.silent_after = 0;
  }
  for (const std::string& text : given.statuses) {
    parseStatus(text, setup.faults);
  }
  for (const std::string& text : given.sources) {
    setup.sources.push_back(SourceSpec::parse(text));
  }
  for (const std::string& text : given.wires) {
    setup.wires.push_back(Wire::parse(text));
  }
  for (const std::string& text : given.attachments) {
    setup.attachments.push_back(Attachment::parse(text));
  }
  const Device trial(setup, {});  // refuses what does not fit
  setup.seed = given.seed;
  setup.unpaced = given.unpaced;
  setup.clock = localTime();
  if (given.serials.size() > count || given.aliases.size() > count) {
    throw UsageError("more --serial or --alias options than devices");
  }
  const auto& buses = setup.model->buses;
  if ((!given.can_buses.empty() || given.can_load > 0) &&
      std::none_of(buses.begin(), buses.end(), [](const BusPort& port) { return port.bus == Bus::CAN; })) {
    throw UsageError("--can-bus, --can-load: the model has no CAN bus");
  }
  if (given.can_buses.size() > count) {
    throw UsageError("more --can-bus options than devices");
  }
  std::map<std::string, std::shared_ptr<CanBus>> can_buses;
  std::vector<DeviceSetup> devices(count, setup);
  for (std::size_t i = 0; i < count; ++i) {
    devices[i].index = i;
    auto& bus = can_buses[i < given.can_buses.size() ? given.can_buses[i] : std::string()];
    if (!bus) {
      bus = std::make_shared<CanBus>(!given.unpaced, given.can_load / 100);
    }
    devices[i].can_bus = bus;
    if (i < given.serials.size()) {
      if (given.serials[i].size() != kSerialLength) {
        throw UsageError("--serial " + given.serials[i] + ": a serial number has 8 characters");
      }
      devices[i].serial = given.serials[i];
    }
    if (i < given.aliases.size()) {
      if (given.aliases[i].size() > kLongestAlias) {
        throw UsageError("--alias: an alias has at most 64 bytes");
      }
      devices[i].alias = given.aliases[i];
    }
  }
  return devices;
}

// Comparisons with NaN are false, so that it is refused too.
const CLI::Validator kProbability(
    [](const std::string& text) {
      double value = -1;
      const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
      const bool whole = problem == std::errc() && end == text.data() + text.size();
      return whole && value >= 0 && value <= 1 ? std::string() : "'" + text + "' is not a probability from 0 to 1";
    },
    "0..1");

void describe(CLI::App& app, Given& given) {
  const auto list = [&app](const char* name, std::vector<std::string>& where, const char* type, const char* text) {
    app.add_option(name, where, text)->type_name(type)->allow_extra_args(false);
  };
  app.set_version_flag("--version", std::string("qvx-virtual ") + kVersion);
  app.add_option("--model", given.model, "what to be (default FeroxA)")->type_name("NAME");
  list("--listen", given.listen, "ADDRESS[:PORT]",
       "where a device listens (default 127.0.0.1:7; port 0: any free one); once for each device");
  app.add_option("--count", given.count, "this many devices, on consecutive addresses from the first")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, kMostDevices));
  app.add_flag("--expose", given.expose, "allow addresses that other machines can reach");
  auto* const discovery = app.add_flag("--discovery", given.discovery, "answer UDP discovery, on port 61557");
  auto* const pty = app.add_flag("--pty", given.pty, "be on a serial line, a pseudo-terminal, instead of the network");
  app.add_option("--usbip", given.usbip,
                 "be on USB instead: serve USB/IP, for 'usbip attach' (default 127.0.0.1:3240; port 0: any free one)")
      ->type_name("[ADDRESS[:PORT]]")
      ->expected(0, 1)
      ->excludes(pty)
      ->excludes(discovery)
      ->excludes("--listen");
  pty->excludes(discovery)->excludes("--listen");
  list("--alias", given.aliases, "TEXT", "alias; again for the next device");
  list("--serial", given.serials, "TEXT", "serial number, 8 characters; again for the next device");
  list("--source", given.sources, "[CHANNEL=]KIND[:VALUE...]", "what the analog inputs measure; see below");
  list(
      "--wire", given.wires, "OUTPUT=INPUT",
      "connect do0.1=di0.2 or ao0.1=ai0.2 (port.pin), do0=di1 (each pin), or uart1=uart2; inputs without a wire are 0");
  list("--can-bus", given.can_buses, "NAME",
       "the CAN bus that a device is on; again for the next device; those without one share a bus");
  app.add_option("--can-load", given.can_load, "another station fills this share of each CAN bus (default 0)")
      ->type_name("PERCENT")
      ->check(CLI::Range(0.0, 100.0));
  list("--attach", given.attachments, "BUS=PART",
       "put a slave on a bus: i2c1=24c02[:ADDRESS], an EEPROM; spi1=74hc595, a shift register; spi2=loopback");
  app.add_option("--seed", given.seed, "of noise and faults (default 0)")->type_name("N");
  app.add_flag("--stream-as-fast-as-possible", given.unpaced,
               "ignore sampling rates and the time that buses take: for benchmarks");

  app.add_option("--delay", given.delay_ms, "every packet leaves this much later")
      ->type_name("MS")
      ->check(CLI::Range(0, 3600000))
      ->group("Faults");
  app.add_flag("--split", given.faults.split, "send one byte at a time")->group("Faults");
  const auto fault = [&app](const char* name, double& where, const char* text) {
    app.add_option(name, where, text)->type_name("P")->check(kProbability)->group("Faults");
  };
  fault("--drop", given.faults.drop, "probability that a packet is lost");
  fault("--duplicate", given.faults.duplicate, "probability that a packet is sent twice");
  fault("--corrupt", given.faults.corrupt, "probability that one byte of a packet is changed");
  app.add_flag("--silent", given.silent, "receive everything, send nothing")->group("Faults");
  app.add_option("--silent-after", given.faults.silent_after, "fall silent when the device has sent N packets")
      ->type_name("N")
      ->check(CLI::Range(std::uint64_t{0}, UINT64_MAX))
      ->group("Faults");
  app.add_option("--reset-after", given.faults.reset_after, "reset each connection when it has carried N packets")
      ->type_name("N")
      ->check(CLI::Range(std::uint64_t{1}, UINT64_MAX))
      ->group("Faults");
  app.add_option("--status", given.statuses, "answer every status, or that of one command, with STATUS")
      ->type_name("[CODE=]STATUS")
      ->allow_extra_args(false)
      ->group("Faults");

  app.add_flag("--quiet", given.quiet, "nothing but errors on standard error");
  app.add_flag("--verbose", given.verbose, "every packet on standard error")->excludes("--quiet");
  app.add_flag("--die-with-parent", given.die_with_parent, "end when the process that started this one ends");
  app.footer("Sources (without one a channel measures 0 V; volts clip at the input's range):\n" + describeSources() +
             "In ramp, sine and square channel c of n is c/n of a period ahead; CHANNEL= names one channel.\n\n"
             "A wireless model takes a second port, for the data that it streams: 1336 beside 7, else the next one.\n"
             "Prints 'ready MODEL PLACE' for each device and then 'ready', where PLACE is 'ADDRESS:PORT "
             "[ADDRESS:DATAPORT]', '/dev/pts/N', or 'ADDRESS:PORT BUS_ID'. Ends with SIGTERM or SIGINT.");
}

}  // namespace

Options parseOptions(int argc, const char* const* argv) {
  CLI::App app("qvx-virtual: answers as QVX devices do", "qvx-virtual");
  Given given;
  describe(app, given);
  Options options;
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.information = app.help();
    return options;
  } catch (const CLI::CallForVersion& version) {
    options.information = version.what() + std::string("\n");
    return options;
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  try {
    options.discovery = given.discovery;
    if (given.pty) {
      options.road = Road::SerialLine;
    } else if (given.usbip) {
      options.road = Road::Usb;
      options.endpoints = {usbipEndpoint(given)};
    } else {
      options.endpoints = listEndpoints(given);
      refuseUnnamed(options);
    }
    const bool networked = options.road == Road::Network;
    options.devices = listDevices(given, networked ? options.endpoints.size() : given.count);
    for (std::size_t i = 0; networked && i < options.devices.size(); ++i) {
      options.devices[i].address = options.endpoints[i].address;
    }
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
  options.log = given.quiet ? LogLevel::Quiet : given.verbose ? LogLevel::Verbose : LogLevel::Normal;
  options.die_with_parent = given.die_with_parent;
  return options;
}

}  // namespace qvx::bench
