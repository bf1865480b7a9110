// Instructions per render + serialise of each case's documents, and of the
// stock rapidjson::Writer on the same documents, for
// scripts/bench-instructions.sh. Run under
//   valgrind --tool=callgrind --collect-atstart=no
// each count is dumped as one profile part named "render/CASE",
// "writer/CASE" (status document) or "render-pa/CASE", "writer-pa/CASE"
// (presentation document, ED2 cases), covering `loops` records; the renderers'
// start-up and the first (warming) render are outside every part.
//
//   bench_instructions [--loops N]      (default 10)

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "CallgrindMarks.h"
#include "InstructionCases.h"
#include "MetadataJsonPaData.h"
#include "PADMetadataJsonDecStatus.h"

namespace {

constexpr long kNow = 1700000000;

// Counts `loops` renders by render(renderer) and as many stock writes of the
// document it leaves, as parts "<prefix>/CASE" and "writer<suffix>/CASE".
template <typename Renderer, typename Render>
void CountDocument(const std::string& caseName, const char* renderPart, const char* writerPart,
                   Renderer& renderer, long loops, Render render) {
  render(renderer);  // warm: the pool and the buffer hold this document already
  callgrind_marks::CountLoops((renderPart + caseName).c_str(), loops, [&] { render(renderer); });
  rapidjson::StringBuffer stock;
  callgrind_marks::CountLoops((writerPart + caseName).c_str(), loops, [&] {
    stock.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(stock);
    renderer.Doc().Accept(writer);
  });
  if (stock.GetSize() != renderer.GetSize() ||
      std::memcmp(stock.GetString(), renderer.GetString(), stock.GetSize()) != 0) {
    std::fprintf(stderr, "bench_instructions: %s: the stock writer wrote another document\n",
                 caseName.c_str());
    std::exit(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  long loops = 10;
  if (argc == 3 && std::strcmp(argv[1], "--loops") == 0) loops = std::atol(argv[2]);
  if ((argc != 1 && argc != 3) || loops < 1) {
    std::fprintf(stderr, "usage: bench_instructions [--loops N]\n");
    return 2;
  }
  if (!PLOVREST_HAVE_CALLGRIND) {
    std::fprintf(stderr, "bench_instructions: built without valgrind/callgrind.h; nothing to count\n");
    return 1;
  }
  cPADMetadataJsonDecStatus* status = cPADMetadataJsonDecStatus::GetInstance();
  cMetadataJsonPaData* presentation = cMetadataJsonPaData::GetInstance();
  if (status == nullptr || presentation == nullptr) return 1;
  for (const auto& c : instruction_cases::kCases) {
    const auto received = c.make();  // the reader's copy of the frame
    const kv_dolby_metadata_t& rec = *received;
    CountDocument(c.name, "render/", "writer/", *status, loops,
                  [&](cPADMetadataJsonDecStatus& r) { r.PrepareMetadataJson(rec, kNow); });
    if (!instruction_cases::HasPresentation(rec)) continue;
    CountDocument(c.name, "render-pa/", "writer-pa/", *presentation, loops,
                  [&](cMetadataJsonPaData& r) { r.PreparePaMetadataJson(rec, rec.atmosDecode != 0, kNow); });
  }
  return 0;
}
