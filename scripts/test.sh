#!/usr/bin/env bash
# Installs what is needed, checks formatting, then builds and runs every test:
# once as is with g++ (and builds a host program against the installed
# library), once under AddressSanitizer and UndefinedBehaviorSanitizer, and the
# transport tests under ThreadSanitizer, built with clang.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh

jobs=$(nproc)

echo "== formatting"
git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

# run_suite DIR [CMAKE_OPTION...] [-- CTEST_OPTION...]
run_suite() {
  local dir=$1
  shift
  local configure=() select=()
  while [ $# -gt 0 ] && [ "$1" != "--" ]; do configure+=("$1"); shift; done
  [ $# -gt 0 ] && shift && select=("$@")
  echo "== build $dir"
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Debug -DQVC_WARNINGS_AS_ERRORS=ON "${configure[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== test $dir"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" "${select[@]}"
}

install_dir="$PWD/build/install"
run_suite build/test "-DCMAKE_INSTALL_PREFIX=$install_dir"

# A host program built with find_package against the installed library,
# answered by the simulation file installed beside it.
echo "== installed library"
cmake --install build/test >/dev/null
cmake -S examples/installed -B build/installed-example -DCMAKE_PREFIX_PATH="$install_dir" >/dev/null
cmake --build build/installed-example -j "$jobs" >/dev/null
env -u QVCONSUMER_RESOURCE_DIR build/installed-example/list_offers
run_suite build/asan "-DQVC_SANITIZE=address;undefined"
# The transports run their own threads: check them for data races. This build
# uses clang, so that a second compiler checks the whole tree too.
run_suite build/tsan "-DQVC_SANITIZE=thread" -DCMAKE_CXX_COMPILER=clang++ -- \
  -R '^(HTTPTransport|HTTPSTransport|HTTPSendOnce|SimulationTransport|SimulationEnvironment|AnswerDocument|PlatformConfiguration)\.'

# A short bounded run of every fuzz harness (the corpora were replayed by ctest above).
if command -v clang++ >/dev/null; then
  echo "== fuzz"
  ./scripts/fuzz.sh 10
fi
