# Sourced, in place of environment.sh, by what runs a command while virtual boxes stand behind ports of
# the prefix. They end with the script, as does the folder box_files, which may hold more.
. "$(dirname "${BASH_SOURCE[0]}")/environment.sh"
box_files=$(mktemp -d)
declare -A box_processes=()
end_boxes() {
  [ ${#box_processes[@]} -eq 0 ] || kill "${box_processes[@]}" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$box_files"
}
trap end_boxes EXIT

# start_box PORT OPTION...: a virtual box behind COMPORT, with its modem lines among those in
# QMZ_MODEM_LINES. Their library is for Windows programs only.
start_box() {
  local port=$1
  shift
  LD_PRELOAD='' setsid "$root/build/host/tools/virtual_box/virtual_box" \
    --link "$WINEPREFIX/dosdevices/com$port" --lines "$QMZ_MODEM_LINES" \
    --control 0 --control-file "$box_files/control_$port" "$@" &
  box_processes[$port]=$!
}

# await_box PORT [VARIABLE]: returns once that box is ready; the variable of the environment names its
# control channel then.
await_box() {
  local control=$box_files/control_$1
  until [ -s "$control" ]; do
    kill -0 "${box_processes[$1]}" 2>/dev/null ||
      { echo "The virtual box of COM$1 did not start." >&2; exit 1; }
    sleep 0.05
  done
  [ $# -eq 1 ] || export "$2=127.0.0.1:$(<"$control")"
}
