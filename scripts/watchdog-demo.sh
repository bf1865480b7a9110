#!/usr/bin/env bash
# Shows the watchdog's path to a restart with a real systemd: a user manager
# (systemd --user) started for the purpose inside scripts/netns-run.sh, where
# the daemon's fixed endpoints exist. The unit takes Type=, NotifyAccess=,
# Restart= and RestartSec= from packaging/plovrestd.service; WatchdogSec= is
# shortened to 4 s and TimeoutAbortSec= to 3 s, so the demo is quick.
#
#   1. The daemon starts and becomes active only with READY=1; its status line
#      shows.
#   2. Its reader thread is held (ptrace) while the main loop runs: the
#      keep-alives stop, systemd sends SIGABRT. Once it has, the reader is let
#      go: the daemon stops as designed ("SignalValue: 6", exit status 0) and
#      Restart=always starts it again.
#   3. The reader is held for good: the daemon cannot finish its stop, is
#      killed (SIGKILL) after TimeoutAbortSec, and is started again.
#
#   scripts/watchdog-demo.sh [--build-dir DIR]
#
# Needs root: the manager gets a cgroup of its own (removed at the end) under
# each cgroup hierarchy systemd uses. Exit status: 0 both restarts seen, 1 not,
# 2 bad arguments, 77 namespaces unavailable.
set -euo pipefail
cd "$(dirname "$0")/.."
repo="$PWD"

die() { echo "watchdog-demo: $1" >&2; exit "${2:-1}"; }
unit=plovrestd-demo.service

# ---------------------------------------------------------------------------
# Inside the namespace: $2 the daemon binary, the rest the manager's cgroups.
if [ "${1:-}" = "--inside" ]; then
  daemon_bin="$2"
  shift 2
  for cg in "$@"; do echo $$ >"$cg/cgroup.procs"; done
  # The manager starts only where systemd booted the system.
  mount -t tmpfs tmpfs /run/systemd 2>/dev/null || { mkdir -p /run/systemd && mount -t tmpfs tmpfs /run/systemd; }
  mkdir -p /run/systemd/system
  work="$(mktemp -d /tmp/plovrest-watchdog-demo.XXXXXX)"
  export XDG_RUNTIME_DIR="$work/run" XDG_CONFIG_HOME="$work/config"
  mkdir -p -m 700 "$XDG_RUNTIME_DIR"
  mkdir -p "$XDG_CONFIG_HOME/systemd/user"
  { echo "[Service]"
    grep -E '^(Type|NotifyAccess|Restart|RestartSec)=' "$repo/packaging/plovrestd.service"
    echo "ExecStart=$daemon_bin -s 2 -i lo"
    echo "WatchdogSec=4"
    echo "TimeoutAbortSec=3"
    echo "StandardOutput=append:$work/daemon.log"
    # How each run ended, as systemd tells it.
    echo "ExecStopPost=/bin/sh -c 'echo \$\${SERVICE_RESULT} \$\${EXIT_CODE} \$\${EXIT_STATUS} >>$work/ends'"
  } >"$XDG_CONFIG_HOME/systemd/user/$unit"
  /lib/systemd/systemd --user >/dev/null 2>&1 &
  for _ in $(seq 50); do [ -S "$XDG_RUNTIME_DIR/systemd/private" ] && break; sleep 0.1; done

  show() { systemctl --user show -p "$1" --value "$unit"; }
  # Waits up to $2 seconds for property $1 to read $3 (or, with "!=", to differ from $4).
  await() {
    local deadline=$((SECONDS + $2)) value
    while [ $SECONDS -lt $deadline ]; do
      value="$(show "$1")"
      if [ "$3" = "!=" ]; then [ "$value" != "$4" ] && return 0; else [ "$value" = "$3" ] && return 0; fi
      sleep 0.1
    done
    return 1
  }
  # Holds the daemon's reader thread until the unit leaves "active" (release)
  # or until the process is gone (keep).
  hold_reader() {
    /usr/bin/python3 - "$1" "$2" "$unit" <<'PY'
import ctypes, os, subprocess, sys, time
pid, mode, unit = int(sys.argv[1]), sys.argv[2], sys.argv[3]
libc = ctypes.CDLL(None, use_errno=True)
libc.ptrace.argtypes = [ctypes.c_long, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p]
PTRACE_DETACH, PTRACE_SEIZE, PTRACE_INTERRUPT = 17, 0x4206, 0x4207
tid = next(int(t) for t in os.listdir(f"/proc/{pid}/task")
           if open(f"/proc/{pid}/task/{t}/comm").read().strip() == "DecStatusReader")
if libc.ptrace(PTRACE_SEIZE, tid, None, None) != 0 or libc.ptrace(PTRACE_INTERRUPT, tid, None, None) != 0:
    sys.exit(f"ptrace: {os.strerror(ctypes.get_errno())}")
os.waitpid(tid, 0x40000000)  # __WALL: the interrupt stop
print(f"      reader thread {tid} held", flush=True)
while True:
    state = subprocess.run(["systemctl", "--user", "show", "-p", "ActiveState", "--value", unit],
                           capture_output=True, text=True).stdout.strip()
    if mode == "release" and state != "active":
        print(f"      unit {state}: reader let go", flush=True)
        libc.ptrace(PTRACE_DETACH, tid, None, None)
        break
    # A traced thread that dies is the tracer's to reap; the process ends then.
    if os.waitpid(tid, os.WNOHANG | 0x40000000)[0] == tid:
        print("      reader thread ended with its process", flush=True)
        break
    time.sleep(0.1)
PY
  }

  status=0
  step() { echo "$1"; }
  # check DESCRIPTION COMMAND...
  check() { local what="$1"; shift; if "$@"; then echo "ok    $what"; else echo "FAIL  $what"; status=1; fi; }

  step "1. start"
  systemctl --user start "$unit"
  check "active after READY=1" await ActiveState 10 active
  echo "      status: $(show StatusText)"
  for round in release keep; do
    pid="$(show MainPID)"
    restarts="$(show NRestarts)"
    step "$([ $round = release ] && echo 2 || echo 3). reader held ($round), main PID $pid"
    hold_reader "$pid" "$round" &
    holder=$!
    check "the watchdog ended it" await SubState 30 auto-restart
    check "systemd: $(tail -n 1 "$work/ends" 2>/dev/null)" \
      grep -qx "watchdog $([ $round = release ] && echo "exited 0" || echo "killed KILL")" "$work/ends"
    check "Restart=always started it again" await NRestarts 10 != "$restarts"
    check "active again" await ActiveState 10 active
    wait "$holder" || true
    echo "      new main PID $(show MainPID), restarts $(show NRestarts)"
    if [ $round = release ]; then
      check "stopped as designed: \"SignalValue: 6\"" grep -q "^SignalValue: 6$" "$work/daemon.log"
    fi
  done
  systemctl --user stop "$unit"
  echo "      the daemon's stop lines: $(grep '^SignalValue' "$work/daemon.log" | tr '\n' ' ')"
  systemctl --user exit 2>/dev/null || true
  wait
  rm -rf "$work"
  exit "$status"
