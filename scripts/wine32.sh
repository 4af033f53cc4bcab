#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a 32-bit Windows program under the Wine that scripts/fetch_windows.sh has brought.
# wine32.sh PROGRAM [argument...]; see wine64.sh.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
export WINEARCH=win32
export WINEPREFIX=${WINEPREFIX:-$here/build/windows/wine32-prefix}
export LOOMKIT_WINE=$here/build/windows/wine32/usr/lib/wine/wine
export LOOMKIT_DLLS=$here/build/win32
exec "$here/scripts/wine64.sh" "$@"
