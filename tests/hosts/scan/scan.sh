#!/usr/bin/env bash
# scan.sh ardour|qtractor|muse MODULE KELDRA-RENDER: what the scanner of a host finds in our module.
# Scanners run without a display and with a home of their own. Ends with 77 where the host is missing.
set -euo pipefail
host=$1 module=$(realpath "$2") render=$3
export HOME
HOME=$(mktemp -d)
trap 'rm -rf "$HOME"' EXIT
unset DISPLAY WAYLAND_DISPLAY

need() { [ -x "$1" ] || {
    echo "skipped: $1 isn't installed"
    exit 77
}; }
# expect NAME WANTED FOUND
expect() { [ "$2" = "$3" ] || {
    printf '%s: wanted "%s", found "%s"\n' "$1" "$2" "$3"
    failed=1
}; }
failed=0

case $host in
ardour)
    scanner=/usr/lib/ardour7/ardour-vst-scanner
    need $scanner
    found=$(LD_LIBRARY_PATH=/usr/lib/ardour7 ARDOUR_DATA_PATH=/usr/share/ardour7 \
        ARDOUR_CONFIG_PATH=/etc/ardour7 ARDOUR_DLL_PATH=/usr/lib/ardour7 $scanner -f -v "$module")
    while IFS='|' read -r name wanted; do
        expect "$name" "$wanted" "$(sed -n "s/.*<VST2Info .*\<$name=\"\([^\"]*\)\".*/\1/p" <<<"$found")"
    done <<<'id|1398896471
name|Keldra
creator|Tallowen
category|Instrument
n_inputs|0
n_outputs|2
n_midi_inputs|1
n_midi_outputs|0
is_instrument|1
can_process_replace|1
has_editor|1'
    ;;
qtractor)
    scanner=/usr/lib/x86_64-linux-gnu/qtractor/qtractor_plugin_scan
    need $scanner
    found=$(QT_QPA_PLATFORM=offscreen $scanner <<<"VST2:$module")
    # name | audio in:out | MIDI in:out | controls in:out | editor, state, realtime | file | index | id
    expect line "VST|Keldra|0:2|1:0|156:0|GUI,EXT,RT|$module|0|0x53617757" "$found"
    ;;
muse)
    scanner=/usr/bin/muse_plugin_scan
    need $scanner
    : >"$HOME/scan.xml"
    QT_QPA_PLATFORM=offscreen $scanner -t 2047 -p -f "$module" -o "$HOME/scan.xml"
    found=$(cat "$HOME/scan.xml")
    while IFS='|' read -r name wanted; do
        expect "$name" "$wanted" "$(sed -n "s/.*<$name>\(.*\)<\/$name>.*/\1/p" <<<"$found")"
    done <<<'name|Keldra
maker|Tallowen
description|Keldra 2.4
uniqueID|1398896471
apiVersionMajor|2400
outports|2
inports|
ctlInports|156'
    # The names of the panel's controls, as keldra-render lists them with their values. What is
    # beyond them has no name, nor have the two outputs.
    expect "parameters' names" "$("$render" --module "$module" --list-parameters |
        sed -n 's/^ *[0-9]* *\(.*[^ ]\) *[01]\.[0-9]\{3\} .*/\1/p')" \
        "$(sed -n 's/.*<port name="\(..*\)" symbol=.*/\1/p' <<<"$found")"
    ;;
esac
exit $failed
