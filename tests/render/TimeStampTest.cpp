// "TS" of both documents carries the whole time stamp, past 2038-01-19
// 03:14:07 UTC included: a 32-bit time_t (armhf without _TIME_BITS=64) or a
// 32-bit member would wrap there. The times are time_t, so a 32-bit time_t
// does not even build.
#include <ctime>

#include "RenderTestSupport.h"

using namespace render_test;

TEST(TimeStampTest, TsCarriesTimesPast2038) {
  const std::time_t times[] = {0, 1700000000, 2147483647, 2147483648 /* 2038-01-19 03:14:08 */,
                               4102444800 /* 2100-01-01 */};
  auto rec = NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  for (std::time_t t : times) {
    EXPECT_EQ(Get(*Parse(Render(*rec, t)), "/TS").GetInt64(), static_cast<int64_t>(t)) << t;
    EXPECT_EQ(Get(*Parse(RenderPa(*rec, true, t)), "/TS").GetInt64(), static_cast<int64_t>(t)) << t;
  }
}
