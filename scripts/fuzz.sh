#!/usr/bin/env bash
# Builds the libFuzzer harnesses (fuzz/) with clang in build/fuzz and runs each
# for SECONDS (default 60), printing its executions and findings. The committed
# corpus seeds each run; inputs the run finds go to build/fuzz/corpus/, crashing
# inputs to build/fuzz/findings/. Exits 1 when any harness found something.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
harnesses=(AnswerDocumentFuzz ReaderFuzz ManagerAnswerFuzz SimulationFileFuzz ServiceRequestFuzz)
build=build/fuzz
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVC_BUILD_FUZZERS=ON \
  -DQVC_BUILD_TESTS=OFF -DQVC_BUILD_SERVICE=ON -DQVC_WARNINGS_AS_ERRORS=ON "${launcher[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)" --target "${harnesses[@]/#/qvc_fuzz_}" >/dev/null

failed=0
printf '%-20s %12s %9s\n' HARNESS EXECUTIONS FINDINGS
for harness in "${harnesses[@]}"; do
  corpus="$build/corpus/$harness" findings="$build/findings/$harness" log="$build/$harness.log"
  rm -rf "$findings" && mkdir -p "$corpus" "$findings"
  "$build/fuzz/$harness" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -dict=fuzz/keys.dict -artifact_prefix="$findings/" "$corpus" "fuzz/corpus/$harness" >"$log" 2>&1 || true
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  found=$(find "$findings" -type f | wc -l)
  printf '%-20s %12s %9s\n' "$harness" "${executions:-?}" "$found"
  if [ "$found" -gt 0 ] || [ -z "$executions" ]; then
    failed=1
    echo "  see $log and $findings/" >&2
  fi
done
exit $failed
