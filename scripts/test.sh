#!/usr/bin/env bash
# Installs what is needed, checks formatting, then builds and runs every test:
# once as is with g++ and shared libraries (then takes the library into a host
# program each way a host can: find_package, pkg-config, add_subdirectory and
# the Debian package), once with clang under AddressSanitizer and
# UndefinedBehaviorSanitizer, and the transport tests under ThreadSanitizer.
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

run_suite build/test -DBUILD_SHARED_LIBS=ON

# Each host builds examples/installed/list_offers.cpp, which lists offers
# answered by the simulation file. The build above was configured for
# /usr/local and is installed elsewhere: it must find its libraries and its
# simulation file relative to where it lands.
install_dir="$PWD/build/install"
rm -rf "$install_dir"
cmake --install build/test --prefix "$install_dir" >/dev/null
no_resource_dir=(env -u QVCONSUMER_RESOURCE_DIR)

echo "== host: find_package"
cmake -S examples/installed -B build/host-find-package -DCMAKE_PREFIX_PATH="$install_dir" >/dev/null
cmake --build build/host-find-package >/dev/null
"${no_resource_dir[@]}" build/host-find-package/list_offers >/dev/null

echo "== host: pkg-config"
read -ra pc_flags <<<"$(PKG_CONFIG_PATH="$install_dir/lib/pkgconfig" pkg-config --cflags --libs qvconsumer)"
c++ -std=c++17 examples/installed/list_offers.cpp "${pc_flags[@]}" -Wl,-rpath,"$install_dir/lib" \
  -o build/host-pkg-config
"${no_resource_dir[@]}" build/host-pkg-config >/dev/null

echo "== host: add_subdirectory"
cmake -S examples/subproject -B build/host-subproject >/dev/null
cmake --build build/host-subproject -j "$jobs" >/dev/null
QVCONSUMER_RESOURCE_DIR="$PWD/resources" build/host-subproject/list_offers >/dev/null

echo "== host: Debian package"
rm -f build/test/qvconsumer_*.deb
(cd build/test && cpack -G DEB >/dev/null)
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq ./build/test/qvconsumer_*.deb >/dev/null
read -ra pc_flags <<<"$(pkg-config --cflags --libs qvconsumer)"
c++ -std=c++17 examples/installed/list_offers.cpp "${pc_flags[@]}" -o build/host-deb
"${no_resource_dir[@]}" build/host-deb >/dev/null
"${no_resource_dir[@]}" qvconsumer --version
"${no_resource_dir[@]}" qvconsumer --user jdoe loyalty >/dev/null
$sudo env DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq qvconsumer >/dev/null

# clang builds the library and runs the whole suite here, so that a second
# compiler checks the whole tree.
run_suite build/asan "-DQVC_SANITIZE=address;undefined" -DCMAKE_CXX_COMPILER=clang++
# The transports run their own threads, and the call styles end their futures on them: check for data races.
run_suite build/tsan "-DQVC_SANITIZE=thread" -DCMAKE_CXX_COMPILER=clang++ -- \
  -R '^(Matrix/|BothDeliveries/)?(CallStyles|CallStylesLive|HTTPTransport|HTTPSTransport|HTTPSendOnce|RequestPaths|SimulationTransport|SimulationEnvironment|AnswerDocument|RecordArena|PlatformConfiguration|SharedEngine|RetryPolicy|HTTPOutcome|ServiceEndToEnd|ServiceFaults|ServiceProcess|ToolService)\.'

# A short bounded run of every fuzz harness (the corpora were replayed by ctest above).
if command -v clang++ >/dev/null; then
  echo "== fuzz"
  ./scripts/fuzz.sh 10
fi
