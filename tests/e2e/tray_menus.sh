#!/usr/bin/env bash
# End to end, as a person uses it on a desktop whose panel draws the tray menu itself: XFCE's
# panel (xfce4-panel, its tray plugin alone) is the StatusNotifierItem host. The exported menu
# (com.canonical.dbusmenu) is read and clicked over D-Bus as the panel does: the name is plain
# disabled text, every history entry is an item with its text and thumbnail that opens it, and
# "Show in Folder" and "Delete" reach each entry. Then a right click on the icon in the panel
# and the keys of the panel's own menu open an entry. Processes are stopped by PID.
# usage: tray_menus.sh path/to/vellumix path/to/vellumix-bundle path/to/pixel_probe
set -euo pipefail
# The panel brings its own services (xfconfd, the accessibility bus): a bus of its own.
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$1
BUNDLE_TOOL=$2
PROBE=$3
HERE=$(dirname "$0")
source "$HERE/session.sh"
export TZ=UTC
start_xvfb 1280x800
# Services the bus starts (the file manager) open their windows on this display; the desktop
# portal the file manager asks for gets no backends (it would try any installed one).
mkdir -p "$WORK/no-portals"
export XDG_DESKTOP_PORTAL_DIR=$WORK/no-portals
dbus-update-activation-environment DISPLAY HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME \
  XDG_RUNTIME_DIR TZ XDG_DESKTOP_PORTAL_DIR

# The history: two captures (red 400 × 300 at 14:25, blue at 09:05) and an external bundle.
STORE=$XDG_DATA_HOME/Vellumix
mkdir -p "$STORE" "$XDG_CONFIG_HOME/Vellumix"
seed() { # seed BUNDLE COLOUR TIME
  "$PROBE" make "$WORK/seed.png" 400 300 "$2"
  "$BUNDLE_TOOL" create "$WORK/seed.png" "$1" >/dev/null
  touch -d "$3" "$1/annotations.json"
}
seed "$STORE/2025-03-07-142500.vellumix" '#ff0000' '2025-03-07 14:25:00'
seed "$STORE/2025-03-07-090500.vellumix" '#0000ff' '2025-03-07 09:05:00'
seed "$WORK/Project one.vellumix" '#00ff00' '2025-03-06 10:00:00'
printf '{"externalBundles":["%s"]}' "$WORK/Project one.vellumix" \
  >"$XDG_CONFIG_HOME/Vellumix/defaults.json"

start_sni_panel
start_app
wait_for_sni_item
grep -q 'Tray: StatusNotifierItem' "$WORK/app.log" || fail "the icon is not a StatusNotifierItem"
# The idle tray leaves the network stack to the assistant module, which the first window loads.
! grep -q libQt6Network "/proc/$APP_PID/maps" || fail "the idle tray maps Qt Network"

MENU=("$HERE/dbusmenu.py")
OUTLINE=$("${MENU[@]}" outline)
# Theme icons depend on the desktop's icon theme (none here); thumbnails always come along.
EXPECTED='Vellumix (disabled)
-
Capture
Capture in
  3 s
  5 s
  10 s
Paste
Open…
History
  3/7, 2:25 PM [icon]
  3/7, 9:05 AM [icon]
  Project one — 3/6, 10:00 AM [icon]
  -
  Show in Folder
    3/7, 2:25 PM [icon]
    3/7, 9:05 AM [icon]
    Project one — 3/6, 10:00 AM [icon]
  Delete
    3/7, 2:25 PM [icon]
    3/7, 9:05 AM [icon]
-
Settings…
Quit'
[ "$OUTLINE" = "$EXPECTED" ] || fail "the exported menu is not as expected:
$OUTLINE"
echo "PASS (exported menu): the name, the commands and the history with its actions"

# The editor shows its picture in the middle of the screen: its colour tells the entry.
expect_editor_showing() { # expect_editor_showing '#rrggbbff' WHAT
  local probed=""
  for _ in $(seq 1 60); do
    if xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' >/dev/null 2>&1; then
      probed=$("$PROBE" screen 640 400 | tail -1)
      [ "$probed" = "$1" ] && { echo "PASS ($2): an editor shows $1"; return; }
    fi
    sleep 0.1
  done
  fail "$2: no editor showing $1 (the middle of the screen is $probed)"
}
# Ctrl+W in the focused window, as a person closes it.
close_window() {
  xdotool windowfocus --sync "$1" key ctrl+w 2>/dev/null || true
  for _ in $(seq 1 50); do
    xdotool search --onlyvisible --name '.' 2>/dev/null | grep -qx "$1" || return 0
    sleep 0.1
  done
  fail "window $1 did not close"
}

"${MENU[@]}" click 'History > 3/7, 9:05 AM'
expect_editor_showing '#0000ffff' "clicked over D-Bus"
close_window "$(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' | head -1)"

# Show in Folder: XFCE's file manager (Thunar, started by D-Bus as FileManager1) opens the
# bundle's folder, its picture selected.
"${MENU[@]}" click 'History > Show in Folder > Project one — 3/6, 10:00 AM'
FOLDER_WINDOW=""
for _ in $(seq 1 100); do
  FOLDER_WINDOW=$(xdotool search --onlyvisible --name '^Project one.vellumix' 2>/dev/null | head -1) && break
  sleep 0.1
done
[ -n "$FOLDER_WINDOW" ] || fail "Show in Folder opened no file manager window on the bundle"
echo "PASS (Show in Folder): $(xdotool getwindowname "$FOLDER_WINDOW")"
close_window "$FOLDER_WINDOW"

# Delete removes the bundle, and the menu drops it.
"${MENU[@]}" click 'History > Delete > 3/7, 2:25 PM'
for _ in $(seq 1 30); do [ -d "$STORE/2025-03-07-142500.vellumix" ] || break; sleep 0.1; done
[ ! -d "$STORE/2025-03-07-142500.vellumix" ] || fail "Delete left the bundle"
"${MENU[@]}" outline | grep -q '2:25 PM' && fail "the deleted entry is still in the menu"
echo "PASS (Delete): the bundle and its items are gone"

# As a person: a right click on the icon in the panel (its left end), which draws the menu;
# the pointer rests on History (the seventh row, 172 down) and clicks the first entry beside it.
xdotool mousemove 12 14 click 3
sleep 1
xdotool mousemove 53 172
sleep 1
xdotool mousemove 290 172 sleep 0.3 mousemove 300 173 sleep 0.3 click 1
expect_editor_showing '#0000ffff' "opened from the panel's own menu"
