#!/usr/bin/env bash
# Fuzzes the annotations.json reader with libFuzzer (clang, ASan and UBSan) for a fixed time.
# usage: bash scripts/fuzz.sh [seconds]   (default 60; findings land in build-fuzz/findings)
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
cmake --build "$BUILD_DIR" --target annotations_fuzzer
mkdir -p "$BUILD_DIR/corpus" "$BUILD_DIR/findings"
cp -n fuzz/corpus/* "$BUILD_DIR/corpus/" 2>/dev/null || true
export QT_QPA_PLATFORM=offscreen
"$BUILD_DIR/bin/annotations_fuzzer" "$BUILD_DIR/corpus" -artifact_prefix="$BUILD_DIR/findings/" \
  -max_total_time="$SECONDS_TO_RUN" -max_len=65536 -timeout=10 -rss_limit_mb=4096
