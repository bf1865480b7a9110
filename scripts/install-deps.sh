#!/usr/bin/env bash
# Installs the Debian packages the project needs, only those that are missing.
# Safe to run repeatedly; needs root (or sudo) only when something is missing.
set -euo pipefail

PACKAGES=(
  g++ cmake make pkg-config
  libczmq-dev libzmq3-dev rapidjson-dev
  libsystemd-dev  # plovrestd: sd_notify (readiness, status, keep-alives for systemd)
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  iproute2 util-linux procps
  libcpp-httplib-dev  # plovrest-tap --http: the HTTP server of its browser view
  prometheus  # plovrest-exporter tests: a real Prometheus server, promtool (check metrics, test rules)
  python3  # docs/schema/gen-schemas.py: the JSON Schemas and the field dictionary
  chromium chromium-driver python3-selenium  # the browser test and the README screenshot (headless Chromium)
  # Package test (scripts/package-test.sh): Debian's package checker
  lintian
  # Package test: systemd-analyze verify/security on the unit
  systemd
  # Package test: records the daemon's system calls against the unit's filter
  strace
  # scripts/bench-instructions.sh: callgrind counts instructions per record (and its headers)
  valgrind
  # scripts/fuzz.sh: clang with libFuzzer for the fuzz targets
  clang
  libfuzzer-14-dev
  # The ARM boards (scripts/test.sh --arch): cross compilers, qemu-user with
  # its binfmt entries, mmdebstrap (and its arch-test) for the boards' sysroot,
  # dpkg-shlibdeps and file for the boards' packages
  g++-aarch64-linux-gnu g++-arm-linux-gnueabihf
  qemu-user-static
  mmdebstrap arch-test
  dpkg-dev file
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
