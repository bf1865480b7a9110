#include "Ac4PadUi.h"

#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace Ac4PadUi {
namespace {

// A code-to-text table together with the text shown for codes outside it.
template <std::size_t N>
struct CodeTable {
  const char* texts[N];
  const char* fallback;

  const char* operator[](unsigned long long code) const {
    return code < N ? texts[code] : fallback;
  }
};

constexpr CodeTable<16> kRates{{"23.98 fps", "24 fps", "25 fps", "29.97 fps", "30 fps", "47.95 fps",
                                "48 fps", "50 fps", "59.94 fps", "60 fps", "100 fps", "119.98 fps",
                                "120 fps", "23.44 fps", "Reserved", "Reserved"},
                               "Unknown"};

constexpr CodeTable<5> kLim{{"0.0 dB", "3.0 dB", "6.0 dB", "9.0 dB", "12.0 dB"}, "Unknown"};

constexpr CodeTable<4> kCfg{{"2.0", "5.1", "5.1.2", "5.1.4"}, "Unknown"};

// Index 2 is "5.1.4" and index 3 "5.1.2", and 4 to 6 all read "5.1.4": this
// is the order in which the device's speaker configurations are numbered.
constexpr CodeTable<7> kSpeakerConfig{
    {"Stereo", "5.1", "5.1.4", "5.1.2", "5.1.4", "5.1.4", "5.1.4"}, "Unknown"};

constexpr CodeTable<16> kPrac{
    {"Not indicated", "ATSC A/85", "EBU R128", "ARIB TR-B32", "FreeTV OP-59", "Reserved",
     "Reserved", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved", "Reserved",
     "Manual", "Customer leveler"},
    "Reserved"};

constexpr CodeTable<8> kMode{
    {"Home theater AVR", "Flat panel TV", "Portable speakers", "Portable headphones", "Reserved",
     "Reserved", "Reserved", "Reserved"},
    "Reserved"};

// Indexed by profile code + 1: code -1 means the profile is not present.
constexpr CodeTable<11> kDrcProfile{
    {"Not present", "None", "Film Standard", "Film Light", "Music Standard", "Music Light",
     "Speech", "Reserved", "Reserved", "User defined", "Gains only"},
    "Reserved"};

constexpr CodeTable<8> kStereoDmxGain{
    {"3.0 dB", "1.5 dB", "0.0 dB", "-1.5 dB", "-3.0 dB", "-4.5 dB", "-6.0 dB", "-inf dB"},
    "Unknown"};

constexpr CodeTable<8> kCdmxGain{
    {"0.0 dB", "-1.5 dB", "-3.0 dB", "-4.5 dB", "-6.0 dB", "-9.0 dB", "-12.0 dB", "-inf dB"},
    "Unknown"};

constexpr CodeTable<4> kPreferredDownmix{{"Not indicated", "Lo/Ro", "Lt/Rt", "Pro Logic II"},
                                         "Not present"};

// Maximum dialogue gain and the substream's dialogue enhancement limit share
// their steps; code 0 means the control is off.
constexpr CodeTable<5> kDialogGainSteps{{"Disabled", "3.0 dB", "6.0 dB", "9.0 dB", "12.0 dB"},
                                        "Disabled"};

constexpr const char* kNotPresent = "Not present";

}  // namespace

std::string Printf(const char* format, ...) {
  char local[128];
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(local, sizeof local, format, args);
  va_end(args);
  std::string text;
  if (length < 0) {
    // Encoding error: nothing sensible to show.
  } else if (static_cast<std::size_t>(length) < sizeof local) {
    text.assign(local, static_cast<std::size_t>(length));
  } else {
    // Only very large numbers get here ("%.2f" of 3e38 is 42 characters).
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(&text[0], text.size(), format, again);
    text.resize(static_cast<std::size_t>(length));
  }
  va_end(again);
  return text;
}

std::string TwoDecimals(float value) {
  // Fixed notation with a precision gives printf's digits and rounding; the
  // largest float needs 42 characters.
  char text[64];
  const std::to_chars_result end = std::to_chars(
      text, text + sizeof text, static_cast<double>(value), std::chars_format::fixed, 2);
  return std::string(text, end.ptr);
}

std::string FloatDb(float value, float floor) {
  if (floor + 0.05f >= value) return "-inf dB";
  return TwoDecimals(value) + " dB";
}

std::string BitrateKbps(int bitsPerSecond) {
  if (bitsPerSecond < 0) return "Unavailable";
  // Widened so that rates near INT_MAX round without overflowing.
  const int64_t kbps = (static_cast<int64_t>(bitsPerSecond) + 500) / 1000;
  return Printf("%d", static_cast<int>(kbps)) + " kbps";
}

const char* FrameRate(unsigned int code) { return kRates[code]; }

const char* DeGainLimit(unsigned char code) { return kLim[code]; }

const char* ChannelConfig(unsigned int code) { return kCfg[code]; }

const char* SpeakerConfig(unsigned int code) { return kSpeakerConfig[code]; }

const char* LoudnessRegulation(unsigned char present, unsigned char code) {
  return present ? kPrac[code] : kNotPresent;
}

const char* DrcDecoderModeName(unsigned int mode) { return kMode[mode]; }

const char* DrcProfile(int code) {
  // code + 1 taken as unsigned: -1 lands on 0, anything below -1 far above
  // the table, and INT_MAX does not overflow.
  return kDrcProfile[static_cast<unsigned int>(code) + 1u];
}

const char* StereoDmxGain(int code) {
  if (code < 0) return kNotPresent;
  return kStereoDmxGain[static_cast<unsigned int>(code)];
}

const char* CdmxGain(unsigned char present, unsigned char code) {
  return present ? kCdmxGain[code] : kNotPresent;
}

const char* PreferredDownmix(unsigned int code) { return kPreferredDownmix[code]; }

const char* DialogMaxGain(unsigned char code) { return kDialogGainSteps[code]; }

const char* SubstreamDeMaxGain(unsigned char enabled, unsigned char code) {
  // Code 0 and codes above 4 read "Disabled" from the table itself.
  return enabled ? kDialogGainSteps[code] : kDialogGainSteps.fallback;
}

}  // namespace Ac4PadUi
