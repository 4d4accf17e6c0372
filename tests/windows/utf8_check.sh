#!/usr/bin/env bash
# Runs the Windows UTF-8 probe and compares its results with the portable
# decoder:  utf8_check.sh WORKDIR NATIVE_UTF8_COMPARE -- PROBE_COMMAND...
set -euo pipefail
workdir=$1 compare=$2
shift 2
[ "${1:-}" = "--" ] && shift
rm -rf "$workdir" && mkdir -p "$workdir" && cd "$workdir"
"$@" probe.txt
"$compare" probe.txt
