#include "modules/system/system.h"

#include "tests/cpp/modules/bench.h"

namespace qvx::test {
namespace {

TEST(System, WirelessModelsCountYearsFrom2000OnReadingOnly) {
  struct Row {
    ProductId product;
    const char* year;
  };
  for (const Row& row :
       {Row{ProductId::SkylogE3A, "2024"}, Row{ProductId::SkylogE3AH, "2024"}, Row{ProductId::SkylogE3AO, "2024"},
        Row{ProductId::SkylogE3AOD, "2024"}, Row{ProductId::SkylogF4A, "2024"}, Row{ProductId::FeroxA, "1924"},
        Row{ProductId::LUMA, "1924"}, Row{ProductId::CordlogF1AD, "1924"}, Row{ProductId::None, "1924"}}) {
    Bench bench(row.product);
    bench.replies[GET_DATE_TIME] = {0, 24, 1, 1, 0, 0, 0};
    bench.replies[SET_DATE_TIME] = {0};
    EXPECT_EQ(bench.system.Sys_getRTC(kTimeout).substr(0, 4), row.year) << productLabel(row.product);
    EXPECT_EQ(bench.frameOf([&] { bench.system.Sys_setRTC(2024, 1, 1, 0, 0, 0, kTimeout); }),
              "02 00 07 F2 7C 01 01 00 00 00 0D 0A");
  }
}

}  // namespace
}  // namespace qvx::test
