#!/usr/bin/env bash
# Builds the Debian packages and checks them as an installation would use
# them, short of booting systemd:
#
#   1. cpack builds plovrestd and plovrest-tools
#   2. lintian reports no error and no warning
#   3. both unpack into a scratch root with the files they should hold; the
#      unit's ExecStart and EnvironmentFile name files of the package
#   4. systemd-analyze verify accepts the unit, and
#      systemd-analyze security --offline rates it OK (exposure 2.0 at most)
#   5. inside scripts/netns-run.sh, the unpacked daemon starts the way the unit
#      starts it (settings file, command line) under what of the unit's
#      sandbox a namespace can give (read-only file system but /run/shm/mq,
#      private /tmp, no new privileges, no capabilities, umask); it binds its
#      endpoint and the unpacked plovrest-tap receives a document from it;
#      it reports READY=1 on a notify socket as the unit's Type=notify has
#      it; with the queue folder emptied and made anew a new tap receives a
#      document within 3 s; SIGTERM stops it as systemd does. Every system
#      call it made is one the unit's SystemCallFilter allows, every socket of
#      an allowed family. The unpacked exporter, started as its unit starts
#      it, serves the daemon's state with the settings' slot, promtool-clean.
#
# A board's build (scripts/test.sh --arch ARCH, build-ARCH) gives the board's
# packages: they must carry its architecture and hold its binaries, and its
# daemon runs under qemu-user (scripts/emulate.sh). The system-call check is
# left out there: strace would see the emulator's host system calls, not the
# board's.
#
#   scripts/package-test.sh [--build-dir DIR] [--keep]
#
# --build-dir DIR   a configured build directory (default build; configured
#                   and built when missing)
# --keep            keep the scratch directory (its path is printed)
#
# Exit status: 0 every check passed, 1 a check failed, 2 bad arguments, 77
# namespaces unavailable (a failure under CI=true).
set -euo pipefail
cd "$(dirname "$0")/.."
repo="$PWD"

usage() { sed -n '2,/^set -euo/p' "$0" | sed '$d; s/^# \{0,1\}//'; }
die() { echo "package-test: $1" >&2; exit "${2:-1}"; }

unit_path=usr/lib/systemd/system/plovrestd.service
exporter_unit_path=usr/lib/systemd/system/plovrest-exporter.service

