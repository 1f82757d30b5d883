// The bounded queue of decoded rows between a decoder thread and the application: samples of several channels, received
// bytes, frames. Rows are kept in chunks of plain values; nothing of the interpreter lives here.
#pragma once

#include "runtime/wait.h"

#include <cstdint>
#include <deque>
#include <span>
#include <utility>
#include <vector>

namespace qvx {

// `rows() == values.size() / width`; a row is `width` values measured together.
template <class Value>
struct Rows {
  std::vector<Value> values;
  std::size_t width = 1;
  std::size_t rows() const { return values.size() / width; }
};

// Any thread may call anything.
template <class Value>
class SignalQueue {
 public:
  explicit SignalQueue(std::size_t capacity) : capacity_(capacity) {}

  // Appends rows of `width` values that came on the connection with that number, unless another has begun meanwhile.
  // Returns how many did not fit and were dropped.
  std::size_t put(std::span<const Value> values, std::size_t width, std::uint64_t connection = 0) {
    Lock lock(mutex_);
    if (connection != connection_) {
      return 0;
    }
    const std::size_t rows = values.size() / width;
    const std::size_t accepted = std::min(rows, room());
    dropped_ += rows - accepted;
    append(lock, values.first(accepted * width), width);
    return rows - accepted;
  }
  // Appends one row; false when there is no room, which counts as nothing dropped.
  bool tryPut(std::span<const Value> row) {
    Lock lock(mutex_);
    if (room() == 0) {
      return false;
    }
    append(lock, row, row.size());
    return true;
  }

  // Takes at most `limit` rows, oldest first, in one piece for each run of equal width; `uniform` stops after one run.
  std::vector<Rows<Value>> take(std::size_t limit, bool uniform = false) {
    const Lock lock(mutex_);
    std::vector<Rows<Value>> taken;
    while (limit != 0 && size_ != 0 && !(uniform && !taken.empty())) {
      taken.push_back(takeRun(limit));
      limit -= taken.back().rows();
    }
    return taken;
  }

  // Waits until `rows` rows are there; false when `deadline` passes first, the queue is closed or nothing more comes.
  bool waitForSize(std::size_t rows, const Deadline& deadline) {
    Lock lock(mutex_);
    changed_.wait(lock, deadline, [&]() QVX_REQUIRES(mutex_) {
      const bool ready = closed_ || finished_ || size_ >= rows;
      if (!ready) {
        wake_at_ = std::min(wake_at_, rows);
      }
      return ready;
    });
    return size_ >= rows;
  }

  std::size_t size() const {
    const Lock lock(mutex_);
    return size_;
  }
  std::size_t capacity() const { return capacity_; }
  // Rows dropped since construction because the queue was full.
  std::size_t dropped() const {
    const Lock lock(mutex_);
    return dropped_;
  }
  // The connection with this number begins: what came on an earlier one is gone.
  void begin(std::uint64_t connection) {
    const Lock lock(mutex_);
    connection_ = connection;
    finished_ = false;
    chunks_.clear();
    front_row_ = 0;
    size_ = 0;
  }
  // The connection is lost: nothing more comes on it. What is queued can still be taken.
  void finish() {
    Lock lock(mutex_);
    finished_ = true;
    wake_at_ = SIZE_MAX;
    changed_.notify(lock);
  }
  bool finished() const {
    const Lock lock(mutex_);
    return finished_;
  }
  // Ends every wait, now and later. What is queued can still be taken.
  void close() {
    Lock lock(mutex_);
    closed_ = true;
    changed_.notify(lock);
  }

 private:
  static constexpr std::size_t kChunkRows = 1024;

  std::size_t room() const QVX_REQUIRES(mutex_) { return capacity_ - std::min(size_, capacity_); }

  // Rows for which there is room. Releases the mutex when it wakes somebody.
  void append(Lock& lock, std::span<const Value> values, std::size_t width) QVX_UNCHECKED {
    std::span<const Value> rest = values;
    while (!rest.empty()) {
      if (chunks_.empty() || chunks_.back().width != width || chunks_.back().values.size() == kChunkRows * width) {
        chunks_.push_back({{}, width});
        chunks_.back().values.reserve(kChunkRows * width);
      }
      auto& chunk = chunks_.back().values;
      const std::size_t count = std::min(rest.size(), kChunkRows * width - chunk.size());
      chunk.insert(chunk.end(), rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count));
      rest = rest.subspan(count);
    }
    size_ += values.size() / width;
    if (size_ >= wake_at_) {
      wake_at_ = SIZE_MAX;
      changed_.notify(lock);
    }
  }

  // At most `limit` rows of the first one's width, in memory allocated once. Needs a row.
  Rows<Value> takeRun(std::size_t limit) QVX_REQUIRES(mutex_) {
    const std::size_t width = chunks_.front().width;
    std::size_t rows = 0;
    std::size_t gone = front_row_;
    for (auto chunk = chunks_.begin(); chunk != chunks_.end() && chunk->width == width && rows < limit; ++chunk) {
      rows += chunk->rows() - std::exchange(gone, 0);
    }
    rows = std::min(rows, limit);
    size_ -= rows;
    Rows<Value> run{{}, width};
    if (front_row_ == 0 && rows == chunks_.front().rows()) {
      run = std::move(chunks_.front());
      chunks_.pop_front();
      return run;
    }
    run.values.reserve(rows * width);
    while (rows != 0) {
      const auto& values = chunks_.front().values;
      const std::size_t count = std::min(rows, chunks_.front().rows() - front_row_);
      const auto first = values.begin() + static_cast<std::ptrdiff_t>(front_row_ * width);
      run.values.insert(run.values.end(), first, first + static_cast<std::ptrdiff_t>(count * width));
      rows -= count;
      front_row_ += count;
      if (front_row_ == chunks_.front().rows()) {
        chunks_.pop_front();
        front_row_ = 0;
      }
    }
    return run;
  }

  const std::size_t capacity_;
  mutable Mutex mutex_;
  Condition changed_;
  std::deque<Rows<Value>> chunks_ QVX_GUARDED_BY(mutex_);
  std::size_t front_row_ QVX_GUARDED_BY(mutex_) = 0;  // rows of the first chunk already taken
  std::size_t size_ QVX_GUARDED_BY(mutex_) = 0;
  std::size_t dropped_ QVX_GUARDED_BY(mutex_) = 0;
  std::size_t wake_at_ QVX_GUARDED_BY(mutex_) = SIZE_MAX;  // the fewest rows that anybody waits for
  std::uint64_t connection_ QVX_GUARDED_BY(mutex_) = 0;
  bool finished_ QVX_GUARDED_BY(mutex_) = false;
  bool closed_ QVX_GUARDED_BY(mutex_) = false;
};

}  // namespace qvx
