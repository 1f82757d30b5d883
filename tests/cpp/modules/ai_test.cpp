#include "modules/analog/ai.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

AIConfiguration lumaPorts() {
  return {.ports = {{0, {0}}, {1, {0}}, {3, {0}}}, .num_channels = 1};
}
AIConfiguration cordlogPorts() {
  return {.ports = {{1, {0, 1, 2, 3, 4, 5, 6, 7}}}, .num_channels = 8, .variable = true};
}

TEST(AI, RememberedOnlyWhenTheDeviceAccepts) {
  Bench bench(ProductId::CordlogF1AD, cordlogPorts());
  bench.replies = {{SET_AI_MODE, {1, 52}}, {SET_AI_ENABLED_CS, {1, 52}}};
  failureOf([&] { bench.ai.AI_setMode(1, 2, kTimeout); });
  failureOf([&] { bench.ai.AI_enableChannel(1, 3, kTimeout); });
  EXPECT_EQ(bench.ai.ai_mode, 0);
  EXPECT_EQ(bench.ai.ai_num_channels, 8);
  bench.replies = {{SET_AI_MODE, {1, 0}}, {SET_AI_ENABLED_CS, {1, 0}}};
  bench.ai.AI_setMode(1, 2, kTimeout);
  EXPECT_EQ(bench.frameOf([&] { bench.ai.AI_enableChannel(1, 3, kTimeout); }), "02 00 03 B4 01 03 0D 0A");
  EXPECT_EQ(bench.ai.ai_mode, 2);
  EXPECT_EQ(bench.ai.ai_num_channels, 3);
}

TEST(AI, SkylogRepliesToOpenStreamingCarryModeAndRate) {
  for (const auto product :
       {ProductId::SkylogE3A, ProductId::SkylogE3AH, ProductId::SkylogF4A, ProductId::SkylogE3AOD, ProductId::FeroxA}) {
    SCOPED_TRACE(productLabel(product));
    Bench bench(product);
    const bool skylog = product != ProductId::FeroxA;
    bench.replies[OPEN_AI_STREAMING] = {0, 0, 0, 0, 0, 2, 0x44, 0x7A, 0, 0};
    EXPECT_EQ(bench.ai.AI_openStreaming(0, kTimeout), 0);
    EXPECT_EQ(bench.ai.ai_mode, skylog ? 2 : 0);
    for (const std::size_t size : {2U, 6U, 9U}) {
      bench.replies[OPEN_AI_STREAMING] = Bytes(size);
      EXPECT_EQ(failureOf([&] { bench.ai.AI_openStreaming(0, kTimeout); }), skylog ? "FirmwareOtherError" : "") << size;
    }
  }
}

TEST(AI, LumaTakesSlotsAndSendsPorts) {
  const std::vector<Golden> rows{
      {QVX_CALL(ai.AI_closeStreaming(4, kTimeout)), "02 00 02 B8 03 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai.AI_setMode(4, 2, kTimeout)), "02 00 03 B2 03 02 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai.AI_setNumSamples(4, 5, kTimeout)), "02 00 06 B3 03 00 00 00 05 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai.AI_setSamplingRate(4, 4000, kTimeout)), "02 00 06 B1 03 45 7A 00 00 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai.AI_readOnDemand(4, kTimeout)), "02 00 02 B5 03 0D 0A", {3, 0, 0x40, 0}, "[5]", 1},
      {QVX_CALL(ai._AI_getCounter(4, kTimeout)), "02 00 02 BC 03 0D 0A", {3, 0, 0, 0, 0, 1}, "[1]", 1},
      {QVX_CALL(ai._AI_clearBufferStatus(4, kTimeout)), "02 00 02 BA 03 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai._AI_readBufferStatus(4, kTimeout)), "02 00 02 BB 03 0D 0A", {3, 0}, "[]", 1},
      {QVX_CALL(ai.AI_enableCS(4, List{2, 0}, kTimeout)), "02 00 03 B4 03 05 0D 0A", {3, 0}, "0", 1},
      // Not slots: these take the port itself.
      {QVX_CALL(ai.AI_openStreaming(3, kTimeout)), "02 00 02 B6 03 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai.AI_setTriggerMode(3, 1, kTimeout)), "02 00 04 20 16 03 02 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ai._AI_getDataRTC(3, kTimeout)), "02 00 03 20 22 03 0D 0A", {3, 0, 0xC0, 0}, "[-5]", 1},
  };
  Bench bench(ProductId::LUMA, lumaPorts());
  for (const auto& row : rows) {
    check(bench, row);
  }
  bench.transport->sent();
  bench.ai.AI_startStreaming(2);
  EXPECT_EQ(bench.transport->sent(), std::vector<std::string>{"02 00 02 B7 01 0D 0A"});
  EXPECT_EQ(bench.ai.chipSelects(3), (std::vector<int>{2, 0}));
  EXPECT_EQ(bench.ai.chipSelects(0), std::vector<int>{0});
  for (const auto& [port, index] : std::map<int, int>{{0, 0}, {1, 1}, {3, 2}}) {
    EXPECT_EQ(bench.ai._AI_changePortToIndex(port), index);
  }
}

