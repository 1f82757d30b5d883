// Any bytes, in any pieces, with the state set from outside now and then: the splitter must do what the rule says.
#include "transport/splitter.h"

#include "tests/cpp/transport/splitter_oracle.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// Input: steps of an operation byte and its bytes. 0..239: that many bytes arrive; 240..247: lastIndex is set to the
// next byte; 248..255: the stream is set to the next byte's number of bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qvx::ByteView input(data, std::min<std::size_t>(size, 8192));  // the oracle is quadratic
  const auto take = [&input](std::size_t count) {
    const auto taken = input.first(std::min(count, input.size()));
    input = input.subspan(taken.size());
    return taken;
  };
  const auto takeByte = [&]() -> std::size_t {
    const auto taken = take(1);
    return taken.empty() ? 0 : taken[0];
  };
  qvx::FrameSplitter splitter;
  qvx::test::SplitterOracle oracle;
  while (!input.empty()) {
    const std::size_t operation = takeByte();
    if (operation < 240) {
      const auto bytes = take(operation);
      splitter.append(bytes);
      oracle.append(bytes);
    } else if (operation < 248) {
      splitter.setLastIndex(oracle.last_index = takeByte());
    } else {
      const auto bytes = take(takeByte());
      splitter.setStream(bytes);
      oracle.stream.assign(bytes.begin(), bytes.end());
    }
    if (splitter.split() != oracle.split() || !std::ranges::equal(splitter.stream(), oracle.stream) ||
        splitter.lastIndex() != oracle.last_index) {
      std::abort();
    }
  }
  return 0;
}
