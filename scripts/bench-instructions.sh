#!/usr/bin/env bash
# Instructions per record, counted under callgrind, and the gate on them:
# each render case (render + serialise of one record's document, beside the
# stock rapidjson Writer writing the same document) and the running daemon's
# reader pass for one record of each case (receive, copy and check, render,
# serialise, publish). Counts do not depend on the machine's load; they do
# depend on the architecture, compiler and libraries: the baseline is x86-64's
# (Debian's toolchain, RelWithDebInfo), and other machines only report.
#
#   scripts/bench-instructions.sh             count, print the table, compare with the baseline
#   scripts/bench-instructions.sh --update    count and rewrite the baseline (say why in the commit)
#   scripts/bench-instructions.sh --build-dir DIR   use DIR (default build/, configured by scripts/test.sh)
#   scripts/bench-instructions.sh --help      this text
#
# Exit status: 0 when no case grew by more than 5 % over the baseline; 1 when
# one did, or a case is missing from the baseline (the table says which);
# 2 on a usage error.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
bad() { echo "bench-instructions: $1" >&2; echo "Try '$0 --help'." >&2; exit 2; }

baseline=benchmarks/instructions-baseline.txt
build=build
update=0
limit_pct=5
loops=10     # renders per render case (one profile part)
records=10   # records per reader-pass case (zmq varies by a few hundred per record)
while [ $# -gt 0 ]; do
  case "$1" in
    --update) update=1 ;;
    --build-dir) [ $# -ge 2 ] || bad "--build-dir needs a directory"; build="$2"; shift ;;
    -h|--help) usage; exit 0 ;;
    *) bad "unknown option '$1'" ;;
  esac
  shift
done

command -v valgrind >/dev/null || { echo "bench-instructions: valgrind is missing (scripts/install-deps.sh)" >&2; exit 1; }
[ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j2 --target plovrestd bench_instructions bench_pass_instructions >/dev/null

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir "$work/pass"

# Render cases: one part per count, named by the program; instructions per record.
valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$work/render.out" \
  "$build/benchmarks/bench_instructions" --loops "$loops" >/dev/null 2>"$work/render.log" ||
  { cat "$work/render.log" >&2; exit 1; }
for part in $(ls "$work"/render.out.* | sort -V); do
  awk -v loops="$loops" '/^desc: Trigger: Client Request: / { name = $5 }
    /^totals:/ { printf "%s %d\n", name, $2 / loops + 0.5 }' "$part"
done >"$work/counts"

# Reader passes, in the running daemon (its fixed endpoints: private namespace).
scripts/netns-run.sh "$build/benchmarks/bench_pass_instructions" --out "$work/pass" \
  --records "$records" >"$work/pass.txt" 2>"$work/pass.log" || { cat "$work/pass.log" >&2; exit 1; }
awk '{ print $1, $2 }' "$work/pass.txt" >>"$work/counts"

if [ "$update" = 1 ]; then
  {
    echo "# Instructions per record (x86-64, RelWithDebInfo), written by"
    echo "# scripts/bench-instructions.sh --update; the gate fails on growth over ${limit_pct} %."
    grep -v '^writer' "$work/counts" | sort
  } >"$baseline"
  echo "bench-instructions: wrote $baseline"
fi

# The table: each case with the stock writer on the same document(s), the
# baseline and the change; the verdict is the exit status.
known="$baseline"
[ -f "$known" ] || known=/dev/null
arch_note=""
[ "$(uname -m)" = x86_64 ] || arch_note="$(uname -m)"
awk -v limit="$limit_pct" -v arch="$arch_note" '
  FILENAME == ARGV[1] { if ($0 !~ /^#/ && NF == 2) base[$1] = $2; next }
  { count[$1] = $2; if ($1 !~ /^writer/) order[++n] = $1 }
  END {
    printf "| case | instructions | writer | vs_writer | baseline | change |\n|---|---:|---:|---:|---:|---:|\n"
    failed = 0
    for (i = 1; i <= n; ++i) {
      name = order[i]; split(name, part, "/")
      if (part[1] == "render") writer = count["writer/" part[2]]
      else if (part[1] == "render-pa") writer = count["writer-pa/" part[2]]
      else writer = count["writer/" part[2]] + count["writer-pa/" part[2]]
      verdict = ""
      if (!(name in base)) { change = "new"; verdict = "  <- not in the baseline"; failed = 1 }
      else {
        change = sprintf("%+.2f %%", 100 * (count[name] - base[name]) / base[name])
        if (count[name] > base[name] * (1 + limit / 100)) { verdict = "  <- grew over " limit " %"; failed = 1 }
      }
      printf "| %s | %d | %d | %.2f | %s | %s |%s\n", name, count[name], writer,
             writer ? count[name] / writer : 0, (name in base) ? base[name] : "-", change, verdict
    }
    if (arch != "") { print "bench-instructions: the baseline is x86-64'"'"'s; on " arch " the counts are reported only"; exit 0 }
    if (failed) print "bench-instructions: FAILED: a case grew by more than " limit " % (or is new); if on purpose, run with --update and say why in the commit"
    else print "bench-instructions: passed (no case grew by more than " limit " %)"
    exit failed
  }' "$known" "$work/counts"
