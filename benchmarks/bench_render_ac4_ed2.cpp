// Rendering and serialising the largest AC-4 status document and the largest
// ED2 presentation and object document.

#include <memory>

#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"
#include "BenchRecords.h"
#include "RenderBench.h"

namespace {

using namespace bench_records;

constexpr long kNow = 1700000000;

void RenderStatus(cPADMetadataJsonDecStatus& r, const kv_dolby_metadata_t& received) {
  r.PrepareMetadataJson(received, kNow);
}

void BM_Ac4StatusLargest(benchmark::State& state) {
  const auto rec = LargestAc4Record();
  TimeRendering(state, __func__, cPADMetadataJsonDecStatus::GetInstance(), *rec, RenderStatus);
}
BENCHMARK(BM_Ac4StatusLargest)->Unit(benchmark::kMicrosecond);

void BM_Ed2StatusTwoPairs(benchmark::State& state) {
  const auto rec = LargestEd2Record();
  TimeRendering(state, __func__, cPADMetadataJsonDecStatus::GetInstance(), *rec, RenderStatus);
}
BENCHMARK(BM_Ed2StatusTwoPairs)->Unit(benchmark::kMicrosecond);

void BM_Ed2PresentationsLargest(benchmark::State& state) {
  const auto rec = LargestEd2Record();
  TimeRendering(state, __func__, cMetadataJsonPaData::GetInstance(), *rec,
                [](cMetadataJsonPaData& r, const kv_dolby_metadata_t& received) {
                  r.PreparePaMetadataJson(received, true, kNow);
                });
}
BENCHMARK(BM_Ed2PresentationsLargest)->Unit(benchmark::kMicrosecond);

}  // namespace
