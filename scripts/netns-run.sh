#!/usr/bin/env bash
# Runs a command inside private user, network, mount and PID namespaces that
# look like the device to the daemon: lo up with the cards' link-local
# addresses 169.254.2.2, .3 and .4, and a private tmpfs behind /run/shm/mq.
# The daemon's fixed endpoints then work unchanged, and nothing touches the
# host's queues. The command is the namespace's first process: when it ends,
# every process started inside ends with it, background ones included.
#
#   scripts/netns-run.sh COMMAND [ARGS...]
#   scripts/netns-run.sh --check     only tell whether the namespaces can be made
#   scripts/netns-run.sh --help      this text
#
# Exit status: the command's, or 77 (the "skipped" code that ctest is told
# about) when namespaces are unavailable. Under CI (CI=true) that is a failure.
set -euo pipefail

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }

# The namespaces, with a private /proc for the new PID namespace.
unshare_args=(--user --map-root-user --net --mount --pid --fork --mount-proc --kill-child)

# Says why the namespaces cannot be made and how to allow them; status 0 when
# they can.
check() {
  local err
  if err="$(unshare "${unshare_args[@]}" true 2>&1)"; then return 0; fi
  echo "netns-run: cannot create private user/network/mount/PID namespaces: ${err:-unshare failed}" >&2
  echo "netns-run: unprivileged user namespaces are probably turned off. To allow them (as root):" >&2
  echo "netns-run:   sysctl -w kernel.unprivileged_userns_clone=1         (Debian kernels)" >&2
  echo "netns-run:   sysctl -w user.max_user_namespaces=15000" >&2
  echo "netns-run:   sysctl -w kernel.apparmor_restrict_unprivileged_userns=0  (Ubuntu 23.10 and later)" >&2
  echo "netns-run: in a container, run it with --privileged or a seccomp profile that allows unshare." >&2
  return 1
}

case "${1:-}" in
  "") usage >&2; exit 2 ;;
  -h|--help) usage; exit 0 ;;
  --check) check && exit 0; exit 77 ;;
esac

if [ "${PLOVREST_IN_NETNS:-}" != "1" ]; then
  if ! check; then
    if [ "${CI:-}" = "true" ]; then
      echo "netns-run: CI requires namespaces" >&2
      exit 1
    fi
    echo "netns-run: skipping: $*" >&2
    exit 77
  fi
  exec env PLOVREST_IN_NETNS=1 unshare "${unshare_args[@]}" "$0" "$@"
fi

# Inside the namespaces.
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
