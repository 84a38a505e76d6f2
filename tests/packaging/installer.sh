# Sourced by the tests of the installer, after `what` says which: what they install, and how they look
# at the registry and the files.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
run=$root/tools/wine/run
fail() {
  echo "$what: FAILED: $*"
  exit 1
}
work=$(mktemp -d)
. "$root/tools/wine/environment.sh"
drive=$(realpath "$WINEPREFIX")/drive_c
entry='Software\Microsoft\Windows\CurrentVersion\Uninstall\QmZentrel'
menu='Microsoft/Windows/Start Menu/Programs/QmZentrel'
holding=

# What a run that fails leaves would fail the next one, in the same prefix.
remove_leftovers() {
  local library key
  # Whichever of them is registered, and from wherever.
  for library in QmZentrel QmZentrelReports; do
    "$run" regsvr32 /u /s "Z:$root/build/win32/$library.dll" </dev/null >/dev/null 2>&1 || true
  done
  for key in "HKLM\\$entry" "HKCU\\$entry" 'HKLM\SOFTWARE\QuenmoorComms'; do
    "$run" reg delete "$key" /f $narrow >/dev/null 2>&1 || true
  done
  "$run" reg import "Z:$work/handler.reg" >/dev/null 2>&1 || true
  rm -rf "$drive"/Program\ Files*/QmZentrel "$drive"/users/*/AppData/Local/Programs/QmZentrel \
    "$drive"/QmZentrel* "$drive"/ProgramData/"$menu" "$drive"/users/*/AppData/Roaming/"$menu"
}
at_end() { :; }
finish() {
  local result=$?
  at_end
  [ -z "$holding" ] || kill -9 "$holding" 2>/dev/null || true
  [ "$result" = 0 ] || remove_leftovers
  rm -rf "$work"
}
trap finish EXIT

# --- What there is ---

# The registry of 32-bit programs, where there are two.
narrow=
[ "$WINEARCH" = win32 ] || narrow=/reg:32

# What is compared of it.
parts=('HKLM\Software' 'HKCU\Software')
. "$root/tests/packaging/registry.sh"
files() { (cd "$drive" && find . -path ./windows/temp -prune -o -path './users/*/Temp' -prune -o -print | sort); }
state() { # NAME
  registry_of "${parts[@]}" >"$work/$1.registry"
  # Else nothing would be compared.
  [ "$(wc -l <"$work/$1.registry")" -gt 1000 ] || fail "no registry: $(<"$work/$1.registry")"
  files >"$work/$1.files"
}
is_as() { # NAME OF A STATE, WHAT HAS HAPPENED
  state now
  diff "$work/$1.files" "$work/now.files" >"$work/differences" ||
    fail "$2: files: $(head -40 "$work/differences")"
  diff "$work/$1.registry" "$work/now.registry" >"$work/differences" ||
    fail "$2: registry: $(head -40 "$work/differences")"
}
# After an installation for one user.
machine_is_as() { # NAME OF A STATE
  registry_of 'HKLM\Software' >"$work/machine"
  head -n "$(wc -l <"$work/machine")" "$work/$1.registry" | diff - "$work/machine" >"$work/differences" ||
    fail "for one user the machine's registry is written: $(head -40 "$work/differences")"
}
value() { # KEY [NAME]
  local which=(/ve)
  [ $# = 1 ] || which=(/v "$2")
  "$run" reg query "$1" "${which[@]}" $narrow 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_[A-Z]* *//p'
}
entries() { # The value NAME of all uninstall entries of the product
  local key
  for key in "HKLM\\$entry" "HKCU\\$entry"; do value "$key" "$1"; done
}
server() { # The library that the class is registered from
  value "HKLM\\Software\\Classes\\CLSID\\{FC8682E2-9814-4065-86F6-49F1E6A8704B}\\InprocServer32"
}
unix_name() { # NAME FOR WINDOWS
  local name=${1#C:}
  echo "$drive${name//\\//}"
}

# --- What is done ---

expect_exit() { # CODE WHAT COMMAND...
  local code=0
  "$run" "${@:3}" >"$work/log" 2>&1 </dev/null || code=$?
  [ "$code" = "$1" ] || fail "$2 ends with $code instead of $1: $(<"$work/log")"
}
expect_exit_of_line() { # CODE WHAT LINE: as it is written at a command prompt
  printf '@%s\r\n@exit %%errorlevel%%\r\n' "$3" >"$work/line.cmd"
  expect_exit "$1" "$2" cmd /c "Z:$work/line.cmd"
}
uninstall() { # FOLDER [CODE [WHAT]]
  # From another place, so that it can be waited for.
  cp "$(unix_name "$1")/uninstall.exe" "$work"
  expect_exit_of_line "${2:-0}" "${3:-the uninstaller}" \
    "Z:${work//\//\\}\\uninstall.exe /S /AllUsers _?=$1"
}
hold() { # FILE COMMAND...: until end_holding, a program that has a file of the drive loaded or open
  "$run" "${@:2}" <&0 >/dev/null 2>&1 &
  holding=$!
  disown  # nobody needs to be told that it was killed
  local glance
  for ((glance = 0; glance < 400; ++glance)); do
    ! grep -qsF "$drive/$1" /proc/[0-9]*/maps || return 0
    [ -z "$(find /proc/[0-9]*/fd -lname "$drive/$1" 2>/dev/null)" ] || return 0
    sleep 0.1
  done
  fail "nobody holds $1"
}
end_holding() {
  while kill -9 "$holding" 2>/dev/null; do sleep 0.05; done
  holding=
}
# The installer of few files, among them one that no other version has.
make_small_installer() { # VERSION
  local files=$work/$1
  mkdir -p "$files/examples/catalog" "$files/version $1"
  cp "$root"/build/win32/QmZentrel{,Reports}.dll "$files"
  cp "$root/README.md" "$files"
  cp "$root/examples/catalog/catalog.reg" "$files/examples/catalog"
  echo "$1" >"$files/version $1/only in $1.txt"
  "$root/tools/installer" "$files" "$1" "$work/$1-setup.exe" >"$work/log" 2>&1 ||
    fail "no installer: $(<"$work/log")"
}
# What the installers of few files touch; the rest of the registry takes its time.
compare_few_parts() {
  parts=('HKLM\Software\Classes' 'HKLM\Software\QuenmoorComms' "HKLM\\${entry%\\*}")
}

"$root/tools/wine/prefix"
# The name that an installed error handler takes over and gives back.
. "$root/tests/packaging/error_handler.sh"
"$run" reg export "$handler_name" "Z:$work/handler.reg" /y >/dev/null 2>&1 || fail "no error handler"
remove_leftovers
