// A recorded signal: PCM from a WAV file, as the 16-bit codes an analog input would deliver.
#pragma once

#include "core/bytes.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace qvx::bench {

class WavError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Immutable once made; shared by every device that plays it.
class WavFile {
 public:
  // Throws WavError, naming the file, when it is not a regular file of at most 1 GiB with valid content.
  static WavFile load(const std::string& path);
  // 8 (unsigned), 16, 24 or 32 bit PCM, plain or extensible header. Throws WavError on anything else.
  static WavFile parse(ByteView file);

  double rate() const { return rate_; }
  std::size_t channels() const { return channels_; }
  std::size_t frames() const { return codes_.size() / channels_; }
  // The code of `channel` at `frame`; both wrap around.
  std::int16_t at(std::uint64_t frame, std::size_t channel) const {
    return codes_[(frame % frames()) * channels_ + channel % channels_];
  }

 private:
  WavFile() = default;

  double rate_ = 0;
  std::size_t channels_ = 1;
  std::vector<std::int16_t> codes_;  // interleaved, at least one frame
};

}  // namespace qvx::bench
