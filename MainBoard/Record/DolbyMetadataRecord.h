#pragma once
// The decoder's status record, kv_dolby_metadata_t: 33,704 bytes, little-endian,
// naturally aligned, received whole in one message frame.
//
// A 52-byte header is followed, from offset 52, by one codec block chosen by
// mdType. Every block struct spans the whole 33,652-byte area after the header
// (its unread tail is an explicit reserved array), so a block reference always
// refers to memory inside a record and every offset that the renderers compute
// from a block can be checked against the block's size at compile time.
//
// Areas that no rendering reads are reserved arrays; they keep their size so the
// record can be copied and compared as bytes.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "kv_dolby_metadata_t is read in place: a little-endian target is required"
#endif

enum dlb_padc_ui_md_type_t : uint32_t {
  DLB_PADC_UI_MD_TYPE_DOLBYE = 0,
  DLB_PADC_UI_MD_TYPE_DDP = 1,
  DLB_PADC_UI_MD_TYPE_ED2 = 2,
  DLB_PADC_UI_MD_TYPE_AC4 = 3,
};

enum SysInputType_e : uint32_t {
  SYS_INPUT_TYPE_NONE = 0,
  SYS_INPUT_TYPE_AES = 1,
  SYS_INPUT_TYPE_SDI = 2,
};

// Trim codes 0..17; any other value arrives unchanged from the decoder.
enum dlb_padc_trims : int32_t {
  DLB_PADC_TRIM_FIRST = 0,
  DLB_PADC_TRIM_AUTO = 17,
};

enum dlb_padc_object_dialogue_indication : int32_t {
  DLB_PADC_OBJECT_DIALOGUE = 1,
  DLB_PADC_OBJECT_NOT_DIALOGUE = 2,
  DLB_PADC_OBJECT_MIXED = 3,
};

// Values of the header's typeId.
namespace stream_type {
constexpr int32_t kPcm = 0;
constexpr int32_t kDolbyDigital = 1;
constexpr int32_t kDolbyDigitalPlus = 16;
constexpr int32_t kDolbyDigitalPlusIec61937 = 21;
constexpr int32_t kAc4 = 24;
constexpr int32_t kDolbyE = 28;
constexpr int32_t kEd2 = 60;
}  // namespace stream_type

constexpr std::size_t kRecordSize = 33704;
constexpr std::size_t kHeaderSize = 52;
constexpr std::size_t kBlockAreaSize = kRecordSize - kHeaderSize;  // 33,652
constexpr uint32_t kRecordProtoVersion = 19;

// ---------------------------------------------------------------------------
// Dolby Digital (Plus) block (mdType 1)

struct dlb_padc_object_info_ddp_s {
  float x;
  float y;
  float z;
  dlb_padc_object_dialogue_indication dialogueClass;
};
static_assert(sizeof(dlb_padc_object_info_ddp_s) == 16);

constexpr int kDdpMaxObjects = 15;
constexpr int kBedChannelCount = 17;  // L R C LFE Ls Rs Lrs Rrs Lfh Rfh Ltm Rtm Lrh Rrh Lw Rw LFE2

struct dlb_padc_ui_md_ddp_s {
  uint8_t reserved0[4];
  int32_t datarate;
  int32_t acmod;
  uint32_t atmosPresent;
  uint8_t reserved16[16];
  int32_t bsid;
  int32_t bsmod;
  int32_t lfeon;
  int32_t dsurmod;
  int32_t dialnorm;
  int32_t mixlevel;
  int32_t roomtyp;
  int32_t copyrightb;
  int32_t origbs;
  int32_t dmixmod;
  int32_t ltrtcmixlev;
  int32_t ltrtsurmixlev;
  int32_t lorocmixlev;
  int32_t lorosurmixlev;
  int32_t dsurexmod;
  int32_t adconvtyp;
  uint32_t numDynObjects;
  uint8_t reserved100[4];
  int32_t complexityIndex;
  uint8_t reserved108[4];
  dlb_padc_trims surroundTrim;
  dlb_padc_trims heightTrim;
  dlb_padc_object_info_ddp_s objects[kDdpMaxObjects];
  uint8_t bedChannels[kBedChannelCount];
  uint8_t reserved377[19];
  uint8_t unread[kBlockAreaSize - 396];
};
constexpr std::size_t kDdpSignificantLength = 396;

