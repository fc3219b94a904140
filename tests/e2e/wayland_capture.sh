#!/usr/bin/env bash
# End to end on Wayland for real: Vellumix as a Wayland client (QT_QPA_PLATFORM=wayland) of a
# headless sway, with xdg-desktop-portal, its wlroots backend (screenshots through grim),
# its GTK backend (the Access interface the Screenshot frontend requires) and PipeWire.
# `vellumix --capture` takes the screen through the real Screenshot portal, the overlay covers
# the output, and a drag (a virtual pointer: the headless seat has no mouse) gives the editor
# exactly the selected pixels of what grim saw. sway refuses to run as root: it runs as an
# unprivileged user (nobody, or the caller when not root); everything else stays with the
# caller. Processes are stopped by PID.
# usage: wayland_capture.sh path/to/vellumix path/to/wayland_pointer path/to/pixel_probe [SCALE]
set -euo pipefail
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$1
POINTER=$2
PROBE=$3
SCALE=${4:-1}
source "$(dirname "$0")/session.sh"
SWAY_PID="" PIPEWIRE_PID="" SWAY_DIR="" KEYRING_PID=""
stop_wayland() {
  stop "$APP_PID"
  stop "$SECOND_PID"
  stop "$PIPEWIRE_PID"
  stop "$KEYRING_PID"
  stop "$SWAY_PID"
  [ -n "$SWAY_DIR" ] && rm -rf "$SWAY_DIR"
}
stop_all() {
  local status=$?
  stop_wayland
  (exit "$status")
  cleanup
}
trap stop_all EXIT

# sway's own runtime folder, owned by the user it runs as.
SWAY_DIR=$(mktemp -d /tmp/vellumix-sway.XXXXXX)
AS_USER=()
if [ "$(id -u)" -eq 0 ]; then
  chown nobody "$SWAY_DIR"
  AS_USER=(runuser -u nobody --)
fi
chmod 700 "$SWAY_DIR"
cat >"$SWAY_DIR/config" <<EOF
output HEADLESS-1 mode 1280x800 scale $SCALE bg #3a6ea5 solid_color
default_border none
EOF
"${AS_USER[@]}" env -i PATH="$PATH" HOME="$SWAY_DIR" XDG_RUNTIME_DIR="$SWAY_DIR" \
  WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
  sway -c "$SWAY_DIR/config" >"$WORK/sway.log" 2>&1 &
SWAY_PID=$!
for _ in $(seq 1 100); do
  [ -S "$SWAY_DIR/wayland-1" ] && ls "$SWAY_DIR"/sway-ipc.*.sock >/dev/null 2>&1 && break
  sleep 0.1
done
[ -S "$SWAY_DIR/wayland-1" ] || { cat "$WORK/sway.log" >&2; fail "sway did not start"; }
# An absolute socket path: the clients keep their own runtime folder.
export WAYLAND_DISPLAY=$SWAY_DIR/wayland-1
SWAYSOCK=$(ls "$SWAY_DIR"/sway-ipc.*.sock)
export SWAYSOCK
unset DISPLAY
LOGICAL_W=$((1280 / SCALE)) LOGICAL_H=$((800 / SCALE))

mkdir -p "$WORK/portals"
cp /usr/share/xdg-desktop-portal/portals/wlr.portal /usr/share/xdg-desktop-portal/portals/gtk.portal \
  "$WORK/portals/"
export XDG_CURRENT_DESKTOP=sway XDG_DESKTOP_PORTAL_DIR=$WORK/portals NO_AT_BRIDGE=1
dbus-update-activation-environment WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_DESKTOP_PORTAL_DIR NO_AT_BRIDGE \
  XDG_RUNTIME_DIR HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME
# A Secret Service, as in a desktop session: without one, the first service asking for it
# starts gnome-keyring through D-Bus, which then waits for a login that never comes.
printf 'vellumix-tests' | gnome-keyring-daemon --foreground --unlock --components=secrets \
  >/dev/null 2>&1 &
