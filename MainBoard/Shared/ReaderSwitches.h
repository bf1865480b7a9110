#pragma once
// The switches the main thread's dispatcher (Control) sets and the decoder
// status reader (Reader) reads once per pass: static members of
// cDlbStatusSubx as designed, defined here so that the control plane needs
// nothing of the reader. All relaxed atomics; a change is seen at the
// reader's next pass.

#include <atomic>
#include <cstdint>

class cDlbStatusSwitches {
 public:
  static std::atomic<bool> mbDolbyZoomStatus;  // record decoding enabled
  static std::atomic<int> miDecodingSource;    // 1 Dolby Zoom, 2 Dolby Preset, other none
  static std::atomic<int> miVidLnNoForZP;        // video line of the zoom point
  static std::atomic<int> miVidLnNoForNextToZP;  // video line next to the zoom point
  static std::atomic<std::int64_t> mlEd2MAFactor;        // ED2 misalignment factor, thousandths

  // Values of miDecodingSource.
  static constexpr int kSourceDolbyZoom = 1;
  static constexpr int kSourceDolbyPreset = 2;
};