static_assert(offsetof(dlb_padc_ui_md_ddp_s, datarate) == 4);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, acmod) == 8);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, atmosPresent) == 12);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, bsid) == 32);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, bsmod) == 36);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, lfeon) == 40);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, dsurmod) == 44);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, dialnorm) == 48);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, mixlevel) == 52);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, roomtyp) == 56);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, copyrightb) == 60);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, origbs) == 64);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, dmixmod) == 68);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, ltrtcmixlev) == 72);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, ltrtsurmixlev) == 76);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, lorocmixlev) == 80);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, lorosurmixlev) == 84);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, dsurexmod) == 88);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, adconvtyp) == 92);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, numDynObjects) == 96);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, complexityIndex) == 104);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, surroundTrim) == 112);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, heightTrim) == 116);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, objects) == 120);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, bedChannels) == 360);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, reserved377) == 377);
static_assert(offsetof(dlb_padc_ui_md_ddp_s, unread) == kDdpSignificantLength);
static_assert(sizeof(dlb_padc_ui_md_ddp_s) == kBlockAreaSize);

// ---------------------------------------------------------------------------
// Dolby E block (mdType 0): a 40-byte header and 8 program records.

struct dlb_padc_dolbye_program_s {
  uint8_t reserved0[4];
  int32_t bsmod;
  int32_t rfPrEmph;
  int32_t cmixlev;
  int32_t surmixlev;
  int32_t dsurmod;
  int32_t audprodie;
  int32_t mixlevel;
  int32_t roomtyp;
  int32_t copyrightb;
  int32_t origbs;
  int32_t dsurexmod;
  uint8_t reserved48[4];
  int32_t dialnorm;
  int32_t acmod;
  int32_t lfeon;
  uint8_t reserved64[16];
  int32_t dynrngProfile;
  int32_t comprProfile;
  int32_t dmixmod;
  int32_t ltrtcmixlev;
  int32_t ltrtsurmixlev;
  int32_t lorocmixlev;
  int32_t lorosurmixlev;
  int32_t bwlpfon;
};
static_assert(sizeof(dlb_padc_dolbye_program_s) == 112);
static_assert(offsetof(dlb_padc_dolbye_program_s, bsmod) == 4);
static_assert(offsetof(dlb_padc_dolbye_program_s, rfPrEmph) == 8);
static_assert(offsetof(dlb_padc_dolbye_program_s, cmixlev) == 12);
static_assert(offsetof(dlb_padc_dolbye_program_s, surmixlev) == 16);
static_assert(offsetof(dlb_padc_dolbye_program_s, dsurmod) == 20);
static_assert(offsetof(dlb_padc_dolbye_program_s, audprodie) == 24);
static_assert(offsetof(dlb_padc_dolbye_program_s, mixlevel) == 28);
static_assert(offsetof(dlb_padc_dolbye_program_s, roomtyp) == 32);
static_assert(offsetof(dlb_padc_dolbye_program_s, copyrightb) == 36);
static_assert(offsetof(dlb_padc_dolbye_program_s, origbs) == 40);
static_assert(offsetof(dlb_padc_dolbye_program_s, dsurexmod) == 44);
static_assert(offsetof(dlb_padc_dolbye_program_s, dialnorm) == 52);
static_assert(offsetof(dlb_padc_dolbye_program_s, acmod) == 56);
static_assert(offsetof(dlb_padc_dolbye_program_s, lfeon) == 60);
static_assert(offsetof(dlb_padc_dolbye_program_s, dynrngProfile) == 80);
static_assert(offsetof(dlb_padc_dolbye_program_s, comprProfile) == 84);
static_assert(offsetof(dlb_padc_dolbye_program_s, dmixmod) == 88);
static_assert(offsetof(dlb_padc_dolbye_program_s, ltrtcmixlev) == 92);
static_assert(offsetof(dlb_padc_dolbye_program_s, ltrtsurmixlev) == 96);
static_assert(offsetof(dlb_padc_dolbye_program_s, lorocmixlev) == 100);
static_assert(offsetof(dlb_padc_dolbye_program_s, lorosurmixlev) == 104);
static_assert(offsetof(dlb_padc_dolbye_program_s, bwlpfon) == 108);

