#include "virtual/wav.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

namespace qvx::bench {
namespace {

constexpr std::uintmax_t kLargestFile = 1ULL << 30;
constexpr std::uint16_t kFormatPcm = 1;
constexpr std::uint16_t kFormatExtensible = 0xFFFE;
constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kSubFormatOffset = 24;

// RIFF is little-endian, unlike everything else here.
std::uint32_t little(ByteView bytes, std::size_t offset, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = width; i-- > 0;) {
    value = (value << 8) | bytes[offset + i];
  }
  return value;
}

bool tagAt(ByteView bytes, std::size_t offset, std::string_view tag) {
  return bytes.size() >= offset + tag.size() && std::equal(tag.begin(), tag.end(), bytes.begin() + offset);
}

struct Format {
  std::uint32_t channels;
  std::uint32_t rate;
  std::uint32_t bits;
};

Format parseFormat(ByteView chunk) {
  if (chunk.size() < 16) {
    throw WavError("its fmt chunk has " + std::to_string(chunk.size()) + " bytes, not 16 or more");
  }
  std::uint32_t tag = little(chunk, 0, 2);
  if (tag == kFormatExtensible && chunk.size() >= kSubFormatOffset + 2) {
    tag = little(chunk, kSubFormatOffset, 2);
  }
  if (tag != kFormatPcm) {
    throw WavError("its encoding " + std::to_string(tag) + " is not PCM");
  }
  const Format format{little(chunk, 2, 2), little(chunk, 4, 4), little(chunk, 14, 2)};
  if (format.bits != 8 && format.bits != 16 && format.bits != 24 && format.bits != 32) {
    throw WavError("its samples have " + std::to_string(format.bits) + " bits, not 8, 16, 24 or 32");
  }
  if (format.channels == 0 || format.rate == 0) {
    throw WavError("it has no channels or no sampling rate");
  }
  if (little(chunk, 12, 2) != format.channels * (format.bits / 8)) {
    throw WavError("its block size does not fit its channels and bits");
  }
  return format;
}

std::int16_t codeAt(ByteView data, std::size_t offset, std::size_t width) {
  if (width == 1) {
    return static_cast<std::int16_t>((data[offset] - 128) * 256);
  }
  // The two most significant bytes stand last.
  return static_cast<std::int16_t>(little(data, offset + width - 2, 2));
}

}  // namespace

WavFile WavFile::parse(ByteView file) {
  if (!tagAt(file, 0, "RIFF") || !tagAt(file, 8, "WAVE")) {
    throw WavError("it is not a RIFF WAVE file");
  }
  std::optional<Format> format;
  for (std::size_t at = 12; file.size() - at >= kChunkHeader;) {
    const std::size_t size = little(file, at + 4, 4);
    const std::size_t body = at + kChunkHeader;
    if (size > file.size() - body) {
      throw WavError("a chunk of " + std::to_string(size) + " bytes exceeds the " + std::to_string(file.size() - body) +
                     " that follow");
    }
    const ByteView chunk = file.subspan(body, size);
    if (tagAt(file, at, "fmt ")) {
      format = parseFormat(chunk);
    } else if (tagAt(file, at, "data")) {
      if (!format) {
        throw WavError("its data precede its format");
      }
      const std::size_t width = format->bits / 8;
      const std::size_t frames = size / (width * format->channels);
      if (frames == 0) {
        throw WavError("it holds no samples");
      }
      WavFile wav;
      wav.rate_ = format->rate;
      wav.channels_ = format->channels;
      wav.codes_.resize(frames * format->channels);
      for (std::size_t i = 0; i < wav.codes_.size(); ++i) {
        wav.codes_[i] = codeAt(chunk, i * width, width);
      }
      return wav;
    }
    // Chunks are padded to an even size; the last one may lack its pad byte.
    at = std::min(body + size + (size & 1), file.size());
  }
  throw WavError("it has no data chunk");
}

WavFile WavFile::load(const std::string& path) {
  std::error_code problem;
  const auto where = "WAV file '" + path + "': ";
  // A device or a pipe could be endless.
  if (!std::filesystem::is_regular_file(path, problem)) {
    throw WavError(where + (problem ? problem.message() : "not a regular file"));
  }
  const auto size = std::filesystem::file_size(path, problem);
  if (problem || size > kLargestFile) {
    throw WavError(where + (problem ? problem.message() : "larger than 1 GiB"));
  }
  Bytes content(size);
  std::ifstream stream(path, std::ios::binary);
  if (!stream.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()))) {
    throw WavError(where + "it cannot be read");
  }
  try {
    return parse(content);
  } catch (const WavError& error) {
    throw WavError(where + error.what());
  }
}

}  // namespace qvx::bench
