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
# A counter of the decoder's records and the daemon's documents shows that it
# runs: on a terminal one line below the tap's, updated in place; otherwise a
# plain line every few seconds. When a program fails, its last lines are shown.
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
# die MESSAGE [STATUS]: the message on standard error, then exit (status 1).
die() { echo "run-demo: $1" >&2; exit "${2:-1}"; }
# A bad command line, told as the tools tell it: status 2.
usage_error() { echo "run-demo: $1" >&2; echo "Try '$0 --help'." >&2; exit 2; }
# True when $1 is a decimal number within [$2, $3].
in_range() {
  [[ "$1" =~ ^[0-9]+([.][0-9]+)?$ ]] && awk -v v="$1" -v lo="$2" -v hi="$3" 'BEGIN { exit !(v >= lo && v <= hi) }'
}
# needs_value OPTION ARGS...: the option has a value after it.
needs_value() { [ $# -ge 2 ] || usage_error "$1: needs a value"; }

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
    --duration) needs_value "$@"; duration="$2"; shift 2 ;;
    --hold) needs_value "$@"; hold="$2"; shift 2 ;;
    --rate) needs_value "$@"; rate="$2"; shift 2 ;;
    --view) needs_value "$@"; view="$2"; shift 2 ;;
    --build-dir) needs_value "$@"; build_dir="$2"; shift 2 ;;
    --work-dir) needs_value "$@"; work_dir="$2"; shift 2 ;;
    --no-setup) setup=0; shift ;;
    --http) needs_value "$@"; http="$2"; shift 2 ;;
    -h|--help) usage; exit 0 ;;
    *) usage_error "unknown option '$1'" ;;
  esac
done
[ -z "$duration" ] || in_range "$duration" 0.1 86400 ||
  usage_error "--duration: '$duration' is not a number of seconds (0.1 to 86400)"
[ -z "$hold" ] || in_range "$hold" 0.1 3600 || usage_error "--hold: '$hold' is not a number of seconds (0.1 to 3600)"
# The simulator's own range.
in_range "$rate" 0.1 1000 || usage_error "--rate: '$rate' is out of range (0.1 to 1000)"
[ -z "$http" ] || { [[ "$http" =~ ^[0-9]+$ ]] && in_range "$http" 1 65535; } ||
  usage_error "--http: '$http' is not a port (1 to 65535)"
case "$view" in
  summary|table|pretty|raw) ;;
  *) usage_error "--view: '$view' is not one of: summary, table, pretty, raw" ;;
