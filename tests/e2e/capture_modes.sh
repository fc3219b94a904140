#!/usr/bin/env bash
# End to end, as a person uses it: a terminal holds 300 numbered lines, scrolled back to the
# first; a capture over its text with S pressed during the drag scrolls it to the end and opens
# one tall picture. OCR of that picture reads every number from 1 to 300 once, in order. The
# same over content that cannot scroll gives the plain capture. A click without a drag captures
# the window under it, border included. Processes are stopped by PID.
# usage: capture_modes.sh path/to/vellumix path/to/ocr_lines path/to/pixel_probe
set -euo pipefail
APP=$1
OCR=$2
PROBE=$3
source "$(dirname "$0")/session.sh"
start_xvfb 1280x800
# A tray, so no home window stands in for it over the terminal.
start_tray

seq -f 'row %03g' 1 300 >"$WORK/lines.txt"
xterm -geometry 30x30+0+0 -fa 'DejaVu Sans Mono' -fs 15 -bg white -fg black -sl 1000 \
  -T scrollme -e sh -c "printf '\033[?25l'; cat '$WORK/lines.txt'; exec sleep 600" &
SECOND_PID=$! # the terminal, stopped with the rest
sleep 1.5
XTERM=$(xdotool search --name '^scrollme$' | head -1)
eval "$(xdotool getwindowgeometry --shell "$XTERM" | sed 's/^/T_/')"
# Back to the first line: the wheel up over the terminal, well past its top.
xdotool mousemove $((T_X + 100)) $((T_Y + 100))
for _ in $(seq 1 12); do xdotool click --repeat 10 4; done
sleep 0.5

start_app
sleep 1.5

# capture X0 Y0 X1 Y1 [s]: a drag from (X0,Y0) to (X1,Y1), S pressed during it when asked.
capture() {
  local before
  before=$(newest_bundle)
  xdotool key ctrl+shift+6
  sleep 0.8
  if [ "$1" = click ]; then
    xdotool mousemove "$2" "$3" mousedown 1
  else
    xdotool mousemove "$1" "$2" mousedown 1 mousemove $(($1 + 20)) $(($2 + 20)) mousemove "$3" "$4"
  fi
  [ "${5:-}" = s ] && xdotool key s
  xdotool mouseup 1
  local released
  released=$(date +%s%N)
  for _ in $(seq 1 300); do
    [ "$(newest_bundle)" != "$before" ] && [ -f "$(newest_bundle)/image.png" ] && break
    sleep 0.1
  done
  [ "$(newest_bundle)" != "$before" ] || fail "no picture was captured"
  echo $((($(date +%s%N) - released) / 1000000)) >"$WORK/elapsed"
  sleep 1
  newest_bundle
}
# numbers PNG: the numbers OCR reads in the picture, one a line, as plain integers.
numbers() { "$OCR" "$1" 2>/dev/null | grep -oE '[0-9]{3}' | sed 's/^0*//'; }

# The terminal's text area, inside its border; the drag's mouse-up to the picture is timed.
AREA="$((T_X + 4)) $((T_Y + 4)) $((T_X + T_WIDTH - 20)) $((T_Y + T_HEIGHT - 4))"
# shellcheck disable=SC2086
SHOT=$(capture $AREA s)
echo "scrolling capture of 300 lines, mouse-up to its picture in a bundle: $(cat "$WORK/elapsed") ms"
[ -n "${SCREENSHOT_TO:-}" ] && cp "$SHOT/image.png" "$SCREENSHOT_TO"
GOT=$(numbers "$SHOT/image.png" | tr '\n' ' ')
[ "$GOT" = "$(seq 1 300 | tr '\n' ' ')" ] || fail "OCR read these numbers: $GOT"
echo "PASS (scrolled): 1 to 300, each once, in order"

# At its end the terminal cannot scroll further: the same picture as a plain capture.
# shellcheck disable=SC2086
PLAIN=$(capture $AREA)
# shellcheck disable=SC2086
STILL=$(capture $AREA s)
# Same pixels, same encoder: the same bytes.
cmp -s "$PLAIN/image.png" "$STILL/image.png" || fail "the unscrollable capture differs from the plain one"
echo "PASS (still): the plain capture"

# A click inside the terminal: its window, the X border around it included.
BORDER=$(xwininfo -id "$XTERM" | sed -n 's/.*Border width: *//p')
SHOT=$(capture click $((T_X + 50)) $((T_Y + 50)))
SIZE=$("$PROBE" "$SHOT/image.png" | head -1)
[ "$SIZE" = "$((T_WIDTH + 2 * BORDER))x$((T_HEIGHT + 2 * BORDER))" ] ||
  fail "the window capture is $SIZE, not the terminal's ${T_WIDTH}x$T_HEIGHT with border $BORDER"
echo "PASS (window): the terminal's frame, $SIZE"
