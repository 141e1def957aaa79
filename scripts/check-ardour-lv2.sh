#!/usr/bin/env bash
# Extended test, not part of scripts/test.sh: the built DeEsser.lv2 in Ardour 7
# (Debian's `ardour`), headless. Ardour's own controls set Threshold -30 dB,
# Ratio 4 and LowFreq 6000 Hz (LV2 ports in display units); the session is
# saved and reloaded (the bank travels in Ardour's LV2 state), the values are
# read back, and the demo's vocal-like signal is rendered through the track.
# Passes when the values read back as set, the rendered samples equal those of
# the VST 2.4 build rendered by `deesser render` with the same settings, and
# the 5-9 kHz band drops by at least 6 dB.
#
# With --gui it then opens the saved session in Ardour's window on a virtual X
# display (Xvfb, openbox, xdotool) with the plug-in's own editor shown, types
# -15 into the editor's Threshold display, saves with Ctrl+S, and passes when
# the saved session holds the port at -15 dB: the panel's edit reached
# Ardour's port. A picture of the editor is kept as ardour-lv2.png.
#
#   bash scripts/check-ardour-lv2.sh [--gui]    # KEEP=1 keeps the scratch folder
set -euo pipefail
# shellcheck source=lib/hosts.sh
source "$(dirname "$0")/lib/hosts.sh"
ardour_tools "$@"
build_targets lv2_bundle DeEsser deesser

make_scratch
# The bundle as installed; the system's LV2 folder supplies the core vocabulary.
mkdir -p "$work/lv2"
cp -r "$build/lv2-bundle/DeEsser.lv2" "$work/lv2/"
export LV2_PATH=$work/lv2:/usr/lib/lv2

# The vocal-like test signal: the demo's synthetic voice (4 s, mono), as stereo.
"$build/host/deesser" demo --out-dir "$work/signal" --plugin "$build/DeEsser.so" >/dev/null
sox "$work/signal/demo-in.wav" -e floating-point -b 32 "$work/vocal.wav" remix 1 1 2>/dev/null
signal=$work/vocal.wav
frames=$(soxi -s "$signal" 2>/dev/null)

# Ardour numbers the plug-in's control ports from 0 in port order:
# threshold 0, ratio 1, attack 2, release 3, low_freq 4, ...
ardour_build_session "$frames" urn:korvaine:comp2 LV2 "{{0, -30}, {1, 4}, {4, 6000}}" \
    'assert(not ARDOUR.LuaAPI.set_processor_param(plugin, 0, -150), "Ardour took -150 dB")'
for s in "${sources[@]}"; do
    sox "$signal" -e floating-point -b 32 "$s" remix 1 2>/dev/null
done

ardour_render_session "$frames" '
print("NAME " .. plugin:display_name())
for _, i in ipairs({0, 1, 4}) do
    print(string.format("PARAM %d %.9g", i, ARDOUR.LuaAPI.get_processor_param(plugin, i)))
end'

# The VST 2.4 build with the same settings (its programs at the built-in
# defaults: no bank beside the copy, none in the scratch settings folder).
mkdir -p "$work/vst"
cp "$build/DeEsser.so" "$work/vst/"
"$build/host/deesser" render "$signal" "$work/vst.wav" --plugin "$work/vst/DeEsser.so" \
    --set Threshold=-30 --set Ratio=4 --set LowFreq=6000 >/dev/null

# The saved session in Ardour's window with the plug-in's editor open (the
# 460-pixel wide child of the plug-in's window): -15 typed into the Threshold
# display, then Ctrl+S.
gui_check() {
    ardour_type_threshold '/"voice: Comp2/ { found = 1 } found && /\(has no name\): \(\)  460x2[0-9][0-9]\+0\+0/ { print $NF; exit }' \
        ardour-lv2.png || return 1
    local value
    value=$(sed -n 's/.*<Port symbol="threshold" value="\([^"]*\)".*/\1/p' "$session/$name.ardour" | head -1)
    if awk -v d="$value" 'BEGIN { exit !(d > -15.05 && d <= -14.95) }'; then
        echo "  typed in the editor in Ardour's window: the saved session holds threshold $value dB"
    else
        echo "  FAIL: after typing -15 in the editor the saved threshold port is '$value' (picture: $work/ardour-lv2.png)"
        return 1
    fi
}

failed=0
echo "check-ardour-lv2: Ardour $(host_version ardour)"
echo "  plug-in: $(sed -n 's/^NAME //p' "$work/render.log")"
for expect in "0 -30" "1 4" "4 6000"; do
    set -- $expect
    value=$(sed -n "s/^PARAM $1 //p" "$work/render.log")
    if [ "$value" = "$2" ]; then
        echo "  control $1 reads back $value after the reload"
    else
        echo "  FAIL: control $1 reads back '$value', expected $2"
        failed=1
    fi
done
sox -M "${rendered[0]}" "${rendered[1]}" -t f32 "$work/ardour.raw" 2>/dev/null
sox "$work/vst.wav" -t f32 "$work/vst.raw" 2>/dev/null
if cmp -s "$work/ardour.raw" "$work/vst.raw"; then
    echo "  rendered samples: identical to the VST 2.4 build's ($frames frames, 2 channels)"
else
    echo "  FAIL: Ardour's render differs from the VST 2.4 build's: $(cmp "$work/ardour.raw" "$work/vst.raw" | head -1)"
    failed=1
fi
sib_in=$(band_db "$signal" sinc 5000-9000)
sib_out=$(band_db "${rendered[0]}" sinc 5000-9000)
sib=$(awk -v a="$sib_out" -v b="$sib_in" 'BEGIN { printf "%.1f", a - b }')
echo "  5-9 kHz band: $sib_in dB in, $sib_out dB out: $sib dB"
awk -v d="$sib" 'BEGIN { exit !(d <= -6) }' || { echo "  FAIL: the 5-9 kHz band drops by less than 6 dB"; failed=1; }
if [ "$gui" = 1 ] && [ "$failed" = 0 ]; then
    gui_check || failed=1
fi
[ "$failed" = 0 ] && echo "check-ardour-lv2: passed" || echo "check-ardour-lv2: FAILED"
exit "$failed"
