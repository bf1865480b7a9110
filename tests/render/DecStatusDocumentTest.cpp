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

// Records are compared over the significant length of the new record's block, never the header.
TEST(DecStatusDocumentTest, RequireUpdateComparesTheSignificantBlockBytes) {
  cPADMetadataJsonDecStatus& renderer = Renderer();
  for (const auto& [mdType, length] : {std::pair<uint32_t, std::size_t>{0, 936}, {1, 396}, {2, 16860}, {3, 33388}}) {
    SCOPED_TRACE(mdType);
    auto kept = NewRecord(99, mdType);
    for (std::size_t i = 0; i < kBlockAreaSize; ++i) kept->md.raw[i] = static_cast<uint8_t>(i * 7);
    Render(*kept);

    auto next = NewRecord(99, mdType);
    std::memcpy(next.get(), kept.get(), sizeof *next);
    EXPECT_FALSE(renderer.requireUpdate(*next));
    next->typeId = 16;
    next->protoVer = 3;
    next->inputType = SYS_INPUT_TYPE_SDI;
    next->ed2StatusUpdate = 1;
    EXPECT_FALSE(renderer.requireUpdate(*next));  // header only

    for (std::size_t at : {std::size_t{0}, length - 1}) {
      next->md.raw[at] ^= 1;
      EXPECT_TRUE(renderer.requireUpdate(*next)) << at;
      next->md.raw[at] ^= 1;
    }
    next->md.raw[length] ^= 1;
    next->md.raw[kBlockAreaSize - 1] ^= 1;
    EXPECT_FALSE(renderer.requireUpdate(*next));  // past the significant length
  }
}

// An unknown block always counts as a change; a record that rendered "{}" is still compared against.
TEST(DecStatusDocumentTest, RequireUpdateLengthsAndUnknownBlocks) {
  cPADMetadataJsonDecStatus& renderer = Renderer();
  auto kept = NewRecord(99, 1);
  Render(*kept);
  auto next = NewRecord(99, 0);
  next->md.raw[500] = 1;  // past the Dolby Digital (Plus) length, inside the Dolby E one
  EXPECT_TRUE(renderer.requireUpdate(*next));
  next->mdType = DLB_PADC_UI_MD_TYPE_DDP;
  EXPECT_FALSE(renderer.requireUpdate(*next));
  for (uint32_t mdType : {4u, 7u, 0xffffffffu}) {
    auto same = NewRecord(99, 1);
    same->mdType = static_cast<dlb_padc_ui_md_type_t>(mdType);
    EXPECT_TRUE(renderer.requireUpdate(*same)) << mdType;
  }

  auto first = NewRecord(16, 1);
  first->md.ddp.acmod = 2;
  Render(*first);
  Render(*kept);
  EXPECT_TRUE(renderer.requireUpdate(*first));
  EXPECT_FALSE(renderer.requireUpdate(*kept));
}

}  // namespace
