#!/usr/bin/env bash
# Runs the shapes demo (a publisher and a subscriber process, monitoring
# every second into domain 1) and watches it with `zelmon top` until the
# user quits, or for DEMO_SECONDS when the output is not a terminal; then
# stops the demo.
set -euo pipefail
bin="$1"
seconds="${2:-20}"
shapes_domain=0
monitoring_domain=1

pids=()
stop_demo() {
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
}
trap stop_demo EXIT
# Ctrl-C, a closed terminal or a closed pipe: the demo stops with us.
trap 'exit 130' INT TERM HUP PIPE

for role in publisher subscriber; do
  "$bin/zeldemo" "$role" -d "$shapes_domain" -m "$monitoring_domain" -p 1 2>"/tmp/zeldemo-$role.log" &
  pids+=($!)
done

if [ -t 1 ] && [ -t 0 ]; then
  "$bin/zelmon" top -d "$monitoring_domain"
else
  "$bin/zelmon" top -d "$monitoring_domain" -t "$seconds"
fi
