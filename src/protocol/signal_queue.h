// The bounded queue of decoded rows between a decoder thread and the application: samples of several channels, received
// bytes, frames. Rows are kept in chunks of plain values; nothing of the interpreter lives here.
#pragma once

#include "protocol/wait.h"

#include <deque>
#include <span>
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

  // Appends rows of `width` values; returns how many did not fit and were dropped.
  std::size_t put(std::span<const Value> values, std::size_t width) {
    std::unique_lock lock(mutex_);
    const std::size_t rows = values.size() / width;
    const std::size_t accepted = std::min(rows, capacity_ - std::min(size_, capacity_));
    std::span<const Value> rest = values.first(accepted * width);
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
    size_ += accepted;
    dropped_ += rows - accepted;
    changed_.notify(lock);
    return rows - accepted;
  }

  // Takes at most `limit` rows, oldest first, in one piece for each run of equal width; `uniform` stops after one run.
  std::vector<Rows<Value>> take(std::size_t limit, bool uniform = false) {
    const std::lock_guard lock(mutex_);
    std::vector<Rows<Value>> taken;
    while (limit != 0 && size_ != 0) {
      auto& chunk = chunks_.front();
      if (uniform && !taken.empty() && taken.front().width != chunk.width) {
        break;
      }
      const std::size_t available = chunk.rows() - front_row_;
      const std::size_t count = std::min(limit, available);
      if (front_row_ == 0 && count == available && (taken.empty() || taken.back().width != chunk.width)) {
        taken.push_back(std::move(chunk));
      } else {
        if (taken.empty() || taken.back().width != chunk.width) {
          taken.push_back({{}, chunk.width});
        }
        const auto first = chunk.values.begin() + static_cast<std::ptrdiff_t>(front_row_ * chunk.width);
        auto& values = taken.back().values;
        values.insert(values.end(), first, first + static_cast<std::ptrdiff_t>(count * chunk.width));
      }
      front_row_ += count;
      if (count == available) {
        chunks_.pop_front();
        front_row_ = 0;
      }
      limit -= count;
      size_ -= count;
    }
    return taken;
  }

  // Waits until `rows` rows are there; false when `deadline` passes first or the queue is closed.
  bool waitForSize(std::size_t rows, const Deadline& deadline) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, deadline, [&] { return closed_ || size_ >= rows; });
    return size_ >= rows;
  }

  std::size_t size() const {
    const std::lock_guard lock(mutex_);
    return size_;
  }
  std::size_t capacity() const { return capacity_; }
  // Rows dropped since construction because the queue was full.
  std::size_t dropped() const {
    const std::lock_guard lock(mutex_);
    return dropped_;
  }
  // Ends every wait, now and later. What is queued can still be taken.
  void close() {
    std::unique_lock lock(mutex_);
    closed_ = true;
    changed_.notify(lock);
  }

 private:
  static constexpr std::size_t kChunkRows = 1024;

  const std::size_t capacity_;
  mutable std::mutex mutex_;  // guards all below
  Condition changed_;
  std::deque<Rows<Value>> chunks_;
  std::size_t front_row_ = 0;  // rows of the first chunk already taken
  std::size_t size_ = 0;
  std::size_t dropped_ = 0;
  bool closed_ = false;
};

}  // namespace qvx
