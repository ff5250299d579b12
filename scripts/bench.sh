#!/usr/bin/env bash
# Installs what is needed, builds the benchmarks in Release (build/bench),
# generates the offer-list answers, checks that the library and its peers
# (Node, Python) read them into the same records, runs every measurement and
# prints one summary table (also kept as build/bench/results/table.md).
# Progress goes to stderr, the table to stdout. Takes about eight minutes on
# two cores; every server it starts listens on 127.0.0.1 and stops by itself.
#
# Environment: BENCH_REPETITIONS (default 5, Google Benchmark repetitions),
# BENCH_E2E_REPETITIONS (default 5), BENCH_E2E_REQUESTS (default 3000 per
# scenario), BENCH_E2E_SECONDS (default 4, time limit per scenario).
set -euo pipefail
cd "$(dirname "$0")/.."

say() { echo "== $*" >&2; }

./scripts/install-deps.sh

# The peers run on Node and Python; install them when they are missing.
missing=()
command -v node >/dev/null 2>&1 || missing+=(nodejs)
command -v python3 >/dev/null 2>&1 || missing+=(python3)
if [ ${#missing[@]} -gt 0 ]; then
  say "installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

jobs=$(nproc)
[ "$jobs" -gt 2 ] && jobs=2

build=build/bench
bin=$build/bench
data=$build/data
results=$build/results

load_start=$(cut -d' ' -f1-3 /proc/loadavg)

say "build ($build, Release)"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQVC_BUILD_TESTS=OFF -DQVC_BUILD_SERVICE=ON -DQVC_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" -j "$jobs" >/dev/null

rm -rf "$data" "$results"
mkdir -p "$data" "$results" "$results/again"

load_before=$(cut -d' ' -f1-3 /proc/loadavg)

say "generate the answers"
"$bin/qvc_bench_generate" "$data" >"$results/generate.txt"
"$bin/qvc_bench_generate" "$results/again" >/dev/null
for file in "$data"/*.json; do
  cmp -s "$file" "$results/again/$(basename "$file")" || { echo "generator output differs between runs: $file" >&2; exit 1; }
done
rm -rf "$results/again"

say "check that the library, Node and Python read the same records"
for size in 100 1000 10000; do
  file="$data/offers-$size.json"
  "$bin/qvc_bench_dump" "$file" >"$results/records-library-$size.txt"
  node bench/peers/decode.js --dump "$file" >"$results/records-node-$size.txt"
  python3 bench/peers/decode.py --dump "$file" >"$results/records-python-$size.txt"
  for peer in node python; do
    if ! cmp -s "$results/records-library-$size.txt" "$results/records-$peer-$size.txt"; then
      echo "the $peer records of $file differ from the library's (see $results)" >&2
      exit 1
    fi
  done
done

say "library decode (Google Benchmark)"
"$bin/qvc_bench" --qvc_data_dir="$data" --benchmark_repetitions="${BENCH_REPETITIONS:-5}" \
  --benchmark_report_aggregates_only=true --benchmark_min_time=0.3 \
  --benchmark_out="$results/qvc_bench.json" --benchmark_out_format=json >"$results/qvc_bench.txt"

say "Node and Python decode"
node bench/peers/decode.js --data-dir "$data" --runs 5 >"$results/decode-node.txt"
python3 bench/peers/decode.py --data-dir "$data" --runs 5 >"$results/decode-python.txt"

say "resident memory holding 10,000 offers (3 processes each)"
: >"$results/rss.txt"
for round in 1 2 3; do
  "$bin/qvc_bench_rss" "$data/offers-10000.json" >>"$results/rss.txt"
  node --expose-gc bench/peers/decode.js --rss "$data/offers-10000.json" >>"$results/rss.txt"
  python3 bench/peers/decode.py --rss "$data/offers-10000.json" >>"$results/rss.txt"
done

say "end to end over 127.0.0.1 (manager, raw libcurl, Node)"
"$bin/qvc_bench_e2e" --data-dir "$data" --requests "${BENCH_E2E_REQUESTS:-3000}" --warmup 200 \
  --seconds "${BENCH_E2E_SECONDS:-4}" --repetitions "${BENCH_E2E_REPETITIONS:-5}" >"$results/e2e.txt"

# Many shoppers in one process: N managers made the README way, one offer
# list each, first against the program's own server, then against
# qvconsumer-service on a free loopback port (it prints its address).
say "many shoppers (own server, then qvconsumer-service)"
"$bin/qvc_bench_shoppers" >"$results/shoppers.txt" || say "many shoppers, own server: some requests failed"
QVCONSUMER_RESOURCE_DIR=$PWD/resources "$build/service/qvconsumer-service" --port 0 \
  --app-id bench-app --app-key bench-key >"$results/service-url.txt" 2>"$results/service.err" &
service_pid=$!
trap 'kill "$service_pid" 2>/dev/null || true' EXIT
for _ in $(seq 100); do [ -s "$results/service-url.txt" ] && break; sleep 0.1; done
"$bin/qvc_bench_shoppers" --service "$(head -1 "$results/service-url.txt")" >>"$results/shoppers.txt" ||
  say "many shoppers, qvconsumer-service: some requests failed"
kill "$service_pid"
wait "$service_pid" || true

load_after=$(cut -d' ' -f1-3 /proc/loadavg)
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
{
  echo "Machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ *//');" \
    "$("$compiler" --version | head -1); node $(node --version); $(python3 --version);" \
    "load average (1, 5, 15 min) before the build $load_start, when measuring began $load_before, at the end $load_after"
  echo
  python3 bench/report.py "$results"
} | tee "$results/table.md"

# Load benchmark of the reference service against Prism's mock server (its
# own Release build of the service and the load client, in build/bench-load).
say "load benchmark of the reference service and Prism"
./scripts/bench-load.sh | tee -a "$results/table.md"
