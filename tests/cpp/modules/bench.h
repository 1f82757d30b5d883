// A device of any product with the modules under test, over a transport that records and answers.
#pragma once

#include "modules/analog/ai.h"
#include "modules/analog/ao.h"
#include "modules/digital/dio.h"
#include "modules/system/network.h"
#include "modules/system/system.h"
#include "modules/system/system_analog.h"
#include "modules/system/wifi.h"
#include "protocol/network_device.h"
#include "tests/cpp/protocol/fakes.h"

#include <map>
#include <sstream>

namespace qvx::test {

inline const Argument kTimeout = 20;

struct Bench {
  std::map<int, Bytes> replies;  // by command; what is not here stays unanswered
  RecordingHost host;
  // Replies are filed before the send returns, so that no request is ever repeated.
  std::shared_ptr<FakeTransport> transport = std::make_shared<FakeTransport>([this](const Frame& request) {
    if (const auto reply = replies.find(request.code); reply != replies.end()) {
      device.putToDataPool(request.code, reply->second);
    }
    return std::vector<Frame>{};
  });
  NetworkDevice device;
  SystemOperations system;
  SystemAnalogOperations system_analog{Link(device), {}};
  NetworkOperations network{Link(device), {}};
  WifiOperations wifi{Link(device), {}};
  AIOperations ai;
  DIOOperations dio{Link(device),
                    {.inputs = {{0, {0, 1, 2, 3, 4, 5, 6, 7}}, {2, {0, 1, 2, 3, 6, 7}}, {4, {0, 1}}},
                     .outputs = {{0, {0, 1, 2, 3, 4, 5, 6, 7}}, {2, {0, 1, 2, 3, 6, 7}}, {5, {6, 7}}}}};
  AOStreamingOperations ao{Link(device), {.ports = {{0, {0, 1, 2}}, {3, {0}}}, .channels = 3}};

  explicit Bench(ProductId product = ProductId::FeroxA,
                 AIConfiguration configuration = {.ports = {{0, {0, 1}}}, .num_channels = 2})
      : device(product, false), system(Link(device), {}), ai(Link(device), configuration) {
    device.setClientCmd(transport);
    device.connect("192.0.2.1", 7);
  }
  ~Bench() { device.close(); }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  // The only frame that `call` sent, in hexadecimal.
  template <class Call>
  std::string frameOf(Call call) {
    transport->sent();
    call();
    const auto sent = transport->sent();
    EXPECT_EQ(sent.size(), 1U);
    return sent.empty() ? "" : sent.front();
  }
};

// Results as one text, so that operations of every type fit one table.
inline std::string show(int value) {
  return std::to_string(value);
}
inline std::string show(std::uint32_t value) {
  return std::to_string(value);
}
inline std::string show(const std::string& value) {
  return value;
}
template <class Value>
std::string show(const std::vector<Value>& values);
inline std::string show(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}
template <class Value>
std::string show(const std::vector<Value>& values) {
  std::string text;
  for (const auto& value : values) {
    text += (text.empty() ? "" : ",") + show(value);
  }
  return "[" + text + "]";
}
#define QVX_CALL(call) [](Bench& b) { return show(b.call); }

inline Bytes text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

// One operation: what it must send, what the device answers, what the caller gets.
struct Golden {
  std::function<std::string(Bench&)> call;
  const char* frame;
  Bytes reply;
  const char* result;
  int status_at = -1;  // where the reply carries the firmware's status; -1: nowhere
};

inline int codeOf(const std::string& frame) {
  const auto byte = [&](std::size_t i) { return std::stoi(frame.substr(3 * i, 2), nullptr, 16); };
  return byte(3) > 48 ? byte(3) : byte(3) << 8 | byte(4);
}

inline void check(Bench& bench, const Golden& row) {
  SCOPED_TRACE(row.frame);
  Bytes& reply = bench.replies[codeOf(row.frame)];
  reply = row.reply;
  std::string result;
  EXPECT_EQ(bench.frameOf([&] { result = row.call(bench); }), row.frame);
  EXPECT_EQ(result, row.result);
  if (row.status_at >= 0) {
    const auto at = static_cast<std::size_t>(row.status_at);
    reply.at(at) = 52;
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwareAIError");
    reply.resize(at);
    EXPECT_EQ(failureOf([&] { row.call(bench); }), "FirmwareOtherError");
  }
}

// An argument that is refused before a byte is sent.
struct Refusal {
  const char* name;
  std::function<void(Bench&)> call;
  const char* error;
};

inline void checkRefusals(Bench& bench, const std::vector<Refusal>& rows) {
  for (const auto& row : rows) {
    bench.transport->sent();
    EXPECT_EQ(failureOf([&] { row.call(bench); }), row.error) << row.name;
    EXPECT_TRUE(bench.transport->sent().empty()) << row.name;
  }
}

}  // namespace qvx::test
