#!/usr/bin/env bash
# End to end, as a person uses it. `vellumix --capture --delay 3` counts down in a small counter;
# the screen changes meanwhile; the overlay comes after the delay, and a capture over the place
# of the counter holds the changed screen and nothing of the counter. Then a picture opened in
# an editor is pinned with Ctrl+Shift+P: a window above the others at the picture's size showing
# its pixels, which Ctrl+C copies and Escape closes; it outlives its editor. Processes are
# stopped by PID.
# usage: delay_and_pin.sh path/to/vellumix path/to/pixel_probe
set -euo pipefail
APP=$1
PROBE=$2
source "$(dirname "$0")/session.sh"
start_xvfb 1280x800
xsetroot -solid '#2040a0'
xdotool mousemove 640 400

start_app --capture --delay 3
counter() { xdotool search --all --onlyvisible --pid "$APP_PID" --name '^Capture countdown$' 2>/dev/null || true; }
for _ in $(seq 1 400); do [ -n "$(counter)" ] && break; sleep 0.05; done
COUNTER=$(counter | head -1)
[ -n "$COUNTER" ] || fail "no countdown appeared"
SHOWN=$(date +%s%N)
eval "$(xdotool getwindowgeometry --shell "$COUNTER" | sed 's/^/C_/')"
[ "$("$PROBE" screen $((C_X + 4)) $((C_Y + 4)) | tail -1)" = '#202024ff' ] ||
  fail "the counter is not drawn on the screen"
# What the capture must show: the screen as it is when the count runs out.
xsetroot -solid '#30a050'

for _ in $(seq 1 100); do [ -n "$(overlay)" ] && break; sleep 0.1; done
[ -n "$(overlay)" ] || fail "no overlay came after the countdown"
WAITED=$((($(date +%s%N) - SHOWN) / 1000000))
[ "$WAITED" -ge 3000 ] || fail "the overlay came ${WAITED} ms after the counter, not 3 s"
# A drag from 40 px above and left of the counter to 20 px below and right of it.
xdotool mousemove $((C_X - 40)) $((C_Y - 40)) mousedown 1 mousemove $((C_X + 10)) $((C_Y + 10)) \
  mousemove $((C_X + C_WIDTH + 20)) $((C_Y + C_HEIGHT + 20)) mouseup 1
for _ in $(seq 1 100); do [ -f "$(newest_bundle)/image.png" ] && break; sleep 0.1; done
SHOT=$(newest_bundle)/image.png
[ -f "$SHOT" ] || fail "no picture was captured"
SIZE=$("$PROBE" "$SHOT" | head -1)
[ "$SIZE" = "$((C_WIDTH + 60))x$((C_HEIGHT + 60))" ] || fail "the capture is $SIZE"
"$PROBE" make "$WORK/green.png" "${SIZE%x*}" "${SIZE#*x}" '#30a050'
"$PROBE" same "$SHOT" "$WORK/green.png" 0 0 || fail "the capture is not the screen without the counter"
echo "PASS (delay): the overlay ${WAITED} ms after the counter showed; the counter not in the picture"

# A later launch hands its delay to the running app; Escape on the counter cancels it all.
BUNDLES=$(bundles_by_creation | wc -l)
"$APP" --capture --delay 3
for _ in $(seq 1 100); do [ -n "$(counter)" ] && break; sleep 0.05; done
[ -n "$(counter)" ] || fail "the second launch's countdown did not appear"
xdotool windowfocus --sync "$(counter | head -1)" key Escape
sleep 3.5
[ -z "$(counter)" ] && [ -z "$(overlay)" ] && [ "$(bundles_by_creation | wc -l)" = "$BUNDLES" ] ||
  fail "Escape on the counter did not cancel the capture"
echo "PASS (delay): forwarded by a second launch; Escape on the counter cancels"

