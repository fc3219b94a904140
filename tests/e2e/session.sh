# Shared by the end-to-end scripts: a private home and X server, a tray, and clean-up of every
# process by PID. Source it after `set -euo pipefail`; stop() and fail() are for the script.
WORK=$(mktemp -d)
XVFB_PID="" APP_PID="" SECOND_PID="" TRAY_PID=""
stop() {
  if [ -n "$1" ]; then
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
  fi
}
# What the script's own bus started (portals, the file manager, settings daemons) is found by
# that bus's address in its environment and stopped by PID: some outlive the bus and would hold
# the test's output open.
stop_bus_services() {
  [ -n "${VELLUMIX_E2E_OWN_BUS:-}" ] && [ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ] || return 0
  local pid
  for pid in $(grep -lsz -F -x "DBUS_STARTER_ADDRESS=$DBUS_SESSION_BUS_ADDRESS" \
    /proc/[0-9]*/environ | cut -d/ -f3); do
    kill "$pid" 2>/dev/null || true
  done
}
cleanup() {
  local status=$?
  stop_bus_services
  stop "$APP_PID"
  stop "$SECOND_PID"
  stop "$TRAY_PID"
  stop "$XVFB_PID"
  # A desktop service may have mounted the document portal in the runtime folder.
  fusermount -u -q "$XDG_RUNTIME_DIR/doc" 2>/dev/null || true
  rm -rf "$WORK"
  exit "$status"
}
trap cleanup EXIT
stop_app() { stop "$APP_PID"; APP_PID=""; }
# start_app ARGS...: the app in the background, its output in app.log.
start_app() {
  "$APP" "$@" >"$WORK/app.log" 2>&1 &
  APP_PID=$!
}
fail() { echo "FAIL: $*" >&2; [ -f "$WORK/app.log" ] && sed 's/^/  app: /' "$WORK/app.log" >&2; exit 1; }

# expect_pixels WHAT FILE EXPECTED [X Y]...: $PROBE's reading of FILE (its size, then the colour at
# each point) must be exactly EXPECTED, given space-separated.
expect_pixels() {
  local what=$1 file=$2 expected=$3 got
  shift 3
  got=$("$PROBE" "$file" "$@" | tr '\n' ' ')
  [ "$got" = "$expected " ] || fail "$what: $file reads $got, not $expected"
  echo "PASS ($what): $got"
}
# wait_for_no_editor: until the app shows no editor window (5 s at most).
wait_for_no_editor() {
  for _ in $(seq 1 100); do
    xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' >/dev/null 2>&1 || return 0
    sleep 0.05
  done
}

export HOME=$WORK XDG_DATA_HOME=$WORK/data XDG_CONFIG_HOME=$WORK/config XDG_CACHE_HOME=$WORK/cache
export XDG_RUNTIME_DIR=$WORK/run QT_QPA_PLATFORM=xcb OMP_THREAD_LIMIT=1
unset WAYLAND_DISPLAY
mkdir -p -m 700 "$XDG_RUNTIME_DIR"

