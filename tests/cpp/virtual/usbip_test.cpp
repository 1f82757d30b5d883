// USB/IP: a client that follows the script of a test, against the session and, over a socket, against the port.
#include "virtual/usbip_port.h"

#include "bench_fixture.h"

#include "core/constants.h"

#include <cerrno>
#include <string>

#include <sys/socket.h>

namespace qvx::bench {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kDevice = 0x00010001;
const Bytes kList = payload(u16(0x0111), u16(0x8005), u32(0));
const Bytes kGetDeviceDescriptor{0x80, 6, 0, 1, 0, 0, 18, 0};

Bytes importRequest(std::string bus_id) {
  bus_id.resize(32);
  return payload(u16(0x0111), u16(0x8003), u32(0), Bytes(bus_id.begin(), bus_id.end()));
}

Bytes submit(std::uint32_t number, bool in, int endpoint, std::uint32_t length, const Bytes& data = {},
             const Bytes& setup = Bytes(8), std::uint32_t device = kDevice, std::uint32_t packets = 0) {
  return payload(u32(1U), u32(number), u32(device), u32(in ? 1U : 0U), u32(endpoint), u32(0U), u32(length), u32(0U),
                 u32(packets), u32(0U), setup, data);
}

Bytes unlink(std::uint32_t number, std::uint32_t victim) {
  return payload(u32(2U), u32(number), u32(kDevice), u32(0U), u32(0U), u32(victim), Bytes(24));
}

struct Reply {
  std::uint32_t command;
  std::uint32_t number;
  std::int32_t status;
  Bytes data;
  bool operator==(const Reply&) const = default;
};

void PrintTo(const Reply& reply, std::ostream* out) {
  *out << "{" << reply.command << ", " << reply.number << ", " << reply.status << ", " << reply.data.size()
       << " bytes}";
}

class UsbipSessionTest : public BenchTest {
 protected:
  // The bytes that came back since the last call.
  Bytes exchange(const Bytes& request) {
    session_->receive(request, now_);
    return taken();
  }
  Bytes taken() {
    session_->advance(now_);
    Bytes bytes(session_->output().begin(), session_->output().end());
    session_->written(bytes.size());
    return bytes;
  }
  void importDevice() {
    const Bytes reply = exchange(importRequest("1-1"));
    ASSERT_EQ(reply.size(), 320U);
    ASSERT_EQ(Bytes(reply.begin(), reply.begin() + 8), (Bytes{1, 0x11, 0, 3, 0, 0, 0, 0}));
  }
  // `bytes` as replies; the data of those to IN transfers, whose numbers are odd here, come with them.
  static std::vector<Reply> replies(const Bytes& bytes) {
    std::vector<Reply> replies;
    for (std::size_t at = 0; at < bytes.size();) {
      const auto number = readBig<std::uint32_t>(bytes, at + 4);
      const auto command = readBig<std::uint32_t>(bytes, at);
      const auto actual = command == 3 && number % 2 == 1 ? readBig<std::uint32_t>(bytes, at + 24) : 0;
      const auto data = bytes.begin() + static_cast<std::ptrdiff_t>(at + 48);
      replies.push_back({command, number, readBig<std::int32_t>(bytes, at + 20), Bytes(data, data + actual)});
      at += 48 + actual;
    }
    return replies;
  }
  std::vector<Reply> ask(const Bytes& request) { return replies(exchange(request)); }
  std::optional<Bytes> control(const Bytes& setup, std::uint32_t length) {
    const auto answers = ask(submit(1, true, 0, length, {}, setup));
    return answers.size() == 1 && answers[0].status == 0 ? std::optional(answers[0].data) : std::nullopt;
  }
  void startStream() {
    for (const Bytes& request : {buildFrame(SET_AI_MODE, Bytes{0, 2}), buildFrame(OPEN_AI_STREAMING, Bytes{0}),
                                 buildFrame(START_AI_STREAMING, Bytes{0})}) {
      session_->receive(submit(2, false, 1, static_cast<std::uint32_t>(request.size()), request), now_);
    }
  }
  void pass(std::chrono::nanoseconds time) {
    BenchTest::pass(time);
    session_->advance(now_);
  }

