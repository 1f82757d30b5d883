#include "protocol/engine.h"

#include "core/constants.h"
#include "core/host.h"

#include <algorithm>
#include <array>
#include <string>

namespace qvx {
namespace {

// Seconds between the first sends of a command whose reply does not come, in the blocking form.
constexpr double kBlockingAttempt = 0.01;
// Seconds that pass at least before a request is sent once more than that.
constexpr double kPauseForLost = 0.05;
constexpr const char* kForgotten =
    "Replies were lost on the way. Those that are still owed are taken for lost; should they come, they answer later "
    "requests.";

// Bytes of one received frame in the stream of START_CAN.
constexpr std::size_t kCANRecord = 13;
// Codes that the splitter makes of OPEN_CAN and the first byte of its payload; no command has them.
constexpr int kFirstOpenCAN = OPEN_CAN << 8;
constexpr int kLastOpenCAN = kFirstOpenCAN | 0xFF;

bool contains(std::span<const int> list, int cmd) {
  return std::find(list.begin(), list.end(), cmd) != list.end();
}

}  // namespace

void Packet_based::sendPacketWithoutReply(int cmd, ByteView data_out) {
  send(cmd, data_out, nullptr);
}

void Packet_based::refuseForked(ErrorId id) const {
  if (forked()) {
    fail(id, "This device belongs to the process that made it; construct one in this process.");
  }
}

void Packet_based::send(int cmd, ByteView data_out, ReplyPool::Waiter* waiter) {
  const Bytes frame = buildFrame(cmd, data_out);
  refuseForked(lostError());
  const auto client = clientCmd();
  if (!client || data_pool_echo.closed()) {
    fail(lostError(), "Not connected: this device is closed or has no transport.");
  }
  if (cmd == START_UART_READING && !data_out.empty()) {
    const Lock lock(starts_mutex_);
    uart_starts_.insert(data_out[0]);
  }
  // A send may have to run Python: a transport of the application's, or a signal handler while it waits.
  bool announced = false;
  try {
    Fiber::outside([&] {
      const auto announce = [&] {
        if (waiter != nullptr) {
          waiter->sending(client->longestSilence());
          announced = true;
        } else if (checkCommandType(cmd, data_out) == PacketKind::Echo && (cmd != MOTION || data_out.size() >= 3)) {
          data_pool_echo.sendingAlone(replyKey(cmd, data_out));
        }
      };
      client->sendInTurn(frame, std::ref(announce));
    });
  } catch (...) {
    if (announced) {
      waiter->unsent();
    }
    throw;
  }
}

int Packet_based::replyKey(int cmd, ByteView data) {
  if (cmd != MOTION) {
    return cmd;
  }
  if (data.size() < 3) {
    fail(ErrorId::InputDataNotInRangeError,
         "a MOTION packet carries at least 3 bytes, not " + std::to_string(data.size()));
  }
  return readBig<std::int32_t>(payload(u8(data[2]), u8(data[0]), u8(data[1]), u8(MOTION)));
}

std::optional<Bytes> Packet_based::getReplyFromPool(int key, double timeout) {
  refuseForked(lostError());
  ReplyPool::Waiter waiter(data_pool_echo, key);
  return await(waiter, timeout, expectReply());
}

std::optional<Bytes> Packet_based::await(ReplyPool::Waiter& waiter, double timeout,
                                         const std::shared_ptr<Reader>& reader) {
  if (timeout < 0 || (timeout == 0 && Fiber::current() != nullptr)) {
    return std::nullopt;
  }
  if (timeout == 0) {
    // Neither limit of a blocking wait is ever reached: elapsed time stays at 0.
    data_pool_echo.waitInVain(std::nullopt);
    return std::nullopt;
  }
  auto reply = waiter.wait(deadlineAfter(timeout), reader);
  if (!reply) {
    return unanswered(waiter);
  }
  if (waiter.lateForTheFirstTime()) {
    host().warn(ErrorId::LateReplyWarning);
  }
  return reply;
}

std::nullopt_t Packet_based::unanswered(const ReplyPool::Waiter& waiter) const {
  if (waiter.lost()) {
    refuseLost();
  }
  if (waiter.lost() || waiter.ended()) {  // it may be another one by now
    fail(lostError(), "The connection was ended while a reply was awaited.");
  }
  return std::nullopt;
}

void Packet_based::refuseLost() const {
  if (const auto loss = data_pool_echo.loss()) {
    fail(lostError(), loss->givenMessage().value_or(errorKind(lostError()).message));
  }
}

// Who does not wait disturbs nobody.
ReplyPool::Waiter Packet_based::asker(int cmd, ByteView data_out, double timeout) {
  const int key = replyKey(cmd, data_out);
  return timeout > 0 ? ReplyPool::Waiter(data_pool_echo, key, data_out, timeout)
                     : ReplyPool::Waiter(data_pool_echo, key);
}

std::optional<Bytes> Packet_based::echoPacket(int cmd, ByteView data_out, double timeout) {
  ReplyPool::Waiter waiter = asker(cmd, data_out, timeout);
  if (!waiter.awaitFloor()) {
    return unanswered(waiter);
  }
  send(cmd, data_out, &waiter);
  return await(waiter, timeout, expectReply());
}

std::optional<Bytes> Packet_based::echoPacketWithRetry(int cmd, ByteView data_out, double timeout) {
  return echoUpTo(NUM_RETRIES, cmd, data_out, timeout);
}

std::optional<Bytes> Packet_based::request(int cmd, ByteView data_out, double timeout, Repeat repeat) {
  const Resend allowed = resend;
  const bool again = allowed == Resend::All || (allowed == Resend::Safe && repeat == Repeat::Harmless);
  return echoUpTo(again ? NUM_RETRIES : 1, cmd, data_out, timeout);
}

std::optional<Bytes> Packet_based::echoUpTo(int most, int cmd, ByteView data_out, double timeout) {
  const bool coroutine = Fiber::current() != nullptr;
  const double attempt = coroutine ? static_cast<double>(RETRY_TIMEOUT) : kBlockingAttempt;
  double elapsed = 0;
  double pause = most > 1 ? kPauseForLost : timeout;
  ReplyPool::Waiter waiter = asker(cmd, data_out, timeout);  // keeps its place through all attempts
  if (!waiter.awaitFloor()) {
    return unanswered(waiter);
  }
  // Waits `time` seconds; less where replies come, but are taken for earlier ones because some were lost: another copy
  // gets its own.
  bool again = false;
  const auto wait = [&](double time) -> std::optional<Bytes> {
    again = false;
    while (time > 0 && !again && !data_pool_echo.closed()) {
      const double slice = std::min(time, pause);
      if (auto reply = await(waiter, slice, expectReply())) {
        return reply;
      }
      elapsed += slice;
      time -= slice;
      if (slice == pause) {
        // The reply has taken a part of the slice.
        again =
            waiter.passedOver(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(slice / 2)));
        pause *= 2;
      }
    }
    return std::nullopt;
  };
  const auto sendAgain = [&] {
    if (again && waiter.farBehind()) {
      waiter.dryLine();
      pause = kPauseForLost;
    }
    if (waiter.isHeldBack()) {
      const auto began = Clock::now();
      const bool wanted = waiter.holdBack(deadlineAfter(timeout - elapsed));
      elapsed += std::chrono::duration<double>(Clock::now() - began).count();
      if (waiter.hasForgotten()) {
        host().warn(ErrorId::LateReplyWarning, kForgotten);
      }
      if (!wanted) {
        return;
      }
    }
    send(cmd, data_out, &waiter);
  };
  for (int sent = 0; sent < most && elapsed < timeout; ++sent) {
    sendAgain();
    // The last attempt of a coroutine keeps within the total; a blocking one always waits its 0.01 s.
    if (auto reply = wait(coroutine ? std::min(attempt, timeout - elapsed) : attempt)) {
      return reply;
    }
  }
  do {
    if (again && elapsed < timeout) {
      sendAgain();
    }
    if (auto reply = wait(timeout - elapsed)) {
      return reply;
    }
  } while (again);
  if (waiter.passedOver({})) {  // a line that has lost nothing is dry as soon as all has come
    waiter.dryLine();
  }
  return std::nullopt;
}