# start_xvfb WIDTHxHEIGHT: an X server on a display number nobody uses. Xvfb picks the number
# itself, taking its lock (tests running side by side cannot pick the same one), and writes it
# once it accepts clients, which on a loaded machine can take seconds.
start_xvfb() {
  SCREEN_WIDTH=${1%x*} SCREEN_HEIGHT=${1#*x}
  # -noreset: scripts stop and restart the app, and a server resetting as its last client left
  # could refuse the next one.
  Xvfb -displayfd 3 -noreset -screen 0 "${1}x24" -nolisten tcp 3>"$WORK/display" >/dev/null 2>&1 &
  XVFB_PID=$!
  for _ in $(seq 1 400); do [ -s "$WORK/display" ] && break; sleep 0.05; done
  DISPLAY_NUMBER=$(head -1 "$WORK/display")
  [ -n "$DISPLAY_NUMBER" ] || fail "Xvfb did not start"
  export DISPLAY=":$DISPLAY_NUMBER"
}

# An XEmbed tray (trayer) in the top right corner, standing in for the desktop's panel.
start_tray() {
  trayer --edge top --align right --widthtype pixel --width 64 --heighttype pixel --height 32 \
    --SetDockType true --transparent false >/dev/null 2>&1 &
  TRAY_PID=$!
}

# Opens the status menu of the app's tray icon with a click, as a person does.
open_status_menu() {
  local icon="" w
  for _ in $(seq 1 100); do
    # The docked icon is the app's one small window inside the panel.
    for w in $(xdotool search --pid "$APP_PID" --name '^Vellumix$' 2>/dev/null); do
      eval "$(xdotool getwindowgeometry --shell "$w" | sed 's/^/I_/')"
      if [ "$I_WIDTH" -gt 4 ] && [ "$I_WIDTH" -le 64 ] && [ "$I_Y" -lt 32 ]; then icon=$w; fi
    done
    [ -n "$icon" ] && break
    sleep 0.1
  done
  [ -n "$icon" ] || fail "no tray icon appeared in the panel"
  xdotool mousemove $((I_X + I_WIDTH / 2)) $((I_Y + I_HEIGHT / 2)) click 1
  sleep 0.5
}

# History bundles by creation (birth time, then name), oldest first. Modification times say
# nothing here: every open window keeps saving into its bundle.
bundles_by_creation() {
  local b
  for b in "$XDG_DATA_HOME"/Vellumix/*.vellumix; do
    [ -e "$b" ] && printf '%s %s\n' "$(stat -c %W "$b")" "$b"
  done | sort -n -k1,1 -k2,2V | cut -d' ' -f2-
}
newest_bundle() { bundles_by_creation | tail -1; }

# XFCE's panel with nothing but its tray plugin: a StatusNotifierItem host and watcher that
# draws the icons' exported menus itself. It must own the watcher before the app starts.
start_sni_panel() {
  local panel_config=$XDG_CONFIG_HOME/xfce4/xfconf/xfce-perchannel-xml
  mkdir -p "$panel_config"
  cp "$(dirname "${BASH_SOURCE[0]}")/xfce4-panel-tray-only.xml" "$panel_config/xfce4-panel.xml"
  xfce4-panel --disable-wm-check >/dev/null 2>&1 &
  TRAY_PID=$!
  sni_watcher_reports IsStatusNotifierHostRegistered true ||
    fail "xfce4-panel registered no StatusNotifierItem host"
}

wait_for_sni_item() {
  sni_watcher_reports RegisteredStatusNotifierItems StatusNotifierItem ||
    fail "the app registered no StatusNotifierItem"
}

# open_editor ARGS...: launches the app with ARGS and waits for its editor window to appear and
# take the focus; WINDOW, X, Y, WIDTH and HEIGHT describe it afterwards.
open_editor() {
  start_app "$@"
  WINDOW=$(timeout 20 xdotool search --sync --onlyvisible --pid "$APP_PID" --name '^Vellumix$' |
    head -1) || fail "no editor window appeared"
  # Typing goes to the focused window: a loaded machine can take a while to map and focus it.
  for _ in $(seq 1 50); do
    xdotool windowfocus "$WINDOW" 2>/dev/null || true
    [ "$(xdotool getwindowfocus 2>/dev/null)" = "$WINDOW" ] && break
    sleep 0.1
  done
  sleep 0.5
  eval "$(xdotool getwindowgeometry --shell "$WINDOW")"
}

# Waits (at most 10 s) for a picture exported to the desktop and prints its path; none: empty.
wait_for_export() {
  for _ in $(seq 1 100); do
    ls "$HOME"/Desktop/Vellumix-*.png >/dev/null 2>&1 && break
    sleep 0.1
  done
  ls -1 "$HOME"/Desktop/Vellumix-*.png 2>/dev/null | head -1
}

# The app's screen-filling window (the capture overlay), if one is shown.
overlay() {
  local w
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w" | sed 's/^/O_/')"
    if [ "$O_WIDTH" -eq "$SCREEN_WIDTH" ] && [ "$O_HEIGHT" -eq "$SCREEN_HEIGHT" ]; then
      echo "$w"
      return
    fi
  done
}

# sni_watcher_reports PROPERTY PATTERN: waits (at most 10 s) until the StatusNotifierWatcher's
# PROPERTY matches PATTERN; false when it never does.
sni_watcher_reports() {
  for _ in $(seq 1 100); do
    gdbus call --session -d org.kde.StatusNotifierWatcher -o /StatusNotifierWatcher \
      -m org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierWatcher "$1" 2>/dev/null |
      grep -q "$2" && return 0
    sleep 0.1
  done
  return 1
}

# Image pixel (x, y) of a 400 × 300 picture, which opens at 100 % centred in the editor's canvas
# area: image pixel (0, 0) is window point (200, 130).
at() { echo $((X + 200 + $1)) $((Y + 130 + $2)); }

# drag_image X0 Y0 X1 Y1: a left-button drag between two image pixels, by way of their middle.
drag_image() {
  xdotool mousemove $(at "$1" "$2") sleep 0.1 mousedown 1 sleep 0.1
  xdotool mousemove $(at $((($1 + $3) / 2)) $((($2 + $4) / 2))) sleep 0.1
  xdotool mousemove $(at "$3" "$4") sleep 0.1
  xdotool mouseup 1
}

# open_and_draw ARGS...: opens ARGS in a new app on the screen under the mouse, then draws a
# 100 × 70 rectangle from image pixel (50, 50) with the R key and a mouse drag.
open_and_draw() {
  xdotool mousemove 720 450
  open_editor "$@"
  xdotool key r
  sleep 0.2
  drag_image 50 50 150 120
  sleep 0.5
}
