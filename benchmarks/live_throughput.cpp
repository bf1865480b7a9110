// Measures the running daemon from the outside, as the decoder and the UI see
// it: records rendered per second at full rate with the daemon's resident
// memory (now and peak) after each round of typical DD+ records; then, per
// stream kind, latency from the decoder's send to the last document's receipt
// at 60 records/s and the daemon's CPU per record; its CPU while idle (no
// records); and how soon it exits after SIGTERM.
//
// Run inside the private namespace (fixed endpoints):
//   scripts/netns-run.sh build/benchmarks/bench_live [--kind K|all] [--records N]
//       [--seconds S] [--idle S] [--floor R]
// K is pcm, dd, ddp, dolby-e, ac4, ed2, largest-ac4 or largest-ed2 (default
// ddp); --records 0 skips the full-rate rounds (default 100000 for ddp alone,
// 0 otherwise); --seconds is per kind (default 10); --idle defaults to 20.
// --floor R then measures the transport floor (LiveFloor.h) against the
// daemon, R repeats of --seconds per kind and side, and prints each kind's
// latency as a ratio to the floor.
// For ED2 kinds the latency ends at the presentation document that follows
// the status document.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "BenchRecords.h"
#include "DaemonHarness.h"
#include "LiveFloor.h"
#include "Shared/Topics.h"
#include "Record/DolbyMetadataRecord.h"

namespace {

using Clock = std::chrono::steady_clock;
using harness::Message;
using harness::Ms;

const char* const kKinds[] = {"pcm", "dd",  "ddp", "dolby-e", "ac4", "ed2", "largest-ac4",
                               "largest-ed2"};

// The record sent for a kind (null for an unknown kind); the sequence number
// travels in the DZ pair so each document can be matched to its record.
std::unique_ptr<kv_dolby_metadata_t> KindRecord(const std::string& kind) {
  using namespace bench_records;
  std::unique_ptr<kv_dolby_metadata_t> rec;
  if (kind == "pcm") rec = BenchRecord(stream_type::kPcm, 0);
  if (kind == "dd" || kind == "ddp") {
    const bool plus = kind == "ddp";
    rec = BenchRecord(plus ? stream_type::kDolbyDigitalPlus : stream_type::kDolbyDigital,
                      DLB_PADC_UI_MD_TYPE_DDP);
    rec->md.ddp.datarate = plus ? 640 : 448;
    rec->md.ddp.acmod = 7;
    if (plus) {  // typical DD+ with objects
      rec->atmosDecode = 1;
      rec->md.ddp.atmosPresent = 1;
      rec->md.ddp.numDynObjects = 15;
      for (auto& flag : rec->md.ddp.bedChannels) flag = 1;
    }
  }
  if (kind == "dolby-e") {
    rec = BenchRecord(stream_type::kDolbyE, DLB_PADC_UI_MD_TYPE_DOLBYE);
    rec->md.dolbye.frameRate = 2500;
    rec->md.dolbye.programCount = 2;
    std::strcpy(rec->md.dolbye.programConfig, "5.1+2");
  }
  if (kind == "ac4") rec = BenchRecord(stream_type::kAc4, DLB_PADC_UI_MD_TYPE_AC4);
  if (kind == "ed2") rec = BenchRecord(stream_type::kEd2, DLB_PADC_UI_MD_TYPE_ED2);
  if (kind == "largest-ac4") rec = LargestAc4Record();
  if (kind == "largest-ed2") rec = LargestEd2Record();
  if (rec) rec->protoVer = kRecordProtoVersion;
  // An ED2 record without the update flag after the first one publishes the
  // presentation document only: flagged, each record yields both documents.
  if (rec && rec->typeId == stream_type::kEd2) rec->ed2StatusUpdate = 1;
  return rec;
}

long SequenceOf(const std::string& doc) {
  static const std::regex pair("\"Pair\":\\{\"Title\":\"Pair\",\"Data\":([0-9]+)");
  std::smatch m;
  return std::regex_search(doc, m, pair) ? std::stol(m[1]) : -1;
}

long ProcField(pid_t pid, const char* file, const char* key) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/" + file);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind(key, 0) == 0) return std::atol(line.c_str() + std::strlen(key));
  }
  return -1;
}