  const Log log_{LogLevel::Quiet};
  std::vector<UsbipExport> exports_{{device_, "1-1", 1, UsbFunction(device_.board())}};
  std::optional<UsbipSession> session_{std::in_place, exports_, log_};
};

TEST_F(UsbipSessionTest, ListsItsDevices) {
  const Bytes reply = exchange(kList);
  ASSERT_EQ(reply.size(), 12 + 312 + 4U);
  EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 12), (Bytes{1, 0x11, 0, 5, 0, 0, 0, 0, 0, 0, 0, 1}));
  const Bytes numbers(reply.begin() + 12 + 256 + 32, reply.end());
  EXPECT_EQ(numbers,
            (Bytes{0,    0,    0,    1,    0, 0, 0, 1, 0, 0, 0, 2,  // bus, device, full speed
                   4,    0x83, 0x57, 0x50, 2, 0, 0, 0, 0, 1, 1, 1,  // identifiers; 1 configuration, 1 interface
                   0xFF, 0,    0,    0}));
  EXPECT_EQ(std::string(reply.begin() + 268, reply.begin() + 272), std::string("1-1\0", 4));
  EXPECT_TRUE(session_->done());
}

TEST_F(UsbipSessionTest, ADeviceIsImportedOnce) {
  importDevice();
  const auto statusOf = [&](const std::string& bus_id) {
    UsbipSession other(exports_, log_);
    other.receive(importRequest(bus_id), now_);
    EXPECT_EQ(other.output().size(), 8U);
    return readBig<std::uint32_t>(other.output(), 4);
  };
  EXPECT_EQ(statusOf("1-1"), 2U);
  EXPECT_EQ(statusOf("1-2"), 4U);
  EXPECT_EQ(statusOf(std::string(32, '1')), 4U);
  session_.emplace(exports_, log_);
  importDevice();
}

TEST_F(UsbipSessionTest, AnswersTheControlEndpoint) {
  importDevice();
  const Bytes device{18, 1, 0, 2, 0, 0, 0, 64, 0x83, 4, 0x50, 0x57, 0, 2, 1, 2, 3, 1};
  EXPECT_EQ(control(kGetDeviceDescriptor, 18), device);
  EXPECT_EQ(control({0x80, 6, 0, 1, 0, 0, 8, 0}, 64), Bytes(device.begin(), device.begin() + 8));
  const auto configuration = control({0x80, 6, 0, 2, 0, 0, 255, 0}, 255);
  ASSERT_TRUE(configuration && configuration->size() == 32);
  EXPECT_EQ(configuration->at(2), 32);
  EXPECT_EQ(control({0x80, 6, 3, 3, 9, 4, 255, 0}, 255),
            (Bytes{18, 3, 'F', 0, 'A', 0, '0', 0, '0', 0, '0', 0, '0', 0, '0', 0, '1', 0}));
  EXPECT_EQ(control({0x80, 6, 0, 3, 0, 0, 255, 0}, 255), (Bytes{4, 3, 9, 4}));
  EXPECT_EQ(control({0x80, 8, 0, 0, 0, 0, 1, 0}, 1), Bytes{0});
  EXPECT_EQ(ask(submit(2, false, 0, 0, {}, {0, 9, 1, 0, 0, 0, 0, 0})), (std::vector<Reply>{{3, 2, 0, {}}}));
  EXPECT_EQ(control({0x80, 8, 0, 0, 0, 0, 1, 0}, 1), Bytes{1});
  // What it does not know stalls, and does it no harm.
  for (const Bytes& setup :
       {Bytes{0x80, 6, 0, 6, 0, 0, 10, 0}, Bytes{0x80, 6, 4, 3, 9, 4, 255, 0}, Bytes{0xC0, 0x51, 0, 0, 0, 0, 2, 0},
        Bytes{0x82, 0, 0, 0, 2, 0, 2, 0}, Bytes{0x00, 9, 2, 0, 0, 0, 0, 0}, Bytes{0x01, 11, 1, 0, 0, 0, 0, 0}}) {
    EXPECT_EQ(ask(submit(1, true, 0, 255, {}, setup)), (std::vector<Reply>{{3, 1, -EPIPE, {}}}));
  }
  EXPECT_EQ(ask(submit(1, true, 2, 64)), (std::vector<Reply>{{3, 1, -EPIPE, {}}}));
  EXPECT_EQ(control({0x80, 8, 0, 0, 0, 0, 1, 0}, 1), Bytes{1});
}

