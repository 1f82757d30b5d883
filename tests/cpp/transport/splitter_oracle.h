// The splitting rule written down step by step, with no thought of speed: what FrameSplitter must agree with.
#pragma once

#include "core/frame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qvx::test {

struct SplitterOracle {
  Bytes stream;
  std::size_t last_index = 0;

  void append(ByteView bytes) { stream.insert(stream.end(), bytes.begin(), bytes.end()); }

  std::vector<Frame> split() {
    std::vector<Frame> frames;
    while (const auto end = findTail(last_index)) {
      const auto start = findStart(*end);
      if (!start) {
        last_index = *end + 1;
        continue;
      }
      const std::size_t k = *start + 3;
      if (stream[k] > 48) {
        frames.push_back({stream[k], slice(k + 1, *end)});
      } else {
        frames.push_back({stream[k] * 256 + stream[k + 1], slice(k + 2, *end)});
      }
      stream.erase(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(*end + 2));
      last_index = 0;
    }
    return frames;
  }

 private:
  std::optional<std::size_t> findTail(std::size_t from) const {
    constexpr std::array<std::uint8_t, 2> kTail{13, 10};
    if (from > stream.size()) {
      return std::nullopt;
    }
    const auto found =
        std::search(stream.begin() + static_cast<std::ptrdiff_t>(from), stream.end(), kTail.begin(), kTail.end());
    if (found == stream.end()) {
      return std::nullopt;
    }
    return static_cast<std::size_t>(found - stream.begin());
  }

  std::optional<std::size_t> findStart(std::size_t end) const {
    for (std::size_t i = 0; i < end; ++i) {
      const long expected = static_cast<long>(end) - static_cast<long>(i) - 3;
      if (stream[i] == 2 && static_cast<std::int16_t>(stream[i + 1] * 256 + stream[i + 2]) == expected) {
        return i;
      }
    }
    return std::nullopt;
  }

  Bytes slice(std::size_t from, std::size_t to) const {
    return from < to ? Bytes(stream.begin() + static_cast<std::ptrdiff_t>(from),
                             stream.begin() + static_cast<std::ptrdiff_t>(to))
                     : Bytes();
  }
};

}  // namespace qvx::test
