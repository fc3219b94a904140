#!/usr/bin/env bash
# On demand, never in CI: Vellumix side by side with the screenshot tools a Linux user would
# pick instead, Flameshot and ksnip as Debian packages them. Install them first on the machine
# that runs this (they are deliberately not in scripts/setup.sh):
#   sudo apt-get install --no-install-recommends flameshot ksnip
# Everything runs on one 2560 × 1440 Xvfb with an XEmbed tray (trayer), on a private session bus
# and in a throw-away home. Each of RUNS rounds starts every app fresh and measures them one
# after the other, the order alternating between rounds; window maps and finished PNG files
# are timed by window_watch, from the X server's and the file system's side. At the end it
# prints the median of every figure and Vellumix's ratio to each peer:
#   trigger → overlay   a capture asked of the running app (Vellumix: `vellumix --capture`,
#                       Flameshot: `flameshot gui`; ksnip has no resident process: `ksnip -r`
#                       cold) until its full-screen overlay window is mapped
#   release → PNG       the selection made (mouse release; Flameshot: Return) until the
#                       picture is complete on disk (Vellumix: its history bundle's image.png)
#   release → editor    Vellumix only: the selection made until its editor window maps
#   file → editor       a cold process opened with a 5120 × 2880 picture until its window maps
#   tray RSS / PSS      the resident process 5 s after start, idle (KiB)
#   5K RSS / PSS        the process with the 5120 × 2880 picture open, 3 s after its window
#                       mapped (KiB)
# usage: bench/peers/run.sh build/bin/vellumix build/bin/window_watch build/bin/pixel_probe [RUNS]
set -euo pipefail
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$(realpath "$1")
WATCH=$(realpath "$2")
PROBE=$(realpath "$3")
RUNS=${4:-5}
for tool in flameshot ksnip; do
  command -v "$tool" >/dev/null || { echo "$tool is not installed (see the top of $0)" >&2; exit 2; }
done
source "$(dirname "$0")/../../tests/e2e/session.sh"
start_xvfb 2560x1440
start_tray
FIGURES=$WORK/figures
mkdir -p "$FIGURES" "$WORK/fs" "$WORK/ks"
"$PROBE" gradient "$WORK/5k.png" 5120 2880
mkdir -p "$XDG_CONFIG_HOME/flameshot"
cat >"$XDG_CONFIG_HOME/flameshot/flameshot.ini" <<INI
[General]
showHelp=false
showStartupLaunchMessage=false
showDesktopNotification=false
startupLaunch=false
savePath=$WORK/fs
savePathFixed=true
INI

record() { echo "$3" >>"$FIGURES/$1.$2"; } # record FIGURE APP VALUE
memory() { # memory FIGURE APP PID: RSS and PSS from smaps_rollup
  record "$1-rss" "$2" "$(awk '/^Rss:/ {print $2}' "/proc/$3/smaps_rollup")"
  record "$1-pss" "$2" "$(awk '/^Pss:/ {print $2}' "/proc/$3/smaps_rollup")"
}
kill_pid() { kill "$1" 2>/dev/null || true; for _ in $(seq 1 50); do kill -0 "$1" 2>/dev/null || break; sleep 0.05; done; }
timed() { # timed FIGURE APP WATCH-ARGS...: records the milliseconds; sets WATCHED_PID
  local figure=$1 app=$2 out ms
  shift 2
  out=$("$WATCH" "$@") || true
  WATCHED_PID=${out#* }
  ms=${out%% *}
  record "$figure" "$app" "$([ "$ms" = timeout ] && echo NA || echo "$ms")"
}
drag() {
  xdotool mousemove 200 200 mousedown 1 mousemove 900 600 mousemove 1800 1100
  sleep 0.2
}
close_editors() { # closes the windows a capture opened in the running Vellumix
  local w
  for w in $(xdotool search --onlyvisible --pid "$1" --name '^Vellumix$' 2>/dev/null); do
    xdotool windowfocus "$w" key ctrl+w 2>/dev/null || true
  done
  sleep 0.5
}

vellumix_round() {
  "$APP" >/dev/null 2>&1 &
  local pid=$!
  sleep 5
  memory tray vellumix "$pid"
  timed trigger vellumix map 2560 1440 10000 -- "$APP" --capture
  sleep 0.5
  drag
  timed capture vellumix file "$XDG_DATA_HOME/Vellumix/*.vellumix/image.png" 10000 -- xdotool mouseup 1
  sleep 1
  close_editors "$pid"
  # Vellumix alone: a second capture, timed until its editor window maps.
  "$APP" --capture
  sleep 1
  drag
  timed editor vellumix map 600 400 10000 -- xdotool mouseup 1
  sleep 1
  close_editors "$pid"
  kill_pid "$pid"
  timed open vellumix map 600 400 20000 -- "$APP" "$WORK/5k.png"
  pid=$WATCHED_PID
  sleep 3
  memory 5k vellumix "$pid"
  kill_pid "$pid"
}

flameshot_round() {
  flameshot >/dev/null 2>&1 &
  local pid=$!
  sleep 5
  memory tray flameshot "$pid"
  timed trigger flameshot map 2560 1440 10000 -- flameshot gui -p "$WORK/fs"
  sleep 0.5
  drag
  xdotool mouseup 1
  sleep 0.3
  timed capture flameshot file "$WORK/fs/*.png" 10000 -- xdotool key Return
  sleep 0.5
  kill_pid "$pid"
}

ksnip_round() {
  timed trigger ksnip map 2560 1440 10000 -- ksnip -r -p "$WORK/ks/shot-$1.png"
  local pid=$WATCHED_PID
  sleep 0.5
  drag
  timed capture ksnip file "$WORK/ks/*.png" 10000 -- xdotool mouseup 1
  sleep 0.5
  kill_pid "$pid"
  timed open ksnip map 600 400 20000 -- ksnip "$WORK/5k.png"
  pid=$WATCHED_PID
  sleep 3
  memory 5k ksnip "$pid"
  kill_pid "$pid"
}

for round in $(seq 1 "$RUNS"); do
  if [ $((round % 2)) -eq 1 ]; then
    vellumix_round; flameshot_round; ksnip_round "$round"
  else
    ksnip_round "$round"; flameshot_round; vellumix_round
  fi
  echo "round $round of $RUNS done" >&2
done

median() {
  if [ -f "$1" ]; then
    { grep -v NA "$1" || true; } | sort -n | awk '{a[NR]=$1} END {print NR ? a[int((NR+1)/2)] : "NA"}'
  else
    echo "-"
  fi
}
printf '%-18s %10s %10s %10s %12s %12s\n' figure vellumix flameshot ksnip vs_flameshot vs_ksnip
for figure in trigger capture editor open tray-rss tray-pss 5k-rss 5k-pss; do
  v=$(median "$FIGURES/$figure.vellumix")
  f=$(median "$FIGURES/$figure.flameshot")
  k=$(median "$FIGURES/$figure.ksnip")
  ratio() { [[ "$1" =~ ^[0-9.]+$ && "$2" =~ ^[0-9.]+$ ]] && awk "BEGIN {printf \"%.2f\", $1 / $2}" || echo "-"; }
  printf '%-18s %10s %10s %10s %12s %12s\n' "$figure" "$v" "$f" "$k" "$(ratio "$v" "$f")" "$(ratio "$v" "$k")"
done
echo "(ms for trigger, capture, editor and open; KiB for memory; $RUNS rounds, medians)"
