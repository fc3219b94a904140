#!/usr/bin/env bash
# End to end with a screen reader's eyes: the running app read over AT-SPI (at-spi2-core's
# accessibility bus, enabled before the app starts, as a screen reader does). Every shown control
# of the home window, the settings window, an editor (its toolbar, footer, assistant field and
# panel, the image-edit bar, the redact bar, the colour pop-up) must have a name, and nothing focusable
# may lack a role; the capture overlay says what it is. Then, without a mouse: an image opened and
# "Export to Desktop" pressed through its AT-SPI action puts the picture on the desktop.
# Processes are stopped by PID.
# usage: screen_reader.sh path/to/vellumix path/to/pixel_probe
set -euo pipefail
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$1
PROBE=$2
A11Y=$(dirname "$0")/atspi.py
source "$(dirname "$0")/session.sh"
start_xvfb 1280x800
dbus-update-activation-environment DISPLAY HOME XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_DATA_HOME
gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.freedesktop.DBus.Properties.Set \
  org.a11y.Status IsEnabled '<true>' >/dev/null
"$PROBE" gradient "$WORK/shot.png" 400 300
mkdir -p "$HOME/Desktop" "$XDG_CONFIG_HOME/Vellumix"
# A Secret Service for the API key, and the cloud assistant at an address where nothing
# listens: a request fails at once and the assistant panel says why.
printf 'vellumix-tests' | gnome-keyring-daemon --foreground --unlock --components=secrets \
  >/dev/null 2>&1 &
KEYRING_PID=$!
trap 'status=$?; stop "$KEYRING_PID"; (exit $status); cleanup' EXIT
echo '{"aiProvider":"googleGeminiFlash"}' >"$XDG_CONFIG_HOME/Vellumix/defaults.json"
export VELLUMIX_GEMINI_BASE_URL=http://127.0.0.1:9

check() { # check WHAT: no unnamed control, nothing focusable without a role
  "$A11Y" unnamed "$1" || fail "$1: controls a screen reader cannot name (above)"
  echo "PASS ($1): every control has a name and a role"
}

start_app
"$A11Y" wait "Settings…"
check "home window"
"$A11Y" press "Settings…"
"$A11Y" wait "Launch on startup"
check "settings window"
# The key typed into its field; Return stores it.
"$A11Y" focus "Gemini API key"
xdotool type --delay 20 "not-a-real-key"
xdotool key Return

"$APP" "$WORK/shot.png" >>"$WORK/app.log" 2>&1
"$A11Y" wait "Export to Desktop"
check "editor"
"$A11Y" press "Edit image…"
"$A11Y" wait "Redact"
check "image-edit bar"
"$A11Y" press "Redact"
"$A11Y" wait "Find Sensitive Text"
check "redact bar"
"$A11Y" press "Cancel"
"$A11Y" wait "Edit image…"
"$A11Y" focus "Assistant request"
xdotool type --delay 20 "what is this"
xdotool key Return
"$A11Y" wait "Close AI panel"
check "assistant panel"
"$A11Y" press "Close AI panel"
"$A11Y" press "Stroke color"
"$A11Y" wait "Pick Screen Color"
check "colour pop-up"
xdotool key Escape

# The overlay names itself and tells what to do.
"$APP" --capture >>"$WORK/app.log" 2>&1
OVERLAY=$("$A11Y" window Capture) || fail "the capture overlay is not on the accessibility bus"
[ "$OVERLAY" = "frame: Drag over the area to capture; Escape cancels" ] ||
  fail "the overlay reads as: $OVERLAY"
echo "PASS (capture overlay): $OVERLAY"
xdotool key Escape

# Without a mouse: Export to Desktop through its action.
"$A11Y" press "Export to Desktop"
EXPORTED=$(wait_for_export)
[ -n "$EXPORTED" ] || fail "Export to Desktop pressed over AT-SPI exported nothing"
"$PROBE" same "$EXPORTED" "$WORK/shot.png" 0 0 || fail "the exported PNG is not the picture"
echo "PASS (export without a mouse): $(basename "$EXPORTED") is the picture"
