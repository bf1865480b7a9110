// Measures the running daemon from the outside, as the decoder and the UI see
// it: records rendered per second at full rate, latency from the decoder's
// send to the document's receipt (at 60 records/s), the daemon's CPU share at
// 60 records/s, and its resident memory (now and peak) after each round of
// 100,000 records at full rate, and how soon it exits after SIGTERM.
//
// Run inside the private namespace (fixed endpoints):
//   scripts/netns-run.sh build/benchmarks/bench_live [--records N] [--seconds S]

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

#include "DaemonHarness.h"
#include "Messaging/Topics.h"
#include "Record/DolbyMetadataRecord.h"

namespace {

using Clock = std::chrono::steady_clock;
using harness::Message;
using harness::Ms;

// A typical Dolby Digital Plus record with objects; the sequence number
// travels in the DZ pair so each document can be matched to its record.
kv_dolby_metadata_t* TypicalRecord() {
  static kv_dolby_metadata_t rec;
  std::memset(&rec, 0, sizeof rec);
  rec.protoVer = kRecordProtoVersion;
  rec.typeId = stream_type::kDolbyDigitalPlus;
  rec.mdType = DLB_PADC_UI_MD_TYPE_DDP;
  rec.inputType = SYS_INPUT_TYPE_SDI;
  rec.atmosDecode = 1;
  rec.md.ddp.datarate = 640;
  rec.md.ddp.acmod = 7;
  rec.md.ddp.atmosPresent = 1;
  rec.md.ddp.numDynObjects = 15;
  for (auto& flag : rec.md.ddp.bedChannels) flag = 1;
  return &rec;
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

void Send(harness::Peers& peers, long seq) {
  kv_dolby_metadata_t* rec = TypicalRecord();
  rec->dzPair = static_cast<uint32_t>(seq);
  harness::SendBytes(peers.decoder, topic::kDolbyMetadataEvent, rec, sizeof *rec);
}

// Sends `count` records as fast as the socket takes them; counts documents.
double FullRate(harness::Peers& peers, long count, long firstSeq) {
  long received = 0;
  const auto start = Clock::now();
  for (long i = 0; i < count; ++i) {
    Send(peers, firstSeq + i);
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

}  // namespace

int main(int argc, char** argv) {
  long records = 100000;
  int seconds = 10;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--records") == 0) records = std::atol(argv[i + 1]);
    if (std::strcmp(argv[i], "--seconds") == 0) seconds = std::atoi(argv[i + 1]);
  }

  harness::Peers peers;
  harness::DaemonProcess daemon({"-s", "2", "-i", "lo"});
  auto decoding = harness::SendUntil(
      [&] { harness::Send(peers.hwm, topic::kHwmDlbZoom, "{}"); }, peers.out, Ms(10000),
      [](const Message& m) { return m.payload == harness::StateText("Decoding", "Dolby Zoom"); });
  auto first = harness::SendUntil([&] { Send(peers, 0); }, peers.out, Ms(10000), [](const Message& m) {
    return m.topic == topic::kDolbyMetadataGrp;
  });
  if (!decoding || !first) {
    std::fprintf(stderr, "bench_live: the daemon did not start decoding (run inside netns-run.sh)\n");
    return 1;
  }
  const pid_t pid = daemon.Pid();
  std::printf("plovrestd pid %d, document %zu bytes\n", pid, first->payload.size());

  // Two rounds: the first grows the sockets' queues (up to their high-water
  // marks) and the allocator's arenas; a leak would keep growing in the second.
  const long rssBefore = ProcField(pid, "status", "VmRSS:");
  for (int round = 1; round <= 2; ++round) {
    std::printf("Full rate, round %d, %ld records:\n", round, records);
    const double rate = FullRate(peers, records, 1);
    std::printf("  rendered: %.0f records/s\n", rate);
    std::printf("  RSS before %ld kB, after round %d: %ld kB (peak so far %ld kB)\n", rssBefore, round,
                ProcField(pid, "status", "VmRSS:"), ProcField(pid, "status", "VmHWM:"));
  }

  std::printf("60 records/s for %d s:\n", seconds);
  std::map<long, Clock::time_point> sentAt;
  std::vector<double> latencyUs;
  const double cpuBefore = CpuSeconds(pid);
  const auto start = Clock::now();
  const auto period = std::chrono::microseconds(1000000 / 60);
  long seq = records + 1;
  for (auto next = start; Clock::now() - start < std::chrono::seconds(seconds); next += period) {
    sentAt[seq] = Clock::now();
    Send(peers, seq++);
    while (Clock::now() < next + period) {
      auto m = harness::Receive(peers.out, Ms(1));
      if (!m || m->topic != topic::kDolbyMetadataGrp) continue;
      const auto found = sentAt.find(SequenceOf(m->payload));
      if (found == sentAt.end()) continue;
      latencyUs.push_back(std::chrono::duration<double, std::micro>(Clock::now() - found->second).count());
      sentAt.erase(found);
    }
  }
  const double wall = std::chrono::duration<double>(Clock::now() - start).count();
  const double cpu = CpuSeconds(pid) - cpuBefore;
  std::sort(latencyUs.begin(), latencyUs.end());
  if (!latencyUs.empty()) {
    std::printf("  %zu documents matched; latency median %.0f us, p99 %.0f us, max %.0f us\n",
                latencyUs.size(), latencyUs[latencyUs.size() / 2],
                latencyUs[std::min(latencyUs.size() - 1, latencyUs.size() * 99 / 100)],
                latencyUs.back());
  }
  std::printf("  daemon CPU: %.1f%% of one core\n", 100.0 * cpu / wall);

  // The harness polls every 2 ms, so the figure is good to about 2 ms.
  const auto stopAt = Clock::now();
  daemon.Signal(SIGTERM);
  const auto status = daemon.WaitExit(Ms(5000));
  std::printf("exit status %d, %.1f ms after SIGTERM\n", status ? *status : -999,
              std::chrono::duration<double, std::milli>(Clock::now() - stopAt).count());
  return status == 0 ? 0 : 1;
}
