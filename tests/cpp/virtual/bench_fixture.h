// A device on the table: no network, and time that stands still until it is moved.
#pragma once

#include "virtual/device.h"

#include "core/frame.h"

#include <gtest/gtest.h>
#include <vector>

namespace qvx::bench {

class RecordingOutlet final : public Outlet {
 public:
  void send(int code, ByteView payload, TimePoint) override {
    frames.push_back({code, Bytes(payload.begin(), payload.end())});
  }
  void sendAfter(std::chrono::nanoseconds time, int code, ByteView payload, TimePoint now) override {
    took = time;
    send(code, payload, now);
  }
  std::size_t room() const override { return space; }

  std::vector<Frame> frames;
  std::chrono::nanoseconds took{};  // the last reply
  std::size_t space = 1 << 20;
};

inline DeviceSetup feroxA() {
  using namespace std::chrono_literals;
  DeviceSetup setup;
  setup.model = findModel("FeroxA");
  setup.clock = std::chrono::sys_days(std::chrono::year(2024) / 2 / 28) + 23h + 59min + 58s;
  return setup;
}

class BenchTest : public ::testing::Test {
 protected:
  explicit BenchTest(const DeviceSetup& setup = feroxA()) : device_(setup, now_) {}

  void send(int code, Bytes payload) {
    device_.handle({code, std::move(payload)}, outlet_, now_);
    device_.tick(now_);
  }
  // The payload of the one reply.
  Bytes ask(int code, Bytes payload) {
    outlet_.frames.clear();
    send(code, std::move(payload));
    if (outlet_.frames.size() != 1 || outlet_.frames[0].code != code) {
      ADD_FAILURE() << "command " << code << ": " << outlet_.frames.size() << " packets instead of one reply";
      return {};
    }
    return outlet_.frames[0].payload;
  }
  struct Step {
    int code;
    Bytes request;
    Bytes reply;
  };
  void play(const std::vector<Step>& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      EXPECT_EQ(ask(steps[i].code, steps[i].request), steps[i].reply) << "step " << i << ", command " << steps[i].code;
    }
  }
  // Lets time pass as the transport would: a tick whenever one is due.
  void pass(std::chrono::nanoseconds time) {
    const TimePoint end = now_ + time;
    while (device_.due(now_) <= end) {
      now_ = std::max(now_, device_.due(now_));
      device_.tick(now_);
    }
    now_ = end;
  }
  // The raw codes of all stream packets since the last call; expects whole samples of 8 channels.
  std::vector<std::int16_t> streamed() {
    std::vector<std::int16_t> codes;
    for (const Frame& frame : outlet_.frames) {
      EXPECT_EQ(frame.payload.at(0), 0);
      EXPECT_EQ((frame.payload.size() - 1) % 16, 0U);
      EXPECT_LE(frame.payload.size() - 1, 1440U);
      for (std::size_t at = 1; at + 1 < frame.payload.size(); at += 2) {
        codes.push_back(readBig<std::int16_t>(frame.payload, at));
      }
    }
    outlet_.frames.clear();
    return codes;
  }

  TimePoint now_ = TimePoint(std::chrono::hours(1));
  Device device_;
  RecordingOutlet outlet_;
};

}  // namespace qvx::bench
