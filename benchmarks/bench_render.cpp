// Rendering and serialising one decoder record into the status document, for
// a typical and a worst-case record of each stream kind.

#include <cstring>
#include <memory>

#include "PADMetadataJsonDecStatus.h"
#include "RenderBench.h"

namespace {

std::unique_ptr<kv_dolby_metadata_t> PcmRecord() { return BenchRecord(stream_type::kPcm, 0); }

std::unique_ptr<kv_dolby_metadata_t> DdpRecord(bool objects) {
  auto rec = BenchRecord(stream_type::kDolbyDigitalPlus, DLB_PADC_UI_MD_TYPE_DDP);
  dlb_padc_ui_md_ddp_s& d = rec->md.ddp;
  d.datarate = 640;
  d.acmod = 7;
  d.bsid = 16;
  d.lfeon = 1;
  d.dialnorm = 24;
  d.mixlevel = 25;
  d.roomtyp = 1;
  d.dmixmod = 1;
  d.ltrtcmixlev = 4;
  d.ltrtsurmixlev = 4;
  d.lorocmixlev = 4;
  d.lorosurmixlev = 4;
  if (objects) {
    rec->atmosDecode = 1;
    d.atmosPresent = 1;
    d.numDynObjects = kDdpMaxObjects;
    d.complexityIndex = 16;
    d.surroundTrim = DLB_PADC_TRIM_AUTO;
    d.heightTrim = DLB_PADC_TRIM_AUTO;
    for (int i = 0; i < kDdpMaxObjects; ++i) {
      d.objects[i] = {i / 15.0f, 1.0f - i / 15.0f, 0.5f, DLB_PADC_OBJECT_DIALOGUE};
    }
    std::memset(d.bedChannels, 1, sizeof d.bedChannels);
  }
  return rec;
}

std::unique_ptr<kv_dolby_metadata_t> DolbyERecord(uint8_t programCount) {
  auto rec = BenchRecord(stream_type::kDolbyE, DLB_PADC_UI_MD_TYPE_DOLBYE);
  dlb_padc_ui_md_dolbye_s& e = rec->md.dolbye;
  e.frameRate = 2500;
  e.bitDepth = 20;
  e.currentProgram = 1;
  e.programCount = programCount;
  std::strcpy(e.programConfig, "5.1+2x2");
  for (auto& p : e.programs) {
    p.acmod = 7;
    p.lfeon = 1;
    p.dialnorm = 27;
    p.mixlevel = 25;
    p.dynrngProfile = 1;
    p.comprProfile = 1;
    p.ltrtcmixlev = 4;
  }
  return rec;
}

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