std::vector<Bytes> Packet_based::getStreamingFromPool(RawQueue& queue, std::int64_t num_samples) {
  if (num_samples > -1 && !queue.waitForSize(static_cast<std::size_t>(num_samples), std::nullopt) &&
      queue.size() == 0) {
    refuseLost();
  }
  std::size_t count = queue.size();
  if (num_samples > -1) {
    count = std::min(count, static_cast<std::size_t>(num_samples));
  }
  std::vector<Bytes> items;
  while (items.size() < count) {
    auto item = queue.take();
    if (!item) {
      break;
    }
    items.push_back(std::move(item->bytes));
  }
  return items;
}

std::shared_ptr<AnswerSet> Packet_based::broadcastPacket(int cmd, ByteView data_out) {
  auto answers = data_pool_bcst.at(cmd);
  answers->clear();
  sendBroadcast(cmd, data_out);
  data_pool_echo.waitInVain(deadlineAfter(PACKET_TIMEOUT));
  return answers;
}

std::shared_ptr<RawQueue> Packet_based::askEverybody(int cmd, ByteView data_out) {
  auto answers = data_pool_bcst.at(cmd)->subscribe();
  sendBroadcast(cmd, data_out);
  return answers;
}

void Packet_based::sendBroadcast(int cmd, ByteView data_out) {
  const Bytes frame = buildFrame(cmd, data_out);
  const auto client = clientUdp();
  if (!client) {
    fail(ErrorId::APINotSupportError, "This handle has no broadcast transport.");
  }
  if (data_pool_echo.closed()) {
    fail(lostError(), "Not connected: this device is closed.");
  }
  // Not on a fiber's stack, whoever wrote the transport: asking the system for its addresses takes more than that has.
  Fiber::outside([&] {
    for (int i = 0; i < NUM_BCST_RETRIES; ++i) {
      client->sendBcstPacket(frame);
    }
  });
}

