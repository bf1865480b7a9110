#include "CodeTables.h"

namespace code_tables {

namespace {

const char* const kNoTexts[] = {nullptr};
// A rule without a table: every code shows its fallback.
constexpr Table kNone{kNoTexts, 0};

// Audio coding modes as the UI has always shown them: slot 14 joins two
// texts and every later slot sits one place early; slot 28 is empty.
const char* const kAudioCodingModes[] = {
    "1+1",    "1/0",    "2/0",    "3/0",    "2/1",        "3/1",    "2/2",    "3/2",
    "3/1/1",  "2/2/1",  "3/2/1",  "3/2/1",  "3/0/2",      "2/2/2",  "2/2/22/2/2", "2/2/2",
    "3/2/2",  "3/2/2",  "3/2/2",  "3/2/2",  "3/2/2",      "3/2/2",  "2/2/1",  "3/2/1",
    "2/2/2",  "3/2/2",  "3/2/2",  "3/2/2",  "",
};
static_assert(sizeof kAudioCodingModes / sizeof kAudioCodingModes[0] == 29);

const char* const kBitstreamModes[] = {
    "Main complete (CM)", "Music and effects (ME)", "Visually impaired (VI)",
    "Hearing impaired (HI)", "Dialogue (D)", "Commentary (C)", "Emergency (E)",
    "Voice over (VO)",
};

const char* const kNotIndicatedWhenZero[] = {"Not Indicated"};

const char* const kSubstreamDolbySurround[] = {"-", "Not Indicated", "Dolby surround encoded",
                                               "Reserved"};
const char* const kProgramDolbySurround[] = {"Not Indicated", "Not Dolby Surround",
                                             "Dolby Surround", "Reserved"};

const char* const kRoomTypes[] = {"Not indicated", "Large", "Small", "Reserved"};

const char* const kDolbySurroundEx[] = {"Not Indicated", "Not Dolby Surround EX",
                                        "Dolby Surround EX", "Dolby Pro Logic IIz encoded"};

const char* const kPreferredDownmix[] = {"Not Indicated", "Lt/Rt", "Lo/Ro", "Dolby Pro Logic II"};

const char* const kCentreDownmixLevels[] = {
    "+3.0 dB (1.414)", "+1.5 dB (1.189)", "0.0 dB (1.000)",  "-1.5 dB (0.841)",
    "-3.0 dB (0.707)", "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)",
};
const char* const kSurroundDownmixLevels[] = {
    "Reserved",        "Reserved",        "Reserved",        "-1.5 dB (0.841)",
    "-3.0 dB (0.707)", "-4.5 dB (0.595)", "-6.0 dB (0.500)", "-inf dB (0.000)",
};

const char* const kTrims[] = {
    "6.0",   "3.0",  "1.5",   "0.75",  "-0.75", "-1.5",  "-3.0",  "-4.5", "-6.0",
    "-7.5",  "-9.0", "-10.5", "-12.0", "-13.5", "-15.0", "-36.0", "0.0",  "Auto",
};
static_assert(sizeof kTrims / sizeof kTrims[0] == DLB_PADC_TRIM_AUTO + 1);

// Speaker types; 1 to 17 are also the bed channel flags in their order.
// kSpeakerTypeLfe and kSpeakerTypeLfe2 (CodeTables.h) index the two LFE entries.
const char* const kSpeakerTypes[] = {"-",   "L",   "R",   "C",   "LFE", "Ls",  "Rs",  "Lrs", "Rrs",
                                     "Lfh", "Rfh", "Ltm", "Rtm", "Lrh", "Rrh", "Lw",  "Rw",  "LFE2"};
static_assert(sizeof kSpeakerTypes / sizeof kSpeakerTypes[0] == kBedChannelCount + 1);

// Where the UI draws each speaker type. The rear, top-middle and wide
// speakers have no position of their own and sit at the centre.
// clang-format off
constexpr float kSpeakerPositions[][3] = {
    { 0,  0, 0},  // -
    {-1,  1, 0},  // L
    { 1,  1, 0},  // R
    { 0,  1, 0},  // C
    { 0,  1, 0},  // LFE
    {-1, -1, 0},  // Ls
    { 1, -1, 0},  // Rs
    { 0,  0, 0},  // Lrs
    { 0,  0, 0},  // Rrs
    {-1,  1, 1},  // Lfh
    { 1,  1, 1},  // Rfh
    { 0,  0, 0},  // Ltm
    { 0,  0, 0},  // Rtm
    {-1, -1, 1},  // Lrh
    { 1, -1, 1},  // Rrh
    { 0,  0, 0},  // Lw
    { 0,  0, 0},  // Rw
    { 0,  1, 0}};  // LFE2
// clang-format on
static_assert(sizeof kSpeakerPositions / sizeof kSpeakerPositions[0] == kBedChannelCount + 1);

// Indexed by dlb_padc_object_dialogue_indication; 0 and anything past 3 are unknown.
const char* const kObjectClasses[] = {"Unknown", "Dialogue", "Not dialog", "Mixed"};

const char* const kProgramCentreMixLevels[] = {"-3.0 dB", "-4.5 dB", "-6.0 dB"};
const char* const kProgramSurroundMixLevels[] = {"-3.0 dB", "-6.0 dB", "-inf dB"};

const char* const kCompressionProfiles[] = {"None",        "Film Standard", "Film Light",
                                            "Music Standard", "Music Light", "Speech",
                                            "Not Indicated"};

const char* const kSpeakerConfigs[] = {"Stereo", "5.1", "7.1", "5.1.2", "5.1.4", "7.1.4", "9.1.6"};

// Content class of an ED2 dynamic object. 0 and 1 are the decoder's "not
// indicated" and dialogue; the others follow the usual programme content kinds.
const char* const kObjectContentClasses[] = {
    "Not indicated", "Dialogue",          "Music",     "Effects",   "Music and effects",
    "Commentary",    "Audio description", "Emergency", "Voice over"};

// ---- AC-4
const char* const kAc4FrameRates[] = {
    "23.98 fps", "24 fps",  "25 fps",     "29.97 fps", "30 fps",    "47.95 fps", "48 fps",   "50 fps",
    "59.94 fps", "60 fps",  "100 fps",    "119.98 fps", "120 fps",  "23.44 fps", "Reserved", "Reserved"};

const char* const kDeGainLimits[] = {"0.0 dB", "3.0 dB", "6.0 dB", "9.0 dB", "12.0 dB"};

const char* const kOutputLayouts[] = {"2.0", "5.1", "5.1.2", "5.1.4"};

// Index 2 is "5.1.4" and index 3 "5.1.2", and 4 to 6 all read "5.1.4": this
// is the order in which the device's speaker configurations are numbered.
const char* const kDeviceSpeakerLayouts[] = {"Stereo", "5.1", "5.1.4", "5.1.2", "5.1.4", "5.1.4", "5.1.4"};

const char* const kRegulationPractices[] = {
    "Not indicated", "ATSC A/85", "EBU R128", "ARIB TR-B32", "FreeTV OP-59", "Reserved",
    "Reserved",      "Reserved",  "Reserved", "Reserved",    "Reserved",     "Reserved",
    "Reserved",      "Reserved",  "Manual",   "Customer leveler"};

const char* const kDrcModes[] = {"Home theater AVR", "Flat panel TV", "Portable speakers",
                                 "Portable headphones", "Reserved", "Reserved", "Reserved", "Reserved"};

// Indexed by profile code + 1: code -1 means the profile is not present.
const char* const kDrcProfiles[] = {"Not present",    "None",        "Film Standard", "Film Light",
                                    "Music Standard", "Music Light", "Speech",        "Reserved",
                                    "Reserved",       "User defined", "Gains only"};

const char* const kStereoDmxGains[] = {"3.0 dB",  "1.5 dB",  "0.0 dB",  "-1.5 dB",
                                       "-3.0 dB", "-4.5 dB", "-6.0 dB", "-inf dB"};

const char* const kTopDmxGains[] = {"0.0 dB",  "-1.5 dB", "-3.0 dB",  "-4.5 dB",
                                    "-6.0 dB", "-9.0 dB", "-12.0 dB", "-inf dB"};

const char* const kAc4DownmixModes[] = {"Not indicated", "Lo/Ro", "Lt/Rt", "Pro Logic II"};

// The maximum dialogue gain and the substream's dialogue enhancement limit
// share their steps; code 0 means the control is off.
const char* const kDialogueGains[] = {"Disabled", "3.0 dB", "6.0 dB", "9.0 dB", "12.0 dB"};

struct FrameRate {
  unsigned code;
  const char* text;
};
// 30 fps is sent as 300 (not 3000); a 3000 goes through the numeric fallback.
constexpr FrameRate kFrameRates[] = {
    {2398, "23.98 fps"}, {2400, "24 fps"}, {2500, "25 fps"}, {2997, "29.97 fps"}, {300, "30 fps"},
};

}  // namespace

const char* const kStatusInfoTitle = "Status Information";

// ---- sections
const Section kBitstreamInfo{"BitstreamInfo", "Bitstream Info"};
const Section kInformational{"Informational", "Informational"};
const Section kDownmixing{"Downmixing", "Downmixing"};

// ---- substream and program items:  key, title, table, title / text outside the table
const CodedItem kAcmod{"Acmod", "Audio coding mode", TableOf(kAudioCodingModes),
                       "Audio coding mode code", nullptr};
const FlagItem kLfeon{"Lfeon", "LFE Channel", "Enabled", "Disabled"};
const CodedItem kDialnorm{"Dialnorm", "Dialnorm (in dB)", kNone, nullptr, nullptr};
const CodedItem kBsmod{"Bsmod", "Bitstream mode", TableOf(kBitstreamModes), "Bitstream mode code",
                       nullptr};
const CodedItem kMixlevel{"Mixlevel", "Mix level (in dB)", TableOf(kNotIndicatedWhenZero), nullptr,
                          nullptr};
const CodedItem kRoomtyp{"Roomtyp", "Room type", TableOf(kRoomTypes), "Room type code", nullptr};
const FlagItem kCopyrightb{"Copyrightb", "Copyright bit", "Copyright protected",
                           "Not copyright protected"};
const FlagItem kOrigbs{"Origbs", "Original bitstream", "Original bitstream",
                       "Not original bitstream"};
const CodedItem kDsurexmod{"Dsurexmod", "Dolby Surround EX", TableOf(kDolbySurroundEx), nullptr,
                           nullptr};
const CodedItem kDmixmod{"Dmixmod", "Preferred Downmix", TableOf(kPreferredDownmix),
                         "Preferred Downmix code", nullptr};
const CodedItem kLtrtcmixlev{"Ltrtcmixlev", "Lt/Rt Center Downmix", TableOf(kCentreDownmixLevels),
                             nullptr, nullptr};
const CodedItem kLtrtsurmixlev{"Ltrtsurmixlev", "Lt/Rt Surround Downmix",
                               TableOf(kSurroundDownmixLevels), nullptr, nullptr};
const CodedItem kLorocmixlev{"Lorocmixlev", "Lo/Ro Center Downmix", TableOf(kCentreDownmixLevels),
                             nullptr, nullptr};
const CodedItem kLorosurmixlev{"Lorosurmixlev", "Lo/Ro Surround Downmix",
                               TableOf(kSurroundDownmixLevels), nullptr, nullptr};

// ---- Dolby Digital (Plus) substream
const CodedItem kBsid{"Bsid", "Bitstream Id", kNone, nullptr, nullptr};
const char* const kDatarateTitle = "Data rate (kbps)";
const CodedItem kSubstreamDsurmod{"Dsurmod", "Dolby Surround", TableOf(kSubstreamDolbySurround),
                                  "Dolby surround code", nullptr};
const char* const kNotApplicableText = "-";
const FlagItem kAdconvtyp{"Adconvtyp", "A/D converter", "HDCD", "Standard"};

// ---- Dolby Digital (Plus) object audio
const char* const kAtmosInfoTitle = "Atmos Object Audio Info";
const CodedItem kComplexityIndex{"ComplexityIndex", "Complexity index", kNone, nullptr, nullptr};
const CodedItem kSurroundTrim{"SurroundTrim", "Surround trim (in dB)", TableOf(kTrims), nullptr,
                              "-"};
const CodedItem kHeightTrim{"HeightTrim", "Height trim (in dB)", TableOf(kTrims), nullptr, "-"};
const CodedItem kObjectClass{"Class", "Object Class", TableOf(kObjectClasses), nullptr, "Unknown"};

const char* MapDdpTrim(dlb_padc_trims trim) {
  return TableOf(kTrims).Find(static_cast<unsigned>(trim));
}

// ---- Dolby E program
const FlagItem kBwlpfon{"Bwlpfon", "LFE Lowpass filter", "Enabled", "Disabled"};
const CodedItem kCmixlev{"Cmixlev", "Center mix level", TableOf(kProgramCentreMixLevels), nullptr,
                         nullptr};
const CodedItem kSurmixlev{"Surmixlev", "Surround mix level", TableOf(kProgramSurroundMixLevels),
                           nullptr, nullptr};
const FlagItem kRfPrEmph{"RFPrEmphOn", "RF overmodulation protection", "Enabled", "Disabled"};
const CodedItem kProgramDsurmod{"Dsurmod", "Dolby Surround mode", TableOf(kProgramDolbySurround),
                                "Dolby surround code", nullptr};
const FlagItem kAudprodie{"Audprodie", "Production Info", "Yes", "No"};
const CodedItem kComprProfile{"Compr1", "RF mode compression profile",
                              TableOf(kCompressionProfiles), "RF mode compression profile code",
                              nullptr};
const CodedItem kDynrngProfile{"Dynrng1", "Dynamic mode compression profile",
                               TableOf(kCompressionProfiles),
                               "Dynamic mode compression profile code", nullptr};
const char* const kDynrngProfileUnknownText = "Unknown";

// ---- common "StatusInfo" items
const CodedItem kChannelConfig{"ChannelConfig", "Channel Config.", TableOf(kSpeakerConfigs),
                               nullptr, ""};
const CodedItem kOutputChannelConfig{"ChannelConfig", "Output Speaker Config.",
                                     TableOf(kSpeakerConfigs), nullptr, ""};

// ---- speakers
const Table kSpeakerNames = TableOf(kSpeakerTypes);

const float* SpeakerPosition(unsigned type) {
  return kSpeakerPositions[type < kSpeakerNames.size ? type : 0];
}

// ---- AC-4:  table, text outside it
const TextTable kFrameRateIndexes{TableOf(kAc4FrameRates), "Unknown"};
const TextTable kDialogueGainLimits{TableOf(kDeGainLimits), "Unknown"};
const TextTable kOutputChannelLayouts{TableOf(kOutputLayouts), "Unknown"};
const TextTable kDeviceSpeakerConfigs{TableOf(kDeviceSpeakerLayouts), "Unknown"};
const TextTable kLoudnessPractices{TableOf(kRegulationPractices), "Reserved"};
const TextTable kDrcDecoderModes{TableOf(kDrcModes), "Reserved"};
const TextTable kStereoDownmixGains{TableOf(kStereoDmxGains), "Unknown"};
const TextTable kTopDownmixGains{TableOf(kTopDmxGains), "Unknown"};
const TextTable kDownmixModes{TableOf(kAc4DownmixModes), "Not present"};
const TextTable kDialogueGainSteps{TableOf(kDialogueGains), "Disabled"};

const char* DrcProfileText(int code) {
  // code + 1 taken as unsigned: -1 lands on 0, anything below -1 far above
  // the table, and INT_MAX does not overflow.
  return TextTable{TableOf(kDrcProfiles), "Reserved"}.Text(static_cast<unsigned>(code) + 1u);
}

// ---- ED2 dynamic objects
const Table kContentClasses = TableOf(kObjectContentClasses);

const char* FrameRateText(unsigned code) {
  for (const FrameRate& rate : kFrameRates) {
    if (rate.code == code) return rate.text;
  }
  return nullptr;
}

const char* StreamTypeText(dlb_padc_ui_md_type_t mdType, int typeId) {
  if (typeId == stream_type::kPcm) return "PCM";
  switch (mdType) {
    case DLB_PADC_UI_MD_TYPE_DOLBYE: return "Dolby E";
    case DLB_PADC_UI_MD_TYPE_DDP:
      return typeId == stream_type::kDolbyDigitalPlus          ? "Dolby Digital (Plus)"
             : typeId == stream_type::kDolbyDigitalPlusIec61937 ? "Dolby Digital (Plus) / IEC 61937"
                                                                 : "Dolby Digital";
    case DLB_PADC_UI_MD_TYPE_ED2: return "ED2";
    case DLB_PADC_UI_MD_TYPE_AC4: return "Dolby AC-4";
    default: return "PCM";  // an unknown block
  }
}

}  // namespace code_tables
