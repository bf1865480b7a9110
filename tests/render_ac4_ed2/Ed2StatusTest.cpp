// ED2 status document: one stream entry, or two when object audio is decoded
// from the neighbouring pair.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "Ac4Ed2TestSupport.h"

namespace {

using ac4_ed2_test::ItemOf;
using ac4_ed2_test::SetText;
using render_test::At;
using render_test::Item;
using render_test::Q;

std::unique_ptr<kv_dolby_metadata_t> NewEd2Record() {
  auto rec = render_test::NewRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  rec->speakerConfig = 4;
  rec->md.ed2.frameRate = 2500;
  rec->md.ed2.metadataId = 7;
  SetText(rec->md.ed2.programConfig, "5.1+2");
  return rec;
}

std::string StreamEntry(const std::string& atmos, const std::string& atmosText,
                        const std::string& signal, const std::string& signalText,
                        const std::string& pair) {
  return "{" + Item("Type", "Type", "60", "ED2") + "," +
         Item("FrameRate", "Frame rate", "25.0", "25 fps") + "," +
         Item("MetadataID", "Metadata ID", "7", "7") + "," +
         Item("PrgCfg", "Program configuration", Q("5.1+2"), "") + "," +
         Item("Atmos", "Atmos Decode", atmos, atmosText) + "," +
         Item("SignalType", "Signal Type", signal, signalText) + "," +
         Item("Pair", "Pair", pair, pair) + "," +
         Item("ChannelConfig", "Output Speaker Config.", "4", "5.1.4") + "}";
}

std::string Document(int streams, bool atmos, const std::string& entries) {
  return R"({"TS":1700000000,"ProtoVer":19,"TypeId":60,"MdId":2,"NoOfPrograms":0,)"
         R"("CurrentProgram":0,"NoOfStreams":)" +
         std::to_string(streams) + R"(,"IsAtmosPresent":)" + (atmos ? "true" : "false") +
         R"(,"StatusInfo":{"Title":"Status Information","Data":0,"Desc":"","ExData":[)" +
         entries + "]}}";
}

// Object audio present and decoded adds a second entry for the next pair;
// without an input type both entries show pair 0.
TEST(Ed2StatusTest, WholeDocuments) {
  const struct { SysInputType_e input; uint32_t atmosDecode; uint16_t atmosPresent; std::string expected; } cases[] = {
      {SYS_INPUT_TYPE_AES, 1, 0, Document(1, false, StreamEntry("0", "Disabled", "1", "AES", "2"))},
      {SYS_INPUT_TYPE_AES, 0, 1, Document(1, false, StreamEntry("0", "Disabled", "1", "AES", "2"))},
      {SYS_INPUT_TYPE_SDI, 1, 1,
       Document(2, true, StreamEntry("1", "Enabled", "2", "SDI", "3") + "," + StreamEntry("1", "Enabled", "2", "SDI", "4"))},
      {SYS_INPUT_TYPE_NONE, 1, 1,
       Document(2, true, StreamEntry("1", "Enabled", "0", "AES", "0") + "," + StreamEntry("1", "Enabled", "0", "AES", "0"))},
  };
  for (const auto& c : cases) {
    auto rec = NewEd2Record();
    rec->inputType = c.input;
    rec->dzPair = c.input == SYS_INPUT_TYPE_AES ? 2 : 3;
    rec->atmosDecode = c.atmosDecode;
    rec->md.ed2.atmosPresent = c.atmosPresent;
    EXPECT_EQ(render_test::Render(*rec), c.expected);
    EXPECT_EQ(cPADMetadataJsonDecStatus::Ed2HasObjectPair(*rec), c.atmosDecode && c.atmosPresent);
  }
}

TEST(Ed2StatusTest, ProgramConfigStopsAtItsFieldWidth) {
  auto rec = NewEd2Record();
  std::memset(rec->md.ed2.programConfig, 'p', sizeof rec->md.ed2.programConfig);
  rec->md.ed2.bedObjectCount = 0x4141;  // the bytes after the text: must not show up
  auto doc = render_test::RenderParsed(*rec);
  EXPECT_EQ(render_test::Text(ItemOf(render_test::StatusEntry(*doc), "PrgCfg").data),
            std::string(48, 'p'));
}

}  // namespace
