// Rendering and serialising one decoder record into the status document, for
// a typical and a worst-case record of each stream kind.

#include <memory>

#include "BenchRecords.h"
#include "PADMetadataJsonDecStatus.h"
#include "RenderBench.h"

namespace {

using namespace bench_records;

void RenderRecord(benchmark::State& state, const char* name,
                  std::unique_ptr<kv_dolby_metadata_t> rec) {
  long now = 1700000000;
  TimeRendering(state, name, cPADMetadataJsonDecStatus::GetInstance(), *rec,
                [&](cPADMetadataJsonDecStatus& r, const kv_dolby_metadata_t& received) {
                  r.PrepareMetadataJson(received, ++now);
                });
}

void BM_RenderPcm(benchmark::State& state) {
  RenderRecord(state, __func__, PcmRecord());
}
void BM_RenderDdp(benchmark::State& state) {
  RenderRecord(state, __func__, DdpRecord(false));
}
void BM_RenderDdpObjectsAllBeds(benchmark::State& state) {
  RenderRecord(state, __func__, DdpRecord(true));
}
void BM_RenderDolbyETwoPrograms(benchmark::State& state) {
  RenderRecord(state, __func__, DolbyERecord(2));
}
void BM_RenderDolbyEEightPrograms(benchmark::State& state) {
  RenderRecord(state, __func__, DolbyERecord(8));
}
// A count of 255 walks the most programs the renderer shows: 16.
void BM_RenderDolbyECount255(benchmark::State& state) {
  RenderRecord(state, __func__, DolbyERecord(255));
}

BENCHMARK(BM_RenderPcm);
BENCHMARK(BM_RenderDdp);
BENCHMARK(BM_RenderDdpObjectsAllBeds);
BENCHMARK(BM_RenderDolbyETwoPrograms);
BENCHMARK(BM_RenderDolbyEEightPrograms);
BENCHMARK(BM_RenderDolbyECount255);

}  // namespace
