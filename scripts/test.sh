#!/usr/bin/env bash
# Sets up, builds and runs every test headless: no display, no session bus, no network needed.
# Extra arguments go to ctest (for example -R AnnotationID).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh

export QT_QPA_PLATFORM=offscreen
unset DISPLAY WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS

# A private session bus with an unlocked throw-away keyring, and throw-away XDG folders.
dbus-run-session -- bash scripts/with-test-session.sh \
  ctest --test-dir "${VELLUMIX_BUILD_DIR:-build}" --output-on-failure --parallel "$(nproc)" "$@"

# Every fuzzer, built with clang, runs briefly from its seeds: a parser that stops compiling or
# starts crashing fails here. Only with the whole suite (no ctest filter); long runs are
# scripts/fuzz.sh's.
if [ $# -eq 0 ] && [ -z "${VELLUMIX_SKIP_FUZZ:-}" ]; then
  FUZZ_SEEDS_ONLY=1 bash scripts/fuzz.sh "${VELLUMIX_FUZZ_SECONDS:-20}"
fi
