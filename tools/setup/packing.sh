# Sourced by the tools that pack what build/win32 holds, with their arguments [--built] [FOLDER]: FOLDER
# is in `output` then.
. tools/setup/build.sh
built=
if [ "${1-}" = --built ]; then
  built=yes
  shift
fi
# shellcheck disable=SC2034  # for them
output=$(realpath -m "${1:-build/release}")

# build_for_packing TARGET...: nothing with --built, which takes what is there.
build_for_packing() { [ -n "$built" ] || build win32 "$@"; }
