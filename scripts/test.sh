#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test.
#
#   scripts/test.sh              plain build in build/
#   scripts/test.sh --sanitize   AddressSanitizer + UndefinedBehaviorSanitizer in build-asan/
#   scripts/test.sh --tsan       ThreadSanitizer in build-tsan/, with an unsigned char as on
#                                the boards: every test, among them all that run the
#                                daemon's two threads (end to end, tools, demo)
#   scripts/test.sh --arch ARCH  cross-built for a board (arm64 or armhf) in build-ARCH/,
#                                against the sysroot of scripts/make-sysroot.sh; every test
#                                runs under qemu-user (scripts/emulate.sh), the daemon and
#                                the tools that tests start included
#   scripts/test.sh ... --tests REGEX   only the tests whose name matches REGEX
#   scripts/test.sh --help       this text
#
# Tests that need the device's fixed endpoints run inside scripts/netns-run.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
bad() { echo "test.sh: $1" >&2; echo "Try '$0 --help'." >&2; exit 2; }

mode="plain"
arch=""
tests=()
while [ $# -gt 0 ]; do
  case "$1" in
    --sanitize) mode="sanitize" ;;
    --tsan) mode="tsan" ;;
    --arch)
      [ $# -ge 2 ] || bad "--arch needs arm64 or armhf"
      case "$2" in arm64|armhf) ;; *) bad "unknown architecture '$2' (arm64 or armhf)" ;; esac
      mode="arch" arch="$2"
      shift ;;
    --tests) [ $# -ge 2 ] || bad "--tests needs a regular expression"; tests=(-R "$2"); shift ;;
    -h|--help) usage; exit 0 ;;
    *) bad "unknown option '$1'" ;;
  esac
  shift
done

scripts/install-deps.sh

jobs="$(nproc)"
if [ "$mode" = "sanitize" ]; then
  dir="build-asan"
  options=(-DCMAKE_BUILD_TYPE=Debug -DPLOVREST_SANITIZE=ON -DPLOVREST_BUILD_BENCHMARKS=OFF)
  export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
elif [ "$mode" = "tsan" ]; then
  dir="build-tsan"
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLOVREST_TSAN=ON -DPLOVREST_BUILD_BENCHMARKS=OFF)
  # Every report fails the test that produced it (a daemon that reports exits 66).
  # scripts/tsan.supp names the one third-party source of false reports. Thread
  # leaks are not reported: after a segmentation fault the daemon ends at once
  # (status 11) with its worker unjoined, as designed; a normal stop joins it.
  export TSAN_OPTIONS="halt_on_error=1:exitcode=66:second_deadlock_stack=1:report_thread_leaks=0:suppressions=$PWD/scripts/tsan.supp"
  options+=(-DPLOVREST_UNSIGNED_CHAR=ON)
elif [ "$mode" = "arch" ]; then
  dir="build-$arch"
  sysroot="$(scripts/make-sysroot.sh "$arch")"
  scripts/emulate.sh "$arch" >/dev/null
  # The board's programs that tests start find its loader and libraries here.
  export QEMU_LD_PREFIX="$sysroot"
  case "$arch" in arm64) toolchain=aarch64-linux-gnu ;; armhf) toolchain=arm-linux-gnueabihf ;; esac
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_TOOLCHAIN_FILE="cmake/toolchain-$toolchain.cmake"
           -DPLOVREST_SYSROOT="$sysroot" -DPLOVREST_BUILD_BENCHMARKS=OFF)
  # A build made against another sysroot (a new package list) is made anew.
  if [ -f "$dir/CMakeCache.txt" ] && ! grep -q "^PLOVREST_SYSROOT:[A-Z]*=$sysroot\$" "$dir/CMakeCache.txt"; then
    rm -rf "$dir"
  fi
else
  dir="build"
  options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
fi
# Configure once: a second pkg-config pass reorders libzmq's include flags and
# would rebuild everything. CMake reconfigures by itself when a list changes.
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" "${options[@]}"
fi
cmake --build "$dir" -j"$jobs"
ctest --test-dir "$dir" --output-on-failure -j"$jobs" "${tests[@]}"
