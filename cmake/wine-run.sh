#!/bin/sh
# Runs a Windows program under Wine in a given prefix, quietly:
#   wine-run.sh PREFIX PROGRAM [ARGUMENTS...]
# A missing prefix is created on first use (takes a few seconds). The
# prefix's wineserver and Wine's system processes are started detached from
# the caller's output and stay up for a few idle seconds: otherwise they
# would hold the output pipe of whoever started them (CTest, test discovery)
# open until they exit.
set -e
if [ $# -lt 2 ]; then
  echo "usage: $0 PREFIX PROGRAM [ARGUMENTS...]" >&2
  exit 2
fi
WINEPREFIX=$1
shift
case $WINEPREFIX in
  /*) ;;
  *) WINEPREFIX=$PWD/$WINEPREFIX ;;
esac
export WINEPREFIX
export WINEDEBUG="${WINEDEBUG:--all}"
# No Mono or Gecko installers when the prefix is created.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
idle="${VIREL_WINE_IDLE_SECONDS:-10}"

mkdir -p "$WINEPREFIX"
(
  flock 9
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    wine wineboot --init </dev/null >/dev/null 2>&1 9>&- || true
    wineserver -w 9>&-
  fi
  # Exit status 0: no server was running and one has been started.
  if wineserver -p"$idle" </dev/null >/dev/null 2>&1 9>&-; then
    wine cmd /c exit </dev/null >/dev/null 2>&1 9>&- || true
  fi
) 9>"$WINEPREFIX/.virel-start.lock"
exec wine "$@"
