#!/bin/sh
# Runs a Windows program under wine for the tests. Wine's server and services are started detached
# first: ctest reads a test's output until every writer has closed it, and would otherwise wait for
# those long-lived processes (seconds per test, or for ever).
: "${WINEDEBUG:=-all}"; export WINEDEBUG
: "${WINEPREFIX:=${TMPDIR:-/tmp}/vek-dsp-wine}"; export WINEPREFIX
WINE=$(command -v wine64 || echo /usr/lib/wine/wine64)
[ -x "$WINE" ] || WINE=$(command -v wine)
WINESERVER=$(command -v wineserver || echo /usr/lib/wine/wineserver)
"$WINESERVER" -p15 </dev/null >/dev/null 2>&1
"$WINE" cmd /c exit </dev/null >/dev/null 2>&1
exec "$WINE" "$@"