fi

# ---------------------------------------------------------------------------
build_dir="build"
while [ $# -gt 0 ]; do
  case "$1" in
    --build-dir) [ $# -ge 2 ] || die "$1: needs a value" 2; build_dir="$2"; shift 2 ;;
    -h|--help) sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
    *) die "unknown option $1 (see --help)" 2 ;;
  esac
done
[ "$(id -u)" = 0 ] || die "needs root (a cgroup for the manager)"
scripts/netns-run.sh --check || exit 77
daemon_bin="$(cd "$build_dir" && pwd)/MainBoard/Frame/plovrestd"
[ -x "$daemon_bin" ] || die "no $daemon_bin (build first)"

# A cgroup of its own in each hierarchy the manager uses, removed at the end.
cgroups=()
if [ "$(stat -fc %T /sys/fs/cgroup)" = cgroup2fs ]; then
  roots=(/sys/fs/cgroup)
else
  roots=(/sys/fs/cgroup/systemd /sys/fs/cgroup/unified)
fi
for root in "${roots[@]}"; do
  [ -d "$root" ] || continue
  cg="$root/plovrest-watchdog-demo.$$"
  mkdir "$cg"
  cgroups+=("$cg")
done
cleanup() {
  local cg try
  for cg in "${cgroups[@]}"; do
    for try in 1 2 3 4 5; do
      find "$cg" -depth -type d -exec rmdir {} + 2>/dev/null && break
      sleep 1
    done
  done
}
trap cleanup EXIT
scripts/netns-run.sh "$repo/scripts/watchdog-demo.sh" --inside "$daemon_bin" "${cgroups[@]}"