TEST_F(UsbipSessionTest, ATransferWaitsForDataOrIsUnlinked) {
  importDevice();
  EXPECT_TRUE(ask(submit(3, true, 1, 64)).empty());
  EXPECT_TRUE(ask(submit(5, true, 0x81, 64)).empty());
  EXPECT_EQ(ask(unlink(10, 3)), (std::vector<Reply>{{4, 10, -ECONNRESET, {}}}));
  EXPECT_EQ(ask(unlink(12, 3)), (std::vector<Reply>{{4, 12, 0, {}}}));  // no more
  const Bytes request = buildFrame(GET_SERIAL_NUMBER, {});
  const Bytes reply = buildFrame(GET_SERIAL_NUMBER, Bytes{'F', 'A', '0', '0', '0', '0', '0', '1'});
  // In pieces, as a stream brings them.
  const Bytes message = submit(2, false, 1, static_cast<std::uint32_t>(request.size()), request);
  Bytes received;
  for (const std::uint8_t byte : message) {
    const Bytes more = exchange({byte});
    received.insert(received.end(), more.begin(), more.end());
  }
  EXPECT_EQ(replies(received), (std::vector<Reply>{{3, 2, 0, {}}, {3, 5, 0, reply}}));
  EXPECT_EQ(ask(unlink(14, 5)), (std::vector<Reply>{{4, 14, 0, {}}}));
  EXPECT_FALSE(session_->done());
}

TEST_F(UsbipSessionTest, AShortPacketEndsATransferAndFullOnesWaitForMore) {
  importDevice();
  // 64 bytes in all: one full packet.
  const Bytes request = buildFrame(SET_DEV_ALIAS, Bytes(55, 'x'));
  exchange(submit(2, false, 1, static_cast<std::uint32_t>(request.size()), request));
  EXPECT_EQ(ask(submit(3, true, 1, 64)).size(), 1U);  // the status
  const Bytes read = buildFrame(GET_DEV_ALIAS, Bytes{0});
  exchange(submit(2, false, 1, static_cast<std::uint32_t>(read.size()), read));
  EXPECT_TRUE(ask(submit(5, true, 1, 200)).empty());
  const auto stopped = ask(unlink(12, 5));  // what the device has sent is not lost
  ASSERT_EQ(stopped.size(), 2U);
  EXPECT_EQ(stopped[0].number, 5U);
  EXPECT_EQ(stopped[0].data.size(), 64U);
  EXPECT_EQ(stopped[1], (Reply{4, 12, 0, {}}));
  // A transfer is filled by several packets, and ends with the one that is not full.
  for (const std::uint32_t length : {64U, 4096U}) {
    exchange(submit(2, false, 1, static_cast<std::uint32_t>(read.size()), read));
    const Bytes longer = buildFrame(GET_DRIVER_INFO, Bytes{0});
    exchange(submit(2, false, 1, static_cast<std::uint32_t>(longer.size()), longer));
    const auto first = ask(submit(7, true, 1, length));
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0].data.size(), length == 64 ? 64U : 64 + 27U);
    if (length == 64) {
      EXPECT_EQ(ask(submit(9, true, 1, length)).size(), 1U);
    }
  }
}

TEST_F(UsbipSessionTest, StreamsAndEndsThemWithTheConnection) {
  importDevice();
  startStream();
  std::size_t bytes = 0;
  for (int i = 0; i < 100; ++i) {
    pass(10ms);
    for (const Reply& reply : ask(submit(3, true, 1, 16384))) {
      bytes += reply.number == 3 ? reply.data.size() : 0;
    }
  }
  EXPECT_GT(bytes, 900U * 16);  // of 1000 samples
  // A client that takes nothing stops no other request, and its samples wait in the device.
  pass(60s);
  EXPECT_EQ(control(kGetDeviceDescriptor, 18)->size(), 18U);
  session_.reset();
  session_.emplace(exports_, log_);
  importDevice();
  session_->receive(submit(3, true, 1, 64), now_);
  pass(1s);
  EXPECT_TRUE(taken().empty());
}

TEST_F(UsbipSessionTest, HostileBytesEndTheConnection) {
  const Bytes operations[] = {payload(u16(0x0112), u16(0x8005), u32(0)), payload(u16(0x0111), u16(0x8004), u32(0)),
                              Bytes(8, 0xFF)};
  for (const Bytes& bytes : operations) {
    session_.emplace(exports_, log_);
    EXPECT_TRUE(exchange(bytes).empty());
    EXPECT_TRUE(session_->done());
  }
  const Bytes messages[] = {
      payload(u32(3U), u32(1U), u32(kDevice), Bytes(36)),           // a reply
      submit(1, true, 1, 64, {}, Bytes(8), 0x00010002),             // another device
      submit(1, true, 1, 0xFFFFFFFF),                               // a negative length
      submit(1, false, 1, (1U << 20) + 1),                          // too long
      submit(1, true, 1, 64, {}, Bytes(8), kDevice, 5),             // isochronous packets
      payload(u32(1U), u32(1U), u32(kDevice), u32(7U), Bytes(32)),  // no direction
  };
  for (const Bytes& bytes : messages) {
    session_.reset();
    session_.emplace(exports_, log_);
    importDevice();
    exchange(bytes);
    EXPECT_TRUE(session_->done());
  }
  // Without end: transfers that wait for data, and requests whose replies nobody takes.
  Bytes requests;
  while (requests.size() < 100'000) {
    appendField(requests, buildFrame(GET_EEPROM_PAGE, Bytes{0}));
  }
  const auto size = static_cast<std::uint32_t>(requests.size());
  for (const Bytes& message : {submit(3, true, 1, 64), submit(2, false, 1, size, requests)}) {
    session_.reset();
    session_.emplace(exports_, log_);
    importDevice();
    int rounds = 0;
    for (; !session_->done() && rounds < 5000; ++rounds) {
      exchange(message);
    }
    EXPECT_LT(rounds, 5000);
  }
}