# ---------------------------------------------------------------------------
# Inside the namespace (step 5): ROOT is the unpacked packages, WORK scratch.
if [ "${1:-}" = "--inside" ]; then
  # The scratch directory, reachable once /tmp is private (below).
  mkdir /dev/shm/package-test
  mount --bind "$3" /dev/shm/package-test
  work=/dev/shm/package-test root="/dev/shm/package-test/${2#"$3"/}"
  unit="$root/$unit_path"
  unit_value() { sed -n "s/^$1=//p" "$unit"; }

  # The card's interface as the settings file names it, with an address of
  # its own (slot 0 waits for one).
  ( set -a; for e in $(unit_value Environment); do eval "$e"; done
    envfile="$(unit_value EnvironmentFile)"
    # shellcheck source=/dev/null
    . "$root${envfile#-}"
    echo "$PLOVREST_SLOT $PLOVREST_INTERFACE" ) >"$work/settings"
  read -r slot interface <"$work/settings"
  if [ "$interface" != lo ]; then
    if ip link add "$interface" type veth peer name "${interface}-peer" 2>/dev/null; then
      ip addr add 192.0.2.10/24 dev "$interface"
      ip link set "${interface}-peer" up
      ip link set "$interface" up
    else
      echo "package-test: this kernel cannot make a $interface here (no veth); the daemon waits for lo instead"
      interface=lo
    fi
  fi

  # ExecStart with the settings substituted, one argument per word.
  read -r -a words <<<"$(unit_value ExecStart)"
  command=("$root${words[0]}")
  for w in "${words[@]:1}"; do
    case "$w" in
      '${PLOVREST_SLOT}') command+=("$slot") ;;
      '${PLOVREST_INTERFACE}') command+=("$interface") ;;
      *) command+=("$w") ;;
    esac
  done
  echo "package-test: daemon command line: ${command[*]#"$root"}"

  # Where the results go, opened before the file system turns read-only and
  # /tmp private; the rest is printed for the caller.
  exec 3>"$work/daemon.log" 4>"$work/syscalls" 5>"$work/exporter-syscalls"

  # ProtectSystem=strict with the unit's ReadWritePaths=, PrivateTmp=yes. /run
  # as on Debian 12: a tmpfs in which the unit's ExecStartPre makes /run/shm
  # a directory (no link to /dev/shm). A writable view of it kept aside plays
  # the host, which may empty the queue folder.
  rw="$(unit_value ReadWritePaths)"
  mount -t tmpfs tmpfs /run
  mkdir -p /run/shm/mq "$work/host-run"
  mount --bind /run "$work/host-run"
  mount --bind "$rw" "$rw"
  mount -t tmpfs tmpfs /tmp
  findmnt -rno TARGET | while read -r m; do
    case "$m" in /proc*|/sys*|/dev*|"$rw"|/tmp) continue ;; esac
    mount -o remount,bind,ro "$m" 2>/dev/null || true
  done
  if touch /usr/.rw-probe "$root/.rw-probe" 2>/dev/null; then die "the file system is still writable"; fi

  # NoNewPrivileges, CapabilityBoundingSet= (empty), UMask=0022; strace
  # records each system call for the SystemCallFilter check (not under qemu).
  umask 0022
  tracer=(strace -f -qq -o /dev/fd/4)
  [ -z "${QEMU_LD_PREFIX:-}" ] || tracer=()
  # Type=notify: a notify socket as systemd gives one; its first message.
  /usr/bin/python3 -c 'import socket, sys; s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.bind(sys.argv[1]); s.settimeout(20); print(s.recv(256).decode())' "$work/notify" >"$work/notified" &
  receiver=$!
  until [ -S "$work/notify" ]; do sleep 0.1; done
  NOTIFY_SOCKET="$work/notify" setpriv --no-new-privs --bounding-set=-all --inh-caps=-all -- \
    "${tracer[@]}" "${command[@]}" >&3 2>&3 &
  daemon=$!
  "$root/usr/bin/plovrest-sim" --scenario ddp --zoom on --decoder-state processing -q &
  sim=$!
  status=0
  document="$("$root/usr/bin/plovrest-tap" --topic DolbyMetadataGrp --jsonl --count 1 --timeout 20)" || status=$?
  echo "result: document $document"
  # The queue folder emptied and made anew: a new subscriber within 3 s.
  if rm -rf "$work/host-run/shm/mq" && mkdir "$work/host-run/shm/mq" &&
    "$root/usr/bin/plovrest-tap" --jsonl --count 1 --timeout 3 >/dev/null; then echo "result: healed"; fi
  # The exporter as its unit starts it (its paths inside the unpacked root):
  # the card's slot from the settings file, the state "Decoding", output
  # that promtool accepts.
  read -r -a words <<<"$(sed -n 's/^ExecStart=//p' "$root/$exporter_unit_path")"
  traced=()
  [ ${#tracer[@]} -eq 0 ] || traced=(strace -f -qq -o /dev/fd/5)
  "${traced[@]}" "${words[@]/#\//$root/}" 2>/dev/null &
  exporter=$!
  for _ in $(seq 40); do
    metrics="$(curl -sf http://127.0.0.1:8639/metrics)" || true
    [[ "$metrics" != *"plovrest_decoder_state{slot=\"$slot\",state=\"Decoding\"} 1"* ]] || break
    sleep 0.5
  done
  echo "package-test: exporter: $(grep -c '^plovrest' <<<"$metrics") series, $(grep '^plovrest_decoder_state.* 1$' <<<"$metrics")"
  if [[ "$metrics" == *"state=\"Decoding\"} 1"* ]] && promtool check metrics <<<"$metrics"; then echo "result: exporter"; fi
  target="$exporter"
  [ ${#traced[@]} -eq 0 ] || target="$(pgrep -f -n "^$root/usr/bin/plovrest-exporter")"
  kill -TERM "$target" 2>/dev/null || true
  wait "$exporter" 2>/dev/null || true
  wait "$receiver" || true
  echo "result: notified $(cat "$work/notified")"
  [ ! -S /run/shm/mq/dlbMetadataPub.ipc ] || echo "result: bound"
  kill -TERM "$sim" 2>/dev/null || true
  # Under strace the daemon is strace's child: SIGTERM to the daemon itself.
  target="$daemon"
  [ ${#tracer[@]} -eq 0 ] || target="$(pgrep -f -n "^$root/usr/bin/plovrestd")"
  kill -TERM "$target" 2>/dev/null || true
  if wait "$daemon"; then rc=0; else rc=$?; fi
  echo "result: daemon-status $rc"
  wait "$sim" 2>/dev/null || true
  exit "$status"
fi

# ---------------------------------------------------------------------------
build_dir="build"
keep=0
while [ $# -gt 0 ]; do
  case "$1" in
    --build-dir) [ $# -ge 2 ] || die "$1: needs a value" 2; build_dir="$2"; shift 2 ;;
    --keep) keep=1; shift ;;
    -h|--help) usage; exit 0 ;;
    *) die "unknown option $1 (see --help)" 2 ;;
  esac
done
case "$build_dir" in /*) ;; *) build_dir="$repo/$build_dir" ;; esac
scripts/netns-run.sh --check || { [ "${CI:-}" = true ] && exit 1; exit 77; }

# The architecture the packages are for: a board's when the build is a
# cross-build, whose programs then run under qemu-user.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build_dir/CMakeCache.txt" 2>/dev/null; }
arch="$(cached PLOVREST_BOARD_ARCH)"
if [ -n "$arch" ]; then
  export QEMU_LD_PREFIX="$(cached PLOVREST_SYSROOT)"
  scripts/emulate.sh "$arch" >/dev/null
else
  arch="$(dpkg --print-architecture)"
fi

work="$(mktemp -d /tmp/plovrest-package-test.XXXXXX)"
chmod 755 "$work"
if [ "$keep" = 1 ]; then
  trap 'echo "package-test: scratch directory $work"' EXIT
else
  trap 'rm -rf "$work"' EXIT
fi
passed=0 failed=0
pass() { echo "ok    $*"; passed=$((passed + 1)); }
fail() { echo "FAIL  $*"; failed=$((failed + 1)); }
# check NAME COMMAND...: one check; its output is shown when it fails.
check() {
  local name="$1" out
  shift
  if out="$("$@" 2>&1)"; then pass "$name"; else fail "$name"; printf '%s\n' "$out" | sed 's/^/      /'; fi
}

# 1. The packages.
if [ ! -f "$build_dir/CMakeCache.txt" ]; then
  cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
cmake --build "$build_dir" -j"$(nproc)"
(cd "$build_dir" && cpack -B "$work/cpack" >"$work/cpack.log") || { cat "$work/cpack.log"; die "cpack failed"; }
debs=("$work"/cpack/*.deb)
names="$(for d in "${debs[@]}"; do dpkg-deb -f "$d" Package; done | sort | tr '\n' ' ')"
check "cpack builds plovrest-exporter, plovrest-tools and plovrestd ($names)" \
  test "$names" = "plovrest-exporter plovrest-tools plovrestd "
architecture() {
  local d depends
  for d in "${debs[@]}"; do
    depends="$(dpkg-deb -f "$d" Depends)"
    echo "$(basename "$d"): Architecture $(dpkg-deb -f "$d" Architecture); Depends $depends"
    [ "$(dpkg-deb -f "$d" Architecture)" = "$arch" ] && [[ "$d" == *"_$arch.deb" ]] || return 1
    # dpkg-shlibdeps found the libraries (every package links ZeroMQ, the
    # daemon and the tools through CZMQ).
    [[ "$depends" == *libczmq4* || "$depends" == *libzmq5* ]] || return 1
  done
}
check "packages are for $arch, with the libraries' packages as dependencies" architecture

# 2. lintian, as an ordinary user (it warns about running as root).
lint() {
  local out
  if [ "$(id -u)" = 0 ]; then
    out="$(runuser -u nobody -- env HOME="$work" lintian "$@" 2>&1)" || true
  else
    out="$(lintian "$@" 2>&1)" || true
  fi
  [ -z "$out" ] || { printf '%s\n' "$out"; return 1; }
}
chmod -R a+rX "$work/cpack"
check "lintian: no error, no warning" lint "${debs[@]}"

# 3. Contents.
root="$work/root"
mkdir -p "$root"
for d in "${debs[@]}"; do dpkg-deb -x "$d" "$root"; done
dpkg-deb -e "$work"/cpack/plovrestd_*.deb "$work/control"
contents() {
  local f missing=0
  for f in usr/bin/plovrestd usr/bin/plovrest-sim usr/bin/plovrest-tap "$unit_path" \
           etc/default/plovrestd usr/share/man/man8/plovrestd.8.gz \
           usr/share/man/man1/plovrest-sim.1.gz usr/share/man/man1/plovrest-tap.1.gz \
           usr/share/doc/plovrestd/copyright usr/share/doc/plovrestd/changelog.Debian.gz \
           usr/share/doc/plovrest-tools/copyright usr/share/doc/plovrest-tools/changelog.Debian.gz \
           usr/bin/plovrest-exporter "$exporter_unit_path" usr/share/man/man1/plovrest-exporter.1.gz \
           usr/share/plovrest-exporter/prometheus/plovrest.rules.yml usr/share/doc/plovrest-exporter/copyright; do
    [ -e "$root/$f" ] || { echo "missing /$f"; missing=1; }
  done
  grep -qx /etc/default/plovrestd "$work/control/conffiles" || { echo "conffiles lacks /etc/default/plovrestd"; missing=1; }
  for f in postinst prerm postrm; do
    grep -q "deb-systemd-\(helper\|invoke\).*plovrestd.service" "$work/control/$f" || { echo "$f: no systemd handling"; missing=1; }
  done
  return "$missing"
}
check "packages hold binaries, unit, conffile, man pages, copyright, changelog, maintainer scripts" contents
machine() {
  local f want
  case "$arch" in
    amd64) want="x86-64" ;;
    arm64) want="ARM aarch64" ;;
    armhf) want="ARM, EABI5" ;;
    *) want="$arch" ;;
  esac
  for f in plovrestd plovrest-sim plovrest-tap plovrest-exporter; do
    file -b "$root/usr/bin/$f" | tee /dev/stderr | grep -q "$want" || return 1
  done
}
check "binaries are $arch programs (file)" machine
unit_names_package_files() {
  local exec env
  exec="$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$root/$unit_path")"
  env="$(sed -n 's/^EnvironmentFile=-\{0,1\}//p' "$root/$unit_path")"
  echo "ExecStart $exec, EnvironmentFile $env"
  [ -x "$root$exec" ] && [ -f "$root$env" ] && [ "$exec" = /usr/bin/plovrestd ] && [ "$env" = /etc/default/plovrestd ]
}
check "unit's ExecStart and EnvironmentFile are the package's files" unit_names_package_files
# The exporter starts after the daemon and survives its restarts: Wants=,
# never Requires=, BindsTo= or PartOf=; it reads the daemon's settings file.
exporter_unit() {
  local u="$root/$exporter_unit_path" exec
  exec="$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$u")"
  grep -x 'After=plovrestd.service.*' "$u" && grep -x 'Wants=plovrestd.service' "$u" &&
    ! grep -E '^(Requires|BindsTo|PartOf|Requisite)=' "$u" && [ "$exec" = /usr/bin/plovrest-exporter ] &&
    grep -x "ExecStart=$exec --settings /etc/default/plovrestd" "$u"
}
check "exporter unit: after plovrestd, Wants= only, the package's binary and the daemon's settings" exporter_unit

# 4. systemd-analyze on the unpacked unit. The scratch root gets what a
# Debian system around the package has: systemd's own units and /bin/mkdir.
cp -a /lib/systemd/system/. "$root/usr/lib/systemd/system/"
cp /usr/bin/mkdir "$root/usr/bin/"
[ -e "$root/bin" ] || ln -s usr/bin "$root/bin"
[ -e "$root/lib" ] || ln -s usr/lib "$root/lib"
security() {
  local out
  out="$(systemd-analyze security --offline=true --root="$root" --threshold=20 "$1" 2>&1)" || { echo "$out"; return 1; }
  echo "$out" | tail -n 1
}
for service in plovrestd.service plovrest-exporter.service; do
  check "systemd-analyze verify $service" env MANPATH="$root/usr/share/man" systemd-analyze verify --root="$root" "$service"
  check "systemd-analyze security --offline $service: exposure at most 2.0 (OK)" security "$service"
  echo "      $(systemd-analyze security --offline=true --root="$root" "$service" 2>/dev/null | tail -n 1 | sed 's/^→ //')"
done

# 5. The daemon as the unit starts it.
inside_status=0
scripts/netns-run.sh "$repo/scripts/package-test.sh" --inside "$root" "$work" >"$work/inside.log" 2>&1 || inside_status=$?
sed -n 's/^package-test: //p' "$work/inside.log" | sed 's/^/      /'
received() {
  [ "$inside_status" = 0 ] && grep -qx "result: bound" "$work/inside.log" &&
    grep -q '^result: document {.*"topic":"DolbyMetadataGrp"' "$work/inside.log" ||
    { echo "exit status $inside_status"; cat "$work/inside.log" "$work/daemon.log" 2>/dev/null | tail -n 20; return 1; }
}
check "daemon binds /run/shm/mq/dlbMetadataPub.ipc and publishes a document" received
check "daemon notifies READY=1 (Type=notify)" grep -qx "result: notified READY=1" "$work/inside.log"
check "daemon binds its endpoint again when the queue folder is made anew" grep -qx "result: healed" "$work/inside.log"
check "the exporter as its unit starts it: the card's slot, \"Decoding\", promtool check metrics clean" \
  grep -qx "result: exporter" "$work/inside.log"
stopped() {
  local last status
  last="$(grep -v '^$' "$work/daemon.log" | tail -n 1)"
  status="$(sed -n 's/^result: daemon-status //p' "$work/inside.log")"
  echo "exit status $status, last line: $last"
  [ "$status" = 0 ] && [ "$last" = "SignalValue: 15" ]
}
check "SIGTERM stops the daemon (exit status 0, \"SignalValue: 15\")" stopped

# Every system call and socket family the daemon (and the exporter) used is
# allowed by its unit.
expand_set() {
  local line
  systemd-analyze syscall-filter "$1" | tail -n +2 | sed 's/^ *//; /^#/d; /^$/d' |
    while read -r line; do
      case "$line" in @*) expand_set "$line" ;; *) echo "$line" ;; esac
    done
}
# The set the SystemCallFilter= lines of the unit $1 allow, in their order:
# the first is the allow-list, "~" lines take away, others add.
unit_syscalls() {
  local line sign items
  sed -n 's/^SystemCallFilter=//p' "$root/$1" >"$work/filters"
  : >"$work/allowed"
  while read -r line; do
    sign="+"
    case "$line" in "~"*) sign="-"; line="${line#"~"}" ;; esac
    items="$(for i in $line; do case "$i" in @*) expand_set "$i" ;; *) echo "$i" ;; esac; done | sort -u)"
    if [ "$sign" = + ]; then
      sort -u "$work/allowed" - <<<"$items" >"$work/allowed.new"
    else
      comm -23 "$work/allowed" - <<<"$items" >"$work/allowed.new"
    fi
    mv "$work/allowed.new" "$work/allowed"
  done <"$work/filters"
  cat "$work/allowed"
}
# sandbox_allows UNIT TRACE
sandbox_allows() {
  local used bad families f
  [ -s "$2" ] || { echo "no system call trace"; return 1; }
  # Lines look like "PID name(args..." or "PID <... name resumed>...".
  used="$(sed -nE 's/^[0-9]+ +(<\.\.\. )?([a-z0-9_]+)[( ].*/\2/p' "$2" | sort -u)"
  bad="$(comm -23 <(echo "$used") <(unit_syscalls "$1"))"
  families="$(grep -oE 'socket\(AF_[A-Z0-9]+' "$2" | sed 's/socket(//' | sort -u | tr '\n' ' ')"
  echo "$(echo "$used" | wc -l) system calls; socket families: $families"
  [ -z "$bad" ] || { echo "not allowed by SystemCallFilter: $bad"; return 1; }
  for f in $families; do
    grep -q "^RestrictAddressFamilies=.*\b$f\b" "$root/$1" || { echo "$f not in RestrictAddressFamilies"; return 1; }
  done
}
if [ -z "${QEMU_LD_PREFIX:-}" ]; then
  check "every system call and socket family the daemon used is allowed by its unit" \
    sandbox_allows "$unit_path" "$work/syscalls"
  check "every system call and socket family the exporter used is allowed by its unit" \
    sandbox_allows "$exporter_unit_path" "$work/exporter-syscalls"
else
  echo "skip  system calls against the unit's filter: under qemu, strace sees the emulator's"
fi

echo "package-test: $passed passed, $failed failed"
[ "$failed" = 0 ]
