#!/usr/bin/env bash
# Shows that the tests catch real faults: applies each small fault of
# tests/mutants.txt, one at a time, to a scratch copy of the sources, rebuilds
# and runs the tests the row names. A fault whose tests still pass "survives".
#
#   scripts/mutants.sh                    every fault of tests/mutants.txt
#   scripts/mutants.sh --only 'clamp'     faults whose name matches a regex
#   scripts/mutants.sh --list FILE --dir DIR
#
# Options:
#   --list FILE   the faults (default tests/mutants.txt)
#   --dir DIR     scratch copy and its build (default build-mutants); kept
#                 between runs so that only what a fault touches is rebuilt
#   --only REGEX  only faults whose name matches
#   --no-baseline skip the run of the named tests on the sources as they are
#
# A row of the list: NAME FILE TESTS SED-SCRIPT. TESTS is a ctest regex (the
# tests that should catch the fault), SED-SCRIPT is applied with sed -E to
# FILE and must change it. '#' starts a comment line. A row whose file or
# tests do not exist is refused (exit status 2).
#
# The working tree is never changed. Exit status: 0 every fault caught, 1 a
# fault survived, did not apply or did not build, 2 bad arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
repo="$PWD"

die() { echo "mutants: $*" >&2; exit "${2:-1}"; }

list="tests/mutants.txt"
dir="build-mutants"
only=""
baseline=1
while [ $# -gt 0 ]; do
  case "$1" in
    --list) [ $# -ge 2 ] || die "--list: needs a file" 2; list="$2"; shift 2 ;;
    --dir) [ $# -ge 2 ] || die "--dir: needs a directory" 2; dir="$2"; shift 2 ;;
    --only) [ $# -ge 2 ] || die "--only: needs a regex" 2; only="$2"; shift 2 ;;
    --no-baseline) baseline=0; shift ;;
    -h|--help) sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
    *) die "unknown option $1 (see --help)" 2 ;;
  esac
done
[ -r "$list" ] || die "$list: cannot read" 2
case "$dir" in /*) ;; *) dir="$repo/$dir" ;; esac
src="$dir/src"
# The build sits as deep in the copy as build/ in the tree, so that ccache
# finds the objects of the tree's own build.
build="$src/build"
jobs="$(nproc)"

# The scratch copy: tracked and new files as they are now. Only files whose
# text differs are copied (with a new time), so a second run rebuilds only
# what changed, and a fault left behind by an interrupted run is undone.
mkdir -p "$src" "$build"
git ls-files -co --exclude-standard >"$dir/files"
while IFS= read -r f; do
  if ! cmp -s "$f" "$src/$f"; then
    mkdir -p "$src/$(dirname "$f")"
    cp "$f" "$src/$f"
  fi
done <"$dir/files"
# Files since removed from the tree go from the copy too.
(cd "$src" && find . -path ./build -prune -o -type f -print | sed 's|^\./||') | sort >"$dir/copied"
sort "$dir/files" | comm -23 "$dir/copied" - | (cd "$src" && xargs -r -d '\n' rm -f)
# Configured again when it exists, so that tests added since the last run are
# listed below.
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S "$src" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLOVREST_BUILD_BENCHMARKS=OFF \
    >"$dir/configure.log" 2>&1 || die "configure failed, see $dir/configure.log"
else
  cmake "$build" >"$dir/configure.log" 2>&1 || die "configure failed, see $dir/configure.log"
fi

# Every row must name a file and tests that exist, selected or not: a row
# whose tests are gone would otherwise "catch" nothing without notice.
known_tests="$(ctest --test-dir "$build" -N | sed -n 's/^ *Test *#[0-9]*: //p')"
rows=()
while IFS= read -r line; do
  case "$line" in '#'*|'') continue ;; esac
  read -r name file tests script <<<"$line"
  [ -n "$script" ] || die "$list: incomplete row: $line" 2
  [ -f "$src/$file" ] || die "$list: $name: no file $file" 2
  grep -Eq -- "$tests" <<<"$known_tests" || die "$list: $name: no test matches $tests" 2
  if [ -z "$only" ] || [[ "$name" =~ $only ]]; then rows+=("$line"); fi
done <"$list"
[ "${#rows[@]}" -gt 0 ] || die "no fault selected" 2

build_all() { cmake --build "$build" -j"$jobs" >"$dir/build.log" 2>&1; }
# Builds only the test programs of the ctest regex (a test is named after its
# program; scripted tests have no program of their own).
build_for() {
  local targets=() t known
  known="$(cmake --build "$build" --target help)"
  while read -r t; do
    if [ -n "$t" ] && grep -qx "\.\.\. $t" <<<"$known"; then
      targets+=(--target "$t")
    fi
  done < <(ctest --test-dir "$build" -N -R "$1" | sed -n 's/^ *Test *#[0-9]*: //p')
  if [ "${#targets[@]}" = 0 ]; then build_all; return; fi
  cmake --build "$build" -j"$jobs" "${targets[@]}" >"$dir/build.log" 2>&1
}
run_tests() { ctest --test-dir "$build" -R "$1" -j"$jobs" --timeout 300 >"$dir/ctest.log" 2>&1; }

if [ "$baseline" = 1 ]; then
  build_all || die "the sources as they are do not build, see $dir/build.log"
  all="$(for r in "${rows[@]}"; do read -r _ _ t _ <<<"$r"; echo "$t"; done | sort -u | paste -sd'|')"
  run_tests "$all" || die "the tests fail without a fault, see $dir/ctest.log"
fi

survived=()
broken=()
n=0
for row in "${rows[@]}"; do
  read -r name file tests script <<<"$row"
  n=$((n + 1))
  cp -p "$src/$file" "$dir/original"
  start=$SECONDS
  sed -E -i "$script" "$src/$file"
  if cmp -s "$src/$file" "$dir/original"; then
    verdict="NOT APPLIED"; broken+=("$name")
  elif ! build_for "$tests"; then
    verdict="DOES NOT BUILD"; broken+=("$name")
    cp "$dir/build.log" "$dir/$name.build.log"
  elif run_tests "$tests"; then
    verdict="SURVIVED"; survived+=("$name")
  else
    verdict="caught"
  fi
  # Back to the original; touched so that the next build compiles it again.
  cp "$dir/original" "$src/$file"
  touch "$src/$file"
  printf '%3d/%d  %-14s %-34s %4ds  %s\n' "$n" "${#rows[@]}" "$verdict" "$name" \
    $((SECONDS - start)) "$tests"
done
build_all || true

echo "mutants: ${#rows[@]} faults, $((${#rows[@]} - ${#survived[@]} - ${#broken[@]})) caught," \
  "${#survived[@]} survived, ${#broken[@]} not applied or not built"
for s in "${survived[@]}"; do echo "  survived: $s"; done
for b in "${broken[@]}"; do echo "  broken row: $b"; done
[ "${#survived[@]}" = 0 ] && [ "${#broken[@]}" = 0 ]
