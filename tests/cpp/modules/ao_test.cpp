#include "modules/analog/ao.h"

#include "tests/cpp/modules/bench.h"

#include <cmath>
#include <limits>

namespace qvx::test {
namespace {

using List = std::vector<Argument>;
constexpr double kBeyond = 10.000001;

struct Opening {
  ProductId product;
  std::vector<std::string> opens;
  std::vector<std::string> closes;
};

TEST(AO, OpensAndClosesByProduct) {
  const std::string pins = "02 00 02 7F 00 0D 0A";
  const std::string open = "02 00 02 C0 00 0D 0A";
  const std::string close = "02 00 02 CF 00 0D 0A";
  for (const Opening& row :
       {Opening{ProductId::FeroxO, {}, {}}, Opening{ProductId::LUMA, {}, {}},
        Opening{ProductId::SkylogE3AO, {open}, {close}}, Opening{ProductId::SkylogE3AOD, {open}, {close}},
        Opening{ProductId::CordlogF1AOD, {pins, open}, {close}}}) {
    SCOPED_TRACE(productLabel(row.product));
    Bench bench(row.product);
    bench.replies = {{GET_PIN_MODE_OF_SLOT, {0, 2, 0, 0, 0, 0x11}}, {OPEN_AO, {0, 0}}, {CLOSE_AO, {0, 0}}};
    bench.transport->sent();
    EXPECT_EQ(bench.ao.AO_open(0, kTimeout), 0);
    EXPECT_EQ(bench.transport->sent(), row.opens);
    EXPECT_EQ(bench.ao.AO_close(0, kTimeout), 0);
    EXPECT_EQ(bench.transport->sent(), row.closes);
    bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 2, 0, 0, 0, 0x31};  // pin 1 is a digital output
    EXPECT_EQ(failureOf([&] { bench.ao.AO_open(0, kTimeout); }),
              row.opens.size() == 2 ? "AOPortNotAvaliableError" : "");
    bench.replies[OPEN_AO] = {0, 53};
    bench.replies[GET_PIN_MODE_OF_SLOT] = {0, 2, 0, 0, 0, 0x11};
    EXPECT_EQ(failureOf([&] { bench.ao.AO_open(0, kTimeout); }), row.opens.empty() ? "" : "FirmwareAOError");
  }
}

TEST(AO, LumaTakesSlotsAndSendsPorts) {
  const std::vector<Golden> rows{
      {QVX_CALL(ao.AO_writeOneChannel(4, 0, 1, kTimeout)), "02 00 07 C5 03 00 3F 80 00 00 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ao.AO_writeAllChannels(1, List{}, kTimeout)),
       "02 00 0E CD 00 00 00 00 00 00 00 00 00 00 00 00 00 0D 0A",
       {0, 0},
       "0",
       1},
      {QVX_CALL(ao.AO_setEnableChannels(4, List{1}, kTimeout)), "02 00 04 20 54 03 02 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ao._AO_pushToBuffer(4, 1, List{1}, kTimeout)),
       "02 00 08 20 58 03 01 3F 80 00 00 0D 0A",
       {3, 0},
       "0",
       1},
      // Not slots: these take the port itself.
      {QVX_CALL(ao.AO_setMode(3, 1, kTimeout)), "02 00 04 20 51 03 01 0D 0A", {3, 0}, "0", 1},
      {QVX_CALL(ao.AO_getValues(3, kTimeout)), "02 00 02 CE 03 0D 0A", {3, 0}, "[]", 1},
  };
  Bench bench(ProductId::LUMA);
  for (const auto& row : rows) {
    check(bench, row);
  }
}

TEST(AO, LongPushesAreSplitInOrder) {
  Bench bench(ProductId::FeroxO);
  const auto values = [](int count) {
    List list;
    for (int i = 0; i < count; ++i) {
      list.emplace_back(i / 8.0);
    }
    return list;
  };
  for (const int count : {13, 14, 26, 27, 40}) {
    bench.replies[SET_AO_PUSH_TO_BUFFER] = {0, 0};
    bench.transport->sent();
    EXPECT_EQ(bench.ao._AO_pushToBuffer(0, count, values(count), kTimeout), 0);
    std::vector<std::string> expected;
    for (int first = 0; first < count; first += 13) {
      const int size = std::min(13, count - first);
      Bytes fields = payload(u8(0), u8(size));
      for (int i = first; i < first + size; ++i) {
        appendBig(fields, static_cast<float>(i / 8.0));
      }
      expected.push_back(hex(buildFrame(SET_AO_PUSH_TO_BUFFER, fields)));
    }
    EXPECT_EQ(bench.transport->sent(), expected) << count;
  }
  bench.replies[SET_AO_PUSH_TO_BUFFER] = {0, 53};
  EXPECT_EQ(failureOf([&] { bench.ao._AO_pushToBuffer(0, 27, values(27), kTimeout); }), "FirmwareAOError");
  EXPECT_EQ(bench.transport->sent().size(), 1U);
  EXPECT_TRUE(AOBased::_checkAONumOfValues(13));
  EXPECT_FALSE(AOBased::_checkAONumOfValues(14));
}

TEST(AO, RefusesArgumentsBeforeAnythingIsSent) {
  constexpr const char* kRange = "InputDataNotInRangeError";
  constexpr const char* kChannel = "AOChannelNotAvaliableError";
  constexpr const char* kType = "InputTypeNotCorrectError";
  const auto form_param = [](const Argument& value, std::size_t place) {
    return [value, place](Bench& b) {
      List p{1, 0, 1, 0, 50};
      p[place] = value;
      b.ao.AO_setFormParam(0, 0, p[0], p[1], p[2], p[3], p[4], kTimeout);
    };
  };
  std::vector<Refusal> rows{
      {"one", [](Bench& b) { b.ao.AO_writeOneChannel(0, 0, kBeyond, kTimeout); }, kRange},
      {"one", [](Bench& b) { b.ao.AO_writeOneChannel(0, 0, -kBeyond, kTimeout); }, kRange},
      {"one", [](Bench& b) { b.ao.AO_writeOneChannel(0, 0, std::nan(""), kTimeout); }, kRange},
      {"one", [](Bench& b) { b.ao.AO_writeOneChannel(0, 8, 0, kTimeout); }, kChannel},
      {"one", [](Bench& b) { b.ao.AO_writeOneChannel(0, -1, 0, kTimeout); }, kChannel},
      {"all",
       [](Bench& b) {
         b.ao.AO_writeAllChannels(0, List{0, kBeyond}, kTimeout);
       },
       kRange},
      {"all",
       [](Bench& b) {
         b.ao.AO_writeAllChannels(0, List{0, 0, 0, 0}, kTimeout);
       },
       "PinsValueNotDefineError"},
      {"all", [](Bench& b) { b.ao.AO_writeAllChannels(0, 1, kTimeout); }, kType},
      {"mode", [](Bench& b) { b.ao.AO_setMode(0, 3, kTimeout); }, "AOModeNotVaildError"},
      {"rate", [](Bench& b) { b.ao.AO_setSamplingRate(0, 10001, kTimeout); }, "AORateNotVaildError"},
      {"rate", [](Bench& b) { b.ao.AO_setSamplingRate(0, 0, kTimeout); }, "AORateNotVaildError"},
      {"rate", [](Bench& b) { b.ao.AO_setSamplingRate(0, 1000.0, kTimeout); }, kType},
      {"number", [](Bench& b) { b.ao.AO_setNumSamples(0, -1, kTimeout); }, kRange},
      {"number", [](Bench& b) { b.ao.AO_setNumSamples(0, std::int64_t{1} << 32, kTimeout); }, kRange},
      {"enable",
       [](Bench& b) {
         b.ao.AO_setEnableChannels(0, List{0, 8}, kTimeout);
       },
       kChannel},
      {"form", [](Bench& b) { b.ao.AO_setForm(0, 0, 0, kTimeout); }, "AOFormNotAvaliableError"},  // DC, on purpose
      {"form", [](Bench& b) { b.ao.AO_setForm(0, 0, 4, kTimeout); }, "AOFormNotAvaliableError"},
      {"form", [](Bench& b) { b.ao.AO_setForm(0, 8, 1, kTimeout); }, kChannel},
      {"span", [](Bench& b) { b.ao._AO_setSpan(0, 5, kTimeout); }, "AOSpanNotVaildError"},
      {"push", [](Bench& b) { b.ao._AO_pushToBuffer(0, 2, List{0}, kTimeout); }, "PinsValueNotDefineError"},
      {"push", [](Bench& b) { b.ao._AO_pushToBuffer(0, 1, List{kBeyond}, kTimeout); }, kRange},
  };
  for (std::size_t place = 0; place < 5; ++place) {
    rows.push_back({"parameter", form_param(std::numeric_limits<double>::infinity(), place), kRange});
    rows.push_back({"parameter", form_param(-1e39, place), kRange});
    rows.push_back({"parameter", form_param("1", place), kType});
  }
  for (const Argument& port : {Argument(-1), Argument(1), Argument(259), Argument::hugeInt(true)}) {
    rows.push_back({"open", [port](Bench& b) { b.ao.AO_open(port, kTimeout); }, "AOPortNotAvaliableError"});
    rows.push_back({"start", [port](Bench& b) { b.ao.AO_startStreaming(port); }, "AOPortNotAvaliableError"});
    rows.push_back({"map", [port](Bench& b) { b.ao._AO_getPinMapPort(port); }, "AOPortNotAvaliableError"});
  }
  Bench bench(ProductId::FeroxO);
  checkRefusals(bench, rows);
}

}  // namespace
}  // namespace qvx::test
