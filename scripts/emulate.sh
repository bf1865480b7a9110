#!/usr/bin/env bash
# Lets this machine run an ARM board's programs as if they were its own: the
# kernel hands every ARM executable to Debian's static qemu-user through
# binfmt_misc, so a test that starts the daemon or a tool needs no change.
# Mounts binfmt_misc when it is not mounted and registers Debian's entry for
# the architecture (qemu-user-static's /usr/lib/binfmt.d). The entry has the
# F flag: the emulator is opened once, here, so it also works inside the
# tests' private namespaces. The programs find the board's libraries and
# loader through QEMU_LD_PREFIX (the sysroot of scripts/make-sysroot.sh).
#
#   scripts/emulate.sh ARCH      ARCH: arm64 or armhf; prints the emulator's path
#   scripts/emulate.sh --help    this text
#
# Exit status: 0 registered (or already), 1 it cannot be (not root, no
# binfmt_misc), 2 bad arguments.
set -euo pipefail

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }

case "${1:-}" in
  arm64) name=aarch64 ;;
  armhf) name=arm ;;
  -h|--help) usage; exit 0 ;;
  "") usage >&2; exit 2 ;;
  *) echo "emulate: unknown architecture '$1' (arm64 or armhf)" >&2; exit 2 ;;
esac

binfmt=/proc/sys/fs/binfmt_misc
conf="/usr/lib/binfmt.d/qemu-$name.conf"
[ -f "$conf" ] || { echo "emulate: $conf missing (package qemu-user-static)" >&2; exit 1; }
if [ ! -e "$binfmt/qemu-$name" ]; then
  if [ ! -e "$binfmt/register" ]; then
    mount -t binfmt_misc binfmt_misc "$binfmt" 2>/dev/null ||
      { echo "emulate: cannot mount binfmt_misc on $binfmt (needs root)" >&2; exit 1; }
  fi
  # A write of the whole entry registers it; a concurrent run may have won.
  cat "$conf" >"$binfmt/register" 2>/dev/null || [ -e "$binfmt/qemu-$name" ] ||
    { echo "emulate: cannot register $conf with binfmt_misc (needs root)" >&2; exit 1; }
fi
grep -qx enabled "$binfmt/qemu-$name" || { echo "emulate: the qemu-$name entry is disabled" >&2; exit 1; }
echo "/usr/bin/qemu-$name-static"