TEST(AI, EachPortHasItsOwnQueues) {
  Bench bench(ProductId::LUMA, lumaPorts());
  ASSERT_EQ(bench.ai.signalQueues().size(), 3U);
  bench.ai.AI_open(1, kTimeout);
  bench.device.putToDataPool(START_AI_STREAMING, {3, 0x40, 0});
  bench.device.putToDataPool(START_AI_STREAMING, {1, 0xC0, 0, 0, 0});
  bench.device.putToDataPool(START_AI_STREAMING, {9, 1, 1});  // a port the product does not have
  const auto volts = [&](int slot, int count) {
    std::vector<double> values;
    for (const auto& piece : bench.ai.AI_readStreaming(slot, count, kTimeout)) {
      values.insert(values.end(), piece.values.begin(), piece.values.end());
    }
    return values;
  };
  EXPECT_EQ(volts(4, 1), std::vector<double>{5});
  EXPECT_EQ(volts(2, 2), (std::vector<double>{-5, 0}));
  EXPECT_TRUE(volts(1, 0).empty());
}

struct Limit {
  ProductId product;
  int in_use;  // channels, or chip selects
  int hz;
};

TEST(AI, LimitsTheSamplingRateByProduct) {
  std::vector<Limit> rows{{ProductId::LUMA, 1, 12000}, {ProductId::LUMA, 2, 6000}, {ProductId::LUMA, 3, 4000}};
  for (const auto product : {ProductId::CordlogF1AD, ProductId::CordlogF1AOD}) {
    const std::array<int, 8> hz{16000, 8000, 6300, 4000, 3200, 2600, 2200, 2000};
    for (int channels = 1; channels <= 8; ++channels) {
      rows.push_back({product, channels, hz.at(static_cast<std::size_t>(channels) - 1)});
    }
  }
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(productLabel(row.product)) + " " + std::to_string(row.in_use));
    auto configuration = row.product == ProductId::LUMA ? lumaPorts() : cordlogPorts();
    configuration.ports = {{0, {0}}, {1, {0}}};
    if (row.product != ProductId::LUMA) {
      configuration.num_channels = row.in_use;
    }
    Bench bench(row.product, configuration);
    if (row.product == ProductId::LUMA) {
      bench.replies[SET_AI_ENABLED_CS] = {1, 0};
      List chips{2};  // named twice is still one
      for (int chip = 2; chip > 2 - row.in_use; --chip) {
        chips.emplace_back(chip);
      }
      bench.ai.AI_enableCS(2, chips, kTimeout);
    }
    EXPECT_EQ(bench.ai._ckeckAISamplingRate(1, row.hz), row.hz);
    EXPECT_EQ(failureOf([&] { bench.ai._ckeckAISamplingRate(1, row.hz + 1); }), "AIRateNotVaildError");
  }
}

// Raw blocks wait while the gate is closed, or for a slow decoder; the number of channels changes meanwhile.
TEST(AI, BlocksKeepTheNumberOfChannelsWithWhichTheyWereSampled) {
  Bench bench(ProductId::CordlogF1AD, cordlogPorts());
  bench.replies = {{SET_AI_ENABLED_CS, {1, 0}}, {OPEN_AI, {1, 0}}, {CLOSE_AI, {1, 0}}};
  for (int round = 0; round < 2; ++round) {
    for (const std::uint8_t channels : {2, 5, 1, 8}) {
      bench.ai.AI_enableChannel(1, 7, kTimeout);  // nothing comes with these
      bench.ai.AI_enableChannel(1, channels, kTimeout);
      Bytes block(1 + 2 * std::size_t{channels});
      block[0] = 1;
      bench.device.putToDataPool(START_AI_STREAMING_VARIABLE, block);
    }
    bench.ai.AI_enableChannel(1, 3, kTimeout);
    bench.ai.AI_open(1, kTimeout);
    std::vector<std::size_t> widths;
    for (const auto& piece : bench.ai.AI_readStreaming(1, 4, kTimeout)) {
      widths.insert(widths.end(), piece.rows(), piece.width);
    }
    EXPECT_EQ(widths, (std::vector<std::size_t>{2, 5, 1, 8}));
    bench.ai.AI_close(1, kTimeout);
    EXPECT_TRUE(bench.ai.decoder().gate().waitParked(Clock::now() + kPatience));
  }
}

TEST(AI, LumaRefusesOtherSlotsAndChips) {
  constexpr const char* kPort = "AIPortNotAvaliableError";
  std::vector<Refusal> rows;
  for (const Argument& slot :
       {Argument(0), Argument(3), Argument(5), Argument::hugeInt(true), Argument::hugeInt(false)}) {
    rows.push_back({"slot", [slot](Bench& b) { b.ai.AI_readOnDemand(slot, kTimeout); }, kPort});
    rows.push_back({"slot", [slot](Bench& b) { b.ai.AI_enableCS(slot, List{0}, kTimeout); }, kPort});
  }
  for (const Argument& chips : {Argument(List{3}), Argument(List{0, -1}), Argument(List{})}) {
    rows.push_back({"chips", [chips](Bench& b) { b.ai.AI_enableCS(1, chips, kTimeout); }, "AICSNotAvaliableError"});
  }
  rows.push_back({"chips", [](Bench& b) { b.ai.AI_enableCS(1, 0, kTimeout); }, "InputTypeNotCorrectError"});
  rows.push_back({"chips", [](Bench& b) { b.ai.AI_enableCS(1, List{0.0}, kTimeout); }, "InputTypeNotCorrectError"});
  Bench luma(ProductId::LUMA, lumaPorts());
  checkRefusals(luma, rows);
  EXPECT_EQ(luma.ai.chipSelects(0), std::vector<int>{0});
}

}  // namespace
}  // namespace qvx::test
