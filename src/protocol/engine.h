// The packet engine: sends a command and waits for its answer. One body serves the blocking and the coroutine form;
// where their timing differs, it differs here.
#pragma once

#include "core/argument.h"
#include "core/frame.h"
#include "protocol/channel.h"
#include "protocol/pools.h"
#include "runtime/process.h"
#include "transport/transport.h"

#include <atomic>
#include <memory>
#include <set>

namespace qvx {

// How a command is classified when a packet with its code arrives.
enum class PacketKind : std::uint8_t { Echo, Streaming, Broadcast, Ignore };

// What a device does when it carries out a command a second time.
enum class Repeat : std::uint8_t {
  Harmless,  // nothing new: a setting, a query
  Acts       // the same again: a toggle, a transfer on a bus, a push into a buffer, a relative move, a start
};

// Which commands are sent again while their reply is late.
enum class Resend : std::uint8_t { None, Safe, All };

// What both published engine classes share: the transports, the three pools, and every body.
// Any thread may call anything.
class Packet_based {
 public:
  virtual ~Packet_based() = default;

  // True in a child of the process that made this object: the connection is the parent's.
  bool forked() const { return origin_.isLeft(); }
  // Raises `id` there. Comes before every mutex, which the parent may have held at the fork.
  void refuseForked(ErrorId id) const;
  // Raises the medium's class when the connection is lost.
  void refuseLost() const;

  // Where commands go; nullptr until there is a transport.
  std::shared_ptr<Transport> clientCmd() const { return client_cmd_->get(); }
  void setClientCmd(std::shared_ptr<Transport> client) { client_cmd_->set(std::move(client)); }
  std::shared_ptr<Transport> clientUdp() const { return client_udp_->get(); }
  void setClientUdp(std::shared_ptr<Transport> client) { client_udp_->set(std::move(client)); }

  // What request() does: a device carries out each copy of a command that it receives.
  std::atomic<Resend> resend{Resend::Safe};

  ReplyPool data_pool_echo;
  StreamPool data_pool_strm;
  BroadcastPool data_pool_bcst;

  // Frames and sends; returns when the bytes are with the operating system.
  void sendPacketWithoutReply(int cmd, ByteView data_out);
  // Sends once and waits at most `timeout` seconds; nothing when no reply came. `timeout` 0 waits without end; in a
  // coroutine, not at all.
  std::optional<Bytes> echoPacket(int cmd, ByteView data_out, double timeout);
  // Sends up to NUM_RETRIES times at short intervals (0.01 s; RETRY_TIMEOUT in a coroutine), then waits for the rest of
  // `timeout`; nothing when no reply came.
  std::optional<Bytes> echoPacketWithRetry(int cmd, ByteView data_out, double timeout);
  // What operations do: the same, but sends only as often as `resend` allows for such a command.
  std::optional<Bytes> request(int cmd, ByteView data_out, double timeout, Repeat repeat);
  std::optional<Bytes> getReplyFromPool(int key, double timeout);
  // Waits for `num_samples` items, however long that takes, and takes them; -1 takes what is there. Raises the medium's
  // class when the connection is lost and there is none.
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
  // Called when a command has been sent whose reply is waited for next; returns by what a thread that waits can read
  // the connection meanwhile, nullptr where it cannot.
  virtual std::shared_ptr<Reader> expectReply() { return nullptr; }
  std::shared_ptr<TransportSlot> commandSlot() const { return client_cmd_; }
  std::shared_ptr<TransportSlot> broadcastSlot() const { return client_udp_; }
  // The class of a failed send where there is no connection: that of the handle's medium.
  virtual ErrorId lostError() const { return ErrorId::NetworkConnectionLostError; }

 private:
  // Sends; `waiter`, where there is one, has its place from then on.
  void send(int cmd, ByteView data_out, ReplyPool::Waiter* waiter);
  ReplyPool::Waiter asker(int cmd, ByteView data_out, double timeout);
  std::optional<Bytes> echoUpTo(int most, int cmd, ByteView data_out, double timeout);
  std::optional<Bytes> await(ReplyPool::Waiter& waiter, double timeout, const std::shared_ptr<Reader>& reader);
  // Raises where the connection is why.
  std::nullopt_t unanswered(const ReplyPool::Waiter& waiter) const;
  void sendBroadcast(int cmd, ByteView data_out);
  // Whether a packet of START_UART_READING acknowledges the start instead of carrying received bytes.
  bool acknowledges(ByteView data);

  Origin origin_;
  const std::shared_ptr<TransportSlot> client_cmd_ = std::make_shared<TransportSlot>();
  const std::shared_ptr<TransportSlot> client_udp_ = std::make_shared<TransportSlot>();
  Mutex starts_mutex_;
  // Ports whose start of reading nothing has followed yet.
  std::set<std::uint8_t> uart_starts_ QVX_GUARDED_BY(starts_mutex_);
};

// The published engine classes: the same object seen by blocking callers and by coroutines.
class Packet : public virtual Packet_based {};
class Packet_async : public virtual Packet_based {};

}  // namespace qvx
