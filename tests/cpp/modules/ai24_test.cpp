#include "modules/analog/ai24.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

TEST(AI24, SendsDecodesAndMapsTheStatus) {
  const std::vector<Golden> rows{
      {QVX_CALL(ai24.AI_readOnDemand(0, kTimeout)),
       "02 00 03 20 04 00 0D 0A",
       {0, 0, 0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00},
       "[10,-10]",
       1},
      {QVX_CALL(ai24.AI_readOnDemand(0, kTimeout)),
       "02 00 03 20 04 00 0D 0A",
       {0, 0, 0x00, 0x00, 0x01, 0xFF, 0xFF, 0xFF},
       "[1.19209e-06,-1.19209e-06]",
       1},
      {QVX_CALL(ai24.AI_openStreaming(0, kTimeout)), "02 00 02 B6 00 0D 0A", {0, 0}, "0", 1},
      {QVX_CALL(ai24.AI_setSamplingRate(0, 10000, kTimeout)), "02 00 06 B1 00 46 1C 40 00 0D 0A", {0, 0}, "0", 1},
      // Range 0 is +-50 V, any other +-25 V; the lower end, and the highest value.
      {QVX_CALL(ai24_on_demand.AI_readOnDemand(0, kTimeout)),
       "02 00 04 20 04 00 FF 0D 0A",
       {0, 0, 0, 0, 0, 0, 1, 0, 0, 0},
       "[-50,-25]",
       1},
      {QVX_CALL(ai24_on_demand.AI_readOnDemand(0, kTimeout)),
       "02 00 04 20 04 00 FF 0D 0A",
       {0, 0, 0, 0x80, 0, 0, 9, 0xC0, 0, 0},
       "[0,12.5]",
       1},
      // One step is 6 or 3 uV: rounded to three decimals.
      {QVX_CALL(ai24_on_demand.AI_readOnDemand(0, kTimeout)),
       "02 00 04 20 04 00 FF 0D 0A",
       {0, 0, 0, 0xFF, 0xFF, 0xFF, 2, 0x80, 0x01, 0x80},
       "[50,0.001]",
       1},
  };
  Bench bench(ProductId::FeroxA2);
  for (const auto& row : rows) {
    check(bench, row);
  }
  bench.transport->sent();
  EXPECT_EQ(bench.ai24.AI_startStreaming(0), 0);
  EXPECT_EQ(bench.transport->sent(), std::vector<std::string>{"02 00 03 20 0D 00 0D 0A"});
}

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
