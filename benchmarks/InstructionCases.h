#pragma once
// The cases whose instructions per record scripts/bench-instructions.sh
// counts: one record per case, rendered alone (bench_instructions) and taken
// through the running daemon's reader pass (bench_pass_instructions). The
// names are the baseline's keys (benchmarks/instructions-baseline.txt).

#include <memory>

#include "BenchRecords.h"

namespace instruction_cases {

struct Case {
  const char* name;
  std::unique_ptr<kv_dolby_metadata_t> (*make)();
};

// An ED2 record that reports a status change: each one yields the status
// document and then the presentation document.
inline std::unique_ptr<kv_dolby_metadata_t> Updating(std::unique_ptr<kv_dolby_metadata_t> rec) {
  rec->ed2StatusUpdate = 1;
  return rec;
}

inline const Case kCases[] = {
    {"pcm", [] { return bench_records::PcmRecord(); }},
    {"ddp", [] { return bench_records::DdpRecord(false); }},
    {"ddp-objects", [] { return bench_records::DdpRecord(true); }},
    {"dolby-e-2", [] { return bench_records::DolbyERecord(2); }},
    {"dolby-e-16", [] { return bench_records::DolbyERecord(255); }},
    {"ac4", [] { return BenchRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4); }},
    {"ac4-largest", [] { return bench_records::LargestAc4Record(); }},
    {"ed2", [] { return Updating(BenchRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2)); }},
    {"ed2-largest", [] { return Updating(bench_records::LargestEd2Record()); }},
};

// True for the cases whose records also yield the presentation document.
inline bool HasPresentation(const kv_dolby_metadata_t& rec) {
  return rec.mdType == DLB_PADC_UI_MD_TYPE_ED2;
}

}  // namespace instruction_cases
