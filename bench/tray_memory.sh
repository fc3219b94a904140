#!/usr/bin/env bash
# On demand: the tray process's memory through a day's use. The real app runs on its own Xvfb;
# CYCLES times (default 200) a 1920 × 1080 picture is opened in it (handed over by a second
# launch, as from a file manager), a rectangle drawn, and the window closed with Ctrl+W.
# Prints RSS (KiB) at start, 5 s after cycle 50, at the peak, after the last cycle, and 5 s
# after the last window closed, plus the median time from hand-over to the editor mapped.
# usage: bench/tray_memory.sh build/bin/vellumix build/bin/pixel_probe [CYCLES]
set -euo pipefail
APP=$(realpath "$1")
PROBE=$(realpath "$2")
CYCLES=${3:-200}
source "$(dirname "$0")/../tests/e2e/session.sh"
start_xvfb 1920x1080
"$PROBE" --white 1920 1080 "$WORK/full-hd.png"
# A panel with a tray, so the app idles as a tray icon (with no tray its home window would stay
# on screen and be measured too).
start_tray
sleep 1

rss() { awk '/^VmRSS/ {print $2}' "/proc/$APP_PID/status"; }
# The app's visible editor windows: named "Vellumix" and wider than the tray icon.
editors() {
  local w
  for w in $(xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' 2>/dev/null); do
    eval "$(xdotool getwindowgeometry --shell "$w" | sed 's/^/E_/')"
    if [ "$E_WIDTH" -gt 200 ]; then echo "$w"; fi
  done
}
"$APP" >"$WORK/app.log" 2>&1 &
APP_PID=$!
sleep 3
[ -z "$(editors)" ] || fail "a window other than the tray icon is open at start"
START=$(rss)
# RSS per mapping (KiB), for SHOW_SMAPS's account of what the cycles added.
by_mapping() { awk '/^[0-9a-f]+-/ {name=$6; if (name == "") name="[anon]"} /^Rss/ {r[name]+=$2} END {for (n in r) print n, r[n]}' "/proc/$APP_PID/smaps" | sort; }
[ -n "${SHOW_SMAPS:-}" ] && by_mapping >"$WORK/smaps-start"
PEAK=$START
AT50=""
TIMES=()
LOST=0
for i in $(seq 1 "$CYCLES"); do
  t0=$(date +%s%N)
  "$APP" "$WORK/full-hd.png" >>"$WORK/app.log" 2>&1
  W=""
  for _ in $(seq 1 400); do W=$(editors | head -1); [ -n "$W" ] && break; sleep 0.025; done
  [ -n "$W" ] || fail "cycle $i: no editor window appeared"
  TIMES+=($(( ($(date +%s%N) - t0) / 1000000 )))
  eval "$(xdotool getwindowgeometry --shell "$W")"
  # Close with Ctrl+W as a person does; a key sent before the window had the focus is pressed
  # again (and counted), so every cycle really ends with its window closed.
  for attempt in 1 2 3; do
    xdotool windowfocus "$W" 2>/dev/null || true
    [ "$attempt" -eq 1 ] && xdotool key r mousemove $((X + 300)) $((Y + 300)) mousedown 1 \
      mousemove $((X + 400)) $((Y + 380)) mouseup 1
    xdotool key ctrl+w
    for _ in $(seq 1 100); do
      xwininfo -id "$W" 2>/dev/null | grep -q IsViewable || break 2
      sleep 0.05
    done
    LOST=$((LOST + 1))
  done
  [ -z "$(editors)" ] || fail "cycle $i: an editor window stayed open"
  now=$(rss)
  [ "$now" -gt "$PEAK" ] && PEAK=$now
  if [ "$i" -eq 50 ]; then
    # Measured as at the end, 5 s after the window closed, so the two compare.
    sleep 5
    AT50=$(rss)
    [ -n "${SHOW_SMAPS:-}" ] && by_mapping >"$WORK/smaps-50"
  fi
done
END=$(rss)
sleep 5
IDLE=$(rss)
[ -n "${SHOW_SMAPS:-}" ] && { grep -E "^(Rss|Pss|Anonymous|Shared_Clean|Private_Dirty)" /proc/$APP_PID/smaps_rollup; for since in start 50; do [ -f "$WORK/smaps-$since" ] || continue; echo "grown since $since (KiB):"; by_mapping | join -a1 -e0 -o 0,1.2,2.2 - "$WORK/smaps-$since" | awk '$2 - $3 > 100 || $3 == 0 {print $2 - $3, $1}' | sort -rn | head -40; done; }
# MALLOC_STATS=1: the allocator's own account of each arena (needs gdb), for finding what stays.
[ -n "${MALLOC_STATS:-}" ] && { gdb -p "$APP_PID" -batch -ex 'call (void) malloc_stats()' >/dev/null 2>&1; grep -A3 -E '^(Arena|Total)' "$WORK/app.log" | grep -v '^--'; }
MEDIAN=$(printf '%s\n' "${TIMES[@]}" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}')
echo "cycles=$CYCLES rss_kib start=$START at50=${AT50:-n/a} peak=$PEAK end=$END idle5s=$IDLE" \
  "ratio_idle=$(awk "BEGIN {printf \"%.2f\", $IDLE / $START}") open_median_ms=$MEDIAN ctrl_w_repeated=$LOST"
