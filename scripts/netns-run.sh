#!/usr/bin/env bash
# Runs a command inside a private user+network+mount namespace that looks like
# the device to the daemon: lo up with the cards' link-local addresses
# 169.254.2.2, .3 and .4, and a private tmpfs behind /run/shm/mq. The daemon's
# fixed endpoints then work unchanged, and nothing touches the host's queues.
#
#   scripts/netns-run.sh COMMAND [ARGS...]
#
# Exit status: the command's, or 77 (the "skipped" code that ctest is told
# about) when namespaces are unavailable. Under CI (CI=true) that is a failure.
set -euo pipefail

if [ $# -eq 0 ]; then
  echo "usage: $0 COMMAND [ARGS...]" >&2
  exit 2
fi

if [ "${PLOVREST_IN_NETNS:-}" != "1" ]; then
  if ! unshare -rnm true 2>/dev/null; then
    msg="netns-run: user/network/mount namespaces are unavailable here (unshare -rnm failed)"
    if [ "${CI:-}" = "true" ]; then
      echo "$msg; CI requires them" >&2
      exit 1
    fi
    echo "$msg; skipping: $*" >&2
    exit 77
  fi
  exec env PLOVREST_IN_NETNS=1 unshare -rnm --kill-child "$0" "$@"
fi

# Inside the namespace.
ip link set lo up
for host in 2 3 4; do
  ip addr add "169.254.2.${host}/32" dev lo
done

mount -t tmpfs -o mode=1777 tmpfs /dev/shm
if [ ! -e /run/shm ]; then
  # No /run/shm on this machine: give the namespace a private /run.
  mount -t tmpfs -o mode=755 tmpfs /run
fi
mkdir -p /run/shm/mq

exec "$@"