double CpuSeconds(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string f;
  unsigned long utime = 0, stime = 0;
  for (int i = 3; fields >> f; ++i) {
    if (i == 14) utime = std::stoul(f);
    if (i == 15) {
      stime = std::stoul(f);
      break;
    }
  }
  return double(utime + stime) / double(sysconf(_SC_CLK_TCK));
}

void Send(zsock_t* decoder, kv_dolby_metadata_t* rec, long seq) {
  rec->dzPair = static_cast<uint32_t>(seq);
  harness::SendBytes(decoder, topic::kDolbyMetadataEvent, rec, sizeof *rec);
}

// Sends `count` records as fast as the socket takes them; counts documents.
double FullRate(harness::Peers& peers, kv_dolby_metadata_t* rec, long count, long firstSeq) {
  long received = 0;
  const auto start = Clock::now();
  for (long i = 0; i < count; ++i) {
    Send(peers.decoder, rec, firstSeq + i);
    while (auto m = harness::Receive(peers.out, Ms(0))) {
      if (m->topic == topic::kDolbyMetadataGrp) ++received;
    }
  }
  while (auto m = harness::Receive(peers.out, Ms(500))) {
    if (m->topic == topic::kDolbyMetadataGrp) ++received;
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count() - 0.5;
  std::printf("  sent %ld records, %ld documents received (%.1f%%)\n", count, received,
              100.0 * double(received) / double(count));
  return double(received) / std::max(seconds, 1e-3);
}

double MicrosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// One kind's figures at 60 records/s.
struct Row {
  std::size_t bytes = 0;
  long sent = 0;
  std::vector<double> latencyUs;  // sorted
  double cpuPerRecordUs = 0, cpuShare = 0;
  double Median() const { return latencyUs[latencyUs.size() / 2]; }
  double P99() const { return latencyUs[std::min(latencyUs.size() - 1, latencyUs.size() * 99 / 100)]; }
};

// 60 records/s of one kind for `seconds`, sent on `decoder`, documents read
// on `out`. A document is matched to its record by the sequence number it
// carries or, with `inOrder` (the floor's stored documents carry none), to
// the oldest record still waiting.
Row Paced(zsock_t* decoder, zsock_t* out, pid_t pid, const std::string& kind, int seconds,
          long& seq, bool inOrder = false) {
  const auto rec = KindRecord(kind);
  const bool ed2 = kind == "ed2" || kind == "largest-ed2";
  std::map<long, Clock::time_point> sentAt;
  Row row;
  Clock::time_point pending{};  // ED2: status document seen, presentations next
  bool waiting = false;
  const double cpuBefore = CpuSeconds(pid);
  const auto start = Clock::now();
  const auto period = std::chrono::microseconds(1000000 / 60);
  for (auto next = start; Clock::now() - start < std::chrono::seconds(seconds); next += period) {
    sentAt[seq] = Clock::now();
    Send(decoder, rec.get(), seq++);
    ++row.sent;
    while (Clock::now() < next + period) {
      auto m = harness::Receive(out, Ms(1));
      if (!m) continue;
      if (m->topic == topic::kDolbyPAData && waiting) {
        row.latencyUs.push_back(MicrosecondsSince(pending));
        row.bytes = std::max(row.bytes, m->payload.size());
        waiting = false;
        continue;
      }
      if (m->topic != topic::kDolbyMetadataGrp) continue;
      const auto found = inOrder ? sentAt.begin() : sentAt.find(SequenceOf(m->payload));
      if (found == sentAt.end()) continue;
      row.bytes = std::max(row.bytes, m->payload.size());
      if (ed2) {
        pending = found->second;
        waiting = true;
      } else {
        row.latencyUs.push_back(MicrosecondsSince(found->second));
      }
      sentAt.erase(found);
    }
  }
  const double wall = std::chrono::duration<double>(Clock::now() - start).count();
  const double cpu = CpuSeconds(pid) - cpuBefore;
  std::sort(row.latencyUs.begin(), row.latencyUs.end());
  row.cpuPerRecordUs = 1e6 * cpu / double(row.sent);
  row.cpuShare = 100.0 * cpu / wall;
  return row;
}

// One table row of the kind's figures.
void PrintRow(const std::string& kind, const Row& row) {
  if (row.latencyUs.empty()) {
    std::printf("| %-11s | %7zu | %4ld | none matched | | | %5.1f%% |\n", kind.c_str(), row.bytes,
                row.sent, row.cpuShare);
    return;
  }
  std::printf("| %-11s | %7zu | %4zu | %6.0f | %6.0f | %6.0f | %6.0f | %5.1f%% |\n", kind.c_str(),
              row.bytes, row.latencyUs.size(), row.Median(), row.P99(), row.latencyUs.back(),
              row.cpuPerRecordUs, row.cpuShare);
}

// The daemon against the transport floor (the bare forwarder, a child
// process): per repeat and kind, `seconds` of records to each, one after the
// other; then per kind the ratios daemon / floor of the medians and of the
// p99s, the median over repeats with their range.
void FloorRatios(harness::Peers& peers, pid_t pid, const std::vector<std::string>& kinds,
                 int seconds, int repeats, long& seq) {
  char self[4096];
  const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return;
  self[length] = '\0';
  live_floor::Peers floorPeers;
  harness::DaemonProcess forwarder({live_floor::kForwarderOption}, self);
  const auto typical = KindRecord("ddp");
  if (!harness::SendUntil([&] { Send(floorPeers.decoder, typical.get(), 0); }, floorPeers.out,
                          Ms(10000), [](const Message& m) { return m.topic == topic::kDolbyMetadataGrp; })) {
    std::fprintf(stderr, "bench_live: the floor's forwarder did not answer\n");
    return;
  }
  while (harness::Receive(floorPeers.out, Ms(100))) {
  }
  std::map<std::string, std::vector<double>> medians, p99s;
  std::map<std::string, std::vector<Row>> floors, daemons;
  for (int r = 0; r < repeats; ++r) {
    for (const std::string& k : kinds) {
      const Row d = Paced(peers.decoder, peers.out, pid, k, seconds, seq);
      const Row f = Paced(floorPeers.decoder, floorPeers.out, forwarder.Pid(), k, seconds, seq, true);
      if (d.latencyUs.empty() || f.latencyUs.empty()) continue;
      medians[k].push_back(d.Median() / f.Median());
      p99s[k].push_back(d.P99() / f.P99());
      daemons[k].push_back(d);
      floors[k].push_back(f);
    }
  }
  std::printf("Against the transport floor, %d repeats of %d s per kind and side "
              "(ratio daemon / floor: median over repeats [lowest-highest]; times in us, "
              "medians over repeats):\n", repeats, seconds);
  std::printf("| kind        | bytes   | median ratio        | p99 ratio           | daemon median | floor median | daemon p99 | floor p99 |\n");
  auto mid = [](std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
  };
  for (const std::string& k : kinds) {
    if (medians[k].empty()) {
      std::printf("| %-11s | none matched |\n", k.c_str());
      continue;
    }
    std::vector<double> dm, fm, dp, fp;
    for (const Row& row : daemons[k]) dm.push_back(row.Median()), dp.push_back(row.P99());
    for (const Row& row : floors[k]) fm.push_back(row.Median()), fp.push_back(row.P99());
    const auto range = [&](const std::vector<double>& v) {
      return std::make_pair(*std::min_element(v.begin(), v.end()), *std::max_element(v.begin(), v.end()));
    };
    const auto mr = range(medians[k]), pr = range(p99s[k]);
    std::printf("| %-11s | %7zu | %4.2f [%4.2f-%4.2f] | %4.2f [%4.2f-%4.2f] | %6.0f | %6.0f | %6.0f | %6.0f |\n",
                k.c_str(), daemons[k].front().bytes, mid(medians[k]), mr.first, mr.second, mid(p99s[k]),
                pr.first, pr.second, mid(dm), mid(fm), mid(dp), mid(fp));
  }
  forwarder.Signal(SIGTERM);
  forwarder.WaitExit(Ms(5000));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], live_floor::kForwarderOption) == 0) {
    std::vector<std::unique_ptr<kv_dolby_metadata_t>> records;
    for (const char* k : kKinds) records.push_back(KindRecord(k));
    return live_floor::RunForwarder(records);
  }
  long records = -1;
  int floorRepeats = 0;
  int seconds = 10;
  int idle = 20;
  std::string kind = "ddp";
  for (int i = 1; i < argc; i += 2) {
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    if (value != nullptr && std::strcmp(argv[i], "--records") == 0) {
      records = std::atol(value);
    } else if (value != nullptr && std::strcmp(argv[i], "--seconds") == 0) {
      seconds = std::atoi(value);
    } else if (value != nullptr && std::strcmp(argv[i], "--idle") == 0) {
      idle = std::atoi(value);
    } else if (value != nullptr && std::strcmp(argv[i], "--floor") == 0) {
      floorRepeats = std::atoi(value);
    } else if (value != nullptr && std::strcmp(argv[i], "--kind") == 0) {
      kind = value;
    } else {
      std::fprintf(stderr, "bench_live: unknown or incomplete option '%s'\n", argv[i]);
      return 2;
    }
  }
  std::vector<std::string> kinds;
  if (kind == "all") {
    kinds.assign(std::begin(kKinds), std::end(kKinds));
  } else if (KindRecord(kind)) {
    kinds.push_back(kind);
  } else {
    std::fprintf(stderr, "bench_live: unknown kind '%s' (pcm, dd, ddp, dolby-e, ac4, ed2, "
                 "largest-ac4, largest-ed2, all)\n", kind.c_str());
    return 2;
  }
  if (records < 0) records = kind == "ddp" ? 100000 : 0;
  if (seconds < 1 || idle < 0) {
    std::fprintf(stderr, "bench_live: --seconds must be at least 1, --idle at least 0\n");
    return 2;
  }

  const auto typical = KindRecord("ddp");
  harness::Peers peers;
  harness::DaemonProcess daemon({"-s", "2", "-i", "lo"});
  auto decoding = harness::SendUntil(
      [&] { harness::Send(peers.hwm, topic::kHwmDlbZoom, "{}"); }, peers.out, Ms(10000),
      [](const Message& m) { return m.payload == harness::StateText("Decoding", "Dolby Zoom"); });
  auto first = harness::SendUntil(
      [&] { Send(peers.decoder, typical.get(), 0); }, peers.out, Ms(10000),
      [](const Message& m) { return m.topic == topic::kDolbyMetadataGrp; });
  if (!decoding || !first) {
    std::fprintf(stderr, "bench_live: the daemon did not start decoding (run inside netns-run.sh)\n");
    return 1;
  }
  const pid_t pid = daemon.Pid();
  std::printf("plovrestd pid %d, document %zu bytes\n", pid, first->payload.size());

  // Two rounds: the first grows the sockets' queues (up to their high-water
  // marks) and the allocator's arenas; a leak would keep growing in the second.
  const long rssBefore = ProcField(pid, "status", "VmRSS:");
  for (int round = 1; records > 0 && round <= 2; ++round) {
    std::printf("Full rate, round %d, %ld records:\n", round, records);
    const double rate = FullRate(peers, typical.get(), records, 1);
    std::printf("  rendered: %.0f records/s\n", rate);
    std::printf("  RSS before %ld kB, after round %d: %ld kB (peak so far %ld kB)\n", rssBefore, round,
                ProcField(pid, "status", "VmRSS:"), ProcField(pid, "status", "VmHWM:"));
  }

  std::printf("60 records/s for %d s per kind (latency in us, CPU per record in us):\n", seconds);
  std::printf("| kind        | bytes   | docs | median | p99    | max    | CPU/rec | CPU    |\n");
  long seq = records + 1;
  for (const std::string& k : kinds) PrintRow(k, Paced(peers.decoder, peers.out, pid, k, seconds, seq));
  if (floorRepeats > 0) FloorRatios(peers, pid, kinds, seconds, floorRepeats, seq);

  if (idle > 0) {
    while (harness::Receive(peers.out, Ms(100))) {
    }
    const double cpuBefore = CpuSeconds(pid);
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(idle));
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    std::printf("idle for %d s (no records): daemon CPU %.2f%% of one core\n", idle,
                100.0 * (CpuSeconds(pid) - cpuBefore) / wall);
  }

  // The harness polls every 2 ms, so the figure is good to about 2 ms.
  const auto stopAt = Clock::now();
  daemon.Signal(SIGTERM);
  const auto status = daemon.WaitExit(Ms(5000));
  std::printf("exit status %d, %.1f ms after SIGTERM\n", status ? *status : -999,
              std::chrono::duration<double, std::milli>(Clock::now() - stopAt).count());
  return status == 0 ? 0 : 1;
}
