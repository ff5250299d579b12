#!/usr/bin/env bash
# Load benchmark of the reference service against Prism's mock server, both
# on 127.0.0.1: builds qvconsumer-service and qvc_bench_load in Release
# (build/bench-load), installs Prism with npm into build/prism, runs the
# load client BENCH_LOAD_RUNS times (default 3, BENCH_LOAD_SECONDS per
# measurement, default 2) and prints the median table (also kept as
# build/bench-load/results/load.md; BENCH_LOAD_BUILD names another build
# folder). Both servers are stopped at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

say() { echo "== $*" >&2; }

build=${BENCH_LOAD_BUILD:-build/bench-load}
results=$build/results
prism_dir=build/prism
runs=${BENCH_LOAD_RUNS:-3}
seconds=${BENCH_LOAD_SECONDS:-2}
jobs=$(nproc)
[ "$jobs" -gt 2 ] && jobs=2

say "build ($build, Release: the service and the load client)"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQVC_BUILD_TESTS=OFF -DQVC_BUILD_SERVICE=ON \
  -DQVC_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" -j "$jobs" --target qvc_service_main qvc_bench_load >/dev/null

if [ ! -x "$prism_dir/node_modules/.bin/prism" ]; then
  say "install Prism (npm, into $prism_dir)"
  mkdir -p "$prism_dir"
  npm install --prefix "$prism_dir" --no-audit --no-fund @stoplight/prism-cli@5.16.0 >/dev/null 2>&1
fi

rm -rf "$results"
mkdir -p "$results"
ulimit -n "$(ulimit -Hn)"
python3 bench/load/seed.py resources/QVConsumerSimulate.json "$results/seed.json"

pids=()
stop_all() { for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done; }
trap stop_all EXIT

# Waits (at most 30 s) for a server to answer on 127.0.0.1:$1.
wait_port() {
  for _ in $(seq 300); do
    (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null && return 0
    sleep 0.1
  done
  echo "nothing listens on 127.0.0.1:$1" >&2
  exit 1
}

"$build/service/qvconsumer-service" --port 0 --app-id bench-app --app-key bench-key \
  --seed "$results/seed.json" >"$results/service-url.txt" &
service_pid=$!
pids+=("$service_pid")
for _ in $(seq 300); do [ -s "$results/service-url.txt" ] && break; sleep 0.1; done
service_port=$(sed -n 's#^http://127.0.0.1:\([0-9]*\)/$#\1#p' "$results/service-url.txt")
wait_port "$service_port"

prism_port=4010
"$prism_dir/node_modules/.bin/prism" mock -h 127.0.0.1 -p "$prism_port" bench/load/offers.openapi.yaml \
  >"$results/prism.log" 2>&1 &
pids+=("$!")
wait_port "$prism_port"

load=$build/bench/qvc_bench_load
for run in $(seq "$runs"); do
  say "load run $run of $runs"
  "$load" --port "$service_port" --name qvconsumer-service --seconds "$seconds" --redeem --connections 1000 \
    --beside --service-pid "$service_pid" >>"$results/rows.txt"
  "$load" --port "$prism_port" --name prism --seconds "$seconds" >>"$results/rows.txt"
done
python3 bench/load/median.py <"$results/rows.txt" | tee "$results/load.md"