constexpr int kDolbyEProgramRecords = 8;
// The renderer walks up to 16 programs; programs 8 to 15 lie in the bytes that
// follow the 8 records (see DolbyEProgram below).
constexpr unsigned kDolbyEMaxRenderedPrograms = 16;

struct dlb_padc_ui_md_dolbye_s {
  uint16_t frameRate;
  uint8_t bitDepth;
  uint8_t currentProgram;
  uint8_t programCount;
  char programConfig[35];
  dlb_padc_dolbye_program_s programs[kDolbyEProgramRecords];
  uint8_t unread[kBlockAreaSize - 936];
};
constexpr std::size_t kDolbyESignificantLength = 936;

static_assert(offsetof(dlb_padc_ui_md_dolbye_s, bitDepth) == 2);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, currentProgram) == 3);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, programCount) == 4);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, programConfig) == 5);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, programs) == 40);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, programs) +
                  sizeof(dlb_padc_dolbye_program_s) * kDolbyEProgramRecords ==
              kDolbyESignificantLength);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, unread) == kDolbyESignificantLength);
static_assert(sizeof(dlb_padc_ui_md_dolbye_s) == kBlockAreaSize);
static_assert(offsetof(dlb_padc_ui_md_dolbye_s, programs) +
                  sizeof(dlb_padc_dolbye_program_s) * kDolbyEMaxRenderedPrograms <=
              sizeof(dlb_padc_ui_md_dolbye_s));

// Program i (0..15) of a Dolby E block, read at its natural place: 40 + 112 x i.
inline dlb_padc_dolbye_program_s DolbyEProgram(const dlb_padc_ui_md_dolbye_s& block, unsigned i) {
  dlb_padc_dolbye_program_s program;
  if (i >= kDolbyEMaxRenderedPrograms) i = kDolbyEMaxRenderedPrograms - 1;
  std::memcpy(&program,
              reinterpret_cast<const uint8_t*>(&block) + offsetof(dlb_padc_ui_md_dolbye_s, programs) +
                  sizeof(dlb_padc_dolbye_program_s) * i,
              sizeof program);
  return program;
}

// ---------------------------------------------------------------------------
// AC-4 block (mdType 3)

constexpr int kAc4MaxPresentations = 16;
constexpr int kAc4MaxSubstreams = 64;
constexpr int kAc4MaxSubstreamIds = 64;

