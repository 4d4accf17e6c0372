#!/usr/bin/env bash
# The Windows DLL: cross-builds virel.dll and every test program with
# MinGW-w64, runs them under Wine and compares with the native build.
#   build-wincmp  native build of the programs the comparisons need
#   build-win     cross build; its CTest suite is the Windows test run
# Run alone:  bash scripts/windows-tests.sh   (2 to 3 minutes from scratch on
# 2 cores, about 20 seconds when both build directories are up to date).
# Environment: VIREL_JOBS (default 2), VIREL_WINDOWS_BUILD_TYPE (default
# RelWithDebInfo).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

packages=(cmake g++ make googletest mingw-w64 g++-mingw-w64-x86-64-posix
          binutils-mingw-w64-x86-64 wine wine64)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"
fi

jobs=${VIREL_JOBS:-2}
build_type=${VIREL_WINDOWS_BUILD_TYPE:-RelWithDebInfo}
native=$root/build-wincmp
cross=$root/build-win
started=$(date +%s)
step() { echo "== [$(( $(date +%s) - started ))s] $*"; }
# Wine's server and system processes stop a few seconds after the last
# Windows program; leave nothing running behind.
trap 'WINEPREFIX="$cross/wineprefix" wineserver -w 2>/dev/null || true' EXIT

step "native programs for the comparisons ($native)"
cmake -S . -B "$native" -DCMAKE_BUILD_TYPE="$build_type" -DVIREL_WINDOWS_COMPARE=ON >/dev/null
cmake --build "$native" -j"$jobs" --target virel_scenario virel_utf8_compare virel-inspect

step "cross build with MinGW-w64 ($cross)"
cmake -S . -B "$cross" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" \
      -DCMAKE_BUILD_TYPE="$build_type" -DVIREL_NATIVE_BUILD_DIR="$native" >/dev/null
cmake --build "$cross" -j"$jobs"

step "Windows tests under Wine"
ctest --test-dir "$cross" --output-on-failure --timeout 600 -j"$jobs"

step "done"
