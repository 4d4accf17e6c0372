#!/usr/bin/env bash
# Installs a build tree into a scratch prefix, then builds and runs the
# demo against it twice: through find_package and through pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name 'libvirel.so' | head -n 1)")
test -f "$work/prefix/include/virel.h"
test -f "$libdir/cmake/virel/virelConfig.cmake"
test -f "$libdir/pkgconfig/virel.pc"

cmake -S "$source_dir/tests/install" -B "$work/consumer" \
  -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DDEMO_SOURCE="$source_dir/examples/demo.c" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer/consumer_demo" "$work/a.pst"
test "$(stat -c %s "$work/a.pst")" -eq 262144

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
cc -std=c99 -o "$work/pc_demo" "$source_dir/examples/demo.c" $(pkg-config --cflags --libs virel)
LD_LIBRARY_PATH="$libdir" "$work/pc_demo" "$work/b.pst"
cmp "$work/a.pst" "$work/b.pst" >/dev/null || {
  # Only the simple message's time stamp may differ between the two runs.
  test "$(cmp -l "$work/a.pst" "$work/b.pst" | wc -l)" -le 64
}
# The installed inspector runs and prints the project version.
version=$(for part in MAJOR MINOR PATCH; do
  sed -n "s/^#define VIREL_VERSION_${part} *\([0-9]*\).*/\1/p" "$work/prefix/include/virel.h"
done | paste -sd.)
test "$("$work/prefix/bin/virel-inspect" --version)" = "virel-inspect $version"
echo "install tree OK"
