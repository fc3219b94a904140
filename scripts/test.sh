#!/usr/bin/env bash
# Sets up, builds and runs every test headless: no display and no session bus needed. The network
# is needed once per machine, to fetch the sources of the real llama-server the local model tests
# run against (scripts/llama-server.sh caches it). Extra arguments go to ctest (for example
# -R AnnotationID).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh

# Here the real server must be there: its tests fail rather than skip without it.
VELLUMIX_LLAMA_SERVER=$(bash scripts/llama-server.sh)
export VELLUMIX_LLAMA_SERVER VELLUMIX_REQUIRE_LLAMA_SERVER=1

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
