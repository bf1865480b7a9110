// Instructions per record of the running daemon's reader pass: receiving the
// record, copying and checking it, rendering and serialising its documents
// and publishing them with the decoder-state message, for
// scripts/bench-instructions.sh. Runs plovrestd under callgrind, counting only
// inside the reader's pass, sends each case's record
// (benchmarks/InstructionCases.h) `records` times, one at a time, and has
// callgrind dump the count after each case (callgrind_control); prints
//   pass/CASE <instructions per record>
//
// Run inside the private namespace (fixed endpoints):
//   scripts/netns-run.sh build/benchmarks/bench_pass_instructions --out DIR
//       [--records N] [--valgrind PATH]
// DIR receives callgrind's parts (pass.out.N); N defaults to 10.

#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "DaemonHarness.h"
#include "InstructionCases.h"
#include "Shared/Topics.h"

namespace {

using harness::Message;
using harness::Ms;

// Callgrind's output file; each dump is written with its number appended.
constexpr const char* kPartName = "pass.out";
constexpr const char* kPassFunction = "cDlbStatusSubx::ReceivePass*";
// Under callgrind the daemon runs some 50 times slower than natively.
constexpr Ms kSlow{60000};

// Has callgrind (process `pid`) run `command` ("-z" zero, "-d NAME" dump).
bool Control(const std::string& valgrind, pid_t pid, const std::string& command) {
  const std::string dir = valgrind.substr(0, valgrind.rfind('/') + 1);
  const std::string line = dir + "callgrind_control " + command + " " + std::to_string(pid) + " >/dev/null 2>&1";
  return std::system(line.c_str()) == 0;
}

// The instructions recorded in part `n` (its "totals:" line), -1 when absent.
long PartInstructions(const std::string& dir, int n) {
  std::ifstream in(dir + "/" + kPartName + "." + std::to_string(n));
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("totals:", 0) == 0) return std::atol(line.c_str() + 7);
  }
  return -1;
}

// Sends one record and waits for its last document.
bool Pass(harness::Peers& peers, const kv_dolby_metadata_t& rec) {
  harness::SendBytes(peers.decoder, topic::kDolbyMetadataEvent, &rec, sizeof rec);
  const bool ed2 = instruction_cases::HasPresentation(rec);
  const char* last = ed2 ? topic::kDolbyPAData : topic::kDolbyMetadataGrp;
  if (ed2 && !harness::ReceiveUntil(peers.out, kSlow, [](const Message& m) {
        return m.topic == topic::kDolbyMetadataGrp;
      })) {
    return false;
  }
  return harness::ReceiveUntil(peers.out, kSlow, [&](const Message& m) { return m.topic == last; })
      .has_value();
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir, valgrind = "/usr/bin/valgrind";
  int records = 10;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--out") == 0) dir = argv[i + 1];
    else if (std::strcmp(argv[i], "--records") == 0) records = std::atoi(argv[i + 1]);
    else if (std::strcmp(argv[i], "--valgrind") == 0) valgrind = argv[i + 1];
    else dir.clear(), i = argc;
  }
  if (dir.empty() || argc % 2 == 0 || records < 1) {
    std::fprintf(stderr, "usage: bench_pass_instructions --out DIR [--records N] [--valgrind PATH]\n");
    return 2;
  }

  harness::Peers peers;
  const std::string pattern = kPassFunction;
  harness::DaemonProcess daemon({"--tool=callgrind", "--toggle-collect=" + pattern,
                                 "--callgrind-out-file=" + dir + "/" + kPartName,
                                 harness::DaemonPath(), "-s", "2", "-i", "lo"},
                                valgrind);
  const auto first = instruction_cases::kCases[0].make();
  const bool decoding = harness::SendUntil(
      [&] { harness::Send(peers.hwm, topic::kHwmDlbZoom, "{}"); }, peers.out, kSlow,
      [](const Message& m) { return m.payload == harness::StateText("Decoding", "Dolby Zoom"); },
      Ms(500)).has_value();
  const bool rendering = decoding && harness::SendUntil(
      [&] { harness::SendBytes(peers.decoder, topic::kDolbyMetadataEvent, first.get(), sizeof *first); },
      peers.out, kSlow, [](const Message& m) { return m.topic == topic::kDolbyMetadataGrp; },
      Ms(500)).has_value();
  if (!rendering) {
    std::fprintf(stderr, "bench_pass_instructions: the daemon did not start decoding under %s "
                 "(run inside netns-run.sh)\n%s", valgrind.c_str(), daemon.Stderr().c_str());
    return 1;
  }
  // The records sent until the daemon answered are counted before the
  // counters are zeroed; each dump after that holds one case's records.
  harness::ReceiveUntil(peers.out, Ms(2000), [](const Message&) { return false; });
  if (!Control(valgrind, daemon.Pid(), "-z")) return 1;
  int part = 0;
  std::vector<std::pair<const char*, int>> parts;
  for (const auto& c : instruction_cases::kCases) {
    const auto rec = c.make();
    for (int i = 0; i < records; ++i) {
      if (!Pass(peers, *rec)) {
        std::fprintf(stderr, "bench_pass_instructions: no document for %s\n", c.name);
        return 1;
      }
    }
    // The pass ends a little after its last document leaves.
    std::this_thread::sleep_for(Ms(300));
    if (!Control(valgrind, daemon.Pid(), std::string("-d pass/") + c.name)) return 1;
    parts.emplace_back(c.name, ++part);
  }
  daemon.Signal(SIGTERM);
  daemon.WaitExit(kSlow);
  for (const auto& [name, n] : parts) {
    const long count = PartInstructions(dir, n);
    if (count <= 0) {
      std::fprintf(stderr, "bench_pass_instructions: no count for %s\n%s", name, daemon.Stderr().c_str());
      return 1;
    }
    std::printf("pass/%s %ld\n", name, (count + records / 2) / records);
  }
  return 0;
}
