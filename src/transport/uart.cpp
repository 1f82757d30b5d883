#include "transport/uart.h"

#include "core/errors.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <system_error>

namespace qvx {
namespace {

// Linux's numbers for pseudo-terminals.
constexpr unsigned kFirstPtyMajor = 136;
constexpr unsigned kLastPtyMajor = 143;
// A receiver loses the bits of a character when its clock is off by more; chips miss odd rates by less.
constexpr double kRateTolerance = 0.03;
constexpr const char* kNoPort = "not a serial port";
constexpr const char* kInUse = "in use by another program";

[[noreturn]] void failToOpen(const std::string& port, const std::string& reason) {
  fail(ErrorId::UARTConnectionError,
       std::string(errorKind(ErrorId::UARTConnectionError).message) + " " + port + ": " + reason);
}

std::string describePortError(int error) {
  switch (error) {
    case EACCES:
      return "no permission; serial ports belong to the group dialout: sudo usermod -aG dialout $USER, then log in "
             "again";
    case ENOTTY:
      return kNoPort;
    case EBUSY:
      return kInUse;
    default:
      return std::generic_category().message(error);
  }
}

// Opens a character device without waiting for a carrier. Other kinds of file are refused before opening them could do
// or wait for anything.
Descriptor openDevice(const std::string& port) {
  if (port.empty() || port.find('\0') != std::string::npos) {
    failToOpen("\"" + std::string(port.c_str()) + "\"", "not the name of a serial port");
  }
  struct stat status {};
  if (::stat(port.c_str(), &status) != 0) {
    failToOpen(port, describePortError(errno));
  }
  if (!S_ISCHR(status.st_mode)) {
    failToOpen(port, kNoPort);
  }
  int fd = -1;
  do {
    fd = ::open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    failToOpen(port, describePortError(errno));
  }
  return Descriptor(fd);
}

bool isPseudoTerminal(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && major(status.st_rdev) >= kFirstPtyMajor && major(status.st_rdev) <= kLastPtyMajor;
}

// Keeps every other program out; returns why that is impossible, "" when it is done. The lock is what serial programs
// agree on, the mark stops those that don't ask, unless they are root's. A pseudo-terminal would keep the mark when
// this program is killed, and then be shut for ever.
std::string reserve(int fd) {
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    return errno == EWOULDBLOCK ? kInUse : describePortError(errno);
  }
  if (isPseudoTerminal(fd)) {
    return {};
  }
  int marked = 0;
  if (::ioctl(fd, TIOCGEXCL, &marked) == 0 && marked != 0) {
    return kInUse;
  }
  return ::ioctl(fd, TIOCEXCL) == 0 ? "" : describePortError(errno);
}

// Sets the line to raw 8N1 at `baudrate`; returns what the port refuses, "" when all is set. Reads return what is
// there, and a break is no byte.
std::string configure(int fd, int baudrate) {
  const auto rate = static_cast<speed_t>(baudrate);
  termios2 line{};
  if (::ioctl(fd, TCGETS2, &line) != 0) {
    return describePortError(errno);
  }
  line.c_iflag = IGNBRK;
  line.c_oflag = 0;
  line.c_lflag = 0;
  line.c_cflag = (line.c_cflag & HUPCL) | CS8 | CREAD | CLOCAL | BOTHER | (BOTHER << IBSHIFT);
  line.c_ispeed = rate;
  line.c_ospeed = rate;
  line.c_cc[VMIN] = 1;
  line.c_cc[VTIME] = 0;
  if (::ioctl(fd, TCSETS2, &line) != 0 || ::ioctl(fd, TCGETS2, &line) != 0 || ::ioctl(fd, TCFLSH, TCIOFLUSH) != 0) {
    return describePortError(errno);
  }
  // The driver writes back what it made of it.
  if (std::abs(static_cast<double>(line.c_ospeed) - baudrate) > kRateTolerance * baudrate) {
    return "does not take " + std::to_string(baudrate) + " bit/s, only " + std::to_string(line.c_ospeed);
  }
  if ((line.c_cflag & (CSIZE | PARENB | CSTOPB)) != CS8) {
    return "does not take 8 data bits, no parity, 1 stop bit";
  }
  return {};
}

}  // namespace

// The descriptor may outlive the connection, by the rest of a read or in a forked child, so the port is given back
// here. Closing waits until all is sent, for half a minute where nothing moves any more.
const DescriptorClient::Medium UARTClient::kPort{
    .connection_error = ErrorId::UARTConnectionError,
    .lost_error = ErrorId::UARTConnectionError,
    .lost_reason = "The port has vanished, takes nothing any more, or was closed.",
    .reads_to_the_end = false,
    .read = [](int fd, void* to, std::size_t size) { return ::read(fd, to, size); },
    .write = [](int fd, const void* from, std::size_t size) { return ::write(fd, from, size); },
    .drop = [](int fd) { ::ioctl(fd, TCFLSH, TCOFLUSH); },
    .shutDown =
        [](int fd) {
          ::ioctl(fd, TIOCNXCL);
          ::flock(fd, LOCK_UN);
          return true;
        },
    .unheard = nullptr,
};

bool UARTClient::connect(const std::string& port, int baudrate) {
  if (baudrate < 1) {
    fail(ErrorId::UARTBaudRateNotSupportError);
  }
  refuseSecond();  // before the port notices anything
  std::shared_ptr<Link> link;
  try {
    link = prepare(openDevice(port));
  } catch (const std::system_error& error) {
    failToOpen(port, error.what());
  }
  std::string reason = reserve(link->fd());
  if (reason.empty()) {
    reason = configure(link->fd(), baudrate);
    if (reason.empty()) {
      setTimeout(read_timeout_s_);
      if (open(link)) {
        return true;
      }
      reason = "ended by disconnect";
    }
    link->lose();  // gives the port back
  }
  abandon(link);
  failToOpen(port, reason);
}

void UARTClient::setReadTimeout(double timeout_s) {
  if (!(timeout_s >= 0)) {
    fail(ErrorId::InputDataNotInRangeError, "a read timeout of " + std::to_string(timeout_s) + " s is below 0");
  }
  read_timeout_s_ = timeout_s;
}

}  // namespace qvx