struct dlb_padc_ac4_presentation_s {
  char summary[201];
  char language[64];
  uint8_t level;
  uint8_t presentationId;
  uint8_t reserved267[1];
  float dialnorm;
  uint8_t dialogGainPresent;
  uint8_t reserved273[3];
  float dialogGain;
  uint8_t adGainPresent;
  uint8_t reserved281[3];
  float adGain;
  uint8_t meGainPresent;
  uint8_t reserved289[3];
  float meGain;
  uint8_t cmGainPresent;
  uint8_t reserved297[3];
  float cmGain;
  uint8_t atmosIndication;
  uint8_t loudnessPresent;
  uint8_t reserved306[2];
  char loudnessSummary[200];
  uint8_t loudnessRegulation;
  uint8_t loudnessCorrection;
  uint8_t reserved510[2];
  int32_t gatingType;
  uint8_t truePeakPresent;
  uint8_t reserved517[3];
  float truePeak;
  uint8_t shortTerm3sPresent;
  uint8_t reserved525[3];
  float shortTerm3s;
  uint8_t duckingPresent;
  uint8_t reserved533[3];
  float duckingLevel;
  int32_t eac3DrcProfile;
  int32_t drcModes[4];  // home theater AVR, flat panel TV, portable speakers, portable headphones
  uint8_t reserved560[16];
  int32_t loRoCentreMixGain;
  int32_t loRoSurroundMixGain;
  int32_t ltRtCentreMixGain;
  int32_t ltRtSurroundMixGain;
  float lfeMixGain;
  uint32_t preferredDownmix;
  uint8_t reserved600[3];
  uint8_t topDownmixPresent;
  uint8_t topFrontTarget;
  uint8_t topFrontGain;
  uint8_t topBackTarget;
  uint8_t topBackGain;
  uint8_t reserved608[2];
  uint8_t substreamIdCount;
  uint8_t reserved611[1];
  int32_t substreamIds[kAc4MaxSubstreamIds];
};
static_assert(sizeof(dlb_padc_ac4_presentation_s) == 868);
static_assert(offsetof(dlb_padc_ac4_presentation_s, language) == 201);
static_assert(offsetof(dlb_padc_ac4_presentation_s, level) == 265);
static_assert(offsetof(dlb_padc_ac4_presentation_s, presentationId) == 266);
static_assert(offsetof(dlb_padc_ac4_presentation_s, dialnorm) == 268);
static_assert(offsetof(dlb_padc_ac4_presentation_s, dialogGainPresent) == 272);
static_assert(offsetof(dlb_padc_ac4_presentation_s, dialogGain) == 276);
static_assert(offsetof(dlb_padc_ac4_presentation_s, adGainPresent) == 280);
static_assert(offsetof(dlb_padc_ac4_presentation_s, adGain) == 284);
static_assert(offsetof(dlb_padc_ac4_presentation_s, meGainPresent) == 288);
static_assert(offsetof(dlb_padc_ac4_presentation_s, meGain) == 292);
static_assert(offsetof(dlb_padc_ac4_presentation_s, cmGainPresent) == 296);
static_assert(offsetof(dlb_padc_ac4_presentation_s, cmGain) == 300);
static_assert(offsetof(dlb_padc_ac4_presentation_s, atmosIndication) == 304);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loudnessPresent) == 305);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loudnessSummary) == 308);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loudnessRegulation) == 508);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loudnessCorrection) == 509);
static_assert(offsetof(dlb_padc_ac4_presentation_s, gatingType) == 512);
static_assert(offsetof(dlb_padc_ac4_presentation_s, truePeakPresent) == 516);
static_assert(offsetof(dlb_padc_ac4_presentation_s, truePeak) == 520);
static_assert(offsetof(dlb_padc_ac4_presentation_s, shortTerm3sPresent) == 524);
static_assert(offsetof(dlb_padc_ac4_presentation_s, shortTerm3s) == 528);
static_assert(offsetof(dlb_padc_ac4_presentation_s, duckingPresent) == 532);
static_assert(offsetof(dlb_padc_ac4_presentation_s, duckingLevel) == 536);
static_assert(offsetof(dlb_padc_ac4_presentation_s, eac3DrcProfile) == 540);
static_assert(offsetof(dlb_padc_ac4_presentation_s, drcModes) == 544);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loRoCentreMixGain) == 576);
static_assert(offsetof(dlb_padc_ac4_presentation_s, loRoSurroundMixGain) == 580);
static_assert(offsetof(dlb_padc_ac4_presentation_s, ltRtCentreMixGain) == 584);
static_assert(offsetof(dlb_padc_ac4_presentation_s, ltRtSurroundMixGain) == 588);
static_assert(offsetof(dlb_padc_ac4_presentation_s, lfeMixGain) == 592);
static_assert(offsetof(dlb_padc_ac4_presentation_s, preferredDownmix) == 596);
static_assert(offsetof(dlb_padc_ac4_presentation_s, topDownmixPresent) == 603);
static_assert(offsetof(dlb_padc_ac4_presentation_s, topFrontTarget) == 604);
static_assert(offsetof(dlb_padc_ac4_presentation_s, topFrontGain) == 605);
static_assert(offsetof(dlb_padc_ac4_presentation_s, topBackTarget) == 606);
static_assert(offsetof(dlb_padc_ac4_presentation_s, topBackGain) == 607);
static_assert(offsetof(dlb_padc_ac4_presentation_s, substreamIdCount) == 610);
static_assert(offsetof(dlb_padc_ac4_presentation_s, substreamIds) == 612);

struct dlb_padc_ac4_substream_s {
  char summary[200];
  char channelConfig[100];
  uint8_t objectCoded;
  uint8_t deEnabled;
  uint8_t deMaxGain;
  uint8_t dialogMaxGain;
};
static_assert(sizeof(dlb_padc_ac4_substream_s) == 304);
static_assert(offsetof(dlb_padc_ac4_substream_s, channelConfig) == 200);
static_assert(offsetof(dlb_padc_ac4_substream_s, objectCoded) == 300);
static_assert(offsetof(dlb_padc_ac4_substream_s, deEnabled) == 301);
static_assert(offsetof(dlb_padc_ac4_substream_s, deMaxGain) == 302);
static_assert(offsetof(dlb_padc_ac4_substream_s, dialogMaxGain) == 303);

