# Sourced by tests that look at a window: a screen that nobody else uses, and a Wine prefix that draws.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
run=$root/tools/wine/run
work=$(mktemp -d)
screen_process=

end_screen() {
  [ -z "${QMZ_WINEPREFIX:-}" ] || WINEPREFIX=$QMZ_WINEPREFIX wineserver -k 2>/dev/null || true
  [ -z "$screen_process" ] || kill "$screen_process" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap end_screen EXIT
trap 'exit 1' TERM # also when it is ended

# The prefix stays in FOLDER for the next time. tests/with_limit knows it already.
start_screen() { # FOLDER [WIDTHxHEIGHT]
  mkdir -p "$1"
  export QMZ_WINEPREFIX=${QMZ_WINEPREFIX:-$1/wine}
  "$root/tools/wine/prefix"
  Xvfb -displayfd 3 -screen 0 "${2:-1024x768}x24" 3>"$work/display" 2>/dev/null &
  screen_process=$!
  for _ in $(seq 100); do
    [ ! -s "$work/display" ] || break
    sleep 0.1
  done
  [ -s "$work/display" ] || fail "no screen"
  export QMZ_DISPLAY=:$(<"$work/display")
  export DISPLAY=$QMZ_DISPLAY
  # Without a window manager a window is its own.
  "$run" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d x11 /f >/dev/null
  "$run" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null
  WINEPREFIX=$QMZ_WINEPREFIX wineserver -k || true
  WINEPREFIX=$QMZ_WINEPREFIX wineserver -w
}

# Whether something is drawn: a dialog has more than a handful of colours and covers its part of the
# screen.
shows_dialog() { # PICTURE MIN_WIDTH MIN_HEIGHT
  local drawn width height colours
  drawn=$(convert "$1" -trim -format '%w %h %k' info:)
  read -r width height colours <<<"$drawn"
  [ "$width" -gt "$2" ] && [ "$height" -gt "$3" ] && [ "$colours" -gt 4 ]
}

# Until COMMAND succeeds, for a minute at most.
await() { # COMMAND...
  local patience=$((SECONDS + 60))
  until "$@"; do
    [ "$SECONDS" -lt "$patience" ] || return 1
    sleep 0.1
  done
}
# Whether what is typed goes to the window of that title.
has_focus() { # TITLE
  local window
  window=$(xdotool getwindowfocus 2>/dev/null) &&
    [ "$(xdotool getwindowname "$window" 2>/dev/null)" = "$1" ]
}
# Once nothing on the screen has changed between two looks, and something is drawn there.
take_picture() { # PICTURE MIN_WIDTH MIN_HEIGHT
  local now
  import -window root "$1" || return 1
  now=$(convert "$1" -format '%#' info:)
  [ "$now" = "${last_seen:-}" ] && shows_dialog "$@" && return
  last_seen=$now
  return 1
}
# Ends what waits for somebody at the screen, and leaves the reason in the file "problems".
give_up() { # REASON
  echo "$*" >>"$work/problems"
  WINEPREFIX=$QMZ_WINEPREFIX wineserver -k || true
  exit 1
}
