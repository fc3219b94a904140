#!/usr/bin/env bash
# Fuzzes with libFuzzer (clang, ASan and UBSan) for a fixed time per target, starting from the
# seeds in fuzz/corpus/<target>/. Targets: annotations (annotations.json), directives (model
# directives → canvas), gemini (cloud answers), localmodel (local server answers, plain and
# streamed), settings (defaults.json, styles.json, presets.json), opening (files to open),
# analysis (image analyses read from JSON).
# usage: bash scripts/fuzz.sh [seconds] [target…]
#        (default 60 seconds each, every target; findings land in build-fuzz/findings)
#        FUZZ_SEEDS_ONLY=1 starts each run from a fresh copy of the seeds and keeps nothing, as
#        the test command does.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
SECONDS_TO_RUN=${1:-60}
shift || true
TARGETS=${*:-annotations directives gemini localmodel settings opening analysis}
BUILD_DIR=${VELLUMIX_FUZZ_BUILD_DIR:-build-fuzz}
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  CC=clang-14 CXX=clang++-14 cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELLUMIX_BUILD_TESTS=OFF -DVELLUMIX_BUILD_BENCHMARKS=OFF -DVELLUMIX_BUILD_FUZZERS=ON \
    -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined"
fi
# Only the fuzzers and the core library they link; the UI is never built here.
cmake --build "$BUILD_DIR" --target $(printf '%s_fuzzer ' $TARGETS)

export QT_QPA_PLATFORM=offscreen
# The settings and opening targets write a file per input; memory-backed scratch keeps them fast.
if [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
mkdir -p "$BUILD_DIR/findings"
for target in $TARGETS; do
  corpus="$BUILD_DIR/corpus-$target"
  if [ -n "${FUZZ_SEEDS_ONLY:-}" ]; then rm -rf "$corpus"; fi
  mkdir -p "$corpus"
  cp fuzz/corpus/"$target"/* "$corpus"/
  echo "[fuzz] $target for ${SECONDS_TO_RUN}s"
  log="$BUILD_DIR/findings/$target.log"
  if ! "$BUILD_DIR/bin/${target}_fuzzer" "$corpus" \
    -artifact_prefix="$BUILD_DIR/findings/$target-" -max_total_time="$SECONDS_TO_RUN" \
    -max_len=65536 -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 >"$log" 2>&1; then
    tail -n 80 "$log"
    echo "[fuzz] $target FAILED (input in $BUILD_DIR/findings)"
    exit 1
  fi
  grep -E '^stat::(number_of_executed_units|new_units_added)' "$log" | tr '\n' ' '
  echo
  if [ -n "${FUZZ_SEEDS_ONLY:-}" ]; then rm -rf "$corpus"; fi
done
