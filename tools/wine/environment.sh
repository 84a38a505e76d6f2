# Sourced by whatever starts Wine: the project's own 32-bit prefix under build/, never the user's.
# No display unless one is named in QMZ_DISPLAY: everything but the look of a window works without.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${QMZ_WINEPREFIX:-$root/build/wine}
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG:--all}
# Neither is used, and both would ask for a download.
export WINEDLLOVERRIDES='mscoree,mshtml='
if [ -n "${QMZ_DISPLAY:-}" ]; then
  export DISPLAY=$QMZ_DISPLAY
else
  unset DISPLAY
fi
# One locale on every machine; in one without UTF-8 the names of files would lose characters.
export LC_ALL=${QMZ_LOCALE:-C.UTF-8}
