#pragma once
// What the reader thread reports to the main thread's supervision (service
// readiness, keep-alives and status). The reader writes, the main thread
// reads; every value is a relaxed atomic and nothing waits on another.

#include <atomic>
#include <cstdint>

struct cReaderActivity {
  // Passes of the reader's loop, slices of its waits included: a value that
  // stops changing means the thread is stuck.
  static inline std::atomic<std::uint32_t> muPasses{0};
  // Records rendered since start (decoding on, usable record).
  static inline std::atomic<std::uint32_t> muRecords{0};
  // Header of the last record rendered, -1 before the first.
  static inline std::atomic<int> miMdType{-1};
  static inline std::atomic<int> miTypeId{-1};
  // The last decoder-state text published (a string literal), null before
  // the first.
  static inline std::atomic<const char*> mpDecoderState{nullptr};
  // True while the publishing endpoint's socket file is the daemon's own.
  static inline std::atomic<bool> mbEndpointBound{false};

  // One more pass of the reader's loop.
  static void Pass() { muPasses.store(muPasses.load(kOrder) + 1, kOrder); }

  static constexpr std::memory_order kOrder = std::memory_order_relaxed;
};
