#include "transport/usb.h"

#include "core/frame.h"
#include "tests/cpp/protocol/fakes.h"
#include "tests/usb/mock_bus.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace qvx {
namespace {

using namespace std::chrono_literals;
using test::DeviceSetup;
using test::eventually;
using test::MockDevice;

// The text of the USBConnectionError that `operation` raises; the test fails when there is none.
template <class Operation>
std::string refusal(Operation operation) {
  try {
    operation();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.id(), ErrorId::USBConnectionError) << failure.what();
    return failure.what();
  }
  ADD_FAILURE() << "nothing raised";
  return {};
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A frame whose payload shows its number and its place.
Bytes numberedFrame(std::size_t number, std::size_t size) {
  Bytes data(size);
  for (std::size_t i = 0; i < size; ++i) {
    data[i] = static_cast<std::uint8_t>(i == 0 ? number : number * 7 + i);
  }
  return buildFrame(240, data);
}

// Sends every frame back as it is.
MockDevice::Firmware echo() {
  return [splitter = std::make_shared<FrameSplitter>()](ByteView bytes) {
    std::vector<Bytes> replies;
    splitter->append(bytes);
    for (const Frame& frame : splitter->split()) {
      replies.push_back(buildFrame(frame.code, frame.payload));
    }
    return replies;
  };
}

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Reads until `count` frames are whole.
std::vector<Frame> readFrames(USBClient& client, std::size_t count) {
  std::vector<Frame> frames;
  const auto end = Clock::now() + test::kPatience;
  while (frames.size() < count && Clock::now() < end) {
    for (Frame& frame : client.recvAndSplitPacket(64)) {
      frames.push_back(std::move(frame));
    }
  }
  return frames;
}

class USBTest : public testing::Test {
 protected:
  test::RecordingHost host;
  test::MockBus bus;
};

TEST_F(USBTest, FindsTheDeviceAskedFor) {
  EXPECT_TRUE(contains(refusal([] { USBClient client("default"); }), "No device is attached."));
  EXPECT_TRUE(listUSB().empty());
  bus.plug({.serial = "OTHER", .vendor = 0x1234});
  bus.plug({.serial = "OTHER", .product_id = 0x5740});
  bus.plug({.serial = "FIRST"});
  bus.plug({.serial = "SECOND", .options = {"--model=CordlogF1CD"}});
  using Attached = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(listUSB(), (Attached{{"FIRST", "Cordlog-F1-AD"}, {"SECOND", "Cordlog-F1-CD"}}));

  USBClient first("default");
  USBClient second("SECOND");
  EXPECT_EQ(first.takeSerialNumber(), "FIRST");
  EXPECT_EQ(second.takeSerialNumber(), "SECOND");
  EXPECT_EQ(second.takeProductName(), "Cordlog-F1-CD");
  EXPECT_EQ(second.place(), "001/008");
  EXPECT_EQ(second.configuration(), 1);
  EXPECT_EQ(second.interface(), 0);
  EXPECT_EQ(listUSB().size(), 2U);  // also while they are in use

  EXPECT_TRUE(contains(refusal([] { USBClient client("SECOND"); }), "in use"));
  EXPECT_TRUE(contains(refusal([] { USBClient client("OTHER"); }), "\"OTHER\""));
  for (const std::string& serial : {std::string(), std::string(127, '1'), std::string("FIRST\0", 6)}) {
    EXPECT_TRUE(contains(refusal([&] { USBClient client(serial); }), "1 to 126 characters")) << serial;
  }
}

TEST_F(USBTest, CarriesFramesWhole) {
  MockDevice& device = bus.plug();
  device.setFirmware(echo());
  USBClient client("default");
  EXPECT_EQ(client.recvAndSplitPacket(64), std::vector<Frame>{});  // a device that says nothing, within 1 ms
  client.setTimeout(20);
  for (const std::size_t size : {0, 1, 58, 59, 122, 1500}) {  // 58 and 122 make frames of 64 and 128 bytes
    client.sendPacket(numberedFrame(size, size));
    ASSERT_EQ(device.takeReceived(), std::vector<Bytes>{numberedFrame(size, size)});
    const auto frames = readFrames(client, 1);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(buildFrame(frames[0].code, frames[0].payload), numberedFrame(size, size));
  }
  client.sendPacket({});
  EXPECT_TRUE(device.takeReceived().empty());

  // Two frames in one packet, one frame in two, an empty packet between them, and less read than has come.
  Bytes two = numberedFrame(1, 4);
  const Bytes second = numberedFrame(2, 4);
  two.insert(two.end(), second.begin(), second.end());
  device.sendPacket(two);
  EXPECT_EQ(readFrames(client, 2).size(), 2U);
  device.sendPacket({2, 0, 3});
  device.sendPacket({});
  device.sendPacket({240, 8, 9, 13, 10});
  EXPECT_EQ(readFrames(client, 1), (std::vector<Frame>{{240, {8, 9}}}));
  device.sendPacket({1, 2, 3, 4, 5});
  EXPECT_EQ(client.recvPacket(3), (Bytes{1, 2, 3}));
  EXPECT_EQ(client.recvPacket(3), (Bytes{4, 5}));
}

TEST_F(USBTest, AnIdleDeviceCostsNothing) {
  MockDevice& device = bus.plug();
  USBClient client("default");
  client.setTimeout(std::nullopt);
  std::thread reading([&] { client.recvPacket(64); });
  EXPECT_TRUE(eventually([&] { return device.transfersWaiting() > 8; }));
  const double before = processorSeconds();
  std::this_thread::sleep_for(500ms);
  EXPECT_LT(processorSeconds() - before, 0.1);
  client.wake();
  reading.join();
}

TEST_F(USBTest, WhatCameBeforeTheUnpluggingIsRead) {
  MockDevice& device = bus.plug();
  USBClient client("default");
  client.setTimeout(20);
  device.send(numberedFrame(1, 300));
  device.unplug();
  const auto frames = readFrames(client, 1);
  ASSERT_EQ(frames.size(), 1U);
  EXPECT_EQ(frames[0].payload.size(), 300U);
  EXPECT_TRUE(contains(refusal([&] { client.recvPacket(64); }), "unplugged"));
  EXPECT_TRUE(contains(refusal([&] { client.sendPacket(Bytes(6)); }), "unplugged"));
  client.disconnect();
  EXPECT_TRUE(contains(refusal([&] { client.sendPacket(Bytes(6)); }), "Not connected"));
  EXPECT_EQ(client.place(), std::nullopt);
  EXPECT_TRUE(listUSB().empty());
}

TEST_F(USBTest, GivesTheInterfaceBackToItsDriver) {
  MockDevice& device = bus.plug({.driver_bound = true});
  {
    USBClient client("default");
    EXPECT_FALSE(device.driverBound());
    EXPECT_EQ(device.interfacesClaimed(), 1);
  }
  EXPECT_TRUE(device.driverBound());
  EXPECT_EQ(device.driverDetached(), 1);
  EXPECT_EQ(device.interfacesClaimed(), 0);
}

// Root may open everything; takes that right from the calling thread.
void giveUpOverride() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[2]{};
  ASSERT_EQ(::syscall(SYS_capget, &header, sets), 0);
  sets[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
  ASSERT_EQ(::syscall(SYS_capset, &header, sets), 0);
}

TEST_F(USBTest, WithoutPermissionItSaysSo) {
  MockDevice& device = bus.plug();
  ASSERT_EQ(::chmod(device.node().c_str(), 0), 0);
  std::thread([] {
    giveUpOverride();
    for (const auto& text : {refusal([] { USBClient client("default"); }), refusal([] { USBClient client("QVX0001"); }),
                             refusal([] { listUSB(); })}) {
      for (const char* part : {"No permission", "001/005", "share/udev/60-qvx.rules"}) {
        EXPECT_TRUE(contains(text, part)) << text;
      }
    }
  }).join();
}

TEST_F(USBTest, GivesUpOnADeviceThatTakesNothing) {
  MockDevice& device = bus.plug();
  USBClient client("default", 50ms);
  device.takeFrames(false);
  EXPECT_TRUE(contains(refusal([&] { client.sendPacket(Bytes(6)); }), "in time"));
  EXPECT_TRUE(contains(refusal([&] { client.recvPacket(64); }), "in time"));
  client.disconnect();
  device.takeFrames(true);
  USBClient("default").sendPacket(Bytes(6));
}

TEST_F(USBTest, SendsOfSeveralThreadsStayWhole) {
  MockDevice& device = bus.plug();
  device.setFirmware([](ByteView) { return std::vector<Bytes>{}; });
  USBClient client("default");
  std::vector<std::thread> threads;
  for (std::uint8_t value = 1; value <= 4; ++value) {
    threads.emplace_back([&client, value] {
      for (int i = 0; i < 20; ++i) {
        client.sendPacket(Bytes(200, value));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const auto received = device.takeReceived();
  EXPECT_EQ(received.size(), 80U);
  for (const Bytes& frame : received) {
    EXPECT_EQ(frame, Bytes(200, frame.at(0)));
  }
}

// Ctrl-C, as far as the transport sees it.
struct Interrupt : std::runtime_error {
  Interrupt() : std::runtime_error("Ctrl-C") {}
};

TEST(USBInterruptTest, CtrlCEndsReadsAndSends) {
  struct PressedHost : Host {
    bool interruptible() override { return true; }
    void checkInterrupt() override { throw Interrupt(); }
    void warn(ErrorId, const std::optional<std::string>& /*message*/) override {}
  } host;
  setHost(&host);
  {
    test::MockBus bus;
    MockDevice& device = bus.plug();
    device.setFirmware(echo());
    USBClient client("default");
    client.setTimeout(std::nullopt);
    EXPECT_THROW(client.recvPacket(64), Interrupt);
    device.takeFrames(false);
    EXPECT_THROW(client.sendPacket(Bytes(6)), Interrupt);
    device.takeFrames(true);
    client.sendPacket(numberedFrame(1, 3));  // nothing of the other went out, so the connection is good
    EXPECT_EQ(readFrames(client, 1).size(), 1U);
  }
  setHost(nullptr);
}

TEST_F(USBTest, AForkedChildOpensItsOwn) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "ThreadSanitizer knows no threads after a fork";
#endif
  bus.plug({.serial = "PARENT"}).setFirmware(echo());
  bus.plug({.serial = "CHILD"}).setFirmware(echo());
  auto inherited = std::make_unique<USBClient>("PARENT");
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    int wrong = 0;
    try {
      wrong |= contains(refusal([&] { inherited->sendPacket(Bytes(6)); }), "parent process") ? 0 : 1;
      inherited->wake();
      inherited->disconnect();
      inherited.reset();
      USBClient own("CHILD");
      own.setTimeout(20);
      own.sendPacket(numberedFrame(1, 3));
      wrong |= readFrames(own, 1).size() == 1 ? 0 : 2;
    } catch (const std::exception&) {
      wrong |= 4;
    }
    ::_exit(wrong);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  inherited->setTimeout(20);
  inherited->sendPacket(numberedFrame(1, 3));
  EXPECT_EQ(readFrames(*inherited, 1).size(), 1U);
}

TEST(USBLibraryTest, LooksBesideTheModuleAndInExtLib) {
  const auto root = std::filesystem::temp_directory_path() / ("qvx-usb-" + std::to_string(::getpid()));
  std::filesystem::create_directories(root / "lib");
  std::filesystem::create_directories(root / "ext_lib");
  EXPECT_FALSE(hasOwnLibUSB(root / "lib"));
  for (const char* place : {"lib", "ext_lib"}) {
    std::ofstream(root / place / "libusb-1.0.dll") << '\n';
    EXPECT_TRUE(hasOwnLibUSB(root / "lib")) << place;
    std::filesystem::remove(root / place / "libusb-1.0.dll");
  }
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace qvx
