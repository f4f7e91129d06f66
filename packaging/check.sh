#!/usr/bin/env bash
# check.sh BUILD: makes both packages, unpacks each and the user's folder into fresh places, and
# plays the demo song's beginning with the programs and the module that lie there. Asks lintian.
set -euo pipefail
build=$(realpath "$1")
source=$(realpath "$(dirname "$0")/..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config
mkdir -p "$HOME"

# play WHAT PROGRAM: from a folder that says nothing of where it is; a build would be found no more.
play() {
    (cd / && timeout 120 "$2" "$source/songs/demo.mid" --sounds "$source/songs/demo.sounds" \
        --rate 8000 --tail 0 -o "$work/song.wav") >"$work/log" || { cat "$work/log"; exit 1; }
    [ "$(stat -c %s "$work/song.wav")" -gt 100000 ] || { echo "$1: no sound"; exit 1; }
    cmp -s "$work/song.wav" "${first:=$work/first.wav}" || [ ! -e "$first" ] || {
        echo "$1 sounds differently"
        exit 1
    }
    mv "$work/song.wav" "$first"
    echo "ok: $1"
}
# whole FOLDER: that a bundle has its skin and its banks beside the module
whole() { [ -f "$1/Keldra.so" ] && [ -f "$1/Skin/background.tga" ] && ls "$1"/Banks/*/* >/dev/null; }

(cd "$build" && cpack -B "$work/packages" >"$work/log" 2>&1) || { cat "$work/log"; exit 1; }

dpkg-deb -x "$work"/packages/*.deb "$work/root"
whole "$work/root/usr/lib/vst/Keldra"
play "Debian package" "$work/root/usr/bin/keldra-render"
mkdir "$work/any where"
tar -xzf "$work"/packages/*.tar.gz -C "$work/any where" --strip-components 1
whole "$work/any where/lib/vst/Keldra"
play "tarball" "$work/any where/bin/keldra-render"
"$source/run" --install
whole "$HOME/.vst/Keldra"
play "user's folder" "$HOME/.vst/Keldra/keldra-render"
: >"$HOME/.vst/Keldra/Banks/mine"
"$source/run" --uninstall
[ "$(cd "$HOME/.vst" && find . -type f)" = ./Keldra/Banks/mine ] || {
    echo "uninstalling leaves or takes too much:"
    find "$HOME/.vst"
    exit 1
}
if command -v lintian >/dev/null; then
    lintian --allow-root --fail-on error "$work"/packages/*.deb
    desktop-file-validate "$work/root/usr/share/applications/keldra.desktop"
    appstreamcli validate --no-net "$work"/root/usr/share/metainfo/*.xml
fi
