#!/usr/bin/env bash
# Builds every libFuzzer target with clang (AddressSanitizer + UBSan) in
# build/fuzz and runs each fuzz_<NAME> over a copy of fuzz/seeds/<NAME>/ for
# SECONDS (default 60). Fails on any finding; crashing inputs are kept in
# build/fuzz/findings/<NAME>/.
#   scripts/fuzz.sh [SECONDS]
# Environment: VIREL_JOBS (default 2), CC/CXX (default clang-14/clang++-14,
# else clang/clang++).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
jobs=${VIREL_JOBS:-2}
build=build/fuzz

cc=${CC:-$(command -v clang-14 || command -v clang)}
cxx=${CXX:-$(command -v clang++-14 || command -v clang++)}
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_CXX_COMPILER="$cxx" -DVIREL_FUZZ=ON -DVIREL_BUILD_TESTS=OFF -DVIREL_BUILD_TOOLS=OFF \
  "${launcher[@]}" >/dev/null
cmake --build "$build" -j"$jobs" --target virel_fuzzers

status=0
for exe in "$build"/fuzz/fuzz_*; do
  name=${exe##*/fuzz_}
  seeds=fuzz/seeds/$name
  echo "== fuzz_$name: ${seconds}s, seeds from $seeds:"
  ls -l "$seeds" | tail -n +2
  corpus=$(mktemp -d)
  cp "$seeds"/* "$corpus"/
  findings=$build/findings/$name
  mkdir -p "$findings"
  log=$build/fuzz_$name.log
  if "$exe" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
       -artifact_prefix="$findings/" "$corpus" >"$log" 2>&1; then
    grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb)' "$log" || true
    echo "fuzz_$name: no findings"
  else
    tail -n 60 "$log"
    echo "fuzz_$name: FINDING (inputs in $findings)"
    status=1
  fi
  rm -rf "$corpus"
done
exit $status
