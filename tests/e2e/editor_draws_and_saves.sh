#!/usr/bin/env bash
# End to end, as a person uses it: the real app on its own X server, opened with an image on the
# command line, a rectangle drawn with the R key and a mouse drag; then the window closed with
# Ctrl+W, a second time the app ended by SIGTERM and once more quit with Ctrl+Q, each with the
# window open (each time the history bundle on disk must hold that rectangle), and a third time the picture copied with
# Ctrl+Shift+C, which must still paste, rectangle included, once its window has closed and with
# no clipboard manager running; a fourth time an area of it captured with `vellumix --capture`;
# then the same through the status menu of the tray icon (an XEmbed tray, trayer, stands in for
# the desktop's panel); then a later launch hands a PDF and a bundle over to the running one;
# then the picture is exported to the desktop with Return; last, an area of it is redacted in
# the image-edit session and the result exported. Processes are stopped by PID.
# usage: editor_draws_and_saves.sh path/to/vellumix path/to/pixel_probe
set -euo pipefail
APP=$1
PROBE=$2
source "$(dirname "$0")/session.sh"
start_xvfb 1440x900

# A white 400 × 300 picture.
"$PROBE" --white 400 300 "$WORK/shot.png"

# Drags over the annotated picture from image pixel (40, 40) to (160, 130) in a running capture;
# the new editor's image must hold exactly those pixels, the rectangle's red edge 10 pixels in.
drag_and_expect_capture() {
  drag_image 40 40 160 130
  sleep 1
  expect_pixels "$1" "$(newest_bundle)/image.png" "120x90 #ffffffff #e01b24ff #e01b24ff" \
    5 5 10 10 10 45
}

# The newest history bundle must hold exactly the drawn rectangle.
expect_saved_rectangle() {
  local newest
  newest=$(newest_bundle)
  [ -n "$newest" ] || fail "no history bundle was made ($1)"
  local json
  json=$(cat "$newest/annotations.json" 2>/dev/null) || fail "no annotations.json ($1)"
  echo "$json" | grep -q '^\[{"type":"shape","shape":"rect","rect":\[70,70,100,70\][^{]*}\]$' ||
    fail "annotations.json does not hold the drawn rectangle ($1): $json"
  echo "PASS ($1): $json"
}

# Closed with Ctrl+W.
open_and_draw "$WORK/shot.png"
xdotool key ctrl+w
wait_for_no_editor
expect_saved_rectangle "closed with Ctrl+W"
stop_app

# Ended by the session (SIGTERM), window still open: nothing is lost either.
open_and_draw "$WORK/shot.png"
kill -TERM "$APP_PID"
timeout 10 tail --pid="$APP_PID" -f /dev/null || fail "the app did not quit on SIGTERM"
APP_PID=""
expect_saved_rectangle "quit by SIGTERM"

# Quit with Ctrl+Q in the editor, as the tray's Quit does: the window's closing save runs.
sleep 1.1
open_and_draw "$WORK/shot.png"
xdotool key ctrl+q
timeout 10 tail --pid="$APP_PID" -f /dev/null || fail "the app did not quit on Ctrl+Q"
APP_PID=""
expect_saved_rectangle "quit with Ctrl+Q"

# Copied with Ctrl+Shift+C (the window then closes): the app keeps serving the clipboard.
open_and_draw "$WORK/shot.png"
xdotool key ctrl+shift+c
wait_for_no_editor
timeout 10 xclip -selection clipboard -t image/png -o >"$WORK/pasted.png" ||
  fail "the clipboard holds no PNG"
expect_pixels copied "$WORK/pasted.png" "400x300 #e01b24ff #ffffffff #ffffffff" 50 85 100 85 10 10

stop_app

# Captured with `vellumix --capture` (a second launch asks the running one): a drag over the
# annotated picture from image pixel (40, 40) to (160, 130) gives a new editor whose image holds
# exactly those pixels, the rectangle's red edge 10 pixels in.
open_and_draw "$WORK/shot.png"
xdotool mousemove 5 5
sleep 0.3
# With a session bus this launch hands the request over and ends; without one it captures itself.
"$APP" --capture >>"$WORK/app.log" 2>&1 &
SECOND_PID=$!
sleep 1.5
drag_and_expect_capture "captured"

# Captured through the tray: a click on the icon opens the status menu, whose first item is
# "Capture"; the same drag must give the same pixels.
stop_app
start_tray
open_and_draw "$WORK/shot.png"
open_status_menu
xdotool key Down Return
sleep 1
drag_and_expect_capture "captured from the tray menu"

