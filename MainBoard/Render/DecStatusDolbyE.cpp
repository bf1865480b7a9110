// Dolby E: "StatusInfo" and one "Programs" element per program.

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace item = catalogue::item;

namespace {
// The decoder's code for a dynamic range profile it does not know.
constexpr int kDynrngProfileUnknownCode = 65535;
}  // namespace

// ---- "StatusInfo"

void cPADMetadataJsonDecStatus::AddDolbyEStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddDolbyEStatusInfo);
}

void cPADMetadataJsonDecStatus::AddDolbyEStatusInfo(const kv_dolby_metadata_t& rec,
                                                    Value& statusInfo) {
  const dlb_padc_ui_md_dolbye_s& dolbye = rec.md.dolbye;
  FillStatusInfo(statusInfo, item::StatusInfoBlock.title, [&](Value& entry) {
    AddUpdateStreamType(rec.mdType, rec.typeId, entry);
    AddFrameRate(dolbye.frameRate, entry);
    AddBitDepth(dolbye.bitDepth, entry);
    AddPrgCfg(BoundedView(dolbye.programConfig), entry);
    AddPrgCount(dolbye.programCount, entry);
    AddUpdateInputSignalType(rec.inputType, entry);
    AddUpdateDZPair(rec.inputType != 0 ? rec.dzPair : 0u, entry);
    // A current program equal to the count is kept; only a greater one means all.
    AddCurrentPrg(dolbye.currentProgram > dolbye.programCount ? 0u : dolbye.currentProgram, entry);
  });
}

// ---- "Programs"

void cPADMetadataJsonDecStatus::AddPrograms(unsigned int count,
                                            const dlb_padc_ui_md_dolbye_s& dolbye) {
  Value* programs = FreshArrayMember(catalogue::member::Programs.key, mDoc);
  if (programs == nullptr) return;
  for (unsigned i = 0; i < count && i < kDolbyEMaxRenderedPrograms; ++i) {
    AddProgram(i, dolbye, *programs);
  }
}

void cPADMetadataJsonDecStatus::AddProgram(unsigned int i, const dlb_padc_ui_md_dolbye_s& dolbye,
                                           Value& programs) {
  if (!programs.IsArray()) return;
  const dlb_padc_dolbye_program_s program = DolbyEProgram(dolbye, i);
  const item_text::Text desc = item_text::Decimal(i);
  Value sections(rapidjson::kArrayType);

  AppendSection(sections, item::BitstreamInfo, i, desc, [&](Value& entry) {
    AddCodedItem(item::Dialnorm, program.dialnorm, entry);
    AddCodedItem(item::Acmod, program.acmod, entry);
    AddFlagItem(item::Lfeon, program.lfeon, entry);
  });

  AppendSection(sections, item::Informational, i, desc, [&](Value& entry) {
    AddCodedItem(item::Bsmod, program.bsmod, entry);
    AddFlagItem(item::Bwlpfon, program.bwlpfon, entry);
    AddCodedItem(item::Cmixlev, program.cmixlev, entry);
    AddCodedItem(item::Surmixlev, program.surmixlev, entry);
    AddFlagItem(item::RfPrEmph, program.rfPrEmph, entry);
    AddCodedItem(item::ProgramDsurmod, program.dsurmod, entry);
    AddFlagItem(item::Audprodie, program.audprodie, entry);
    AddPrgMixingLevel(program.audprodie, program.mixlevel, entry);
    AddCodedItem(item::Roomtyp, program.roomtyp, entry);
    AddFlagItem(item::Copyrightb, program.copyrightb, entry);
    AddFlagItem(item::Origbs, program.origbs, entry);
    AddCodedItem(item::Dsurexmod, program.dsurexmod, entry);
    AddCodedItem(item::ComprProfile, program.comprProfile, entry);
    AddProgramDynrng(program.dynrngProfile, entry);
  });

  AppendSection(sections, item::Downmixing, i, desc,
                [&](Value& entry) { AddDownmixingItems(program, entry); });

  programs.PushBack(sections, Allocator());
}

void cPADMetadataJsonDecStatus::AddProgramDynrng(int dynrngProfile, Value& obj) {
  if (dynrngProfile == kDynrngProfileUnknownCode) {
    AddItem(item::DynrngProfile, dynrngProfile, item::DynrngProfile.absent, obj);
  } else {
    AddCodedItem(item::DynrngProfile, dynrngProfile, obj);
  }
}
