#include "modules/analog/ai24.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

TEST(AI24, DecodesStreamsExactly) {
  Bench bench(ProductId::FeroxA2);
  bench.ai24.AI_open(0, kTimeout);
  Bytes block{0};
  std::vector<double> expected;
  for (int code = -(1 << 23); code < 1 << 23; code += 4099) {
    block.insert(block.end(), {static_cast<std::uint8_t>(code >> 16), static_cast<std::uint8_t>(code >> 8),
                               static_cast<std::uint8_t>(code)});
    expected.push_back(code * 10.0 / 8388608);
  }
  const std::size_t rows = expected.size() / 2;
  expected.resize(2 * rows);
  bench.device.putToDataPool(AI_START_STREAMING_24BIT, {0, 0});  // the start, acknowledged
  bench.device.putToDataPool(AI_START_STREAMING_24BIT, {0, 53});
  bench.device.putToDataPool(AI_START_STREAMING_24BIT, block);
  const auto samples = bench.ai24.AI_readStreamingArray(0, static_cast<std::int64_t>(rows), kTimeout);
  EXPECT_EQ(samples.channels, 2U);
  EXPECT_EQ(samples.values, expected);
  bench.device.putToDataPool(AI_START_STREAMING_24BIT,
                             {0, 0x80, 0, 0, 0x40, 0, 0, 0x7F, 0xFF});  // a sample and a piece
  const auto rest = bench.ai24.AI_readStreaming(0, 1, kTimeout);
  ASSERT_EQ(rest.size(), 1U);
  EXPECT_EQ(rest[0].values, (std::vector<double>{-10, 5}));
}

TEST(AI24, OnDemandOnlyInputsOpenWithoutAPacket) {
  for (const auto product : {ProductId::FeroxI, ProductId::FeroxIA}) {
    Bench bench(product);
    bench.transport->sent();
    EXPECT_EQ(bench.ai24_on_demand.AI_open(0, kTimeout), 0);
    EXPECT_EQ(bench.ai24_on_demand.AI_close(0, kTimeout), 0);
    EXPECT_TRUE(bench.transport->sent().empty());
    checkRefusals(
        bench, {{"open", [](Bench& b) { b.ai24_on_demand.AI_open(1, kTimeout); }, "AIPortNotAvaliableError"},
                {"read", [](Bench& b) { b.ai24_on_demand.AI_readOnDemand(1, kTimeout); }, "AIPortNotAvaliableError"}});
  }
}

}  // namespace
}  // namespace qvx::test
