// Dolby E: "StatusInfo" and one "Programs" element per program.

#include "PADMetadataJsonDecStatus.h"

using rapidjson::Value;
namespace ct = code_tables;

// ---- "StatusInfo"

void cPADMetadataJsonDecStatus::AddDolbyEStatusInfoObject(const kv_dolby_metadata_t& rec) {
  AddStatusInfoObject(rec, &cPADMetadataJsonDecStatus::AddDolbyEStatusInfo);
}

void cPADMetadataJsonDecStatus::AddDolbyEStatusInfo(const kv_dolby_metadata_t& rec,
                                                    Value& statusInfo) {
  const dlb_padc_ui_md_dolbye_s& dolbye = rec.md.dolbye;
  FillStatusInfo(statusInfo, ct::kStatusInfoTitle, [&](Value& entry) {
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
  Value* programs = FreshArrayMember("Programs", mDoc);
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

  AppendSection(sections, ct::kBitstreamInfo, i, desc, [&](Value& entry) {
    AddCodedItem(ct::kDialnorm, program.dialnorm, entry);
    AddCodedItem(ct::kAcmod, program.acmod, entry);
    AddFlagItem(ct::kLfeon, program.lfeon, entry);
  });

  AppendSection(sections, ct::kInformational, i, desc, [&](Value& entry) {
    AddCodedItem(ct::kBsmod, program.bsmod, entry);
    AddFlagItem(ct::kBwlpfon, program.bwlpfon, entry);
    AddCodedItem(ct::kCmixlev, program.cmixlev, entry);
    AddCodedItem(ct::kSurmixlev, program.surmixlev, entry);
    AddFlagItem(ct::kRfPrEmph, program.rfPrEmph, entry);
    AddCodedItem(ct::kProgramDsurmod, program.dsurmod, entry);
    AddFlagItem(ct::kAudprodie, program.audprodie, entry);
    AddPrgMixingLevel(program.audprodie, program.mixlevel, entry);
    AddCodedItem(ct::kRoomtyp, program.roomtyp, entry);
    AddFlagItem(ct::kCopyrightb, program.copyrightb, entry);
    AddFlagItem(ct::kOrigbs, program.origbs, entry);
    AddCodedItem(ct::kDsurexmod, program.dsurexmod, entry);
    AddCodedItem(ct::kComprProfile, program.comprProfile, entry);
    AddProgramDynrng(program.dynrngProfile, entry);
  });

  AppendSection(sections, ct::kDownmixing, i, desc,
                [&](Value& entry) { AddDownmixingItems(program, entry); });

  programs.PushBack(sections, Allocator());
}

void cPADMetadataJsonDecStatus::AddProgramDynrng(int dynrngProfile, Value& obj) {
  if (dynrngProfile == ct::kDynrngProfileUnknownCode) {
    AddUpdateObjectMemberToObject(ct::kDynrngProfile.key, ct::kDynrngProfile.title, dynrngProfile,
            ct::kDynrngProfileUnknownText, obj);
  } else {
    AddCodedItem(ct::kDynrngProfile, dynrngProfile, obj);
  }
}
