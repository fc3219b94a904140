#!/usr/bin/env bash
# On demand: the tray process's memory through a day's use. The real app runs on its own Xvfb;
# CYCLES times (default 200) a 1920 × 1080 picture is opened in it (handed over by a second
# launch, as from a file manager), a rectangle drawn, and the window closed with Ctrl+W.
# Prints RSS (KiB) at start, after cycle 50, at the peak, after the last cycle, and 5 s after
# the last window closed, plus the median time from hand-over to the editor mapped.
# usage: bench/tray_memory.sh build/bin/vellumix build/bin/pixel_probe [CYCLES]
set -euo pipefail
APP=$(realpath "$1")
PROBE=$(realpath "$2")
CYCLES=${3:-200}
source "$(dirname "$0")/../tests/e2e/session.sh"
start_xvfb 1920x1080
"$PROBE" --white 1920 1080 "$WORK/full-hd.png"

rss() { awk '/^VmRSS/ {print $2}' "/proc/$APP_PID/status"; }
"$APP" >"$WORK/app.log" 2>&1 &
APP_PID=$!
sleep 3
START=$(rss)
PEAK=$START
AT50=""
TIMES=()
for i in $(seq 1 "$CYCLES"); do
  t0=$(date +%s%N)
  "$APP" "$WORK/full-hd.png" >>"$WORK/app.log" 2>&1
  W=$(timeout 20 xdotool search --sync --onlyvisible --pid "$APP_PID" --name '^Vellumix$' | head -1)
  TIMES+=($(( ($(date +%s%N) - t0) / 1000000 )))
  xdotool windowfocus "$W" 2>/dev/null || true
  eval "$(xdotool getwindowgeometry --shell "$W")"
  xdotool key r mousemove $((X + 300)) $((Y + 300)) mousedown 1 mousemove $((X + 400)) $((Y + 380)) mouseup 1
  xdotool key ctrl+w
  for _ in $(seq 1 100); do
    xdotool search --onlyvisible --pid "$APP_PID" --name '^Vellumix$' >/dev/null 2>&1 || break
    sleep 0.05
  done
  now=$(rss)
  [ "$now" -gt "$PEAK" ] && PEAK=$now
  [ "$i" -eq 50 ] && AT50=$now
done
END=$(rss)
sleep 5
IDLE=$(rss)
[ -n "${SHOW_SMAPS:-}" ] && { awk '/^[0-9a-f]+-/ {name=$6; range=$1} /^Rss/ {if ($2 > 2000) print $2, range, name}' /proc/$APP_PID/smaps; grep -E "^(Rss|Pss|Anonymous|Shared_Clean|Private_Dirty)" /proc/$APP_PID/smaps_rollup; awk '/^[0-9a-f]+-/ {name=$6} /^Rss/ {r[name]+=$2} END {for (n in r) if (r[n] > 500) print r[n], n}' /proc/$APP_PID/smaps | sort -rn | head -40; }
# MALLOC_STATS=1: the allocator's own account of each arena (needs gdb), for finding what stays.
[ -n "${MALLOC_STATS:-}" ] && { gdb -p "$APP_PID" -batch -ex 'call (void) malloc_stats()' >/dev/null 2>&1; grep -A3 -E '^(Arena|Total)' "$WORK/app.log" | grep -v '^--'; }
MEDIAN=$(printf '%s\n' "${TIMES[@]}" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}')
echo "cycles=$CYCLES rss_kib start=$START at50=${AT50:-n/a} peak=$PEAK end=$END idle5s=$IDLE" \
  "ratio_idle=$(awk "BEGIN {printf \"%.2f\", $IDLE / $START}") open_median_ms=$MEDIAN"
