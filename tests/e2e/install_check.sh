#!/usr/bin/env bash
# An install into a private prefix puts what a desktop's launcher needs in place: the
# two programs, a valid desktop entry whose command is the installed program, and the
# icon as a scalable drawing and at the usual sizes.
#   tests/e2e/install_check.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

fail() { echo "install check: $*" >&2; exit 1; }
for program in quorvalinder quorvalinder-cli; do
  [[ -x $prefix/bin/$program ]] || fail "bin/$program is missing"
done
entry=$prefix/share/applications/quorvalinder.desktop
[[ -f $entry ]] || fail "the desktop entry is missing"
grep -qx '\[Desktop Entry\]' "$entry" || fail "the desktop entry has no [Desktop Entry] group"
for key in Type=Application Name=Quorvalinder Icon=quorvalinder Exec=quorvalinder; do
  grep -qx "$key" "$entry" || fail "the desktop entry lacks $key"
done
[[ -f $prefix/share/icons/hicolor/scalable/apps/quorvalinder.svg ]] || fail "the scalable icon is missing"
for size in 16 32 48 128 256 512; do
  png=$prefix/share/icons/hicolor/${size}x${size}/apps/quorvalinder.png
  [[ -s $png ]] || fail "the ${size}px icon is missing"
  # PNG signature, then the IHDR width as a big-endian number.
  [[ $(head -c 8 "$png" | od -An -tx1 | tr -d ' \n') == 89504e470d0a1a0a ]] || fail "the ${size}px icon is not a PNG"
  width=$(od -An -tu1 -j16 -N4 "$png" | awk '{print $1*16777216+$2*65536+$3*256+$4}')
  [[ $width == "$size" ]] || fail "the ${size}px icon is ${width}px wide"
done
# The installed command-line tool runs from the prefix.
"$prefix/bin/quorvalinder-cli" --help >/dev/null || fail "the installed quorvalinder-cli does not run"
echo "install check: ok (two programs, the desktop entry, the icon scalable and at eight sizes)"
