#!/usr/bin/env bash
# The daemon's main job on any Linux machine, with every peer simulated.
# Installs what is missing, builds plovrestd, plovrest-sim and plovrest-tap,
# and runs the three inside one private namespace (scripts/netns-run.sh) that
# has the device's fixed addresses and its own /run/shm/mq:
#
#   plovrest-sim   plays the decoder (every stream kind in turn: PCM, Dolby
#                  Digital, Dolby Digital Plus with objects, Dolby E, AC-4,
#                  ED2), selects Dolby Zoom on the hardware monitor and has
#                  the process monitor report the decoder processing
#   plovrestd      renders the records and publishes documents and states
#   plovrest-tap   shows on the terminal what the daemon publishes, one line
#                  per change; a second tap keeps every change in a file
#
# The daemon's own console log goes to a file; its path is printed at the end.
# Ctrl-C ends everything: the daemon stops as on the device ("SignalValue: 2"),
# no process is left, and the namespace's queues vanish with it.
#
#   scripts/run-demo.sh                    until Ctrl-C
#   scripts/run-demo.sh --duration 8       8 seconds; exit status 0 when a
#                                          status document of every stream kind
#                                          and the ED2 presentation document
#                                          arrived
#
# Options:
#   --duration S      stop after S seconds and check that every stream kind
#                     was published (exit status 1 if one is missing)
#   --hold S          seconds each stream kind plays (default 4; with
#                     --duration, short enough for one round to fit)
#   --rate HZ         decoder records per second (default 10)
#   --view VIEW       how the terminal shows documents: summary (default),
#                     table, pretty or raw (see plovrest-tap --help)
#   --build-dir DIR   build directory (default build)
#   --work-dir DIR    where the logs go (default: a new directory in /tmp)
#   --no-setup        neither install nor build; use what DIR has
#   --http PORT       also show the live browser view (plovrest-tap --http) on
#                     http://127.0.0.1:PORT/ of this machine
#
# Exit status: 0 done (Ctrl-C, or --duration with every stream kind seen),
# 1 failure, 2 bad arguments, 77 namespaces unavailable, 130 --duration
# interrupted.
set -euo pipefail
cd "$(dirname "$0")/.."
repo="$PWD"

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
die() { echo "run-demo: $*" >&2; exit "${2:-1}"; }
is_number() { [[ "$1" =~ ^[0-9]+([.][0-9]+)?$ ]] && awk -v v="$1" 'BEGIN { exit !(v > 0) }'; }

duration=""
hold=""
rate="10"
view="summary"
build_dir="build"
work_dir=""
setup=1
http=""
while [ $# -gt 0 ]; do
  case "$1" in
    --duration|--hold|--rate|--view|--build-dir|--work-dir)
      [ $# -ge 2 ] || die "$1: needs a value" 2
      case "$1" in
        --duration) duration="$2" ;;
        --hold) hold="$2" ;;
        --rate) rate="$2" ;;
        --view) view="$2" ;;
        --build-dir) build_dir="$2" ;;
        --work-dir) work_dir="$2" ;;
      esac
      shift 2 ;;
    --no-setup) setup=0; shift ;;
    --http)
      [[ "${2:-}" =~ ^[0-9]+$ ]] && [ "$2" -ge 1 ] && [ "$2" -le 65535 ] || die "--http: expected a port, 1 to 65535" 2
      http="$2"; shift 2 ;;
    -h|--help) usage; exit 0 ;;
    *) die "unknown option $1 (see --help)" 2 ;;
  esac
done
[ -z "$duration" ] || is_number "$duration" || die "--duration: expected seconds above 0, got '$duration'" 2
[ -z "$hold" ] || is_number "$hold" || die "--hold: expected seconds above 0, got '$hold'" 2
is_number "$rate" || die "--rate: expected records per second, got '$rate'" 2
case "$view" in summary|table|pretty|raw) ;; *) die "--view: summary, table, pretty or raw" 2 ;; esac
if [ -z "$hold" ]; then
  # Six stream kinds; with a duration, one round fits with two seconds to spare.
  hold=4
  [ -z "$duration" ] || hold="$(awk -v d="$duration" 'BEGIN { h = (d - 2) / 6; if (h > 4) h = 4; if (h < 0.5) h = 0.5; printf "%g", int(h * 10) / 10 }')"
fi

