#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer (AddressSanitizer and
# UndefinedBehaviorSanitizer) in build-fuzz/ and runs them.
#
#   scripts/fuzz.sh                  every target for 60 s
#   scripts/fuzz.sh TARGET [SECONDS] one target (status_render, ed2_render,
#                                    control_message, scenario_file, record_file)
#   scripts/fuzz.sh all SECONDS      every target for SECONDS each
#
# Each run starts from the corpus in tests/fuzz/corpus/TARGET and writes what
# it finds new to build-fuzz/corpus/TARGET; a failing input is saved as
# build-fuzz/crash-* and the script exits non-zero. Add failing inputs (after
# the fix) and worthwhile new inputs (merge with -merge=1) to the tree's corpus.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(status_render ed2_render control_message scenario_file record_file)
target="${1:-all}"
seconds="${2:-60}"
if [ "$target" != "all" ] && [[ ! " ${targets[*]} " =~ " $target " ]]; then
  echo "fuzz.sh: unknown target '$target' (${targets[*]} or all)" >&2
  exit 2
fi
[ "$target" = "all" ] || targets=("$target")

scripts/install-deps.sh
dir="build-fuzz"
if [ ! -f "$dir/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLOVREST_FUZZ=ON \
    -DPLOVREST_BUILD_BENCHMARKS=OFF
fi
cmake --build "$dir" -j"$(nproc)" --target "${targets[@]/#/fuzz_}"

export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$PWD/tests/fuzz/ubsan.supp"
for t in "${targets[@]}"; do
  mkdir -p "$dir/corpus/$t"
  dict=()
  [ -f "tests/fuzz/dict/$t.dict" ] && dict=(-dict="tests/fuzz/dict/$t.dict")
  # Records are 33,704 bytes; text inputs stay short enough to keep the runs fast.
  case "$t" in *_render | record_file) max_len=33705 ;; *) max_len=4096 ;; esac
  echo "fuzz.sh: $t for ${seconds} s"
  "$dir/tests/fuzz/fuzz_$t" -max_total_time="$seconds" -max_len="$max_len" -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$dir/" "${dict[@]}" \
    "$dir/corpus/$t" "tests/fuzz/corpus/$t"
done
