#!/usr/bin/env bash
# run_wine.sh PROGRAM [ARGUMENT…]: runs a Windows program; CMake and CTest do, for the `windows` preset.
#
# One wineserver stays for two minutes after the last program. Without it each program would take three seconds: wine's
# service processes inherit standard error, and CTest waits until they have closed it.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wine} WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-"mscoree,mshtml=;winedbg.exe=d"}
unset DISPLAY WAYLAND_DISPLAY
export LC_ALL=C.UTF-8  # else names of files can hold nothing beyond ASCII
wine=/usr/lib/wine/wine64
server=/usr/lib/wine/wineserver64

# quietly COMMAND…: without the lock and the streams that services would keep.
quietly() { "$@" </dev/null >/dev/null 2>&1 9>&-; }

start() {
  quietly "$server" -p120 || true  # fails when one runs already
  quietly "$wine" wineboot.exe
  [ -e "$WINEPREFIX/ready" ] && return
  quietly "$wine" reg.exe add 'HKCU\Software\Wine' /v Version /d win10 /f
  : >"$WINEPREFIX/ready"
}

mkdir -p "$WINEPREFIX"
{
  flock 9
  { [ -e "$WINEPREFIX/ready" ] && "$server" -k0 2>/dev/null; } || start
} 9>"$WINEPREFIX.lock"
exec "$wine" "$@"
