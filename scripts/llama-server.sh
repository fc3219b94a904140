#!/usr/bin/env bash
# Prints the path of a llama-server, llama.cpp's OpenAI-compatible server, which the local model
# client's tests run against. It is built once per machine from the llama.cpp sources that the
# npm package node-llama-cpp carries (llama.cpp itself is not packaged in Debian 12), and cached
# outside the source tree; later runs only print the path. Build output goes to standard error.
# Needs npm, git, cmake, ninja and a C++ compiler (scripts/setup.sh installs them).
set -euo pipefail

VERSION=3.22.1
CACHE=${VELLUMIX_CACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/vellumix}
DEST="$CACHE/llama-server-$VERSION"
BINARY="$DEST/llama-server"

if [ -x "$BINARY" ]; then
  echo "$BINARY"
  exit 0
fi

mkdir -p "$CACHE"
# Two test runs starting at once build it once.
exec 9>"$CACHE/llama-server.lock"
flock 9
if [ -x "$BINARY" ]; then
  echo "$BINARY"
  exit 0
fi

# A fixed place, so that ccache recognises the sources when the cache has been emptied.
WORK="$CACHE/llama-server-build"
rm -rf "$WORK"
mkdir -p "$WORK"
trap 'rm -rf "$WORK"' EXIT

{
  echo "[llama-server] building llama-server from node-llama-cpp $VERSION (once per machine)"
  start=$(date +%s)
  cd "$WORK"
  npm pack --silent "node-llama-cpp@$VERSION" >/dev/null
  tar -xzf "node-llama-cpp-$VERSION.tgz" package/llama/gitRelease.bundle
  git clone --quiet package/llama/gitRelease.bundle src 2>/dev/null

  launcher=()
  if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  fi
  # The server alone, statically linked, for any x86-64, at -O1 (the tests' model is tiny, so
  # build time matters more than speed: -O1 builds in 60% of -O3's time, and the tests take a
  # few seconds longer): no HTTPS, web UI, tests, examples or OpenMP.
  cmake -S src -B build -G Ninja -Wno-dev "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS_RELEASE="-O1 -DNDEBUG" \
    -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" -DBUILD_SHARED_LIBS=OFF \
    -DGGML_NATIVE=OFF -DGGML_OPENMP=OFF \
    -DLLAMA_OPENSSL=OFF -DLLAMA_BUILD_UI=OFF -DLLAMA_USE_PREBUILT_UI=OFF \
    -DLLAMA_BUILD_TESTS=OFF -DLLAMA_BUILD_EXAMPLES=OFF -DLLAMA_BUILD_APP=OFF >/dev/null
  cmake --build build --target llama-server --parallel "$(nproc)" | grep -v '^\[' || true
  test -x build/bin/llama-server

  mkdir -p "$DEST.partial"
  cp build/bin/llama-server "$DEST.partial/"
  rm -rf "$DEST"
  mv "$DEST.partial" "$DEST"
  echo "[llama-server] built in $(( $(date +%s) - start )) s: $BINARY"
} >&2

echo "$BINARY"
