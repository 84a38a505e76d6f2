# Sourced by the tests of the clients that are made with the kit: what a client of the box says, and
# whether it is the truth.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
run=$root/tools/wine/run

fail() {
  echo "Development kit: FAILED: $*"
  exit 1
}
is_registered() { "$run" reg query 'HKCR\QmZentrel.Zentrel\CLSID' >/dev/null 2>&1; }
# A fact of the box or its transponder.
fact() { "$root/tools/virtual_box/ask" "get $1"; }

# Lets the client read the transponder; it has to say what the box holds.
expect_reading() { # CLIENT
  local account status=0
  "$root/tools/virtual_box/ask" "set util 77 reading 424242 tamper 3" >/dev/null
  account=$("$run" "$1" "$QMZ_PORT" | tr -d '\r') || status=$?
  [ "$status" = 0 ] && [ "$(tail -n 1 <<<"$account")" = "Done." ] ||
    fail "the client ends with $status: $account"
  grep -qxF "Utility code 77, reading 424242, tamper count 3" <<<"$account" ||
    fail "the client has read something else: $account"
  grep -qxF "The supply is on" <<<"$account" || fail "the client has heard of no event: $account"
}
