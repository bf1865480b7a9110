#!/usr/bin/env bash
# The exporter against the real thing, inside scripts/netns-run.sh: the daemon
# and the simulator play every stream kind while a real Prometheus server
# (Debian's package, on loopback, 1 s scrapes) scrapes the exporter.
#   - promtool check metrics is clean on /metrics for every stream kind
#   - queries see the state "Decoding", the stream kind change, a dialnorm
#     change counted; /changes holds it with its old and new value
#   - the daemon stopped and started again shows in plovrest_up, and the
#     exporter (the same process) carries on
#
#   tests/exporter/live-prometheus.sh BUILD_DIR     (run it through scripts/netns-run.sh)
set -euo pipefail

build="$(cd "$1" && pwd)"
src="$(cd "$(dirname "$0")/../.." && pwd)"
daemon="$build/MainBoard/Frame/plovrestd"
sim="$build/tools/plovrest-sim"
exporter="$build/tools/plovrest-exporter"
work="$(mktemp -d /tmp/plovrest-live-prom.XXXXXX)"
port=8639        # the exporter's default port, free in the private namespace
prom=127.0.0.1:9090
trap 'kill $(jobs -p) 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT

fail() { echo "live-prometheus: FAIL: $*" >&2; for f in "$work"/*.log; do echo "--- $f" >&2; tail -5 "$f" >&2; done; exit 1; }
say() { echo "live-prometheus: $*"; }

# Number of series a PromQL query returns.
query() {
  curl -sf --data-urlencode "query=$1" "http://$prom/api/v1/query" |
    python3 -c 'import json,sys; print(len(json.load(sys.stdin)["data"]["result"]))' 2>/dev/null || echo 0
}
# Waits up to $2 seconds (default 60) until the query $1 returns a series.
await() {
  local deadline=$((SECONDS + ${2:-60}))
  until [ "$(query "$1")" -gt 0 ]; do
    [ $SECONDS -lt $deadline ] || fail "no result for: $1"
    sleep 0.5
  done
  say "seen: $1"
}

start_daemon() { "$daemon" -s 2 -i lo >> "$work/daemon.log" 2>&1 & daemon_pid=$!; }
start_sim() {
  [ -z "${sim_pid:-}" ] || { kill "$sim_pid"; wait "$sim_pid" 2>/dev/null || true; }
  "$sim" --scenario "$1" --zoom on --decoder-state processing -q >> "$work/sim.log" 2>&1 & sim_pid=$!
}

echo "PLOVREST_SLOT=2" > "$work/plovrestd"
start_daemon
"$exporter" --http "127.0.0.1:$port" --settings "$work/plovrestd" 2> "$work/exporter.log" & exporter_pid=$!
cat > "$work/prometheus.yml" <<YML
global: {scrape_interval: 1s, evaluation_interval: 1s}
rule_files: ["$src/packaging/prometheus/plovrest.rules.yml"]
scrape_configs:
  - job_name: plovrest
    static_configs: [{targets: ["127.0.0.1:$port"]}]
YML
prometheus --config.file="$work/prometheus.yml" --storage.tsdb.path="$work/data" \
  --web.listen-address="$prom" > "$work/prometheus.log" 2>&1 &

# Every stream kind: promtool check metrics on the live output once its
# status document is in.
start_sim all
declare -A checked=()
deadline=$((SECONDS + 90))
while [ ${#checked[@]} -lt 6 ]; do
  [ $SECONDS -lt $deadline ] || fail "stream kinds checked: ${!checked[*]}"
  curl -sf "http://127.0.0.1:$port/metrics" > "$work/metrics.txt" || { sleep 0.5; continue; }
  type="$(sed -n 's/^plovrest_stream_type{.*type="\(.*\)"} 1$/\1/p' "$work/metrics.txt")"
  if [ -n "$type" ] && [ -z "${checked[$type]:-}" ]; then
    promtool check metrics < "$work/metrics.txt" || fail "promtool check metrics on $type"
    curl -sf -H 'Accept: application/openmetrics-text; version=1.0.0' "http://127.0.0.1:$port/metrics" |
      tail -1 | grep -qx '# EOF' || fail "OpenMetrics output of $type"
    checked[$type]=1
    say "promtool check metrics clean: $type"
  fi
  sleep 0.5
done

await 'plovrest_decoder_state{slot="2",state="Decoding"} == 1'
# The server loaded every shipped alert rule.
rules="$(curl -sf "http://$prom/api/v1/rules" |
         python3 -c 'import json,sys; print(sum(len(g["rules"]) for g in json.load(sys.stdin)["data"]["groups"]))')"
[ "$rules" = "$(grep -c '^ *- alert:' "$src/packaging/prometheus/plovrest.rules.yml")" ] ||
  fail "the server loaded $rules alert rules"
say "alert rules loaded: $rules"
await 'count(max_over_time(plovrest_stream_type{slot="2"}[5m]) == 1) >= 6'
await 'changes(plovrest_type_id{slot="2"}[5m]) >= 5'

# A dialnorm change within one stream kind: the flip scenario's second step.
start_sim flip
new="$(python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))["steps"][1]["record"]["ddp"]["dialnorm"])' \
       "$src/tools/scenarios/flip.json")"
await "increase(plovrest_field_changes_total{slot=\"2\",topic=\"DolbyMetadataGrp\",field=~\".*/Dialnorm/Data\"}[1m]) > 0"
await "plovrest_dialnorm_decibels{slot=\"2\"} == $new"
curl -sf "http://127.0.0.1:$port/changes" > "$work/changes.jsonl"
python3 - "$work/changes.jsonl" "$new" <<'PY' || fail "no dialnorm change to $new in /changes"
import json, sys
lines = [json.loads(l) for l in open(sys.argv[1])]
hits = [c for c in lines if c["field"].endswith("/Dialnorm/Data") and c["new"] == int(sys.argv[2])
        and isinstance(c["old"], int) and c["old"] != c["new"] and c["topic"] == "DolbyMetadataGrp"]
assert hits, lines[-5:]
print("live-prometheus: /changes:", json.dumps(hits[-1]))
PY

# The daemon stops and starts again; the exporter stays the same process.
kill "$daemon_pid"; wait "$daemon_pid" 2>/dev/null || true
await 'plovrest_up{slot="2"} == 0' 60
start_daemon
await 'plovrest_up{slot="2"} == 1' 60
await 'plovrest_decoder_state{slot="2",state="Decoding"} == 1'
kill -0 "$exporter_pid" 2>/dev/null || fail "the exporter ended"
say "passed"