struct dlb_padc_ui_md_ac4_s {
  uint8_t reserved0[4];
  int32_t averageBitrate;
  int32_t upperBitrate;
  int32_t maxUpperBitrate;
  uint8_t frameRateCode;
  uint8_t reserved17[1];
  uint8_t iFrameInterval;
  uint8_t presentationCount;
  uint8_t substreamCount;
  uint8_t bitstreamVersion;
  uint8_t reserved22[2];
  uint8_t crcError;
  uint8_t reserved25[3];
  uint8_t activePresentation;
  uint8_t outputChannelConfig;
  uint8_t reserved30[2];
  int32_t appliedDeGain;
  uint8_t deGainLimit;
  uint8_t reserved37[3];
  float outputRefLevel;
  dlb_padc_ac4_presentation_s presentations[kAc4MaxPresentations];
  dlb_padc_ac4_substream_s substreams[kAc4MaxSubstreams];
  uint8_t unread[kBlockAreaSize - 33388];
};
constexpr std::size_t kAc4SignificantLength = 33388;

static_assert(offsetof(dlb_padc_ui_md_ac4_s, averageBitrate) == 4);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, upperBitrate) == 8);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, maxUpperBitrate) == 12);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, frameRateCode) == 16);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, iFrameInterval) == 18);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, presentationCount) == 19);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, substreamCount) == 20);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, bitstreamVersion) == 21);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, crcError) == 24);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, activePresentation) == 28);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, outputChannelConfig) == 29);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, appliedDeGain) == 32);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, deGainLimit) == 36);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, outputRefLevel) == 40);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, presentations) == 44);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, substreams) == 13932);
static_assert(offsetof(dlb_padc_ui_md_ac4_s, unread) == kAc4SignificantLength);
static_assert(sizeof(dlb_padc_ui_md_ac4_s) == kBlockAreaSize);

// ---------------------------------------------------------------------------
// ED2 block (mdType 2)
//
// The decoder gives the offsets of the fields that the renderings read; the
// rest of the layout follows from them:
//  - programConfig fills block offsets 8 to 55 (48 characters);
//  - 9 bed-object records of 284 bytes from block offset 60 (one per
//    bedIncluded flag), then 16 dynamic-object records of 776 bytes from block
//    offset 2,616 (one per objectIncluded flag), ending at presentationCount;
//  - each record holds 48 per-set entries (gains, and positions for objects).
// A set index is a uint8 taken as the record gives it; every offset it can
// produce lies inside the block (checked below), so reads stay in the record.

constexpr int kEd2MaxBedObjects = 9;
constexpr int kEd2MaxDynamicObjects = 16;
constexpr int kEd2MaxPresentations = 16;
constexpr int kEd2SetEntries = 48;
constexpr int kEd2MaxBedSources = 16;

struct dlb_padc_ed2_bed_object_s {
  uint8_t reserved0[4];
  uint8_t speakerPresent[kBedChannelCount];  // same order as the DD+ bed channels
  uint8_t reserved21[3];
  float gain[kEd2SetEntries];  // per presentation set
  int32_t numSources;
  int32_t sourceTarget[kEd2MaxBedSources];  // speaker type - 1 per source
};
static_assert(sizeof(dlb_padc_ed2_bed_object_s) == 284);
static_assert(offsetof(dlb_padc_ed2_bed_object_s, speakerPresent) == 4);
static_assert(offsetof(dlb_padc_ed2_bed_object_s, gain) == 24);
static_assert(offsetof(dlb_padc_ed2_bed_object_s, numSources) == 216);
static_assert(offsetof(dlb_padc_ed2_bed_object_s, sourceTarget) == 220);

struct dlb_padc_ed2_dynamic_object_s {
  uint8_t reserved0[2];
  int16_t channelId;
  uint32_t objectClass;
  float gain[kEd2SetEntries];          // per presentation set
  float position[kEd2SetEntries][3];  // x, y, z per presentation set
};
static_assert(sizeof(dlb_padc_ed2_dynamic_object_s) == 776);
static_assert(offsetof(dlb_padc_ed2_dynamic_object_s, channelId) == 2);
static_assert(offsetof(dlb_padc_ed2_dynamic_object_s, objectClass) == 4);
static_assert(offsetof(dlb_padc_ed2_dynamic_object_s, gain) == 8);
static_assert(offsetof(dlb_padc_ed2_dynamic_object_s, position) == 200);

