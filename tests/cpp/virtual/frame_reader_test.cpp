#include "virtual/frame_reader.h"

#include <gtest/gtest.h>
#include <vector>

namespace qvx::bench {
namespace {

constexpr TimePoint kStart{};

std::vector<Frame> drain(FrameReader& reader, TimePoint now = kStart) {
  std::vector<Frame> frames;
  while (auto frame = reader.next(now)) {
    frames.push_back(std::move(*frame));
  }
  return frames;
}

Bytes joined(const std::vector<Bytes>& parts) {
  Bytes out;
  for (const Bytes& part : parts) {
    out.insert(out.end(), part.begin(), part.end());
  }
  return out;
}

TEST(FrameReader, FindsFramesInWhateverSurroundsThem) {
  const Frame info{240, {0}};
  const Frame alias{2057, {13, 10, 2, 0, 1, 240, 13, 10}};  // end bytes and a whole frame inside
  const Bytes info_bytes = buildFrame(info.code, info.payload);
  const Bytes alias_bytes = buildFrame(alias.code, alias.payload);
  Bytes bad_end = buildFrame(240, Bytes{0, 0});  // no start byte in it
  bad_end.back() = 11;
  const Frame longest{255, Bytes(65534, 2)};
  struct Case {
    const char* what;
    Bytes bytes;
    std::vector<Frame> frames;
  };
  const Case cases[] = {
      {"nothing", {}, {}},
      {"one", info_bytes, {info}},
      {"two", joined({info_bytes, alias_bytes}), {info, alias}},
      {"garbage before", joined({{13, 10, 2, 0, 3, 99, 13, 10}, info_bytes}), {info}},
      {"length 0", joined({{2, 0, 0, 13, 10}, info_bytes}), {info}},
      {"wrong end", joined({bad_end, info_bytes}), {info}},
      {"half a code", joined({buildFrame(7, {}), info_bytes}), {info}},
      {"codes at the border",
       joined({buildFrame(0x2FFF, Bytes{5}), buildFrame(48, Bytes{1, 5}), buildFrame(49, Bytes{1})}),
       {{0x2FFF, {5}}, {48, {1, 5}}, {49, {1}}}},
      {"longest", joined({buildFrame(longest.code, longest.payload), info_bytes}), {longest, info}},
  };
  for (const Case& c : cases) {
    FrameReader whole;
    whole.feed(c.bytes, kStart);
    EXPECT_EQ(drain(whole), c.frames) << c.what;

    FrameReader bytewise;
    std::vector<Frame> frames;
    for (const std::uint8_t byte : c.bytes) {
      bytewise.feed({&byte, 1}, kStart);
      for (Frame& frame : drain(bytewise)) {
        frames.push_back(std::move(frame));
      }
    }
    EXPECT_EQ(frames, c.frames) << c.what << ", byte by byte";
  }
}

TEST(FrameReader, GivesUpOnBytesThatNeverCome) {
  FrameReader reader;
  EXPECT_EQ(reader.deadline(), kNever);
  reader.feed(joined({{2, 8, 0}, buildFrame(240, Bytes{0})}), kStart);  // claims 2048 bytes
  EXPECT_TRUE(drain(reader).empty());
  ASSERT_NE(reader.deadline(), kNever);
  EXPECT_TRUE(drain(reader, reader.deadline() - std::chrono::nanoseconds(1)).empty());
  EXPECT_EQ(drain(reader, reader.deadline()).size(), 1U);
  EXPECT_EQ(reader.deadline(), kNever);
}

}  // namespace
}  // namespace qvx::bench