KEYRING_PID=$!
# The wlroots portal backend ends at once without a PipeWire daemon. PipeWire asks the portal
# for permissions, so it starts once the portals would see this environment.
pipewire >"$WORK/pipewire.log" 2>&1 &
PIPEWIRE_PID=$!
# Serving, not only listening: the wlroots backend blocks on a PipeWire that is still starting.
for _ in $(seq 1 100); do timeout 2 pw-cli info 0 >/dev/null 2>&1 && break; sleep 0.1; done
# The portals start once, as at a desktop's login: the backends first. A frontend that starts
# them itself sometimes waits out a 25 s D-Bus timeout on one of them.
for backend in wlr gtk; do
  gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus \
    -m org.freedesktop.DBus.StartServiceByName "org.freedesktop.impl.portal.desktop.$backend" 0 \
    >/dev/null || fail "the $backend portal backend did not start"
done
gdbus call --session --timeout 30 -d org.freedesktop.portal.Desktop \
  -o /org/freedesktop/portal/desktop -m org.freedesktop.DBus.Properties.Get \
  org.freedesktop.portal.Screenshot version >/dev/null || fail "no Screenshot portal"
# The wlroots backend always writes /tmp/out.png; one left by someone else would stop it.
rm -f /tmp/out.png

# A picture to capture from, in an editor window: 400 × 300, each pixel its own colour.
export QT_QPA_PLATFORM=wayland
"$PROBE" gradient "$WORK/shot.png" 400 300
start_app "$WORK/shot.png"
# sway's window tree holds a line (read whole: grep -q would end swaymsg early, and fail it).
in_tree() { local tree; tree=$(swaymsg -t get_tree) && grep -q "$1" <<<"$tree"; }
for _ in $(seq 1 100); do
  in_tree '"app_id": "vellumix"' && break
  sleep 0.1
done
in_tree '"app_id": "vellumix"' || fail "no editor window on the output"
sleep 1
grim "$WORK/before.png" || fail "grim could not read the output"

"$APP" --capture >>"$WORK/app.log" 2>&1 &
SECOND_PID=$!
# The overlay: the window titled "Capture", covering the whole output.
for _ in $(seq 1 100); do
  in_tree '"name": "Capture"' && break
  sleep 0.1
done
in_tree '"name": "Capture"' || fail "no capture overlay appeared"
grep -q 'capture route: Screenshot portal, session wayland (wayland)' "$WORK/app.log" ||
  fail "the capture did not go through the Screenshot portal"
sleep 0.5
grim "$WORK/overlay.png"
PROBED=$("$PROBE" "$WORK/overlay.png" 2 2 1277 797 | tr '\n' ' ')
BEFORE=$("$PROBE" "$WORK/before.png" 2 2 1277 797 | tr '\n' ' ')
[ "$PROBED" != "$BEFORE" ] || fail "the overlay does not dim the output: $PROBED"
echo "PASS (overlay): the whole output is dimmed: $BEFORE-> $PROBED"

# A drag from logical (100, 80) to (400, 300): the editor gets exactly those pixels of the
# output as grim saw it before, at the output's scale.
"$POINTER" drag 100 80 400 300 "$LOGICAL_W" "$LOGICAL_H"
for _ in $(seq 1 100); do
  [ "$(bundles_by_creation | wc -l)" -ge 2 ] && break
  sleep 0.1
done
[ "$(bundles_by_creation | wc -l)" -ge 2 ] || fail "the drag gave no capture"
sleep 0.5
NEWEST=$(newest_bundle)
"$PROBE" same "$NEWEST/image.png" "$WORK/before.png" $((100 * SCALE)) $((80 * SCALE)) ||
  fail "the capture is not the dragged area of the output"
echo "PASS (drag): $("$PROBE" "$NEWEST/image.png" | head -1) px, the output's own pixels"
