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

const char* const kBedChannels[] = {"L",   "R",   "C",   "LFE", "Ls",  "Rs", "Lrs", "Rrs", "Lfh",
                                    "Rfh", "Ltm", "Rtm", "Lrh", "Rrh", "Lw", "Rw",  "LFE2"};
static_assert(sizeof kBedChannels / sizeof kBedChannels[0] == kBedChannelCount);

// Indexed by dlb_padc_object_dialogue_indication; 0 and anything past 3 are unknown.
const char* const kObjectClasses[] = {"Unknown", "Dialogue", "Not dialog", "Mixed"};

const char* const kProgramCentreMixLevels[] = {"-3.0 dB", "-4.5 dB", "-6.0 dB"};
const char* const kProgramSurroundMixLevels[] = {"-3.0 dB", "-6.0 dB", "-inf dB"};

const char* const kCompressionProfiles[] = {"None",        "Film Standard", "Film Light",
                                            "Music Standard", "Music Light", "Speech",
                                            "Not Indicated"};

const char* const kSpeakerConfigs[] = {"Stereo", "5.1", "7.1", "5.1.2", "5.1.4", "7.1.4", "9.1.6"};

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
const Table kBedChannelNames = TableOf(kBedChannels);
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

const char* FrameRateText(unsigned code) {
  for (const FrameRate& rate : kFrameRates) {
    if (rate.code == code) return rate.text;
  }
  return nullptr;
}

}  // namespace code_tables
