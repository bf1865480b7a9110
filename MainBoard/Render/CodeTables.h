#pragma once
// Every code-to-text table of the two documents, in one style, and the rules
// that turn a code into an item's title and description.
//
// A table maps the codes 0 to size-1 to texts; the code is taken as unsigned,
// so a negative code is outside every table. What a code outside a table
// shows sits beside the table: an item rule (CodedItem) keeps a replacement
// title (or the item's own) and a fixed text (or the code in decimal); a
// plain lookup (TextTable) keeps one fixed text.
//
// The Dolby Digital (Plus) substream and the Dolby E programs share most of
// these rules; where the two differ (Dolby Surround) each has its own. The
// AC-4 texts and the speaker and content-class names of the ED2 presentation
// document are here too.

#include <cstddef>

#include "Record/DolbyMetadataRecord.h"

namespace code_tables {

struct Table {
  const char* const* texts;
  unsigned size;

  // The text of code (static storage), or null when the code is outside the table.
  const char* Find(unsigned code) const { return code < size ? texts[code] : nullptr; }
};

// A table and the one text every code outside it shows.
struct TextTable {
  Table table;
  const char* otherText;

  // The text of code, or otherText outside the table; static storage.
  const char* Text(unsigned code) const {
    const char* text = table.Find(code);
    return text ? text : otherText;
  }
};

// The table of an array of texts: codes 0 to N-1; it refers to the array.
template <std::size_t N>
constexpr Table TableOf(const char* const (&texts)[N]) {
  return Table{texts, static_cast<unsigned>(N)};
}

// An item whose description comes from a table.
struct CodedItem {
  const char* key;
  const char* title;
  Table table;
  const char* otherTitle;  // title for a code outside the table; null keeps title
  const char* otherText;   // text for a code outside the table; null: the code in decimal
};

// An item that shows one text for a non-zero value and another for zero.
struct FlagItem {
  const char* key;
  const char* title;
  const char* whenSet;
  const char* whenClear;
};

// A section of a substream or program: its key and the title of its item.
struct Section {
  const char* key;
  const char* title;
};

// Title of the one-entry "StatusInfo" block (PCM, Dolby Digital (Plus), Dolby E, ED2).
extern const char* const kStatusInfoTitle;

// ---- sections of "Streams" and "Programs" elements
extern const Section kBitstreamInfo;
extern const Section kInformational;
extern const Section kDownmixing;

// ---- items shared by the substream and the programs
extern const CodedItem kAcmod;       // 29 slots as the decoder's UI has them
extern const FlagItem kLfeon;
extern const CodedItem kDialnorm;    // decimal
extern const CodedItem kBsmod;
extern const CodedItem kMixlevel;    // 0 "Not Indicated", else decimal
extern const CodedItem kRoomtyp;
extern const FlagItem kCopyrightb;
extern const FlagItem kOrigbs;
extern const CodedItem kDsurexmod;
extern const CodedItem kDmixmod;
extern const CodedItem kLtrtcmixlev;
extern const CodedItem kLtrtsurmixlev;
extern const CodedItem kLorocmixlev;
extern const CodedItem kLorosurmixlev;

// ---- Dolby Digital (Plus) substream
extern const CodedItem kBsid;        // decimal
extern const char* const kDatarateTitle;  // "-" below 1 kbps, else decimal
extern const CodedItem kSubstreamDsurmod;  // only meaningful with acmod 2, else "-"
constexpr int kAcmodTwoChannel = 2;
extern const char* const kNotApplicableText;  // "-"
extern const FlagItem kAdconvtyp;

// ---- speakers: types 1 to 17 also number the bed channel flags (type - 1)
extern const Table kSpeakerNames;  // 0 "-", 1 "L" ... 17 "LFE2"
constexpr unsigned kSpeakerTypeLfe = 4;
constexpr unsigned kSpeakerTypeLfe2 = 17;
// The position (x, y, z from -1 to 1) at which the UI draws a speaker type;
// the origin for types without a position of their own and outside the table.
// Returns a pointer to three floats, static storage.
const float* SpeakerPosition(unsigned type);

// ---- Dolby Digital (Plus) object audio
extern const char* const kAtmosInfoTitle;
extern const CodedItem kComplexityIndex;  // decimal
extern const CodedItem kSurroundTrim;
extern const CodedItem kHeightTrim;
extern const CodedItem kObjectClass;  // "Data" is 1 for dialogue, else 0
// Trim text of a trim code 0 to 17, null for any other code.
const char* MapDdpTrim(dlb_padc_trims trim);

// ---- Dolby E program
extern const FlagItem kBwlpfon;
extern const CodedItem kCmixlev;
extern const CodedItem kSurmixlev;
extern const FlagItem kRfPrEmph;
extern const CodedItem kProgramDsurmod;
extern const FlagItem kAudprodie;
extern const CodedItem kComprProfile;
extern const CodedItem kDynrngProfile;
constexpr int kDynrngProfileUnknownCode = 65535;  // shown as kDynrngProfileUnknownText
extern const char* const kDynrngProfileUnknownText;

// ---- common "StatusInfo" items
// Description of the "Type" item: the stream kind that a record's typeId and
// block (mdType) name, "PCM" for typeId 0 and for an unknown block. Static
// storage.
const char* StreamTypeText(dlb_padc_ui_md_type_t mdType, int typeId);
extern const CodedItem kChannelConfig;        // PCM: the channel configuration
extern const CodedItem kOutputChannelConfig;  // coded streams: the rendering configuration
// Text of a frame-rate code (frames per second x 100), null for a code
// without its own text (the item then prints the rate itself).
const char* FrameRateText(unsigned code);

// ---- AC-4 stream
extern const TextTable kFrameRateIndexes;        // frame-rate index, "Unknown" past 15
extern const TextTable kDialogueGainLimits;      // "0.0 dB" .. "12.0 dB", "Unknown" past 4
extern const TextTable kOutputChannelLayouts;    // decoder output, "Unknown" past 3
extern const TextTable kDeviceSpeakerConfigs;    // the device's numbering, "Unknown" past 6

// ---- AC-4 presentation and substream
extern const TextTable kLoudnessPractices;   // regulation type, "Reserved" past 15
extern const TextTable kDrcDecoderModes;     // "Reserved" past 7
extern const TextTable kStereoDownmixGains;  // Lo/Ro and Lt/Rt gains, "Unknown" past 7
extern const TextTable kTopDownmixGains;     // 5.1.4 to 5.1 top gains, "Unknown" past 7
extern const TextTable kDownmixModes;        // preferred downmix, "Not present" past 3
// Dialogue gain steps, code 0 "Disabled", "Disabled" past 4.
extern const TextTable kDialogueGainSteps;
// DRC profile text: -1 "Not present", 0 "None" .. 9 "Gains only", "Reserved"
// for any other code. Static storage.
const char* DrcProfileText(int code);

// ---- ED2 dynamic objects
// Content class 0 to 8; a code outside is shown in decimal.
extern const Table kContentClasses;

}  // namespace code_tables
