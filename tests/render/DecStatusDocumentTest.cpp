// Decoder status document: the codec selection, the status items every codec
// shares, and the change test.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "RenderTestSupport.h"

namespace {

using ::testing::HasSubstr;

using namespace render_test;

TEST(DecStatusDocumentTest, UnknownStreamTypeGivesTheEmptyObject) {
  for (int typeId : {99, -1, 2, 17, 61}) {
    auto rec = NewRecord(typeId, 1);
    rec->md.ddp.acmod = 7;
    EXPECT_EQ(Render(*rec), "{}") << typeId;
  }
}

// The block named in the header picks the codec; the stream type only refines Dolby Digital.
TEST(DecStatusDocumentTest, StreamTypeDescription) {
  const struct { int typeId; uint32_t mdType; const char* desc; } cases[] = {
      {1, 1, "Dolby Digital"}, {28, 1, "Dolby Digital"}, {16, 0, "Dolby E"}, {16, 2, "ED2"}, {21, 3, "Dolby AC-4"},
      {1, 7, "PCM"},           {28, 4, "PCM"},           {0, 0, "PCM"},     {0, 3, "PCM"}};
  for (const auto& c : cases) {
    auto rec = NewRecord(c.typeId, c.mdType);
    EXPECT_THAT(Render(*rec), HasSubstr(Item("Type", "Type", std::to_string(c.typeId), c.desc))) << c.mdType;
  }
}

// An unknown input type reads "AES" and keeps the pair (known types: golden cases).
TEST(DecStatusDocumentTest, UnknownSignalTypeReadsAes) {
  auto rec = NewRecord(16, 1);
  rec->inputType = static_cast<SysInputType_e>(3);
  rec->dzPair = 4294967295u;
  EXPECT_THAT(Render(*rec), HasSubstr(Item("SignalType", "Signal Type", "3", "AES") + "," +
                                      Item("Pair", "Pair", "4294967295", "4294967295")));
}

}  // namespace
