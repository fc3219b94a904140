#!/usr/bin/env bash
# End to end, as a person uses it on a desktop without any tray (GNOME's default session, a
# tiling window manager): Vellumix shows its home window at start-up; a tile opens its entry;
# closed, the window comes back when `vellumix` is launched again with no arguments (the app
# grid, a launcher), and that launch ends; its Capture button hides it before the screen is
# read, so a drag over where it stood gives the desktop behind it. Processes are stopped by PID.
# usage: home_window.sh path/to/vellumix path/to/vellumix-bundle path/to/pixel_probe
set -euo pipefail
APP=$1
BUNDLE_TOOL=$2
PROBE=$3
source "$(dirname "$0")/session.sh"
export TZ=UTC
start_xvfb 1280x800

STORE=$XDG_DATA_HOME/Vellumix
mkdir -p "$STORE"
"$PROBE" make "$WORK/seed.png" 400 300 '#0000ff'
"$BUNDLE_TOOL" create "$WORK/seed.png" "$STORE/2025-03-07-090500.vellumix" >/dev/null

home_window() {
  local w
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w" | sed 's/^/H_/')"
    # The home window is wider than tall and smaller than an editor on this screen.
    if [ "$H_WIDTH" -lt 1000 ] && [ "$H_HEIGHT" -lt 500 ]; then echo "$w"; return; fi
  done
}
expect_home() { # expect_home WHAT
  for _ in $(seq 1 100); do
    HOME_WINDOW=$(home_window)
    [ -n "$HOME_WINDOW" ] && { echo "PASS ($1): the home window is shown"; return; }
    sleep 0.1
  done
  fail "$1: no home window"
}
expect_no_home() { # expect_no_home WHAT
  for _ in $(seq 1 50); do
    [ -z "$(home_window)" ] && return
    sleep 0.1
  done
  fail "$1: the home window is still shown"
}

start_app
expect_home "no tray at start-up"
grep -q 'No system tray is running' "$WORK/app.log" || fail "the log does not say why"
[ -n "${SCREENSHOT_TO:-}" ] && "$PROBE" screen save "$SCREENSHOT_TO"

# The only tile, below the buttons and the heading: a click opens the entry in an editor that
# shows the blue picture; Ctrl+W closes it again.
eval "$(xdotool getwindowgeometry --shell "$HOME_WINDOW")"
xdotool mousemove $((X + 90)) $((Y + 110)) click 1
EDITOR=""
for _ in $(seq 1 100); do
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' 2>/dev/null); do
    [ "$w" != "$HOME_WINDOW" ] && EDITOR=$w
  done
  [ -n "$EDITOR" ] && break
  sleep 0.1
done
[ -n "$EDITOR" ] || fail "a click on the tile opened no editor"
# A loaded machine may take a while to map and paint it.
for _ in $(seq 1 50); do
  eval "$(xdotool getwindowgeometry --shell "$EDITOR" | sed 's/^/E_/')"
  PROBED=$("$PROBE" screen $((E_X + E_WIDTH / 2)) $((E_Y + E_HEIGHT / 2)) | tail -1)
  [ "$PROBED" = "#0000ffff" ] && break
  sleep 0.1
done
[ "$PROBED" = "#0000ffff" ] || fail "the editor does not show the entry's picture: $PROBED"
echo "PASS (tile): the entry opened in an editor"
xdotool windowfocus --sync "$EDITOR" key ctrl+w

# Closed with Escape; a launch without arguments brings it back and ends at once.
xdotool windowfocus --sync "$HOME_WINDOW" key Escape
expect_no_home "Escape"
"$APP" >>"$WORK/app.log" 2>&1 &
SECOND_PID=$!
timeout 10 tail --pid="$SECOND_PID" -f /dev/null || fail "the second launch did not end"
SECOND_PID=""
expect_home "launched again"

# Capture: the window goes before the screen is read. What was under it, here the bare X
# root (black), is what a drag over its place gives.
eval "$(xdotool getwindowgeometry --shell "$HOME_WINDOW")"
xdotool mousemove $((X + 50)) $((Y + 21)) click 1
expect_no_home "Capture"
OVERLAY=""
for _ in $(seq 1 60); do
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w" | sed 's/^/O_/')"
    [ "$O_WIDTH" -eq 1280 ] && [ "$O_HEIGHT" -eq 800 ] && OVERLAY=$w
  done
  [ -n "$OVERLAY" ] && break
  sleep 0.1
done
[ -n "$OVERLAY" ] || fail "Capture showed no overlay"
xdotool mousemove $((X + 20)) $((Y + 20)) sleep 0.1 mousedown 1 sleep 0.1
xdotool mousemove $((X + 150)) $((Y + 80)) sleep 0.1 mousemove $((X + 300)) $((Y + 150)) sleep 0.1
xdotool mouseup 1
NEWEST=""
for _ in $(seq 1 50); do
  NEWEST=$(newest_bundle)
  [ "$NEWEST" != "$STORE/2025-03-07-090500.vellumix" ] && [ -f "$NEWEST/image.png" ] && break
  sleep 0.1
done
expect_pixels "capture of the desktop behind it" "$NEWEST/image.png" \
  "280x130 #000000ff #000000ff #000000ff" 10 10 140 65 270 120
