// Ends of the AC-4 code tables and what a code past them shows; codes the
// status document tests show are left to them.

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "Ac4PadUi.h"

namespace {

struct Case {
  std::string got;
  const char* expected;
};

TEST(Ac4PadUiTest, TableEndsAndFallbacks) {
  using namespace Ac4PadUi;
  const Case cases[] = {
      {FrameRate(0), "23.98 fps"},
      {FrameRate(13), "23.44 fps"},
      {FrameRate(15), "Reserved"},
      {FrameRate(16), "Unknown"},
      {FrameRate(UINT_MAX), "Unknown"},
      {DeGainLimit(0), "0.0 dB"},
      {DeGainLimit(4), "12.0 dB"},
      {DeGainLimit(5), "Unknown"},
      {ChannelConfig(0), "2.0"},
      {ChannelConfig(3), "5.1.4"},
      {ChannelConfig(4), "Unknown"},
      {SpeakerConfig(0), "Stereo"},
      {SpeakerConfig(3), "5.1.2"},
      {SpeakerConfig(6), "5.1.4"},
      {SpeakerConfig(7), "Unknown"},
      {SpeakerConfig(static_cast<unsigned>(-1)), "Unknown"},
      {LoudnessRegulation(1, 4), "FreeTV OP-59"},
      {LoudnessRegulation(1, 5), "Reserved"},
      {LoudnessRegulation(1, 14), "Manual"},
      {LoudnessRegulation(1, 15), "Customer leveler"},
      {LoudnessRegulation(1, 16), "Reserved"},
      {DrcDecoderModeName(4), "Reserved"},
      {DrcDecoderModeName(8), "Reserved"},
      {StereoDmxGain(INT_MIN), "Not present"},
      {StereoDmxGain(0), "3.0 dB"},
      {StereoDmxGain(7), "-inf dB"},
      {StereoDmxGain(8), "Unknown"},
      {CdmxGain(1, 0), "0.0 dB"},
      {CdmxGain(1, 7), "-inf dB"},
      {CdmxGain(1, 8), "Unknown"},
      {PreferredDownmix(3), "Pro Logic II"},
      {PreferredDownmix(4), "Not present"},
      {DialogMaxGain(5), "Disabled"},
      {SubstreamDeMaxGain(1, 1), "3.0 dB"},
      {SubstreamDeMaxGain(1, 0), "Disabled"},
      {SubstreamDeMaxGain(1, 5), "Disabled"},
  };
  for (std::size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    EXPECT_EQ(cases[i].got, cases[i].expected) << "case " << i;
  }
}

TEST(Ac4PadUiTest, DecibelTextsOfVeryLargeValues) {
  // "%.2f" of the largest float is 42 characters before " dB": no truncation.
  EXPECT_EQ(Ac4PadUi::FloatDb(3.4028234663852886e38f, -200.0f),
            "340282346638528859811704183484516925440.00 dB");
  EXPECT_EQ(Ac4PadUi::FloatDb(-1e30f, -200.0f), "-inf dB");
}

}  // namespace