struct dlb_padc_ed2_presentation_s {
  char name[64];
  uint8_t bedIncluded[kEd2MaxBedObjects];
  uint8_t bedSetIndex[kEd2MaxBedObjects];
  uint8_t objectIncluded[kEd2MaxDynamicObjects];
  uint8_t objectSetIndex[kEd2MaxDynamicObjects];
};
static_assert(sizeof(dlb_padc_ed2_presentation_s) == 114);
static_assert(offsetof(dlb_padc_ed2_presentation_s, bedIncluded) == 64);
static_assert(offsetof(dlb_padc_ed2_presentation_s, bedSetIndex) == 73);
static_assert(offsetof(dlb_padc_ed2_presentation_s, objectIncluded) == 82);
static_assert(offsetof(dlb_padc_ed2_presentation_s, objectSetIndex) == 98);

struct dlb_padc_ui_md_ed2_s {
  uint16_t frameRate;
  uint16_t atmosPresent;
  uint16_t metadataId;
  uint8_t reserved6[2];
  char programConfig[48];
  int16_t bedObjectCount;
  int16_t dynamicObjectCount;
  dlb_padc_ed2_bed_object_s bedObjects[kEd2MaxBedObjects];
  dlb_padc_ed2_dynamic_object_s dynamicObjects[kEd2MaxDynamicObjects];
  uint16_t presentationCount;
  dlb_padc_ed2_presentation_s presentations[kEd2MaxPresentations];
  uint8_t reserved16858[2];
  uint8_t unread[kBlockAreaSize - 16860];
};
constexpr std::size_t kEd2SignificantLength = 16860;

static_assert(offsetof(dlb_padc_ui_md_ed2_s, atmosPresent) == 2);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, metadataId) == 4);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, programConfig) == 8);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjectCount) == 56);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjectCount) == 58);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjects) == 60);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjects[1].speakerPresent) == 64 + 284);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjects[1].gain) == 84 + 284);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjects[1].numSources) == 276 + 284);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, bedObjects[1].sourceTarget) == 280 + 284);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects) == 2616);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects[1].channelId) == 2618 + 776);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects[1].objectClass) == 2620 + 776);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects[1].gain) == 2624 + 776);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects[1].position) == 2816 + 776);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, presentationCount) == 15032);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, presentations) == 15034);
static_assert(offsetof(dlb_padc_ui_md_ed2_s, unread) == kEd2SignificantLength);
static_assert(sizeof(dlb_padc_ui_md_ed2_s) == kBlockAreaSize);

// Block offsets of the per-set entries. The record gives a set index as any
// uint8, past the 48 entries of a bed or object record: the entry is then read
// at the offset the index gives (in a later record), as the decoder lays it out.
constexpr std::size_t Ed2BedGainOffset(unsigned bed, unsigned set) {
  return offsetof(dlb_padc_ui_md_ed2_s, bedObjects) + sizeof(dlb_padc_ed2_bed_object_s) * bed +
         offsetof(dlb_padc_ed2_bed_object_s, gain) + sizeof(float) * set;
}
constexpr std::size_t Ed2ObjectGainOffset(unsigned object, unsigned set) {
  return offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects) + sizeof(dlb_padc_ed2_dynamic_object_s) * object +
         offsetof(dlb_padc_ed2_dynamic_object_s, gain) + sizeof(float) * set;
}
// Offset of x; y and z follow.
constexpr std::size_t Ed2ObjectPositionOffset(unsigned object, unsigned set) {
  return offsetof(dlb_padc_ui_md_ed2_s, dynamicObjects) + sizeof(dlb_padc_ed2_dynamic_object_s) * object +
         offsetof(dlb_padc_ed2_dynamic_object_s, position) + 3 * sizeof(float) * set;
}
// Per-set entries addressed with any uint8 set index stay inside the block.
static_assert(Ed2BedGainOffset(kEd2MaxBedObjects - 1, 255) + sizeof(float) <= kBlockAreaSize);
static_assert(Ed2ObjectGainOffset(kEd2MaxDynamicObjects - 1, 255) + sizeof(float) <= kBlockAreaSize);
static_assert(Ed2ObjectPositionOffset(kEd2MaxDynamicObjects - 1, 255) + 3 * sizeof(float) <= kBlockAreaSize);

