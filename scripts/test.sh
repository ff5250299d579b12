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
# answered by the simulation file, and count_offers.cpp, which calls only
# manager functions: linked --as-needed, it depends on libQVConsumer alone,
# which must find libQVCPlatform beside itself. The build above was
# configured for /usr/local and is installed elsewhere: it must find its
# libraries and its simulation file relative to where it lands.
install_dir="$PWD/build/install"
libdir="$install_dir/$(cmake -LA -N build/test | sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p')"
rm -rf "$install_dir"
cmake --install build/test --prefix "$install_dir" >/dev/null
no_resource_dir=(env -u QVCONSUMER_RESOURCE_DIR)

# run_hosts DIR: runs the two host programs DIR/list_offers and DIR/count_offers.
run_hosts() {
  if readelf -d "$1/count_offers" | grep -q 'NEEDED.*libQVCPlatform'; then
    echo "$1/count_offers links libQVCPlatform itself: it does not check that libQVConsumer finds it" >&2
    exit 1
  fi
  "${no_resource_dir[@]}" "$1/list_offers" >/dev/null
  "${no_resource_dir[@]}" "$1/count_offers" >/dev/null
}

# build_pkg_config_hosts DIR [C++ FLAG...]: the two hosts built with the flags pkg-config gives.
build_pkg_config_hosts() {
  local dir=$1 pc_text pc_flags
  shift
  pc_text=$(pkg-config --cflags --libs qvconsumer)
  read -ra pc_flags <<<"$pc_text"
  mkdir -p "$dir"
  for host in list_offers count_offers; do
    c++ -std=c++17 "examples/installed/$host.cpp" -Wl,--as-needed "${pc_flags[@]}" "$@" -o "$dir/$host"
  done
}

echo "== host: find_package"
cmake -S examples/installed -B build/host-find-package -DCMAKE_PREFIX_PATH="$install_dir" \
  -DCMAKE_EXE_LINKER_FLAGS=-Wl,--as-needed >/dev/null
cmake --build build/host-find-package >/dev/null
run_hosts build/host-find-package

echo "== host: pkg-config"
(export PKG_CONFIG_PATH="$libdir/pkgconfig" && build_pkg_config_hosts build/host-pkg-config -Wl,-rpath,"$libdir")
run_hosts build/host-pkg-config

# As a subproject, the library brings only its own include folders and
# installs nothing of its own unless the host asks.
echo "== host: add_subdirectory"
cmake -S examples/subproject -B build/host-subproject >/dev/null
cmake --build build/host-subproject -j "$jobs" >/dev/null
QVCONSUMER_RESOURCE_DIR="$PWD/resources" build/host-subproject/list_offers >/dev/null
rm -rf build/host-subproject-install
cmake --install build/host-subproject --prefix build/host-subproject-install >/dev/null
if [ -n "$(find build/host-subproject-install -type f 2>/dev/null)" ]; then
  echo "add_subdirectory(QVConsumer) installed files of its own:" >&2
  find build/host-subproject-install -type f >&2
  exit 1
fi

# The Debian packages: runtime, development files and tools.
echo "== host: Debian packages"
rm -f build/test/*.deb
(cd build/test && cpack -G DEB >/dev/null)
if command -v lintian >/dev/null; then
  echo "== lintian"
  lintian --fail-on error build/test/*.deb
fi
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
packages=(libqvconsumer1 libqvconsumer-dev qvconsumer-tools)
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq ./build/test/{libqvconsumer,qvconsumer-tools}*.deb >/dev/null
build_pkg_config_hosts build/host-deb
run_hosts build/host-deb
"${no_resource_dir[@]}" qvconsumer --version
"${no_resource_dir[@]}" qvconsumer --user jdoe loyalty >/dev/null
$sudo env DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq "${packages[@]}" >/dev/null

# The API reference: every public member documented. Reported, not yet
# fatal: the platform headers that are being rewritten still lack comments.
if command -v doxygen >/dev/null; then
  echo "== docs"
  cmake --build build/test --target docs >/dev/null
  warnings=$(grep -c 'warning:' build/test/docs/warnings.log || true)
  echo "doxygen: $warnings warnings (build/test/docs/warnings.log)"
fi

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
