#!/usr/bin/env bash
# Makes the root of an ARM board's libraries and headers that the cross-builds
# compile and link against, and that qemu-user runs their programs in. It is a
# Debian system of the host's release for that architecture, made by
# mmdebstrap into a folder of its own from the host's package sources; the
# host's installed packages are never touched. Its package database is real
# (the packages are installed, their scripts run under qemu), so
# dpkg-shlibdeps reads the boards' library dependencies from it.
#
#   scripts/make-sysroot.sh ARCH       ARCH: arm64 or armhf; prints the folder
#   scripts/make-sysroot.sh --help     this text
#
# The folder is a cache: ${PLOVREST_SYSROOT_CACHE:-/var/cache/plovrest}/sysroot-ARCH-KEY,
# where KEY is a digest of the architecture, the release, the package list and
# this script. A second run with the same key reuses it (one line, no
# download). A new package list or a new release gives a new key, so a folder
# is never patched, only made whole: it is made under a temporary name and
# renamed when complete, so an interrupted run leaves nothing that a later run
# would take for finished. Needs root (mmdebstrap installs as root).
#
# Exit status: 0 the folder is ready, 1 it could not be made, 2 bad arguments.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }

# What the boards' builds need: the daemon's libraries, the tests' and the
# benchmarks', the tools' HTTP server; the C and C++ run-time.
PACKAGES=(libczmq-dev libzmq3-dev rapidjson-dev libsystemd-dev libcpp-httplib-dev
          libgtest-dev libgmock-dev libbenchmark-dev libc6-dev libstdc++-12-dev)

case "${1:-}" in
  arm64|armhf) arch="$1" ;;
  -h|--help) usage; exit 0 ;;
  "") usage >&2; exit 2 ;;
  *) echo "make-sysroot: unknown architecture '$1' (arm64 or armhf)" >&2; exit 2 ;;
esac

. /etc/os-release
release="$VERSION_CODENAME"
key="$( { echo "$arch $release ${PACKAGES[*]}"; cat "$0"; } | sha256sum | cut -c1-12)"
cache="${PLOVREST_SYSROOT_CACHE:-/var/cache/plovrest}"
dir="$cache/sysroot-$arch-$key"
if [ -f "$dir/.complete" ]; then
  echo "make-sysroot: reusing $dir" >&2
  echo "$dir"
  exit 0
fi

# Programs of the board run under qemu-user while the packages are installed.
scripts/emulate.sh "$arch" >/dev/null
mkdir -p "$cache"
tmp="$(mktemp -d "$cache/.sysroot-$arch.XXXXXX")"
trap 'rm -rf "$tmp"' EXIT
sources=()
for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list /etc/apt/sources.list.d/*.sources; do
  [ -s "$f" ] && sources+=("$f")
done
include="$(IFS=,; echo "${PACKAGES[*]}")"
# mmdebstrap SOURCE-FILES...: the root in $tmp/root, its log in $tmp/log.
bootstrap() {
  rm -rf "$tmp/root"
  mmdebstrap --variant=essential --architectures="$arch" --mode=root \
    --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/man/*' \
    --dpkgopt='path-exclude=/usr/share/locale/*' --include="$include" \
    "$release" "$tmp/root" "$@" >"$tmp/log" 2>&1
}
echo "make-sysroot: making the $arch root of Debian $release in $dir (about 2 minutes)" >&2
if ! bootstrap "${sources[@]}"; then
  # A mirror caught in the middle of a sync fails mmdebstrap's index update
  # as a whole; the security archive, updated most often, is the usual one.
  # The root is for building and testing, so it is made without it then.
  if grep -q '^E: Failed to fetch .*-security' "$tmp/log"; then
    echo "make-sysroot: the security archive's $arch index is inconsistent; making the root without it" >&2
    for i in "${!sources[@]}"; do
      case "${sources[$i]}" in
        *.sources) awk -v RS= -v ORS='\n\n' '!/-security/' "${sources[$i]}" >"$tmp/$i.sources" ;;
        *) grep -v -- '-security' "${sources[$i]}" >"$tmp/$i.list" || true ;;
      esac
      sources[$i]="$(ls "$tmp/$i".*)"
    done
    bootstrap "${sources[@]}" || { tail -n 20 "$tmp/log" >&2; echo "make-sysroot: mmdebstrap failed for $arch" >&2; exit 1; }
  else
    tail -n 20 "$tmp/log" >&2
    echo "make-sysroot: mmdebstrap failed for $arch" >&2
    exit 1
  fi
fi
touch "$tmp/root/.complete"
rm -rf "$dir"
mv "$tmp/root" "$dir"
echo "$dir"