# A picture with every pixel different, opened in the running app's new editor.
"$PROBE" gradient "$WORK/picture.png" 300 200
xdotool mousemove 300 300
editors() { xdotool search --all --onlyvisible --pid "$APP_PID" --name '^Vellumix$' 2>/dev/null || true; }
BEFORE=$(editors)
"$APP" "$WORK/picture.png"
EDITOR=""
for _ in $(seq 1 100); do
  EDITOR=$(editors | grep -vxF "$BEFORE" | head -1) || true
  [ -n "$EDITOR" ] && [ "$(xdotool getwindowfocus)" = "$EDITOR" ] && break
  sleep 0.1
done
[ -n "$EDITOR" ] || fail "the picture opened no editor"
sleep 0.5
pins() { xdotool search --all --onlyvisible --pid "$APP_PID" --name '^Pinned picture$' 2>/dev/null || true; }
xdotool key ctrl+shift+p
for _ in $(seq 1 50); do [ -n "$(pins)" ] && break; sleep 0.1; done
PIN=$(pins | head -1)
[ -n "$PIN" ] || fail "Ctrl+Shift+P opened no pin"
sleep 0.5
eval "$(xdotool getwindowgeometry --shell "$PIN" | sed 's/^/P_/')"
[ "${P_WIDTH}x$P_HEIGHT" = 300x200 ] || fail "the pin is ${P_WIDTH}x$P_HEIGHT, not 300x200"
xprop -id "$PIN" _NET_WM_STATE | grep -q _NET_WM_STATE_ABOVE || fail "the pin is not kept above"
"$PROBE" screen save "$WORK/screen.png"
"$PROBE" same "$WORK/picture.png" "$WORK/screen.png" "$P_X" "$P_Y" ||
  fail "the pin does not show the picture's pixels 1:1"
echo "PASS (pin): 300x200 at ($P_X, $P_Y), kept above, the picture's pixels"

# pin_geometry: "X Y WxH" of the pin now.
pin_geometry() {
  eval "$(xdotool getwindowgeometry --shell "$PIN" | sed 's/^/G_/')"
  echo "$G_X $G_Y ${G_WIDTH}x$G_HEIGHT"
}
# The wheel zooms a step at a time around the pointer; a drag moves the pin.
xdotool mousemove $((P_X + 150)) $((P_Y + 100)) click 4
sleep 0.3
[ "$(pin_geometry)" = "$((P_X - 38)) $((P_Y - 25)) 375x250" ] || fail "zoomed in: $(pin_geometry)"
xdotool click 5
sleep 0.3
[ "$(pin_geometry)" = "$P_X $P_Y 300x200" ] || fail "zoomed back: $(pin_geometry)"
xdotool mousedown 1 mousemove $((P_X + 170)) $((P_Y + 110)) mousemove $((P_X + 190)) $((P_Y + 130)) \
  mouseup 1
sleep 0.3
[ "$(pin_geometry)" = "$((P_X + 40)) $((P_Y + 30)) 300x200" ] || fail "dragged: $(pin_geometry)"
echo "PASS (pin): the wheel zooms it around the pointer, a drag moves it"

# Closing the editor leaves the pin; Ctrl+C in the pin copies the picture; Escape closes it.
xdotool windowfocus --sync "$EDITOR" key ctrl+w
sleep 0.5
[ -n "$(pins)" ] || fail "closing the editor closed the pin"
xdotool windowfocus --sync "$PIN" key ctrl+c
sleep 0.5
xclip -selection clipboard -t image/png -o >"$WORK/copied.png" || fail "nothing on the clipboard"
[ "$("$PROBE" "$WORK/copied.png" | head -1)" = 300x200 ] || fail "the copy is not 300x200"
"$PROBE" same "$WORK/copied.png" "$WORK/picture.png" 0 0 || fail "the copy is not the picture"
xdotool windowfocus --sync "$PIN" key Escape
for _ in $(seq 1 30); do [ -z "$(pins)" ] && break; sleep 0.1; done
[ -z "$(pins)" ] || fail "Escape left the pin open"
echo "PASS (pin): outlives its editor, Ctrl+C copies the picture, Escape closes it"