esac
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
  # Before any folder is made: can the namespace be made? (netns-run.sh
  # explains how to allow it when not.)
  if ! scripts/netns-run.sh --check; then
    echo "run-demo: the demo runs in a private network namespace and cannot make one here" >&2
    exit 77
  fi
  made_work_dir=0
  if [ -z "$work_dir" ]; then work_dir="$(mktemp -d /tmp/plovrest-demo.XXXXXX)"; made_work_dir=1; fi
  mkdir -p "$work_dir"
  work_dir="$(cd "$work_dir" && pwd)"
  args=(--no-setup --build-dir "$build_dir" --work-dir "$work_dir" --hold "$hold" --rate "$rate" --view "$view")
  [ -z "$duration" ] || args+=(--duration "$duration")
  # Ctrl-C is the demo's to handle; this shell only waits for it to finish.
  trap : INT TERM
  status=0
  if [ -z "$http" ]; then
    scripts/netns-run.sh "$repo/scripts/run-demo.sh" "${args[@]}" || status=$?
  else
    # The namespace has a network of its own, out of a browser's reach: the
    # browser view's tap runs out here and reads the daemon's endpoint through
    # the namespace's file system (/proc/PID/root of a process inside).
    scripts/netns-run.sh "$repo/scripts/run-demo.sh" "${args[@]}" &
    ns_pid=$!
    for _ in $(seq 50); do
      [ "$(readlink "/proc/$ns_pid/ns/mnt")" = "$(readlink /proc/self/ns/mnt)" ] || break
      sleep 0.1
    done
    endpoint="ipc:///proc/$ns_pid/root$(readlink -f /run/shm)/mq/dlbMetadataPub.ipc"
    "$tap_bin" --http "$http" --endpoint "$endpoint" --view summary >/dev/null 2>"$work_dir/plovrest-tap-http.log" &
    http_pid=$!
    echo "plovrest demo: browser view on http://127.0.0.1:$http/ (log: $work_dir/plovrest-tap-http.log)"
    wait "$ns_pid" || status=$?
    kill -INT "$http_pid" 2>/dev/null || true
    wait "$http_pid" || true
  fi
  # A demo that could not start leaves no empty folder behind.
  [ "$made_work_dir" = 0 ] || rmdir "$work_dir" 2>/dev/null || true
  exit "$status"
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
# Sign of life: two more taps count the decoder's records (on its endpoint,
# tcp://169.254.2.3:2002) and the daemon's documents, once a second.
records_stats="$work_dir/records.stats"
documents_stats="$work_dir/documents.stats"
"$tap_bin" --endpoint tcp://169.254.2.3:2002 --stats --interval 1 >"$records_stats" 2>/dev/null &
records_pid=$!
"$tap_bin" --stats --interval 1 >"$documents_stats" 2>/dev/null &
documents_pid=$!
started=$SECONDS
# last_count FILE TOPIC-REGEX: the summed COUNT of the matching topics in the
# last complete report of FILE (reports end with an empty line).
last_count() {
  awk -v re="$2" '$1 ~ re { n += $2 } /^$/ { last = n; n = 0 } END { print last + 0 }' "$1" 2>/dev/null || echo 0
}
pulse_text() {
  printf '%s s: %s records from the decoder, %s documents published' "$((SECONDS - started))" \
    "$(last_count "$records_stats" '^DolbyMetadataEvent$')" \
    "$(last_count "$documents_stats" '^(DolbyMetadataGrp|DolbyMetadataGrpRepub|DolbyPAData>>)$')"
}
# On a terminal: the view tap's lines pass through here, with the counter on
# the line below them, redrawn in place (its text once a second at most).
screen() {
  local line="" pending="" text="" drawn=-1
  trap '' INT  # Ctrl-C: ends with the view tap's output, not before
  while :; do
    if IFS= read -r -t 1 line; then
      printf '\r\033[K%s\n' "$pending$line"
      pending=""
    elif [ $? -gt 128 ]; then
      pending+="$line"  # a time-out keeps what part of a line came
    else
      break
    fi
    [ "$drawn" = "$SECONDS" ] || { text="$(pulse_text)"; drawn=$SECONDS; }
    printf '\r\033[K%s' "$text"
  done
  [ -z "$pending$line" ] || printf '\r\033[K%s\n' "$pending$line"
  printf '\r\033[K'
}
# Not on a terminal: a plain line every few seconds.
ticker() {
  local every sleeper
  every="$(awk -v h="$hold" 'BEGIN { print (h < 2 ? 2 : h) }')"
  trap '' INT
  trap 'kill "$sleeper" 2>/dev/null; wait "$sleeper"; exit 0' TERM
  while :; do
    sleep "$every" &
    sleeper=$!
    wait "$sleeper"
    echo "  ... $(pulse_text)"
  done
}
pulse_pid=""
if [ -t 1 ]; then
  fifo="$work_dir/view.fifo"
  rm -f "$fifo"
  mkfifo "$fifo"
  screen <"$fifo" &
  pulse_pid=$!
  "$tap_bin" --changes --view "$view" >"$fifo" &
else
  ticker &
  pulse_pid=$!
  "$tap_bin" --changes --view "$view" &
fi
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
                 [$capture_pid]="plovrest-tap (capture)" [$records_pid]="plovrest-tap (records)"
                 [$documents_pid]="plovrest-tap (documents)")
# Where each program's own messages go, for its last lines when it fails.
declare -A log_of=([$daemon_pid]="$daemon_log" [$sim_pid]="$sim_log"
                   [$capture_pid]="$work_dir/plovrest-tap-capture.log")
failed_pid=""
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
    [ -n "$stop_reason" ] || failed_pid=$ended
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
for pid in "$daemon_pid" "$sim_pid" "$view_pid" "$capture_pid" "$records_pid" "$documents_pid"; do
  stop_process "$pid"
done
# The counter: on a terminal it ends with the view tap's output.
[ -t 1 ] || kill -TERM "$pulse_pid" 2>/dev/null || true
wait "$pulse_pid" 2>/dev/null || true
[ -z "${fifo:-}" ] || rm -f "$fifo"

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
    echo "run-demo: $stop_reason" >&2
    failed_log="${log_of[${failed_pid:-none}]:-}"
    if [ -n "$failed_log" ] && [ -s "$failed_log" ]; then
      echo "run-demo: its last lines ($failed_log):" >&2
      tail -n 5 "$failed_log" | sed 's/^/  /' >&2
    fi
    exit 1 ;;
esac
