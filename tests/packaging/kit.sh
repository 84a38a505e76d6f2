# Sourced by the tests of the kit for real Windows, after `what` says which, and within
# tests/com_box/with_null_modem: unpacks the kit on C:, where no other drive leads to the files of the
# machine that has built it, into a folder as people have them, and says how its script is run.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
run=$root/tools/wine/run
fail() {
  echo "$what: FAILED: $*"
  exit 1
}
. "$root/tools/wine/environment.sh"
everything=$WINEPREFIX/dosdevices/z:
work=$(mktemp -d)
place=$(mktemp -d "$WINEPREFIX/drive_c/Jörgs R&D (1) XXXXXX")
kit=$place/QmZentrel-windows-tests
at_end() { :; }
finish() {
  at_end
  ln -sfn / "$everything"
  rm -rf "$work" "$place"
}
trap finish EXIT
ZIPOPT=-1 "$root/tools/windows_kit" --built "$work" >"$work/log" 2>&1 || fail "no kit: $(<"$work/log")"
unzip -q "$work"/*.zip -d "$place"

# Whether a program sees the project: yes or no.
sees_sources() {
  (cd "$kit" && "$run" cmd /c "if exist Z:${root//\//\\}\\CMakeLists.txt (echo yes) else echo no") |
    tr -d '\r'
}
[ "$(sees_sources)" = yes ] || fail "no drive leads to the project to begin with"
rm "$everything"
[ "$(sees_sources)" = no ] || fail "the project is in reach of the programs"

# A user has one cable.
unset QMZ_TAP_PORT QMZ_TAP_CLIENT_PORT
ports=("$QMZ_PORT" "$QMZ_BOX_PORT")
run_tests() { # [CLIENT_PORT BOX_PORT] [PROGRAM]
  local code=0
  (cd "$kit" && "$run" cmd /c run_tests.cmd "$@" >"$work/log" 2>&1 </dev/null) || code=$?
  tr -d '\r' <"$kit/report.txt" >"$work/report"
  return $code
}
reports() { # PATTERN
  grep -q "$1" "$work/report"
}
# How many tests have passed, by the account of each program.
tests_passed() {
  awk '/^\[  PASSED  \]/ { sum += $4 } END { print sum + 0 }' "$work/report"
}
# The verdict on those programs, and on no others.
expect_passed() { # PROGRAM...
  local program
  for program; do
    # With a word of the program itself.
    sed -n "/^=== $program *$/,/^=== $program: passed/p" "$work/report" >"$work/account"
    if ! grep -q '^\[  PASSED  \] [1-9]' "$work/account" || ! grep -q ': passed *$' "$work/account"; then
      fail "$program has not passed: $(<"$work/report")"
    fi
  done
  [ "$(grep -c '^===.*: passed' "$work/report")" = $# ] || fail "other programs: $(<"$work/report")"
  reports "^ALL PASSED: $# *\$" || fail "the report has no verdict: $(<"$work/report")"
}

# Every Windows has it.
"$run" reg add 'HKCU\Software\Classes\CLSID' /f >/dev/null 2>&1 </dev/null || fail "no classes of the user"
. "$root/tests/packaging/registry.sh"
registry_folder=$place
# The registry, both views of it where there are two.
registry() { # NAME
  registry_of 'HKLM\Software' 'HKCU\Software' 'HKCU\Control Panel' >"$work/$1"
  # Else nothing would be compared.
  [ "$(wc -l <"$work/$1")" -gt 1000 ] || fail "no registry: $(<"$work/$1")"
}
is_as_before() { # WHAT HAS HAPPENED
  registry now
  diff "$work/before" "$work/now" >"$work/differences" ||
    fail "$1: the registry: $(head -40 "$work/differences")"
  [ ! -e "$kit/kept" ] || fail "$1: what was put aside is still there: $(ls "$kit/kept")"
}

# Of each program that the script runs a part, every eighth test: each is a test of its own, whole, and
# here it is to show that the kit has what it needs. Which eighth goes by the day, so that in time each
# has its turn. QMZ_KIT_PART=0 to 7 chooses one, QMZ_KIT_PARTS=1 runs all of them.
run_part() {
  local parts=${QMZ_KIT_PARTS:-8} program
  local part=${QMZ_KIT_PART:-$(($(date +%s) / 86400 % parts))}
  echo "Part $part of 0 to $((parts - 1)): QMZ_KIT_PARTS=$parts QMZ_KIT_PART=$part runs it again"
  export GTEST_TOTAL_SHARDS=$parts GTEST_SHARD_INDEX=$part
  # They measure the processor's time, which other tests take here.
  export QMZ_LEAVE_OUT='IdleWaits.*'
  mapfile -t programs < <(tr -d '\r' <"$kit/programs.txt")
  [ ${#programs[@]} -ge 20 ] || fail "few programs: ${programs[*]}"
  run_tests "${ports[@]}" || fail "all programs: $(<"$work/log") $(<"$work/report")"
  local passed=()
  small=()
  for program in "${programs[@]}" registration_free_test com_box_test; do
    if reports "^=== $program: LEFT OUT: none of its tests"; then
      small+=("$program")
    else
      passed+=("$program")
    fi
  done
  expect_passed "${passed[@]}"
  [ ${#passed[@]} -ge 15 ] || fail "few programs have a test in this part: ${passed[*]}"
}
# Of a program of few tests none may have been in that part: then all of them on their own.
run_small_programs() {
  local program
  for program in "${small[@]}"; do
    GTEST_TOTAL_SHARDS=1 GTEST_SHARD_INDEX=0 run_tests "${ports[@]}" "$program" ||
      fail "$program: $(<"$work/log") $(<"$work/report")"
    expect_passed "$program"
    # Else one of them would have been in every part.
    [ "$(tests_passed)" -lt "$GTEST_TOTAL_SHARDS" ] || fail "$program is not small: $(<"$work/report")"
  done
}
