#!/usr/bin/env bash
# Installs what is needed, builds the library and the qvconsumer tool, and runs
# the tool's demo: one shopper's journey against the shipped simulation file.
# Arguments are passed to qvconsumer instead of "demo" when given; "--live"
# alone runs the demo over HTTP against a reference service started in-process.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DQVC_BUILD_TESTS=OFF -DQVC_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/release -j "$(nproc)" >/dev/null
# Installed, the tool finds the simulation file beside its library; from the
# build tree it is pointed at the source tree's copy.
export QVCONSUMER_RESOURCE_DIR="${QVCONSUMER_RESOURCE_DIR:-$PWD/resources}"
if [ $# -eq 0 ] || [ "$*" = "--live" ]; then
  set -- demo "$@"
fi
exec build/release/tools/qvconsumer/qvconsumer "$@"
