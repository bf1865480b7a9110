#!/usr/bin/env bash
# The daemon's main job on any Linux machine: installs what is missing, builds,
# and runs plovrestd inside a private namespace that has the device's fixed
# addresses and /run/shm/mq, until Ctrl-C. Nothing is left behind.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target plovrestd

exec scripts/netns-run.sh build/MainBoard/Frame/plovrestd -s 2 -i lo "$@"
