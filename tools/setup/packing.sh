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

# give_windows_line_ends FILE...: also where git has put others, and at the end of each.
give_windows_line_ends() { sed -i -e 's/\r*$/\r/' -e '$a\' "$@"; }

# copy_contents LIST FOLDER: what a list such as packaging/contents names, to its places in FOLDER.
copy_contents() {
  local source place
  while read -r source place; do
    case $source in
      '' | '#'*) continue ;;
      @*) source=build/win32/${source#@} ;;
    esac
    [ -e "$source" ] || { echo "$source is missing" >&2; return 1; }
    mkdir -p "$(dirname "$2/$place")"
    cp -r "$source" "$2/$place"
  done <"$1"
}
