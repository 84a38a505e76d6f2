# Sourced by whatever starts Wine: the project's own 32-bit prefix under build/, never the user's.
# With QMZ_WINE_WIDTHS=both a prefix for 64-bit programs as well, and the Wine that can have it.
# No display unless one is named in QMZ_DISPLAY: everything but the look of a window works without.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
if [ "${QMZ_WINE_WIDTHS:-}" = both ]; then
  first_prefix=$root/build/both_widths/wine
  test_prefixes=$root/build/both_widths/wine_tests
  export WINEARCH=win64
  PATH=$root/build/both_widths/bin:$PATH
else
  first_prefix=$root/build/wine
  test_prefixes=$root/build/wine_tests
  export WINEARCH=win32
fi
export WINEPREFIX=${QMZ_WINEPREFIX:-$first_prefix}
export WINEDEBUG=${WINEDEBUG:--all}
# Neither of the first two is used, and both would ask for a download; the last one would put what is
# installed into the menus of whoever sits at this machine.
export WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe='
if [ -n "${QMZ_DISPLAY:-}" ]; then
  export DISPLAY=$QMZ_DISPLAY
else
  unset DISPLAY
fi
# One locale on every machine; in one without UTF-8 the names of files would lose characters.
export LC_ALL=${QMZ_LOCALE:-C.UTF-8}