# A later launch hands a PDF and a project bundle to the running Vellumix and ends: the PDF's
# first page opens at 144 dpi on white (595 × 842 pt: 1190 × 1684, its blue box where it
# belongs), the bundle opens as it is, and no second Vellumix keeps running.
echo 'JVBERi0xLjQKMSAwIG9iago8PCAvVHlwZSAvQ2F0YWxvZyAvUGFnZXMgMiAwIFIgPj4KZW5kb2JqCjIgMCBvYmoKPDwgL1R5cGUgL1BhZ2VzIC9LaWRzIFszIDAgUl0gL0NvdW50IDEgPj4KZW5kb2JqCjMgMCBvYmoKPDwgL1R5cGUgL1BhZ2UgL1BhcmVudCAyIDAgUiAvTWVkaWFCb3ggWzAgMCA1OTUgODQyXSAvQ29udGVudHMgNCAwIFIgPj4KZW5kb2JqCjQgMCBvYmoKPDwgL0xlbmd0aCAyOSA+PgpzdHJlYW0KMCAwIDEgcmcgMTAwIDYwMCAyMDAgMTAwIHJlIGYKZW5kc3RyZWFtCmVuZG9iagp4cmVmCjAgNQowMDAwMDAwMDAwIDY1NTM1IGYgCjAwMDAwMDAwMDkgMDAwMDAgbiAKMDAwMDAwMDA1OCAwMDAwMCBuIAowMDAwMDAwMTE1IDAwMDAwIG4gCjAwMDAwMDAyMDIgMDAwMDAgbiAKdHJhaWxlcgo8PCAvU2l6ZSA1IC9Sb290IDEgMCBSID4+CnN0YXJ0eHJlZgoyODEKJSVFT0YK' | base64 -d >"$WORK/page.pdf"
FIRST_BUNDLE=$(bundles_by_creation | head -1)
WINDOWS_BEFORE=$(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' | wc -l)
"$APP" "$WORK/page.pdf" "$FIRST_BUNDLE" >>"$WORK/app.log" 2>&1 &
SECOND_PID=$!
timeout 10 tail --pid="$SECOND_PID" -f /dev/null || fail "the second launch did not hand over and end"
SECOND_PID=""
for _ in $(seq 1 100); do
  WINDOWS_AFTER=$(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' | wc -l)
  [ "$WINDOWS_AFTER" -ge $((WINDOWS_BEFORE + 2)) ] && break
  sleep 0.1
done
[ "$WINDOWS_AFTER" -eq $((WINDOWS_BEFORE + 2)) ] ||
  fail "expected two more editor windows, found $WINDOWS_BEFORE then $WINDOWS_AFTER"
expect_pixels "handed over" "$(newest_bundle)/image.png" "1190x1684 #ffffffff #0000ffff" \
  50 50 400 380

# Exported with Return, which runs the save button's default action, "Export to Desktop": the
# PNG on the desktop holds the annotated picture, and the window closes after saving.
stop_app
mkdir -p "$HOME/Desktop"
open_and_draw "$WORK/shot.png"
xdotool key Return
EXPORTED=$(wait_for_export)
[ -n "$EXPORTED" ] || fail "nothing was exported to the desktop"
expect_pixels exported "$EXPORTED" "400x300 #e01b24ff #ffffffff #ffffffff" 50 85 100 85 10 10

# Redacted in the image-edit session, then exported: E opens the session, a click on "Redact"
# (the first control of the second bar, at window point (38, 61)) starts the mode, a drag marks
# image pixels (200, 150) to (300, 250), Return applies, and Return again exports. The exported
# PNG is solid black there, while the rectangle drawn before is untouched.
rm -f "$HOME"/Desktop/Vellumix-*.png
open_and_draw "$WORK/shot.png"
xdotool key e
sleep 0.3
xdotool mousemove $((X + 38)) $((Y + 61)) click 1
sleep 0.3
drag_image 200 150 300 250
sleep 0.3
xdotool key Return
sleep 0.5
xdotool key Return
EXPORTED=$(wait_for_export)
[ -n "$EXPORTED" ] || fail "nothing was exported after redacting"
expect_pixels redacted "$EXPORTED" "400x300 #000000ff #000000ff #000000ff #ffffffff #e01b24ff" \
  201 151 250 200 299 249 305 200 50 85
