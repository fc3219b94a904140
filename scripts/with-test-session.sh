#!/usr/bin/env bash
# Runs a command inside a private session for the tests: a throw-away HOME and XDG folders, and
# a gnome-keyring Secret Service unlocked with a throw-away password. Meant to run under
# dbus-run-session, which owns the private session bus; the keyring daemon started here is
# stopped here by its PID.
set -euo pipefail

TEST_HOME=$(mktemp -d)
export HOME="$TEST_HOME"
export XDG_CONFIG_HOME="$TEST_HOME/.config" XDG_DATA_HOME="$TEST_HOME/.local/share"
export XDG_CACHE_HOME="$TEST_HOME/.cache" XDG_RUNTIME_DIR="$TEST_HOME/run"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
mkdir -m 700 "$XDG_RUNTIME_DIR"

KEYRING_PID=""
cleanup() {
  if [ -n "$KEYRING_PID" ]; then
    kill "$KEYRING_PID" 2>/dev/null || true
    wait "$KEYRING_PID" 2>/dev/null || true
  fi
  rm -rf "$TEST_HOME"
}
trap cleanup EXIT

printf 'vellumix-tests' | gnome-keyring-daemon --foreground --unlock --components=secrets \
  >/dev/null 2>&1 &
KEYRING_PID=$!

# Wait (at most 10 s) until the Secret Service is on the bus.
for _ in $(seq 1 100); do
  if gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
       --method org.freedesktop.DBus.NameHasOwner org.freedesktop.secrets 2>/dev/null |
     grep -q true; then
    export VELLUMIX_TEST_KEYRING=1
    break
  fi
  sleep 0.1
done
if [ -z "${VELLUMIX_TEST_KEYRING:-}" ]; then
  echo "[tests] the Secret Service did not start; keychain tests will fail" >&2
  export VELLUMIX_TEST_KEYRING=missing
fi

"$@"
