#!/usr/bin/env bash
# The shared library exports the thirty functions the header declares and
# nothing else.
set -euo pipefail
lib=$1
header=$2
exported=$(nm -D --defined-only "$lib" | awk '$2 ~ /^[TDBRVWi]$/ {print $3}' | sort)
declared=$(grep -o 'virel_[a-z_]*(' "$header" | tr -d '(' | sort -u)
test "$(echo "$declared" | wc -l)" -eq 30
if [ "$exported" != "$declared" ]; then
  diff <(echo "$declared") <(echo "$exported") || true
  exit 1
fi
echo "30 exports, as declared"
