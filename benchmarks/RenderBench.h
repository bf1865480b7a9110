#pragma once
// Shared by the rendering benchmarks: a record as the device sends it and the
// timed render + serialise loop.

#include <benchmark/benchmark.h>

#include <memory>

#include "RecordFactory.h"

// A zeroed record on an SDI input, DZ pair 1, 5.1.4 output.
inline std::unique_ptr<kv_dolby_metadata_t> BenchRecord(int32_t typeId, uint32_t mdType) {
  auto rec = NewRecord(typeId, mdType);
  rec->inputType = SYS_INPUT_TYPE_SDI;
  rec->dzPair = 1;
  rec->speakerConfig = 4;
  return rec;
}

// Times render(renderer) (which renders and serialises) and reports the size
// of the document it leaves.
template <typename Renderer, typename Render>
void TimeRendering(benchmark::State& state, Renderer* renderer, Render render) {
  if (renderer == nullptr) {
    state.SkipWithError("no renderer");
    return;
  }
  for (auto _ : state) {
    render(*renderer);
    benchmark::DoNotOptimize(renderer->GetString());
  }
  state.counters["bytes"] = static_cast<double>(renderer->GetSize());
}
