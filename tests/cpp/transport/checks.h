// What the tests of the clients ask of them, whatever the medium.
#pragma once

#include "core/errors.h"
#include "core/frame.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qvx::test {

// The failure that `operation` raises; the test fails when there is none or it is of another class.
inline std::string failureOf(ErrorId id, const std::function<void()>& operation) {
  try {
    operation();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.id(), id) << failure.what();
    return failure.what();
  }
  ADD_FAILURE() << "nothing raised";
  return {};
}

inline bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

inline std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return std::distance(begin(entries), end(entries));
}

// Reads from a client until at least one frame is whole.
template <class AnyClient>
std::vector<Frame> nextFrames(AnyClient& client) {
  std::vector<Frame> frames;
  while (frames.empty()) {
    frames = client.recvAndSplitPacket(1536);
  }
  return frames;
}

// Over a connection to `far`: frames in pieces, two in one piece, and less read than has come.
template <class AnyClient, class FarEnd>
void carryFramesBothWays(AnyClient& client, FarEnd& far) {
  client.sendPacket(Bytes{2, 0, 1, 240, 13, 10});
  EXPECT_EQ(far.receive(6), (Bytes{2, 0, 1, 240, 13, 10}));
  client.setTimeout(std::nullopt);
  for (const std::uint8_t byte : {2, 0, 2, 240, 5, 13}) {  // each piece is read before the next one leaves
    far.send({byte});
    EXPECT_EQ(client.recvAndSplitPacket(1536), std::vector<Frame>{});
  }
  far.send({10, 2, 0, 1, 241, 13, 10, 2, 0});
  EXPECT_EQ(nextFrames(client), (std::vector<Frame>{{240, {5}}, {241, {}}}));
  EXPECT_EQ(client.stream(), (Bytes{2, 0}));
  far.send({1, 2, 3, 4, 5});
  EXPECT_EQ(client.recvPacket(3), (Bytes{1, 2, 3}));
  EXPECT_EQ(client.recvPacket(3), (Bytes{4, 5}));
}

// Of a client that is not connected.
template <class AnyClient>
void nothingMoves(AnyClient& client, ErrorId lost) {
  for (const auto& operation :
       std::vector<std::function<void()>>{[&] { client.recvAndSplitPacket(64); }, [&] { client.recvPacket(64); },
                                          [&] { client.sendPacket(Bytes{1}); }}) {
    EXPECT_TRUE(contains(failureOf(lost, operation), "Not connected: call connect"));
  }
}

template <class AnyClient>
void wakeEndsReads(AnyClient& client) {
  client.setTimeout(std::nullopt);
  client.wake();  // ends the next read,
  client.wake();
  EXPECT_EQ(client.recvPacket(64), Bytes{});
  std::thread waker([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    client.wake();  // or one in progress
  });
  EXPECT_EQ(client.recvPacket(64), Bytes{});
  waker.join();
}

}  // namespace qvx::test
