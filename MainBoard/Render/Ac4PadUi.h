#pragma once
// Display texts of the AC-4 status entries: value formatting and the
// code-to-text tables. Every table is bounded: a code outside it yields the
// table's fallback text, never a read past its end.

#include <cstddef>
#include <string>

namespace Ac4PadUi {

// printf-style formatting into a std::string (bounded, never overflows).
std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The value with two decimals, exactly as "%.2f" prints it (without printf).
std::string TwoDecimals(float value);

// "-inf dB" when floor + 0.05 >= value (computed in single precision, so a
// value entered as the threshold itself counts as -inf), else "%.2f dB".
std::string FloatDb(float value, float floor);

// "Unavailable" for a negative rate, else the rate rounded to whole kbps
// ("%d kbps", half up).
std::string BitrateKbps(int bitsPerSecond);

// Stream level.
const char* FrameRate(unsigned int code);      // 0..15, else "Unknown"
const char* DeGainLimit(unsigned char code);   // 0..4, else "Unknown"
const char* ChannelConfig(unsigned int code);  // decoder output, 0..3, else "Unknown"
const char* SpeakerConfig(unsigned int code);  // header speakerConfig, 0..6, else "Unknown"

// Presentation level.
// "Not present" unless present; 0..15 from the table, "Reserved" above.
const char* LoudnessRegulation(unsigned char present, unsigned char code);
const char* DrcDecoderModeName(unsigned int mode);  // 0..3 named, else "Reserved"
// DRC profile code -1..9 ("Not present" .. "Gains only"), else "Reserved".
const char* DrcProfile(int code);
// "Not present" when negative; 0..7 from the table, "Unknown" above.
const char* StereoDmxGain(int code);
// "Not present" unless present; 0..7 from the table, "Unknown" above.
const char* CdmxGain(unsigned char present, unsigned char code);
const char* PreferredDownmix(unsigned int code);  // 0..3, else "Not present"

// Substream level.
const char* DialogMaxGain(unsigned char code);  // 0..4, else "Disabled"
// Table text only for codes 1..4 with dialogue enhancement enabled, else "Disabled".
const char* SubstreamDeMaxGain(unsigned char enabled, unsigned char code);

}  // namespace Ac4PadUi
