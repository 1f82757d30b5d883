// What the tests of the clients ask of them, whatever the medium.
#pragma once

#include "core/errors.h"
#include "core/frame.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
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

}  // namespace qvx::test