// What the device has no room for waits, in its order.
TEST_F(UsbipSessionTest, RequestsWaitForTheRepliesBeforeThem) {
  importDevice();
  Bytes requests;
  for (int i = 0; i < 20'000; ++i) {
    appendField(requests, buildFrame(GET_EEPROM_PAGE, Bytes{0}));
  }
  EXPECT_TRUE(ask(submit(2, false, 1, static_cast<std::uint32_t>(requests.size()), requests)).empty());
  const Bytes last = buildFrame(GET_DRIVER_INFO, Bytes{0});
  EXPECT_TRUE(ask(submit(4, false, 1, static_cast<std::uint32_t>(last.size()), last)).empty());
  std::vector<std::uint32_t> sent;
  std::size_t bytes = 0;
  for (int i = 0; i < 1000 && sent.size() < 2; ++i) {
    for (const Reply& reply : ask(submit(3, true, 1, 16384))) {
      bytes += reply.data.size();
      if (reply.number != 3) {
        sent.push_back(reply.number);
      }
    }
  }
  EXPECT_EQ(sent, (std::vector<std::uint32_t>{2, 4}));
  EXPECT_GT(bytes, 20'000U * 71 - (300U << 10));
}

TEST(UsbipPort, ServesTwoClientsAndSurvivesARestart) {
  const Log log(LogLevel::Quiet);
  EventLoop loop;
  Device left(feroxA(), steady_clock::now());
  Device right(feroxA(), steady_clock::now());
  UsbipPort port(loop, log, {0x7F000001, 0}, {&left, &right});
  ASSERT_EQ(port.places().size(), 2U);
  const std::string place = port.places()[1];
  EXPECT_EQ(place.substr(place.find(' ')), " 1-2");
  const auto number = std::stoi(place.substr(place.find(':') + 1));
  const sockaddr_in address = socketAddress({0x7F000001, static_cast<std::uint16_t>(number)});
  const auto connect = [&] {
    Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return socket;
  };
  // Sends `bytes`, runs the bench until `size` bytes have come back or the connection ends.
  const auto exchange = [&](const Descriptor& socket, const Bytes& bytes, std::size_t size) {
    EXPECT_EQ(::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    Bytes received(size);
    std::size_t count = 0;
    for (const auto deadline = steady_clock::now() + 20s; count < size && steady_clock::now() < deadline;) {
      loop.wait(std::min(port.due(), steady_clock::now() + 10ms));
      port.service(steady_clock::now());
      const auto more = ::recv(socket.get(), received.data() + count, size - count, MSG_DONTWAIT);
      if (more == 0) {
        break;
      }
      count += static_cast<std::size_t>(std::max<ssize_t>(more, 0));
    }
    received.resize(count);
    return received;
  };
  EXPECT_EQ(exchange(connect(), kList, 2000).size(), 12 + 2 * 316U);
  EXPECT_TRUE(exchange(connect(), Bytes(100, 0xFF), 1).empty());
  for (int i = 0; i < 3; ++i) {
    const Descriptor one = connect();
    EXPECT_EQ(exchange(one, importRequest("1-1"), 320).size(), 320U);
    EXPECT_EQ(exchange(connect(), importRequest("1-2"), 320).size(), 320U);
    EXPECT_EQ(exchange(one, submit(1, true, 0, 18, {}, kGetDeviceDescriptor), 66).size(), 66U);
    const Bytes reboot = buildFrame(REBOOT, {});
    const Bytes both = payload(submit(3, true, 1, 64), submit(2, false, 1, 6, reboot));
    EXPECT_EQ(exchange(one, both, 48 + 48 + 7).size(), 48 + 48 + 7U);  // the reply goes out before it is unplugged
    EXPECT_TRUE(left.rebootPending());
    EXPECT_TRUE(exchange(one, {}, 1).empty());
    EXPECT_FALSE(left.rebootPending());
  }
}

}  // namespace
}  // namespace qvx::bench
