#include "record/RecordSchema.h"

#include <stdexcept>

#include "Record/DolbyMetadataRecord.h"

namespace tools {
namespace {

constexpr Type Scalar(Kind kind, std::size_t size) { return Type{kind, size, nullptr, 0, nullptr, 0, nullptr, 0}; }

template <std::size_t N>
constexpr Type Named(Kind kind, std::size_t size, const NamedValue (&names)[N]) {
  return Type{kind, size, nullptr, 0, nullptr, 0, names, static_cast<unsigned>(N)};
}

constexpr Type Text(std::size_t width) { return Type{Kind::Text, width, nullptr, 0, nullptr, 0, nullptr, 0}; }

constexpr Type ArrayOf(const Type& element, unsigned count) {
  return Type{Kind::Array, element.size * count, &element, count, nullptr, 0, nullptr, 0};
}

template <std::size_t N>
constexpr Type StructOf(std::size_t size, const Field (&fields)[N]) {
  return Type{Kind::Struct, size, nullptr, 0, fields, static_cast<unsigned>(N), nullptr, 0};
}

// A field whose type width must equal the member's width: a mismatch stops
// the compilation (the tables below are constant expressions).
constexpr Field Checked(const char* name, std::size_t offset, std::size_t width, const Type* type,
                        int blockMdType = -1) {
  return width == type->size ? Field{name, offset, type, blockMdType}
                             : throw std::logic_error("field width differs from its type");
}

#define FIELD(S, m, T) Checked(#m, offsetof(S, m), sizeof(S::m), &(T))

constexpr Type kU8 = Scalar(Kind::U8, 1);
constexpr Type kU16 = Scalar(Kind::U16, 2);
constexpr Type kI16 = Scalar(Kind::I16, 2);
constexpr Type kU32 = Scalar(Kind::U32, 4);
constexpr Type kI32 = Scalar(Kind::I32, 4);
constexpr Type kF32 = Scalar(Kind::F32, 4);

constexpr NamedValue kTypeIdNames[] = {
    {"pcm", stream_type::kPcm},         {"dd", stream_type::kDolbyDigital},
    {"ddp", stream_type::kDolbyDigitalPlus}, {"ddp-iec61937", stream_type::kDolbyDigitalPlusIec61937},
    {"ac4", stream_type::kAc4},         {"dolby-e", stream_type::kDolbyE},
    {"ed2", stream_type::kEd2}};
constexpr NamedValue kMdTypeNames[] = {{"dolby-e", DLB_PADC_UI_MD_TYPE_DOLBYE},
                                       {"ddp", DLB_PADC_UI_MD_TYPE_DDP},
                                       {"ed2", DLB_PADC_UI_MD_TYPE_ED2},
                                       {"ac4", DLB_PADC_UI_MD_TYPE_AC4}};
constexpr NamedValue kInputTypeNames[] = {
    {"none", SYS_INPUT_TYPE_NONE}, {"aes", SYS_INPUT_TYPE_AES}, {"sdi", SYS_INPUT_TYPE_SDI}};
constexpr NamedValue kDialogueNames[] = {{"dialogue", DLB_PADC_OBJECT_DIALOGUE},
                                         {"not-dialogue", DLB_PADC_OBJECT_NOT_DIALOGUE},
                                         {"mixed", DLB_PADC_OBJECT_MIXED}};
constexpr Type kTypeId = Named(Kind::I32, 4, kTypeIdNames);
constexpr Type kMdType = Named(Kind::U32, 4, kMdTypeNames);
constexpr Type kInputType = Named(Kind::U32, 4, kInputTypeNames);
constexpr Type kDialogueClass = Named(Kind::I32, 4, kDialogueNames);

constexpr Type kBedFlags = ArrayOf(kU8, kBedChannelCount);

// ---- Dolby Digital (Plus)
using DdpObject = dlb_padc_object_info_ddp_s;
constexpr Field kDdpObjectFields[] = {
    FIELD(DdpObject, x, kF32), FIELD(DdpObject, y, kF32), FIELD(DdpObject, z, kF32),
    FIELD(DdpObject, dialogueClass, kDialogueClass)};
constexpr Type kDdpObject = StructOf(sizeof(DdpObject), kDdpObjectFields);
constexpr Type kDdpObjects = ArrayOf(kDdpObject, kDdpMaxObjects);

using Ddp = dlb_padc_ui_md_ddp_s;
constexpr Field kDdpFields[] = {
    FIELD(Ddp, datarate, kI32),        FIELD(Ddp, acmod, kI32),
    FIELD(Ddp, atmosPresent, kU32),    FIELD(Ddp, bsid, kI32),
    FIELD(Ddp, bsmod, kI32),           FIELD(Ddp, lfeon, kI32),
    FIELD(Ddp, dsurmod, kI32),         FIELD(Ddp, dialnorm, kI32),
    FIELD(Ddp, mixlevel, kI32),        FIELD(Ddp, roomtyp, kI32),
    FIELD(Ddp, copyrightb, kI32),      FIELD(Ddp, origbs, kI32),
    FIELD(Ddp, dmixmod, kI32),         FIELD(Ddp, ltrtcmixlev, kI32),
    FIELD(Ddp, ltrtsurmixlev, kI32),   FIELD(Ddp, lorocmixlev, kI32),
    FIELD(Ddp, lorosurmixlev, kI32),   FIELD(Ddp, dsurexmod, kI32),
    FIELD(Ddp, adconvtyp, kI32),       FIELD(Ddp, numDynObjects, kU32),
    FIELD(Ddp, complexityIndex, kI32), FIELD(Ddp, surroundTrim, kI32),
    FIELD(Ddp, heightTrim, kI32),      FIELD(Ddp, objects, kDdpObjects),
    FIELD(Ddp, bedChannels, kBedFlags)};
constexpr Type kDdp = StructOf(sizeof(Ddp), kDdpFields);

// ---- Dolby E
using DolbyEProgram = dlb_padc_dolbye_program_s;
constexpr Field kDolbyEProgramFields[] = {
    FIELD(DolbyEProgram, bsmod, kI32),         FIELD(DolbyEProgram, rfPrEmph, kI32),
    FIELD(DolbyEProgram, cmixlev, kI32),       FIELD(DolbyEProgram, surmixlev, kI32),
    FIELD(DolbyEProgram, dsurmod, kI32),       FIELD(DolbyEProgram, audprodie, kI32),
    FIELD(DolbyEProgram, mixlevel, kI32),      FIELD(DolbyEProgram, roomtyp, kI32),
    FIELD(DolbyEProgram, copyrightb, kI32),    FIELD(DolbyEProgram, origbs, kI32),
    FIELD(DolbyEProgram, dsurexmod, kI32),     FIELD(DolbyEProgram, dialnorm, kI32),
    FIELD(DolbyEProgram, acmod, kI32),         FIELD(DolbyEProgram, lfeon, kI32),
    FIELD(DolbyEProgram, dynrngProfile, kI32), FIELD(DolbyEProgram, comprProfile, kI32),
    FIELD(DolbyEProgram, dmixmod, kI32),       FIELD(DolbyEProgram, ltrtcmixlev, kI32),
    FIELD(DolbyEProgram, ltrtsurmixlev, kI32), FIELD(DolbyEProgram, lorocmixlev, kI32),
    FIELD(DolbyEProgram, lorosurmixlev, kI32), FIELD(DolbyEProgram, bwlpfon, kI32)};
constexpr Type kDolbyEProgram = StructOf(sizeof(DolbyEProgram), kDolbyEProgramFields);
constexpr Type kDolbyEPrograms = ArrayOf(kDolbyEProgram, kDolbyEProgramRecords);
constexpr Type kDolbyEProgramConfig = Text(35);

using DolbyE = dlb_padc_ui_md_dolbye_s;
constexpr Field kDolbyEFields[] = {
    FIELD(DolbyE, frameRate, kU16),       FIELD(DolbyE, bitDepth, kU8),
    FIELD(DolbyE, currentProgram, kU8),   FIELD(DolbyE, programCount, kU8),
    FIELD(DolbyE, programConfig, kDolbyEProgramConfig), FIELD(DolbyE, programs, kDolbyEPrograms)};
constexpr Type kDolbyE = StructOf(sizeof(DolbyE), kDolbyEFields);

// ---- AC-4
constexpr Type kText64 = Text(64);
constexpr Type kText100 = Text(100);
constexpr Type kText200 = Text(200);
constexpr Type kText201 = Text(201);
constexpr Type kDrcModes = ArrayOf(kI32, 4);
constexpr Type kSubstreamIds = ArrayOf(kI32, kAc4MaxSubstreamIds);

using Ac4Presentation = dlb_padc_ac4_presentation_s;
constexpr Field kAc4PresentationFields[] = {
    FIELD(Ac4Presentation, summary, kText201),
    FIELD(Ac4Presentation, language, kText64),
    FIELD(Ac4Presentation, level, kU8),
    FIELD(Ac4Presentation, presentationId, kU8),
    FIELD(Ac4Presentation, dialnorm, kF32),
    FIELD(Ac4Presentation, dialogGainPresent, kU8),
    FIELD(Ac4Presentation, dialogGain, kF32),
    FIELD(Ac4Presentation, adGainPresent, kU8),
    FIELD(Ac4Presentation, adGain, kF32),
    FIELD(Ac4Presentation, meGainPresent, kU8),
    FIELD(Ac4Presentation, meGain, kF32),
    FIELD(Ac4Presentation, cmGainPresent, kU8),
    FIELD(Ac4Presentation, cmGain, kF32),
    FIELD(Ac4Presentation, atmosIndication, kU8),
    FIELD(Ac4Presentation, loudnessPresent, kU8),
    FIELD(Ac4Presentation, loudnessSummary, kText200),
    FIELD(Ac4Presentation, loudnessRegulation, kU8),
    FIELD(Ac4Presentation, loudnessCorrection, kU8),
    FIELD(Ac4Presentation, gatingType, kI32),
    FIELD(Ac4Presentation, truePeakPresent, kU8),
    FIELD(Ac4Presentation, truePeak, kF32),
    FIELD(Ac4Presentation, shortTerm3sPresent, kU8),
    FIELD(Ac4Presentation, shortTerm3s, kF32),
    FIELD(Ac4Presentation, duckingPresent, kU8),
    FIELD(Ac4Presentation, duckingLevel, kF32),
    FIELD(Ac4Presentation, eac3DrcProfile, kI32),
    FIELD(Ac4Presentation, drcModes, kDrcModes),
    FIELD(Ac4Presentation, loRoCentreMixGain, kI32),
    FIELD(Ac4Presentation, loRoSurroundMixGain, kI32),
    FIELD(Ac4Presentation, ltRtCentreMixGain, kI32),
    FIELD(Ac4Presentation, ltRtSurroundMixGain, kI32),
    FIELD(Ac4Presentation, lfeMixGain, kF32),
    FIELD(Ac4Presentation, preferredDownmix, kU32),
    FIELD(Ac4Presentation, topDownmixPresent, kU8),
    FIELD(Ac4Presentation, topFrontTarget, kU8),
    FIELD(Ac4Presentation, topFrontGain, kU8),
    FIELD(Ac4Presentation, topBackTarget, kU8),
    FIELD(Ac4Presentation, topBackGain, kU8),
    FIELD(Ac4Presentation, substreamIdCount, kU8),
    FIELD(Ac4Presentation, substreamIds, kSubstreamIds)};
constexpr Type kAc4Presentation = StructOf(sizeof(Ac4Presentation), kAc4PresentationFields);
constexpr Type kAc4Presentations = ArrayOf(kAc4Presentation, kAc4MaxPresentations);

using Ac4Substream = dlb_padc_ac4_substream_s;
constexpr Field kAc4SubstreamFields[] = {
    FIELD(Ac4Substream, summary, kText200),   FIELD(Ac4Substream, channelConfig, kText100),
    FIELD(Ac4Substream, objectCoded, kU8),    FIELD(Ac4Substream, deEnabled, kU8),
    FIELD(Ac4Substream, deMaxGain, kU8),      FIELD(Ac4Substream, dialogMaxGain, kU8)};
constexpr Type kAc4Substream = StructOf(sizeof(Ac4Substream), kAc4SubstreamFields);
constexpr Type kAc4Substreams = ArrayOf(kAc4Substream, kAc4MaxSubstreams);

using Ac4 = dlb_padc_ui_md_ac4_s;
constexpr Field kAc4Fields[] = {
    FIELD(Ac4, averageBitrate, kI32),     FIELD(Ac4, upperBitrate, kI32),
    FIELD(Ac4, maxUpperBitrate, kI32),    FIELD(Ac4, frameRateCode, kU8),
    FIELD(Ac4, iFrameInterval, kU8),      FIELD(Ac4, presentationCount, kU8),
    FIELD(Ac4, substreamCount, kU8),      FIELD(Ac4, bitstreamVersion, kU8),
    FIELD(Ac4, crcError, kU8),            FIELD(Ac4, activePresentation, kU8),
    FIELD(Ac4, outputChannelConfig, kU8), FIELD(Ac4, appliedDeGain, kI32),
    FIELD(Ac4, deGainLimit, kU8),         FIELD(Ac4, outputRefLevel, kF32),
    FIELD(Ac4, presentations, kAc4Presentations), FIELD(Ac4, substreams, kAc4Substreams)};
constexpr Type kAc4 = StructOf(sizeof(Ac4), kAc4Fields);

// ---- ED2
constexpr Type kSetGains = ArrayOf(kF32, kEd2SetEntries);
constexpr Type kXyz = ArrayOf(kF32, 3);
constexpr Type kSetPositions = ArrayOf(kXyz, kEd2SetEntries);
constexpr Type kSourceTargets = ArrayOf(kI32, kEd2MaxBedSources);
constexpr Type kBedIndexFlags = ArrayOf(kU8, kEd2MaxBedObjects);
constexpr Type kObjectIndexFlags = ArrayOf(kU8, kEd2MaxDynamicObjects);
constexpr Type kEd2ProgramConfig = Text(48);

using Ed2Bed = dlb_padc_ed2_bed_object_s;
constexpr Field kEd2BedFields[] = {
    FIELD(Ed2Bed, speakerPresent, kBedFlags), FIELD(Ed2Bed, gain, kSetGains),
    FIELD(Ed2Bed, numSources, kI32), FIELD(Ed2Bed, sourceTarget, kSourceTargets)};
constexpr Type kEd2Bed = StructOf(sizeof(Ed2Bed), kEd2BedFields);
constexpr Type kEd2Beds = ArrayOf(kEd2Bed, kEd2MaxBedObjects);

using Ed2Object = dlb_padc_ed2_dynamic_object_s;
constexpr Field kEd2ObjectFields[] = {
    FIELD(Ed2Object, channelId, kI16), FIELD(Ed2Object, objectClass, kU32),
    FIELD(Ed2Object, gain, kSetGains), FIELD(Ed2Object, position, kSetPositions)};
constexpr Type kEd2Object = StructOf(sizeof(Ed2Object), kEd2ObjectFields);
constexpr Type kEd2Objects = ArrayOf(kEd2Object, kEd2MaxDynamicObjects);

using Ed2Presentation = dlb_padc_ed2_presentation_s;
constexpr Field kEd2PresentationFields[] = {
    FIELD(Ed2Presentation, name, kText64),
    FIELD(Ed2Presentation, bedIncluded, kBedIndexFlags),
    FIELD(Ed2Presentation, bedSetIndex, kBedIndexFlags),
    FIELD(Ed2Presentation, objectIncluded, kObjectIndexFlags),
    FIELD(Ed2Presentation, objectSetIndex, kObjectIndexFlags)};
constexpr Type kEd2Presentation = StructOf(sizeof(Ed2Presentation), kEd2PresentationFields);
constexpr Type kEd2Presentations = ArrayOf(kEd2Presentation, kEd2MaxPresentations);

using Ed2 = dlb_padc_ui_md_ed2_s;
constexpr Field kEd2Fields[] = {
    FIELD(Ed2, frameRate, kU16),         FIELD(Ed2, atmosPresent, kU16),
    FIELD(Ed2, metadataId, kU16),        FIELD(Ed2, programConfig, kEd2ProgramConfig),
    FIELD(Ed2, bedObjectCount, kI16),    FIELD(Ed2, dynamicObjectCount, kI16),
    FIELD(Ed2, bedObjects, kEd2Beds),    FIELD(Ed2, dynamicObjects, kEd2Objects),
    FIELD(Ed2, presentationCount, kU16), FIELD(Ed2, presentations, kEd2Presentations)};
constexpr Type kEd2 = StructOf(sizeof(Ed2), kEd2Fields);

// ---- The record
using Rec = kv_dolby_metadata_t;
constexpr std::size_t kBlockOffset = offsetof(Rec, md);
constexpr Field kRecordFields[] = {
    FIELD(Rec, protoVer, kU32),
    FIELD(Rec, typeId, kTypeId),
    FIELD(Rec, mdType, kMdType),
    FIELD(Rec, inputType, kInputType),
    FIELD(Rec, dzPair, kU32),
    FIELD(Rec, speakerConfig, kI32),
    FIELD(Rec, atmosDecode, kU32),
    FIELD(Rec, ed2Misalignment, kI32),
    FIELD(Rec, ed2MisalignLines, kU32),
    FIELD(Rec, activePaNo, kU32),
    FIELD(Rec, vidLnNoForZP, kI32),
    FIELD(Rec, vidLnNoForNextToZP, kI32),
    FIELD(Rec, ed2StatusUpdate, kU32),
    Checked("dolbye", kBlockOffset, sizeof(DolbyE), &kDolbyE, DLB_PADC_UI_MD_TYPE_DOLBYE),
    Checked("ddp", kBlockOffset, sizeof(Ddp), &kDdp, DLB_PADC_UI_MD_TYPE_DDP),
    Checked("ed2", kBlockOffset, sizeof(Ed2), &kEd2, DLB_PADC_UI_MD_TYPE_ED2),
    Checked("ac4", kBlockOffset, sizeof(Ac4), &kAc4, DLB_PADC_UI_MD_TYPE_AC4)};
constexpr Type kRecord = StructOf(sizeof(Rec), kRecordFields);

#undef FIELD

}  // namespace

const Type& RecordType() { return kRecord; }

const Field* BlockField(uint32_t mdType) {
  for (const Field& f : kRecordFields)
    if (f.blockMdType >= 0 && static_cast<uint32_t>(f.blockMdType) == mdType) return &f;
  return nullptr;
}

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::U8: return "an unsigned 8-bit integer";
    case Kind::U16: return "an unsigned 16-bit integer";
    case Kind::I16: return "a signed 16-bit integer";
    case Kind::U32: return "an unsigned 32-bit integer";
    case Kind::I32: return "a signed 32-bit integer";
    case Kind::F32: return "a number";
    case Kind::Text: return "a string";
    case Kind::Array: return "an array";
    case Kind::Struct: return "an object";
  }
  return "a value";
}

}  // namespace tools
