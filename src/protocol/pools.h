// Where the receive thread files what arrives, and where callers wait for it.
//
// Every pool and queue here may be used by any thread; each guards itself with one mutex.
#pragma once

#include "core/bytes.h"
#include "core/frame.h"
#include "protocol/wait.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace qvx {

// Replies to commands: at most one for each key, a newer one overwrites an older one. A reply that somebody waits for
// goes to the first of those who have no reply yet.
class ReplyPool {
 public:
  // One who waits for a reply with `key`, or is going to. Of one thread, or one fiber.
  class Waiter {
   public:
    Waiter(ReplyPool& pool, int key) : pool_(pool), key_(key) {}
    ~Waiter() { leave(); }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    // Takes a place behind the others, those that are stranded excepted; done before the request is sent, whose reply
    // may be there before wait().
    void enter();
    // Gives the place up; a reply that has come and is not taken is left to the others.
    void leave();
    // Takes the reply as soon as it is there; nothing, and the place is kept, when `deadline` passes first or the pool
    // is closed.
    std::optional<Bytes> wait(const Deadline& deadline);

   private:
    friend class ReplyPool;
    // Both need the pool's mutex, which also guards what changes.
    void join();
    void part();

    ReplyPool& pool_;
    const int key_;
    bool entered_ = false;
    bool stranded_ = false;
    std::optional<Bytes> reply_;
  };

  void put(int key, Bytes reply);
  // Removes and returns the reply.
  std::optional<Bytes> take(int key);
  std::optional<Bytes> peek(int key) const;
  std::optional<Bytes> waitFor(int key, const Deadline& deadline) { return Waiter(*this, key).wait(deadline); }
  // Waits without taking anything, until `deadline` or the pool is closed.
  void waitInVain(const Deadline& deadline);
  // The connection is over on which all were sent that somebody waits for now: what is asked on the next one is served
  // first.
  void strand();
  std::vector<int> keys() const;
  std::size_t size() const;
  void clear();
  // Ends every wait, now and later.
  void close();
  bool closed() const;

 private:
  void file(int key, Bytes reply, bool overwrite);

  mutable std::mutex mutex_;  // guards all below
  Condition changed_;
  std::map<int, Bytes> replies_;
  std::vector<Waiter*> waiters_;  // in the order of their coming, the stranded ones last
  bool closed_ = false;
};

// What a decoder thread sleeps on: rung by the queues it serves.
class Doorbell {
 public:
  void ring();
  // Returns at the next ring, or at once when one came since the last wait.
  void wait();

 private:
  std::mutex mutex_;  // guards rung_
  std::condition_variable changed_;
  bool rung_ = false;
};

// Streamed items (payloads without their leading port byte), unbounded, in the order of arrival.
class RawQueue {
 public:
  void put(Bytes item);
  // `place`: how many items came before it.
  std::optional<Bytes> take(std::uint64_t* place = nullptr);
  std::size_t size() const;
  // How many items have ever come.
  std::uint64_t arrived() const;
  // Waits until `count` items are there; false when `deadline` passes first or the queue is closed.
  bool waitForSize(std::size_t count, const Deadline& deadline);
  // The bell to ring at every item.
  void setDoorbell(std::shared_ptr<Doorbell> bell);
  void close();

 private:
  mutable std::mutex mutex_;  // guards all below
  Condition changed_;
  std::deque<Bytes> items_;
  std::uint64_t taken_ = 0;
  std::shared_ptr<Doorbell> bell_;
  bool closed_ = false;
};

// (command code, port)
using StreamKey = std::pair<int, int>;

// A map whose entries come into being when they are first asked for, as the pools of streams and of answers are.
template <class Key, class Entry>
class EntryPool {
 public:
  std::shared_ptr<Entry> at(const Key& key) {
    const std::lock_guard lock(mutex_);
    auto& entry = entries_[key];
    if (!entry) {
      entry = std::make_shared<Entry>();
      if (closed_) {
        entry->close();
      }
    }
    return entry;
  }
  bool contains(const Key& key) const {
    const std::lock_guard lock(mutex_);
    return entries_.contains(key);
  }
  bool erase(const Key& key) {
    const std::lock_guard lock(mutex_);
    return entries_.erase(key) != 0;
  }
  std::vector<std::pair<Key, std::shared_ptr<Entry>>> entries() const {
    const std::lock_guard lock(mutex_);
    return {entries_.begin(), entries_.end()};
  }
  // Ends every wait on an entry, now and later.
  void close() {
    {
      const std::lock_guard lock(mutex_);
      closed_ = true;
    }
    for (const auto& [key, entry] : entries()) {
      entry->close();
    }
  }

 private:
  mutable std::mutex mutex_;  // guards what follows; an entry's own may be taken under it
  std::map<Key, std::shared_ptr<Entry>> entries_;
  bool closed_ = false;
};

// Distinct answers to a broadcast. Anybody on the network can send answers, so there is a limit to what is kept.
class AnswerSet {
 public:
  static constexpr std::size_t kCapacity = 4096;

  void add(Bytes answer);
  void clear();
  std::set<Bytes> snapshot() const;
  // A queue of the answers that arrive from now on, also those that are in the set already. It is filled until its
  // owner lets go of it, or has left kCapacity answers in it; close() closes it.
  std::shared_ptr<RawQueue> subscribe();
  // Closes the queues handed out, now and later.
  void close();

 private:
  std::vector<std::shared_ptr<RawQueue>> subscribers();

  mutable std::mutex mutex_;  // guards all below
  std::set<Bytes> answers_;
  std::vector<std::weak_ptr<RawQueue>> subscribers_;
  bool closed_ = false;
};

using StreamPool = EntryPool<StreamKey, RawQueue>;
using BroadcastPool = EntryPool<int, AnswerSet>;

}  // namespace qvx
