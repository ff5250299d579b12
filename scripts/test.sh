#!/usr/bin/env bash
# Installs what is needed, then builds and runs every test: once as is, once
# under AddressSanitizer and UndefinedBehaviorSanitizer; and checks formatting.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

jobs=$(nproc)

echo "== formatting"
git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

run_suite() {
  local dir=$1
  shift
  echo "== build $dir"
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Debug -DQVC_WARNINGS_AS_ERRORS=ON "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== test $dir"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs"
}

run_suite build/test
run_suite build/asan "-DQVC_SANITIZE=address;undefined"
