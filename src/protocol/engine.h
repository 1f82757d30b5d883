// The packet engine: sends a command and waits for its answer. One body serves the blocking and the coroutine form;
// where their timing differs, it differs here.
#pragma once

#include "core/argument.h"
#include "core/frame.h"
#include "protocol/pools.h"
#include "transport/process.h"
#include "transport/transport.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <set>

namespace qvx {

// How a command is classified when a packet with its code arrives.
enum class PacketKind : std::uint8_t { Echo, Streaming, Broadcast, Ignore };

// What both published engine classes share: the transports, the three pools, and every body.
// Any thread may call anything.
class Packet_based {
 public:
  virtual ~Packet_based() = default;

  // True in a child of the process that made this object: the connection is the parent's.
  bool forked() const { return origin_.isLeft(); }
  // Raises `id` there. Comes before every mutex, which the parent may have held at the fork.
  void refuseForked(ErrorId id) const;

  // Where commands go; nullptr until there is a transport.
  std::shared_ptr<Transport> clientCmd() const;
  void setClientCmd(std::shared_ptr<Transport> client);
  std::shared_ptr<Transport> clientUdp() const;
  void setClientUdp(std::shared_ptr<Transport> client);

  // Whether echoPacketWithRetry may send a command more than once: a device carries out each one that it receives.
  std::atomic<bool> resend{true};

  ReplyPool data_pool_echo;
  StreamPool data_pool_strm;
  BroadcastPool data_pool_bcst;

  // Frames and sends; returns when the bytes are with the operating system.
  void sendPacketWithoutReply(int cmd, ByteView data_out);
  // Sends once and waits at most `timeout` seconds; nothing when no reply came. `timeout` 0 waits without end; in a
  // coroutine, not at all.
  std::optional<Bytes> echoPacket(int cmd, ByteView data_out, double timeout);
  // Sends up to NUM_RETRIES times, once without `resend`, at short intervals (0.01 s; RETRY_TIMEOUT in a coroutine),
  // then waits for the rest of `timeout`; nothing when no reply came.
  std::optional<Bytes> echoPacketWithRetry(int cmd, ByteView data_out, double timeout);
  std::optional<Bytes> getReplyFromPool(int key, double timeout);
  // Waits for `num_samples` items, however long that takes, and takes them; -1 takes what is there.
  std::vector<Bytes> getStreamingFromPool(RawQueue& queue, std::int64_t num_samples);
  // Sends NUM_BCST_RETRIES times; the answers arrive in the queue, each as often as a device gives it, until the queue
  // is let go.
  std::shared_ptr<RawQueue> askEverybody(int cmd, ByteView data_out);
  // Empties the set of answers, sends NUM_BCST_RETRIES times, collects answers for PACKET_TIMEOUT seconds.
  std::shared_ptr<AnswerSet> broadcastPacket(int cmd, ByteView data_out);

  static PacketKind checkCommandType(int cmd, ByteView data);
  // Files one received packet. Packets too short for their kind are dropped. Three that the code alone does not tell
  // are told here: a reply to OPEN_CAN, whose code the splitter reads as 12288..12543; a reply to START_CAN, which is
  // shorter than a frame of its stream; an acknowledgement of START_UART_READING, which is dropped.
  void putToDataPool(int cmd, Bytes data);
  // The key under which the reply to `cmd` is filed: the code, or for MOTION a number made of the first three bytes.
  static int replyKey(int cmd, ByteView data);

  // Ends every wait of the engine, now and later.
  void closePools();

 protected:
  // Called when a command has been sent whose reply is waited for next.
  virtual void expectReply() {}
  // The class of a failed send where there is no connection: that of the handle's medium.
  virtual ErrorId lostError() const { return ErrorId::NetworkConnectionLostError; }

 private:
  // Sends; `waiter`, where there is one, has its place from then on.
  void send(int cmd, ByteView data_out, ReplyPool::Waiter* waiter);
  std::optional<Bytes> echo(int cmd, ByteView data_out, ReplyPool::Waiter& waiter, double timeout);
  std::optional<Bytes> await(ReplyPool::Waiter& waiter, double timeout);
  void sendBroadcast(int cmd, ByteView data_out);
  // Whether a packet of START_UART_READING acknowledges the start instead of carrying received bytes.
  bool acknowledges(ByteView data);

  Origin origin_;
  mutable std::mutex clients_mutex_;  // guards the two pointers
  std::shared_ptr<Transport> client_cmd_;
  std::shared_ptr<Transport> client_udp_;
  std::mutex starts_mutex_;             // guards uart_starts_
  std::set<std::uint8_t> uart_starts_;  // ports whose start of reading nothing has followed yet
};

// The published engine classes: the same object seen by blocking callers and by coroutines.
class Packet : public virtual Packet_based {};
class Packet_async : public virtual Packet_based {};

}  // namespace qvx
