#!/usr/bin/env bash
# Sets up, builds and runs every test headless: no display, no session bus, no network needed.
# Extra arguments go to ctest (for example -R AnnotationID).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh

export QT_QPA_PLATFORM=offscreen
unset DISPLAY WAYLAND_DISPLAY
# Tests get their own runtime folder instead of Qt's warning about a missing one.
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR
trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT

ctest --test-dir "${VELLUMIX_BUILD_DIR:-build}" --output-on-failure --parallel "$(nproc)" "$@"
