#!/usr/bin/env bash
# Builds the Debian package and checks it and the installed metadata with Debian's and
# freedesktop's own validators: desktop-file-validate, appstreamcli and lintian (errors fail;
# warnings are printed).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/build.sh
BUILD=${VELLUMIX_BUILD_DIR:-build}
desktop-file-validate resources/vellumix.desktop
appstreamcli validate --no-net packaging/app.vellumix.Vellumix.metainfo.xml
(cd "$BUILD" && cpack -G DEB)
DEB=$(ls -1t "$BUILD"/vellumix_*.deb | head -1)
# lintian exits non-zero on errors only (warnings are shown).
lintian --fail-on error "$DEB"
echo "$DEB: clean of lintian errors"
