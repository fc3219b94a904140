#!/usr/bin/env bash
# Fuzzes with libFuzzer (clang, ASan and UBSan) for a fixed time: the annotations.json reader
# and the model-answer path (directives → commands → canvas), and the cloud model's answers.
# usage: bash scripts/fuzz.sh [seconds] [annotations|directives|gemini]
#        (default 60 seconds each, every target; findings land in build-fuzz/findings)
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
SECONDS_TO_RUN=${1:-60}
BUILD_DIR=build-fuzz
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  CC=clang-14 CXX=clang++-14 cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELLUMIX_BUILD_TESTS=OFF -DVELLUMIX_BUILD_BENCHMARKS=OFF -DVELLUMIX_BUILD_FUZZERS=ON \
    -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined"
fi
TARGETS=${2:-annotations directives gemini}
export QT_QPA_PLATFORM=offscreen
for target in $TARGETS; do
  corpus_source=fuzz/corpus
  [ "$target" = directives ] && corpus_source=fuzz/corpus-directives
  [ "$target" = gemini ] && corpus_source=fuzz/corpus-gemini
  cmake --build "$BUILD_DIR" --target "${target}_fuzzer"
  mkdir -p "$BUILD_DIR/corpus-$target" "$BUILD_DIR/findings"
  cp -n "$corpus_source"/* "$BUILD_DIR/corpus-$target/" 2>/dev/null || true
  "$BUILD_DIR/bin/${target}_fuzzer" "$BUILD_DIR/corpus-$target" \
    -artifact_prefix="$BUILD_DIR/findings/$target-" -max_total_time="$SECONDS_TO_RUN" \
    -max_len=65536 -timeout=10 -rss_limit_mb=4096
done
