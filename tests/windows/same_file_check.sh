#!/usr/bin/env bash
# Writes the scenario mailbox with the native and the Windows build and
# requires byte-identical files that the reader accepts:
#   same_file_check.sh WORKDIR NATIVE_SCENARIO NATIVE_INSPECT -- WINDOWS_SCENARIO_COMMAND...
set -euo pipefail
workdir=$1 native=$2 inspect=$3
shift 3
[ "${1:-}" = "--" ] && shift
rm -rf "$workdir" && mkdir -p "$workdir" && cd "$workdir"

"$native" linux/nested/scenario.pst
# Backslashes and a doubled separator: the Windows directory creation.
"$@" 'windows\nested\\scenario.pst'
linux=linux/nested/scenario.pst windows=windows/nested/scenario.pst
[ -f "$windows" ] || { echo "FAIL: the Windows build wrote no $windows"; exit 1; }

for f in "$linux" "$windows"; do
  if ! "$inspect" "$f" > "$f.report"; then
    echo "FAIL: the reader rejects $f:"; cat "$f.report"; exit 1
  fi
done
if ! cmp -s "$linux" "$windows"; then
  echo "FAIL: the Linux and Windows files differ ($(stat -c %s "$linux") and $(stat -c %s "$windows") bytes)"
  cmp -l "$linux" "$windows" | head -20 || true
  echo "differing bytes: $(cmp -l "$linux" "$windows" | wc -l)"
  exit 1
fi
echo "identical: $(stat -c %s "$linux") bytes"
head -n 20 "$linux.report"
