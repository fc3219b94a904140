#!/usr/bin/env bash
# Installs the build into a temporary prefix, checks that every file is where the freedesktop
# specifications (and man, bash-completion) look for it and that the desktop file and the
# AppStream metadata validate, then runs the installed vellumix-bundle: it must find its
# modules in the installed tree and make and render a bundle.
# usage: installed_layout.sh BUILD_DIR LIBDIR PIXEL_PROBE
set -euo pipefail
BUILD=$1
LIBDIR=$2
PROBE=$3
PREFIX=$(mktemp -d)
trap 'rm -rf "$PREFIX"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$BUILD" --prefix "$PREFIX" >/dev/null

expected=(
  bin/vellumix
  bin/vellumix-bundle
  "$LIBDIR/vellumix/libvellumix-pdf.so"
  "$LIBDIR/vellumix/libvellumix-imaging.so"
  "$LIBDIR/vellumix/libvellumix-vision.so"
  "$LIBDIR/vellumix/libvellumix-codecs.so"
  "$LIBDIR/vellumix/libvellumix-assistant.so"
  share/applications/vellumix.desktop
  share/mime/packages/vellumix.xml
  share/metainfo/app.vellumix.Vellumix.metainfo.xml
  share/icons/hicolor/scalable/apps/vellumix.svg
  share/man/man1/vellumix.1.gz
  share/man/man1/vellumix-bundle.1.gz
  share/doc/vellumix/copyright
  share/doc/vellumix/changelog.gz
  share/bash-completion/completions/vellumix-bundle
)
for size in 16 22 24 32 48 64 128 256; do
  expected+=("share/icons/hicolor/${size}x${size}/apps/vellumix.png")
done
for file in "${expected[@]}"; do
  [ -s "$PREFIX/$file" ] || fail "not installed: $file"
done
echo "PASS: ${#expected[@]} files where they belong"

# Each PNG icon has the size of its folder.
for size in 16 48 256; do
  got=$("$PROBE" "$PREFIX/share/icons/hicolor/${size}x${size}/apps/vellumix.png" | head -1)
  [ "$got" = "${size}x${size}" ] || fail "the ${size}x${size} icon is $got"
done

desktop-file-validate "$PREFIX/share/applications/vellumix.desktop" | grep -v '^.*: hint:' && fail "desktop file"
appstreamcli validate --no-net "$PREFIX/share/metainfo/app.vellumix.Vellumix.metainfo.xml" >/dev/null ||
  fail "AppStream metadata"
for page in vellumix vellumix-bundle; do
  man --warnings -l "$PREFIX/share/man/man1/$page.1.gz" 2>&1 >/dev/null | grep . && fail "$page(1) warnings"
done
bash -n "$PREFIX/share/bash-completion/completions/vellumix-bundle" || fail "completion script"
echo "PASS: desktop file, metainfo, man pages and completion are valid"

# The installed command, from an unrelated folder, with no build tree in sight.
WORK=$PREFIX/work
mkdir -p "$WORK"
cd "$WORK"
echo 'iVBORw0KGgoAAAANSUhEUgAAAAQAAAADCAIAAAA7ljmRAAAAEElEQVR4nGP4z8AARww4OQD1MQv1NXv7ggAAAABJRU5ErkJggg==' |
  base64 -d >shot.png
env -u VELLUMIX_MODULE_DIR "$PREFIX/bin/vellumix-bundle" create shot.png shot.vellumix ||
  fail "installed vellumix-bundle create"
env -u VELLUMIX_MODULE_DIR "$PREFIX/bin/vellumix-bundle" render shot.vellumix out.png ||
  fail "installed vellumix-bundle render"
got=$("$PROBE" out.png | head -1)
[ "$got" = "4x3" ] || fail "rendered picture is $got"
echo "PASS: the installed vellumix-bundle makes and renders a bundle"