// Reads a little-endian value at a byte offset of a block. The offset must be
// checked by the caller against the block's size; a record's bytes carry no
// alignment guarantees at such offsets, hence the copy.
template <typename T, typename Block>
inline T ReadBlockAt(const Block& block, std::size_t offset) {
  static_assert(sizeof(Block) == kBlockAreaSize);
  T value{};
  if (offset + sizeof(T) <= sizeof(Block)) {
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(&block) + offset, sizeof(T));
  }
  return value;
}

// ---------------------------------------------------------------------------
// The record

struct kv_dolby_metadata_t {
  uint32_t protoVer;
  int32_t typeId;
  dlb_padc_ui_md_type_t mdType;
  SysInputType_e inputType;
  uint32_t dzPair;
  int32_t speakerConfig;
  uint32_t atmosDecode;
  int32_t ed2Misalignment;
  uint32_t ed2MisalignLines;
  uint32_t activePaNo;
  int32_t vidLnNoForZP;
  int32_t vidLnNoForNextToZP;
  uint32_t ed2StatusUpdate;
  union {
    dlb_padc_ui_md_dolbye_s dolbye;
    dlb_padc_ui_md_ddp_s ddp;
    dlb_padc_ui_md_ed2_s ed2;
    dlb_padc_ui_md_ac4_s ac4;
    uint8_t raw[kBlockAreaSize];
  } md;
};

static_assert(offsetof(kv_dolby_metadata_t, protoVer) == 0);
static_assert(offsetof(kv_dolby_metadata_t, typeId) == 4);
static_assert(offsetof(kv_dolby_metadata_t, mdType) == 8);
static_assert(offsetof(kv_dolby_metadata_t, inputType) == 12);
static_assert(offsetof(kv_dolby_metadata_t, dzPair) == 16);
static_assert(offsetof(kv_dolby_metadata_t, speakerConfig) == 20);
static_assert(offsetof(kv_dolby_metadata_t, atmosDecode) == 24);
static_assert(offsetof(kv_dolby_metadata_t, ed2Misalignment) == 28);
static_assert(offsetof(kv_dolby_metadata_t, ed2MisalignLines) == 32);
static_assert(offsetof(kv_dolby_metadata_t, activePaNo) == 36);
static_assert(offsetof(kv_dolby_metadata_t, vidLnNoForZP) == 40);
static_assert(offsetof(kv_dolby_metadata_t, vidLnNoForNextToZP) == 44);
static_assert(offsetof(kv_dolby_metadata_t, ed2StatusUpdate) == 48);
static_assert(offsetof(kv_dolby_metadata_t, md) == kHeaderSize);
static_assert(sizeof(kv_dolby_metadata_t) == kRecordSize);
static_assert(offsetof(kv_dolby_metadata_t, md.ac4) + kAc4SignificantLength == 33440);
static_assert(offsetof(kv_dolby_metadata_t, md.ed2) + kEd2SignificantLength == 16912);

// Bytes from offset 52 that two records of a given mdType must share to count
// as unchanged; 0 for an mdType outside 0 to 3.
constexpr std::size_t SignificantLength(uint32_t mdType) {
  switch (mdType) {
    case DLB_PADC_UI_MD_TYPE_DOLBYE: return kDolbyESignificantLength;
    case DLB_PADC_UI_MD_TYPE_DDP: return kDdpSignificantLength;
    case DLB_PADC_UI_MD_TYPE_ED2: return kEd2SignificantLength;
    case DLB_PADC_UI_MD_TYPE_AC4: return kAc4SignificantLength;
    default: return 0;
  }
}

// A fixed-width text field read up to its terminator or its width, whichever
// comes first (the decoder may fill a field without terminating it). Returns a
// view into field: valid as long as the record is.
template <std::size_t N>
inline std::string_view BoundedView(const char (&field)[N]) {
  return std::string_view(field, strnlen(field, N));
}