case "$build_dir" in /*) ;; *) build_dir="$repo/$build_dir" ;; esac
daemon_bin="$build_dir/MainBoard/Frame/plovrestd"
sim_bin="$build_dir/tools/plovrest-sim"
tap_bin="$build_dir/tools/plovrest-tap"

# --------------------------------------------------------------------------
# Outside the namespace: install, build, then run this script again inside.
if [ "${PLOVREST_IN_NETNS:-}" != "1" ]; then
  if [ "$setup" = 1 ]; then
    scripts/install-deps.sh
    # Configured once: configuring again changes how pkg-config's include
    # directories are passed, and every object would be compiled anew.
    if [ ! -f "$build_dir/CMakeCache.txt" ]; then
      cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
    cmake --build "$build_dir" -j"$(nproc)" --target plovrestd plovrest-sim plovrest-tap
  fi
  if [ -z "$work_dir" ]; then work_dir="$(mktemp -d /tmp/plovrest-demo.XXXXXX)"; fi
  mkdir -p "$work_dir"
  work_dir="$(cd "$work_dir" && pwd)"
  args=(--no-setup --build-dir "$build_dir" --work-dir "$work_dir" --hold "$hold" --rate "$rate" --view "$view")
  [ -z "$duration" ] || args+=(--duration "$duration")
  [ -n "$http" ] || exec scripts/netns-run.sh "$repo/scripts/run-demo.sh" "${args[@]}"
  # The namespace has a network of its own, out of a browser's reach: the
  # browser view's tap runs out here and reads the daemon's endpoint through
  # the namespace's file system (/proc/PID/root of a process inside).
  scripts/netns-run.sh "$repo/scripts/run-demo.sh" "${args[@]}" &
  ns_pid=$!
  trap '' INT  # Ctrl-C reaches every process of the demo; this one waits for them
  for _ in $(seq 50); do
    [ "$(readlink "/proc/$ns_pid/ns/mnt")" = "$(readlink /proc/self/ns/mnt)" ] || break
    sleep 0.1
  done
  endpoint="ipc:///proc/$ns_pid/root$(readlink -f /run/shm)/mq/dlbMetadataPub.ipc"
  "$tap_bin" --http "$http" --endpoint "$endpoint" --view summary >/dev/null 2>"$work_dir/plovrest-tap-http.log" &
  http_pid=$!
  echo "plovrest demo: browser view on http://127.0.0.1:$http/ (log: $work_dir/plovrest-tap-http.log)"
  if wait "$ns_pid"; then rc=0; else rc=$?; fi
  kill -INT "$http_pid" 2>/dev/null || true
  wait "$http_pid" || true
  exit "$rc"
fi

# --------------------------------------------------------------------------
# Inside the namespace.
if (( BASH_VERSINFO[0] * 100 + BASH_VERSINFO[1] < 501 )); then
  die "needs bash 5.1 or later (wait -n -p), this is $BASH_VERSION"
fi
for b in "$daemon_bin" "$sim_bin" "$tap_bin"; do
  [ -x "$b" ] || die "$b is not built (run scripts/run-demo.sh without --no-setup)"
done
if [ -z "$work_dir" ]; then work_dir="$(mktemp -d /tmp/plovrest-demo.XXXXXX)"; fi
mkdir -p "$work_dir"
daemon_log="$work_dir/plovrestd.log"
sim_log="$work_dir/plovrest-sim.log"
messages="$work_dir/messages.jsonl"
scenario="$work_dir/every-stream-kind.json"

# Stream kinds in playing order: built-in scenario, "TypeId" of its status
# document, name shown.
kinds=(pcm:0:PCM dd:1:"Dolby Digital" ddp:16:"Dolby Digital Plus" dolby-e:28:"Dolby E" ac4:24:AC-4 ed2:60:ED2)

{
  printf '{\n  "description": "Every stream kind in turn, %s s each",\n  "steps": [\n' "$hold"
  sep=""
  for k in "${kinds[@]}"; do
    printf '%s    {"use": "%s", "hold": %s}' "$sep" "${k%%:*}" "$hold"
    sep=$',\n'
  done
  printf '\n  ]\n}\n'
} >"$scenario"

# Seen on "DolbyMetadataGrp": a status document with this TypeId. (One grep:
# in a pipeline, grep -q ending early would fail the pipeline.)
status_seen() {
  LC_ALL=C grep -qE "\"topic\":\"DolbyMetadataGrp\",.*\"TypeId\":$1," "$messages" 2>/dev/null
}
# Seen on "DolbyPAData>>": a presentation document (not the empty one).
presentation_seen() {
  LC_ALL=C grep -qE '"topic":"DolbyPAData>>",.*"NoPresentations":' "$messages" 2>/dev/null
}

cat <<EOF
plovrest demo: plovrestd with simulated peers, in a private network namespace
  decoder          every stream kind in turn, $hold s each, $rate records/s: PCM, Dolby Digital,
                   Dolby Digital Plus with objects, Dolby E, AC-4, ED2
  hardware monitor Dolby Zoom selected; process monitor: decoder processing
  below            what plovrestd publishes (plovrest-tap --changes --view $view):
                   decoder state, status documents, ED2 presentation documents
  logs             $work_dir
EOF
if [ -n "$duration" ]; then echo "  runs for $duration s"; else echo "  Ctrl-C ends the demo"; fi
echo

stop_reason=""
trap 'stop_reason="${stop_reason:-Ctrl-C}"' INT
trap 'stop_reason="${stop_reason:-SIGTERM}"' TERM

# Subscribers first, so nothing the daemon publishes is missed.
"$tap_bin" --jsonl --changes >"$messages" 2>"$work_dir/plovrest-tap-capture.log" &
capture_pid=$!
"$tap_bin" --changes --view "$view" &
view_pid=$!
"$daemon_bin" -s 2 -i lo >"$daemon_log" 2>&1 &
daemon_pid=$!
"$sim_bin" --scenario-file "$scenario" --rate "$rate" --zoom on --decoder-state processing >"$sim_log" 2>&1 &
sim_pid=$!
timer_pid=""
if [ -n "$duration" ]; then
  sleep "$duration" &
  timer_pid=$!
fi

declare -A role=([$daemon_pid]=plovrestd [$sim_pid]=plovrest-sim [$view_pid]=plovrest-tap
                 [$capture_pid]="plovrest-tap (capture)")
watched=("$daemon_pid" "$sim_pid" "$view_pid" "$capture_pid" $timer_pid)
declare -A status=()
while [ -z "$stop_reason" ]; do
  ended=""
  if wait -n -p ended "${watched[@]}"; then rc=0; else rc=$?; fi
  [ -z "$stop_reason" ] || break  # a signal interrupted the wait
  [ -n "${ended:-}" ] || continue
  if [ "$ended" = "$timer_pid" ]; then
    stop_reason="time"
  else
    status[$ended]=$rc
    # Ctrl-C reaches every process at once; a tool may end before the trap
    # above has run. Give it the moment to tell the two apart.
    sleep 0.2
    stop_reason="${stop_reason:-${role[$ended]} ended (exit status $rc)}"
  fi
done

# True while PID runs (a finished child stays a zombie until waited for).
running() {
  local stat
  stat="$(cat "/proc/$1/stat" 2>/dev/null)" || return 1
  stat="${stat##*) }"
  [ "${stat%% *}" != "Z" ]
}

# Ends one process: SIGINT as from the terminal, then SIGTERM, then SIGKILL,
# each after a bounded wait.
stop_process() {
  local pid="$1" sig waited
  [ -z "${status[$pid]:-}" ] || return 0
  for sig in INT TERM KILL; do
    kill -s "$sig" "$pid" 2>/dev/null || true
    for ((waited = 0; waited < 100; waited++)); do
      running "$pid" || break
      sleep 0.1
    done
    running "$pid" || break
    echo "run-demo: ${role[$pid]} did not end on SIG$sig" >&2
  done
  if wait "$pid"; then status[$pid]=0; else status[$pid]=$?; fi
}
trap '' INT TERM  # from here on, finish the clean-up whatever arrives
[ -z "$timer_pid" ] || { kill "$timer_pid" 2>/dev/null || true; wait "$timer_pid" 2>/dev/null || true; }
for pid in "$daemon_pid" "$sim_pid" "$view_pid" "$capture_pid"; do stop_process "$pid"; done

echo
if [ "$stop_reason" = time ]; then echo "plovrest demo: stopped after $duration s"; else echo "plovrest demo: stopped ($stop_reason)"; fi
missing=()
seen=()
for k in "${kinds[@]}"; do
  rest="${k#*:}"
  if status_seen "${rest%%:*}"; then seen+=("${rest#*:}"); else missing+=("${rest#*:}"); fi
done
if presentation_seen; then seen+=("ED2 presentation"); else missing+=("ED2 presentation"); fi
joined() { local IFS=','; echo "$*" | sed 's/,/, /g'; }
echo "  documents seen   ${seen[*]:+$(joined "${seen[@]}")}"
[ -z "$duration" ] || [ ${#missing[@]} -eq 0 ] || echo "  not seen         $(joined "${missing[@]}")"
last_line="$(tail -n 1 "$daemon_log" 2>/dev/null || true)"
echo "  plovrestd        exit status ${status[$daemon_pid]}, last line: ${last_line:-(none)}"
echo "  daemon log       $daemon_log"
echo "  simulator log    $sim_log"
echo "  every change     $messages"

daemon_ok=0
[ "${status[$daemon_pid]}" = 0 ] && [[ "$last_line" == "SignalValue: "* ]] && daemon_ok=1
case "$stop_reason" in
  time)
    [ "$daemon_ok" = 1 ] && [ ${#missing[@]} -eq 0 ] && exit 0
    exit 1 ;;
  Ctrl-C|SIGTERM)
    [ "$daemon_ok" = 1 ] || exit 1
    [ -z "$duration" ] || exit 130
    exit 0 ;;
  *)
    echo "run-demo: $stop_reason; see the logs above" >&2
    exit 1 ;;
esac
