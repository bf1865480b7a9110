#!/usr/bin/env bash
# Regenerates docs/images/tap-http.png, the README's picture of the browser
# view (plovrest-tap --http): runs the browser test with this build, which
# saves its screenshot of the ED2 view there. Look at the result before
# committing it.
#
#   scripts/gen-tap-screenshot.sh [BUILD_DIR]     (default build)
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir="${1:-build}"
scripts/install-deps.sh
[ -f "$build_dir/CMakeCache.txt" ] || cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" -j"$(nproc)" --target plovrestd plovrest-sim plovrest-tap
exec scripts/netns-run.sh /usr/bin/python3 tests/browser/test_browser.py --build-dir "$build_dir" \
  --screenshot docs/images/tap-http.png
