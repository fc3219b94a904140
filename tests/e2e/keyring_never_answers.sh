#!/usr/bin/env bash
# A Secret Service that takes calls and never answers (as one that is slow to start): the app,
# opened with a picture, must map its editor window without waiting for it. Before, the first
# window waited up to 10 s for the keyring.
# usage: keyring_never_answers.sh path/to/vellumix path/to/silent_secret_service path/to/pixel_probe
set -euo pipefail
if [ -z "${VELLUMIX_E2E_OWN_BUS:-}" ]; then
  VELLUMIX_E2E_OWN_BUS=1 exec dbus-run-session -- bash "$0" "$@"
fi
APP=$1
SILENT=$2
PROBE=$3
source "$(dirname "$0")/session.sh"
start_xvfb 1440x900
"$PROBE" --white 400 300 "$WORK/shot.png"

exec 3< <(exec "$SILENT")
SILENT_PID=$!
read -r _ <&3 || fail "the stand-in Secret Service did not start"
trap 'stop "$SILENT_PID"; cleanup' EXIT

START=$(date +%s%N)
start_app "$WORK/shot.png"
timeout 20 xdotool search --sync --onlyvisible --pid "$APP_PID" --name '^Vellumix$' >/dev/null ||
  fail "no editor window appeared"
MS=$((($(date +%s%N) - START) / 1000000))
# Well under the search's 2 s timeout, with room for a loaded machine's cold start.
[ "$MS" -lt 1800 ] || fail "the editor window took $MS ms to map while the keyring hangs"
echo "PASS: the editor window mapped after $MS ms while the keyring never answers"