PacketKind Packet_based::checkCommandType(int cmd, ByteView data) {
  if (contains(STREAMING_CMD_LIST, cmd)) {
    return PacketKind::Streaming;
  }
  if (!contains(BROADCAST_CMD_LIST, cmd)) {
    return PacketKind::Echo;
  }
  return !data.empty() && data[0] == 1 ? PacketKind::Broadcast : PacketKind::Ignore;
}

void Packet_based::putToDataPool(int cmd, Bytes data) {
  if (cmd >= kFirstOpenCAN && cmd <= kLastOpenCAN) {
    data.insert(data.begin(), static_cast<std::uint8_t>(cmd & 0xFF));
    data_pool_echo.arrive(OPEN_CAN, std::move(data));
    return;
  }
  if (cmd == START_CAN && data.size() < 1 + kCANRecord) {
    data_pool_echo.arrive(cmd, std::move(data));
    return;
  }
  if (cmd == START_UART_READING && acknowledges(data)) {
    return;
  }
  switch (checkCommandType(cmd, data)) {
    case PacketKind::Streaming:
      // payload: port u8, item
      if (!data.empty()) {
        const int port = data.front();
        data_pool_strm.at({cmd, port})->put(Bytes(data.begin() + 1, data.end()));
      }
      break;
    case PacketKind::Echo:
      if (cmd != MOTION || data.size() >= 3) {
        const int key = replyKey(cmd, data);
        data_pool_echo.arrive(key, std::move(data));
      }
      break;
    case PacketKind::Broadcast:
      data_pool_bcst.at(cmd)->add(Bytes(data.begin() + 1, data.end()));
      break;
    case PacketKind::Ignore:
      break;
  }
}

// One received byte looks like [port, status]: only the first packet after a start is taken for an answer to it, and
// only with a status that such a start can have.
bool Packet_based::acknowledges(ByteView data) {
  constexpr std::array<std::uint8_t, 3> kStatuses{0, 11, 23};  // accepted, no such port, not open
  if (data.empty()) {
    return false;
  }
  const Lock lock(starts_mutex_);
  return uart_starts_.erase(data[0]) != 0 && data.size() == 2 &&
         std::find(kStatuses.begin(), kStatuses.end(), data[1]) != kStatuses.end();
}

void Packet_based::closePools() {
  data_pool_echo.close();
  data_pool_strm.close();
  data_pool_bcst.close();
}

}  // namespace qvx
