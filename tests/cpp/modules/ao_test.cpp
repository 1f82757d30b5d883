#include "modules/analog/ao.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

using List = std::vector<Argument>;

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

}  // namespace
}  // namespace qvx::test
