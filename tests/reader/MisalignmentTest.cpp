// The reader turns the ED2 misalignment into video lines before rendering:
// |misalignment| x factor / 1000 in single precision, halves away from zero.

#include <gtest/gtest.h>

#include "Reader/DlbStatusSubx.h"

namespace {

TEST(MisalignmentTest, InLinesRoundsHalvesAwayFromZero) {
  // The last two: factors above 2^31 and products above 2^32 (taken modulo
  // 2^32) come out the same where long has 32 bits (armhf).
  const struct { int32_t misalignment; int64_t factor; uint32_t lines; } rows[] = {
      {3, 500, 2}, {-3, 500, 2}, {5, 100, 1}, {1, 499, 0}, {7, 1000, 7}, {0, 2000, 0},
      {-2147483647 - 1, 1000, 2147483648u}, {1, 4294967295, 4294968u},
      {-2147483647 - 1, 4294967295, 3221225472u}};
  for (const auto& r : rows) {
    EXPECT_EQ(cDlbStatusSubx::MisalignmentInLines(r.misalignment, r.factor), r.lines) << r.misalignment;
  }
}

}  // namespace
