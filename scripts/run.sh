#!/usr/bin/env bash
# Sets up, builds and launches Vellumix. Extra arguments are handed to the app (files to open).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh
# Tesseract's OpenMP threads slow recognition down on small images; the limit must be in the
# environment before the process starts.
export OMP_THREAD_LIMIT=${OMP_THREAD_LIMIT:-1}
exec "${VELLUMIX_BUILD_DIR:-build}/bin/vellumix" "$@"
