#!/usr/bin/env bash
# End to end, as a person uses it: the capture shortcut pressed with the app in the tray starts
# a capture (its full-screen overlay appears); the shortcut changed in the settings window
# (opened from the tray icon's status menu) takes effect at once, and the old one no longer
# fires. Processes are stopped by PID.
# usage: capture_shortcut.sh path/to/vellumix
set -euo pipefail
APP=$1
source "$(dirname "$0")/session.sh"
start_xvfb 1280x800
start_tray
sleep 0.5

start_app
sleep 1.5

expect_overlay() {
  for _ in $(seq 1 40); do
    [ -n "$(overlay)" ] && { echo "PASS ($1): the capture overlay appeared"; return; }
    sleep 0.05
  done
  fail "$1: no capture overlay appeared"
}
expect_no_overlay() {
  sleep 1
  [ -z "$(overlay)" ] || fail "$1: a capture overlay appeared"
  echo "PASS ($1): no capture overlay"
}
cancel_overlay() {
  xdotool key Escape
  for _ in $(seq 1 40); do [ -z "$(overlay)" ] && return; sleep 0.05; done
  fail "Escape did not close the capture overlay"
}

# The default shortcut, Ctrl+Shift+6, starts a capture wherever the focus is.
xdotool key ctrl+shift+6
expect_overlay "default shortcut"
cancel_overlay
# Print belongs to the desktop while "override" is off.
xdotool key Print
expect_no_overlay "Print without override"

# The settings window, from the tray icon's status menu ("Settings…" is the sixth item).
open_status_menu
xdotool key Down Down Down Down Down Down Return
SETTINGS=""
for _ in $(seq 1 100); do
  # The window of that title that is window-sized (not the docked icon).
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix Settings$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w")"
    if [ "$WIDTH" -ge 400 ]; then SETTINGS=$w; break 2; fi
  done
  sleep 0.1
done
[ -n "$SETTINGS" ] || fail "the settings window did not open"
sleep 0.5
[ -n "${SCREENSHOT_TO:-}" ] && xwd -id "$SETTINGS" -silent >"$SCREENSHOT_TO"
# The recorder sits in the "Custom:" row, 106 to 218 points from the left, 111 to 133 down.
xdotool mousemove $((X + 160)) $((Y + 122)) click 1
sleep 0.3
xdotool key ctrl+alt+k
sleep 0.5
STORED=$(cat "$XDG_CONFIG_HOME"/Vellumix/defaults.json 2>/dev/null | tr -d ' \n' || true)
case "$STORED" in
  *'"captureKeyCode":40'*'"captureModifierFlags":2304'* | *'"captureModifierFlags":2304'*'"captureKeyCode":40'*)
    echo "PASS (recorded): Ctrl+Alt+K is stored" ;;
  *) fail "the recorded shortcut was not stored: $STORED" ;;
esac
xdotool key --window "$SETTINGS" ctrl+w 2>/dev/null || true

# At once: the old shortcut no longer fires, the new one does.
xdotool key ctrl+shift+6
expect_no_overlay "old shortcut after the change"
xdotool key ctrl+alt+k
expect_overlay "new shortcut"
cancel_overlay
