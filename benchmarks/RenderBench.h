#pragma once
// Shared by the rendering benchmarks: a record as the device sends it and the
// timed render + serialise loop with its counters:
//   bytes       size of the document
//   pool        bytes of the renderer's pool the document uses
//   allocs      heap allocations per warm render (malloc, calloc, realloc and
//               operator new, counted by the hook in bench_render_alloc.cpp)
//   vs_writer   render + serialise time over the stock rapidjson::Writer on
//               the same document, both timed side by side in this run
//   cold_ratio  first render over a warm one, in a fresh process (the case is
//               run again in children started with PLOVREST_COLD_PROBE set;
//               median of five)

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BenchRecords.h"

// Heap allocations since the process started (bench_render_alloc.cpp).
long HeapAllocations();

namespace render_bench {

using Clock = std::chrono::steady_clock;

// Seconds per call of f, over `calls` calls.
template <typename F>
double PerCall(long calls, F&& f) {
  const auto start = Clock::now();
  for (long i = 0; i < calls; ++i) f();
  return std::chrono::duration<double>(Clock::now() - start).count() / double(calls);
}

inline double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

// In the child: the first render of this fresh process over the median of
// warm ones, printed for the parent; the child then leaves.
template <typename Renderer, typename Render>
[[noreturn]] void ProbeCold(Renderer& renderer, Render& render) {
  const double first = PerCall(1, [&] { render(renderer); });
  std::vector<double> warm;
  for (int i = 0; i < 201; ++i) warm.push_back(PerCall(1, [&] { render(renderer); }));
  std::printf("\ncold_ratio=%.3f\n", first / Median(warm));
  std::fflush(stdout);
  std::_Exit(0);
}

// The cold ratio of case `name`: the median over five child processes (one
// first render each, so a single preemption does not make the figure); 0
// when no child gave one.
inline double ColdRatio(const char* name) {
  static std::map<std::string, double> measured;
  const auto known = measured.find(name);
  if (known != measured.end()) return known->second;
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  std::vector<double> ratios;
  if (length > 0) {
    self[length] = '\0';
    const std::string command = std::string("PLOVREST_COLD_PROBE=1 '") + self +
                                "' --benchmark_filter='^" + name + "$' 2>/dev/null";
    for (int child = 0; child < 5; ++child) {
      FILE* out = popen(command.c_str(), "r");
      if (out == nullptr) continue;
      char line[256];
      double ratio = 0;
      while (std::fgets(line, sizeof line, out)) std::sscanf(line, "cold_ratio=%lf", &ratio);
      pclose(out);
      if (ratio > 0) ratios.push_back(ratio);
    }
  }
  return measured[name] = ratios.empty() ? 0 : Median(ratios);
}

}  // namespace render_bench

// Times render(renderer, record) (which renders and serialises) and reports
// the counters above for case `name` (the benchmark's registered name). The
// record is a copy of `sent` made once the renderer exists, as the reader
// copies each frame just before rendering it: fresh in cache, not left
// behind by the renderer's start-up.
template <typename Renderer, typename Render>
void TimeRendering(benchmark::State& state, const char* name, Renderer* renderer,
                   const kv_dolby_metadata_t& sent, Render renderTo) {
  using namespace render_bench;
  if (renderer == nullptr) {
    state.SkipWithError("no renderer");
    return;
  }
  const auto received = std::make_unique<kv_dolby_metadata_t>(sent);
  auto render = [&](Renderer& r) { renderTo(r, *received); };
  if (std::getenv("PLOVREST_COLD_PROBE") != nullptr) ProbeCold(*renderer, render);
  render(*renderer);  // the first render is the cold one, measured apart
  const long allocsBefore = HeapAllocations();
  for (auto _ : state) {
    render(*renderer);
    benchmark::DoNotOptimize(renderer->GetString());
  }
  const long allocs = HeapAllocations() - allocsBefore;
  state.counters["bytes"] = static_cast<double>(renderer->GetSize());
  state.counters["pool"] = static_cast<double>(renderer->PoolUsed());
  const auto iterations = std::max<benchmark::IterationCount>(state.iterations(), 1);
  state.counters["allocs"] = double(allocs) / double(iterations);

  // Side by side: batches of renders and of stock writes of the same DOM,
  // alternated, medians compared.
  rapidjson::StringBuffer stock;
  const long calls = std::max<long>(1, std::min<long>(static_cast<long>(iterations) / 8, 2000));
  std::vector<double> ours, theirs;
  for (int round = 0; round < 7; ++round) {
    ours.push_back(PerCall(calls, [&] { render(*renderer); }));
    theirs.push_back(PerCall(calls, [&] {
      stock.Clear();
      rapidjson::Writer<rapidjson::StringBuffer> writer(stock);
      renderer->Doc().Accept(writer);
      benchmark::DoNotOptimize(stock.GetString());
    }));
  }
  state.counters["vs_writer"] = Median(ours) / Median(theirs);
  state.counters["cold_ratio"] = ColdRatio(name);
}
