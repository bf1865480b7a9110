#pragma once
// Records as large as each stream kind allows: every count at its limit,
// every optional field present, every text at its full width, numbers with
// fractions. The renderers render them once at start-up, so that the pages
// and the code that the largest documents need are in place before the
// first record arrives; then the smallest record of each kind, so that what
// stays in the caches is the path every document of that kind takes rather
// than the tail of the largest one.

#include "Record/DolbyMetadataRecord.h"

namespace largest_records {

// Stream kinds, one record each: PCM, Dolby Digital Plus with object audio
// and every bed, Dolby E with 16 programs, AC-4 with 16 presentations and
// 64 substreams, ED2 with object audio, 16 presentations, 9 beds and 16
// dynamic objects.
constexpr int32_t kKinds[] = {stream_type::kPcm, stream_type::kDolbyDigitalPlus, stream_type::kDolbyE,
                              stream_type::kAc4, stream_type::kEd2};

// Overwrites rec with the largest record of kind typeId (one of kKinds).
void Fill(int32_t typeId, kv_dolby_metadata_t& rec);
// Overwrites rec with the smallest record of kind typeId: the header that
// selects the kind, an empty block.
void FillSmallest(int32_t typeId, kv_dolby_metadata_t& rec);

}  // namespace largest_records
