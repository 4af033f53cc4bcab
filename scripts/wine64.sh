#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a 64-bit Windows program under Debian's Wine. wine64.sh PROGRAM [argument...]
# What Wine keeps of the machine lies in build/wine and can be deleted at any time.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$here/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# No windows, and no packages for web pages and .NET, which Wine would ask for.
export WINEDLLOVERRIDES="mscoree,mshtml=${WINEDLLOVERRIDES:+;$WINEDLLOVERRIDES}"
# Where sqlite3.dll and what Wine itself asks for lie, as a PATH of Windows.
export WINEPATH="Z:${LOOMKIT_DLLS:-$here/build/win64}${WINEPATH:+;$WINEPATH}"
unset DISPLAY
mkdir -p "$WINEPREFIX"
exec "${LOOMKIT_WINE:-/usr/lib/wine/wine64}" "$@"
