// Where the receive thread files what arrives, and where callers wait for it.
//
// Every pool and queue here may be used by any thread; each guards itself with one mutex.
#pragma once

#include "core/bytes.h"
#include "core/frame.h"
#include "protocol/replies.h"
#include "runtime/wait.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace qvx {

// What a decoder thread sleeps on: rung by the queues it serves.
class Doorbell {
 public:
  void ring();
  // Returns at the next ring, or at once when one came since the last wait.
  void wait();

 private:
  Mutex mutex_;
  Condition changed_;
  bool rung_ QVX_GUARDED_BY(mutex_) = false;
};

// One streamed item: a payload without its leading port byte.
struct RawItem {
  Bytes bytes;
  std::uint64_t place = 0;       // how many items came before it
  std::uint64_t connection = 0;  // the number of the connection on which it came
};

// Streamed items, unbounded, in the order of arrival.
class RawQueue {
 public:
  void put(Bytes item);
  std::optional<RawItem> take();
  std::size_t size() const;
  // How many items have ever come.
  std::uint64_t arrived() const;
  // Waits until `count` items are there; false when `deadline` passes first, the queue is closed or nothing more comes.
  bool waitForSize(std::size_t count, const Deadline& deadline);
  // The bell to ring at every item, and when nothing more comes.
  void setDoorbell(std::shared_ptr<Doorbell> bell);
  // The connection with this number begins: what came on an earlier one is gone.
  void begin(std::uint64_t connection);
  // The connection is lost: nothing more comes on it.
  void finish();
  bool finished() const;
  void close();

 private:
  mutable Mutex mutex_;
  Condition changed_;
  std::deque<Bytes> items_ QVX_GUARDED_BY(mutex_);
  std::uint64_t taken_ QVX_GUARDED_BY(mutex_) = 0;
  std::uint64_t connection_ QVX_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<Doorbell> bell_ QVX_GUARDED_BY(mutex_);
  bool finished_ QVX_GUARDED_BY(mutex_) = false;
  bool closed_ QVX_GUARDED_BY(mutex_) = false;
};

// (command code, port)
using StreamKey = std::pair<int, int>;

// A map whose entries come into being when they are first asked for, as the pools of streams and of answers are.
template <class Key, class Entry>
class EntryPool {
 public:
  std::shared_ptr<Entry> at(const Key& key) {
    const Lock lock(mutex_);
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
    const Lock lock(mutex_);
    return entries_.contains(key);
  }
  bool erase(const Key& key) {
    const Lock lock(mutex_);
    return entries_.erase(key) != 0;
  }
  std::vector<std::pair<Key, std::shared_ptr<Entry>>> entries() const {
    const Lock lock(mutex_);
    return {entries_.begin(), entries_.end()};
  }
  // Ends every wait on an entry, now and later.
  void close() {
    {
      const Lock lock(mutex_);
      closed_ = true;
    }
    for (const auto& [key, entry] : entries()) {
      entry->close();
    }
  }

 private:
  mutable Mutex mutex_;  // an entry's own may be taken under it
  std::map<Key, std::shared_ptr<Entry>> entries_ QVX_GUARDED_BY(mutex_);
  bool closed_ QVX_GUARDED_BY(mutex_) = false;
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

  mutable Mutex mutex_;
  std::set<Bytes> answers_ QVX_GUARDED_BY(mutex_);
  std::vector<std::weak_ptr<RawQueue>> subscribers_ QVX_GUARDED_BY(mutex_);
  bool closed_ QVX_GUARDED_BY(mutex_) = false;
};

using StreamPool = EntryPool<StreamKey, RawQueue>;
using BroadcastPool = EntryPool<int, AnswerSet>;

}  // namespace qvx
