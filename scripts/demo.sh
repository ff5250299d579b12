#!/usr/bin/env bash
# Installs what is needed, builds the library and runs the example program.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DQVC_BUILD_TESTS=OFF >/dev/null
cmake --build build/release -j "$(nproc)" >/dev/null
exec build/release/examples/qvc_push_example "$@"
