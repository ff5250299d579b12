#!/usr/bin/env bash
# Installs the Debian packages that building and testing QVConsumer needs.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git clang clang-format libclang-rt-14-dev
  nlohmann-json3-dev libsimdjson-dev libcurl4-openssl-dev libcli11-dev libcpp-httplib-dev libsqlite3-dev libboost-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev lintian
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
