// Bytes that arrive late, in pieces, twice, wrong or not at all: what is filed follows the rule of the splitter.
#include "protocol/link.h"
#include "tests/cpp/links/road.h"
#include "tests/cpp/transport/splitter_oracle.h"

#include <cstdlib>
#include <random>

namespace qvx::test {
namespace {

using namespace std::chrono_literals;

constexpr int kPort = 3;

struct Piece {
  Bytes bytes;
  std::chrono::microseconds pause{0};  // before it
};
using Pieces = std::vector<Piece>;
using Random = std::mt19937;

std::size_t below(std::size_t limit, Random& random) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

// Payloads prefer the bytes that frames are made of.
Bytes randomBytes(std::size_t size, Random& random) {
  constexpr std::array<std::uint8_t, 6> kTricky{2, 13, 10, 0, 183, 48};
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) {
    byte =
        below(3, random) == 0 ? kTricky[below(kTricky.size(), random)] : static_cast<std::uint8_t>(below(256, random));
  }
  return bytes;
}

Bytes streamFrame(Random& random) {
  Bytes payload = randomBytes(1 + below(80, random), random);
  payload[0] = kPort;
  return buildFrame(START_AI_STREAMING, payload);
}

void append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes someFrames(std::size_t count, Random& random) {
  Bytes bytes;
  for (std::size_t i = 0; i < count; ++i) {
    append(bytes, streamFrame(random));
  }
  return bytes;
}

Pieces splitEverywhere(Random& random) {
  const Bytes frame = streamFrame(random);
  Pieces pieces;
  for (std::size_t at = 1; at < frame.size(); ++at) {
    const auto middle = frame.begin() + static_cast<std::ptrdiff_t>(at);
    pieces.push_back({Bytes(frame.begin(), middle)});
    pieces.push_back({Bytes(middle, frame.end()), 200us});
  }
  return pieces;
}

Pieces byteByByte(Random& random) {
  Pieces pieces;
  for (const std::uint8_t byte : someFrames(2, random)) {
    pieces.push_back({{byte}, 50us});
  }
  return pieces;
}

Pieces delayed(Random& random) {
  Pieces pieces;
  for (int i = 0; i < 4; ++i) {
    const Bytes frame = streamFrame(random);
    const auto middle = frame.begin() + static_cast<std::ptrdiff_t>(below(frame.size(), random));
    pieces.push_back({Bytes(frame.begin(), middle)});
    pieces.push_back({Bytes(middle, frame.end()), 10ms});
  }
  return pieces;
}

// Changes about one byte in thirty.
template <class Change>
Pieces changed(Random& random, Change change) {
  Bytes bytes;
  for (const std::uint8_t byte : someFrames(30, random)) {
    if (below(30, random) == 0) {
      change(bytes, byte);
    } else {
      bytes.push_back(byte);
    }
  }
  return {{bytes}};
}

Pieces dropped(Random& random) {
  return changed(random, [](Bytes&, std::uint8_t) {});
}

Pieces duplicated(Random& random) {
  return changed(random, [](Bytes& bytes, std::uint8_t byte) { bytes.insert(bytes.end(), 2, byte); });
}

Pieces corrupted(Random& random) {
  return changed(random, [&](Bytes& bytes, std::uint8_t byte) {
    bytes.push_back(static_cast<std::uint8_t>(byte ^ (1U << below(8, random))));
  });
}

Pieces garbageBetween(Random& random) {
  Bytes bytes;
  for (int i = 0; i < 20; ++i) {
    append(bytes, randomBytes(below(200, random), random));
    append(bytes, streamFrame(random));
  }
  return {{bytes}};
}

struct Fault {
  const char* name;
  Pieces (*make)(Random&);
};
constexpr std::array<Fault, 7> kFaults{{{"split everywhere", splitEverywhere},
                                        {"byte by byte", byteByByte},
                                        {"delayed", delayed},
                                        {"dropped", dropped},
                                        {"duplicated", duplicated},
                                        {"corrupted", corrupted},
                                        {"garbage between", garbageBetween}}};

// QVX_SEED repeats a run.
unsigned seed() {
  const char* const given = std::getenv("QVX_SEED");
  return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : 1;
}

class LinkBytesTest : public LinkTest {};

TEST_P(LinkBytesTest, FramesSurviveWhatHappensToTheBytesAroundThem) {
  constexpr unsigned kRounds = 6;
  const auto queue = Link(device()).rawQueue(START_AI_STREAMING, kPort);
  for (const Fault& fault : kFaults) {
    Random random(seed());
    SplitterOracle oracle;
    road->connect();
    for (unsigned round = 0; round < kRounds; ++round) {
      SCOPED_TRACE(std::string(fault.name) + ", round " + std::to_string(round) + ", seed " + std::to_string(seed()));
      Pieces pieces = fault.make(random);
      const Bytes last = streamFrame(random);
      pieces.push_back({last});
      std::vector<Bytes> expected;
      for (const Piece& piece : pieces) {
        std::this_thread::sleep_for(piece.pause);
        ASSERT_TRUE(road->send(piece.bytes));
        oracle.append(piece.bytes);
      }
      for (const Frame& frame : oracle.split()) {
        if (frame.code == START_AI_STREAMING && !frame.payload.empty() && frame.payload[0] == kPort) {
          expected.emplace_back(frame.payload.begin() + 1, frame.payload.end());
        }
      }
      ASSERT_EQ(expected.empty() ? Bytes{} : expected.back(), Bytes(last.begin() + 5, last.end() - 2));
      EXPECT_TRUE(queue->waitForSize(expected.size(), deadlineAfter(20)));
      std::vector<Bytes> filed;
      while (auto item = queue->take()) {
        filed.push_back(std::move(item->bytes));
      }
      ASSERT_EQ(filed, expected);
    }
    device().data_pool_echo.clear();  // corrupted codes may have filed the reply that is asked for
    EXPECT_TRUE(answers());
    road->disconnect();
  }
  EXPECT_EQ(host.failures(), std::vector<std::string>{});
}

QVX_OVER_EVERY_ROAD(LinkBytesTest);

}  // namespace
}  // namespace qvx::test
