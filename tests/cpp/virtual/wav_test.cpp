#include "virtual/wav.h"

#include <gtest/gtest.h>
#include <string>

namespace qvx::bench {
namespace {

struct Header {
  unsigned tag = 1;
  unsigned channels = 1;
  unsigned rate = 8000;
  unsigned bits = 16;
};

void appendLittle(Bytes& out, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) {
    out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
}

void appendTag(Bytes& out, const std::string& tag) {
  out.insert(out.end(), tag.begin(), tag.end());
}

Bytes wavBytes(const Header& header, const Bytes& data, const Bytes& before_format = {}) {
  Bytes out;
  appendTag(out, "RIFF");
  appendLittle(out, static_cast<std::uint32_t>(data.size() + 36), 4);
  appendTag(out, "WAVE");
  out.insert(out.end(), before_format.begin(), before_format.end());
  appendTag(out, "fmt ");
  const bool extensible = header.tag == 0xFFFE;
  appendLittle(out, extensible ? 40 : 16, 4);
  appendLittle(out, header.tag, 2);
  appendLittle(out, header.channels, 2);
  appendLittle(out, header.rate, 4);
  appendLittle(out, header.rate * header.channels * header.bits / 8, 4);
  appendLittle(out, header.channels * header.bits / 8, 2);
  appendLittle(out, header.bits, 2);
  if (extensible) {
    appendLittle(out, 22, 2);
    appendLittle(out, header.bits, 2);
    appendLittle(out, 0, 4);
    appendLittle(out, 1, 2);
    out.resize(out.size() + 14);
  }
  appendTag(out, "data");
  appendLittle(out, static_cast<std::uint32_t>(data.size()), 4);
  out.insert(out.end(), data.begin(), data.end());
  return out;
}

TEST(Wav, EveryWidthBecomesSixteenBits) {
  struct Case {
    unsigned bits;
    Bytes data;
    std::vector<int> codes;
  };
  const Case cases[] = {
      {8, {0, 128, 255}, {-32768, 0, 32512}},
      {16, {0x34, 0x12, 0x00, 0x80, 0xFF, 0xFF}, {0x1234, -32768, -1}},
      {24, {0xFF, 0x34, 0x12, 0x00, 0x00, 0x80}, {0x1234, -32768}},
      {32, {0xFF, 0xFF, 0x34, 0x12, 0, 0, 0, 0x80}, {0x1234, -32768}},
  };
  for (const Case& c : cases) {
    const WavFile wav = WavFile::parse(wavBytes({.bits = c.bits}, c.data));
    ASSERT_EQ(wav.frames(), c.codes.size());
    for (std::size_t i = 0; i < c.codes.size(); ++i) {
      EXPECT_EQ(wav.at(i, 0), c.codes[i]) << c.bits << " bits, sample " << i;
    }
  }
}

TEST(Wav, FramesAndChannelsWrapAround) {
  const WavFile wav = WavFile::parse(wavBytes({.tag = 0xFFFE, .channels = 2, .rate = 44100}, {1, 0, 2, 0, 3, 0, 4, 0}));
  EXPECT_EQ(wav.rate(), 44100);
  EXPECT_EQ(wav.at(0, 1), 2);
  EXPECT_EQ(wav.at(3, 3), 4);
  EXPECT_EQ(wav.at(std::uint64_t{1} << 40, 0), 1);
}

TEST(Wav, SkipsChunksItDoesNotKnow) {
  Bytes list;
  appendTag(list, "LIST");
  appendLittle(list, 3, 4);  // odd: a pad byte follows
  appendTag(list, "abc\0");
  list.resize(12);
  EXPECT_EQ(WavFile::parse(wavBytes({}, {7, 0}, list)).at(0, 0), 7);
}

TEST(Wav, RefusesWhatItCannotPlay) {
  const Bytes data{0, 0, 0, 0};
  Bytes truncated = wavBytes({}, data);
  truncated.pop_back();
  Bytes no_data = wavBytes({}, data);
  no_data.resize(36);
  Bytes not_riff = wavBytes({}, data);
  not_riff[0] = 'X';
  Bytes wrong_block = wavBytes({}, data);
  wrong_block[32] = 3;
  const std::pair<const char*, Bytes> cases[] = {
      {"empty", {}},
      {"not RIFF", not_riff},
      {"truncated", truncated},
      {"no data chunk", no_data},
      {"no samples", wavBytes({.channels = 3}, data)},
      {"floating point", wavBytes({.tag = 3, .bits = 32}, data)},
      {"12 bits", wavBytes({.bits = 12}, data)},
      {"no channels", wavBytes({.channels = 0}, data)},
      {"no rate", wavBytes({.rate = 0}, data)},
      {"block size", wrong_block},
  };
  for (const auto& [what, bytes] : cases) {
    EXPECT_THROW(WavFile::parse(bytes), WavError) << what;
  }
}

}  // namespace
}  // namespace qvx::bench
