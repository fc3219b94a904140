#!/usr/bin/env bash
# End to end against the desktop's real GlobalShortcuts portal: xdg-desktop-portal with KDE's
# backend (xdg-desktop-portal-kde 5.27, the only one in Debian 12) and kglobalaccel on an X
# server, as in a KDE Plasma session. Vellumix asks the portal for its capture shortcut
# (VELLUMIX_SHORTCUT_ROUTE=portal: on X11 it would grab the key itself); the backend binds it,
# kglobalaccel holds the key, and pressing it opens the capture overlay. Processes are stopped
# by PID; the bus's own services end with the bus.
# usage: portal_shortcut.sh path/to/vellumix
set -euo pipefail
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$1
source "$(dirname "$0")/session.sh"
start_xvfb 1280x800

# Only KDE's backend, whatever else is installed.
mkdir -p "$WORK/portals"
cp /usr/share/xdg-desktop-portal/portals/kde.portal "$WORK/portals/"
export XDG_CURRENT_DESKTOP=KDE XDG_DESKTOP_PORTAL_DIR=$WORK/portals
dbus-update-activation-environment DISPLAY HOME XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME \
  XDG_RUNTIME_DIR XDG_CURRENT_DESKTOP XDG_DESKTOP_PORTAL_DIR QT_QPA_PLATFORM

# Ctrl+Alt+K (key code 40; Ctrl 0x100 + Alt 0x800). Not the default Ctrl+Shift+6: KDE
# 5.27 stores that as asked, but on X11 kglobalaccel reads Shift+6 as "^" and never matches it.
mkdir -p "$XDG_CONFIG_HOME/Vellumix"
echo '{"captureKeyCode":40,"captureModifierFlags":2304}' >"$XDG_CONFIG_HOME/Vellumix/defaults.json"

VELLUMIX_SHORTCUT_ROUTE=portal "$APP" >"$WORK/app.log" 2>&1 &
APP_PID=$!
for _ in $(seq 1 300); do
  grep -q 'bound through the GlobalShortcuts portal\|GlobalShortcuts portal:\|No GlobalShortcuts' \
    "$WORK/app.log" && break
  sleep 0.1
done
grep -q 'Capture shortcut bound through the GlobalShortcuts portal: Ctrl+Alt+K' "$WORK/app.log" ||
  fail "the portal did not bind the capture shortcut"
echo "PASS (bound): $(grep -o 'bound through the GlobalShortcuts portal.*' "$WORK/app.log")"

# The key goes to kglobalaccel, which tells the portal, which tells Vellumix.
xdotool key ctrl+alt+k
for _ in $(seq 1 60); do
  [ -n "$(overlay)" ] && { echo "PASS (pressed): the capture overlay appeared"; exit 0; }
  sleep 0.1
done
fail "pressing the bound key opened no capture overlay"
