#!/usr/bin/env bash
# Extended test, not part of scripts/test.sh: the built DeEsser.so in Ardour 7
# (Debian's `ardour`), headless. Ardour's own parameter controls set
# Threshold -30 dB, Ratio 4 and LowFreq 6000 Hz; the session is saved and
# reloaded, the values are read back, and the demo's vocal-like signal is
# rendered through the track. Passes when the values read back as set, the
# 5-9 kHz band drops by at least 6 dB and the band below 3 kHz moves by less
# than 2 dB.
#
# With --gui it then opens the saved session in Ardour's window on a virtual
# X display (Xvfb, openbox, xdotool), types -15 into the Threshold display of
# the plug-in's own editor, saves with Ctrl+S, and passes when the saved
# session holds -15.0 dB: Ardour forwards no keys to the editor, so this shows
# that the editor takes the keyboard itself. Before saving, a program is saved
# under a typed name from the SAVE button's dialog, by keyboard alone; passes
# when the user bank holds the name and the plug-in's window has the keyboard
# focus again once the dialog has closed.
#
#   bash scripts/check-ardour.sh [--gui]    # KEEP=1 keeps the scratch folder
#   DEESSER_SO=other/DeEsser.so bash scripts/check-ardour.sh   # another build
set -euo pipefail
# shellcheck source=lib/hosts.sh
source "$(dirname "$0")/lib/hosts.sh"
ardour_tools "$@"
build_targets DeEsser deesser

# A scratch tree for Ardour's settings, caches and the session.
make_scratch
export LXVST_PATH=$work/vst
mkdir -p "$LXVST_PATH"
# Only the plug-in: its programs start from the built-in defaults (threshold
# 0 dB, ratio 1), so nothing but the values set below can de-ess.
cp "${DEESSER_SO:-$build/DeEsser.so}" "$LXVST_PATH/DeEsser.so"
# Ardour lists a plug-in only when its cache entry is strictly newer than the
# plug-in file (whole seconds): date the copy a minute back.
touch -d "1 minute ago" "$LXVST_PATH/DeEsser.so"

# Ardour lists a Linux VST only after its scanner has cached it.
LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst-scanner -f "$LXVST_PATH/DeEsser.so" \
    >"$work/scan.log" 2>&1 || fail "scanning the plug-in" "$work/scan.log"
touch "$XDG_CACHE_HOME"/ardour7/vst/*.v2i

# The vocal-like test signal: the demo's synthetic voice (4 s, mono).
"$build/host/deesser" demo --out-dir "$work/signal" --plugin "$build/DeEsser.so" >/dev/null
signal=$work/signal/demo-in.wav
frames=$(soxi -s "$signal" 2>/dev/null)

# Normalised values of the settings (the plug-in's own mappings):
# Threshold -100..0 dB, Ratio 1..64, LowFreq 2000..20000 Hz.
threshold=$(awk 'BEGIN { printf "%.9f", (-30 + 100) / 100 }')
ratio=$(awk 'BEGIN { printf "%.9f", (4 - 1) / 63 }')
lowfreq=$(awk 'BEGIN { printf "%.9f", (6000 - 2000) / 18000 }')

# 1. A session with the plug-in set through Ardour's controls.
ardour_build_session "$frames" Comp2 LXVST "{{3, $threshold}, {4, $ratio}, {7, $lowfreq}}"
for s in "${sources[@]}"; do
    sox "$signal" -e floating-point -b 32 "$s" 2>/dev/null
done

# 2. The saved session reloaded: the values read back, the names Ardour shows,
# and the track rendered through the plug-in.
ardour_render_session "$frames" '
local insert = plugin:to_insert():plugin(0)
for _, i in ipairs({3, 4, 7}) do
    print(string.format("PARAM %d %s %.9f", i, insert:parameter_label(i),
                        ARDOUR.LuaAPI.get_processor_param(plugin, i)))
end'

# The SAVE button's dialog in Ardour's window: Tab from the slot list to the
# name field, the name typed over the old one, Return.
saved=0
save_program() { # x y of the panel
    local focus bank=$XDG_CONFIG_HOME/DeEsserDef.fxb program="Sung take 3"
    focus=$(xdotool getwindowfocus)
    xdotool mousemove $(($1 + 216)) $(($2 + 18)) click 1
    if ! find_window '/"Save Program"/ { print $NF; exit }' 20; then
        echo "  FAIL: no save dialog after a click on SAVE"
        return
    fi
    xdotool key Tab End && xdotool key --repeat 24 BackSpace
    xdotool type --delay 50 "$program"
    xdotool key Return
    for _ in $(seq 1 20); do
        grep -qs "$program" "$bank" && ! xwininfo -root -tree | grep -q '"Save Program"' && break
        sleep 0.5
    done
    if ! grep -qs "$program" "$bank"; then
        echo "  FAIL: after typing \"$program\" into the save dialog the user bank does not hold it"
    elif [ "$(xdotool getwindowfocus)" != "$focus" ]; then
        echo "  FAIL: the keyboard focus is not back in the plug-in's window after the save dialog"
    else
        echo "  saved from the plug-in's dialog by keyboard: the user bank holds \"$program\", the focus is back"
        saved=1
    fi
}

# The saved session in Ardour's window: -15 typed into the Threshold display of
# the plug-in's own editor (the 460 x 210 window), a program saved, then Ctrl+S.
gui_check() {
    ardour_type_threshold '/ 460x210\+/ { print $NF; exit }' ardour-typed.png save_program || return 1
    local value
    value=$(grep -o '<Controllable name="Threshold"[^>]*value="[^"]*"' "$session/$name.ardour" | sed 's/.*value="\([^"]*\)"/\1/')
    if awk -v v="$value" 'BEGIN { d = -100 + 100 * v; exit !(d > -15.05 && d <= -14.95) }'; then
        echo "  typed in Ardour's plug-in window: the saved session holds Threshold $value ($(awk -v v="$value" 'BEGIN { printf "%.1f", -100 + 100 * v }') dB)"
    else
        echo "  FAIL: after typing -15 in Ardour's plug-in window the saved Threshold is '$value' (picture: $work/ardour-typed.png)"
        return 1
    fi
    [ "$saved" = 1 ]
}

failed=0
expect_param() { # index name normalised
    local line
    line=$(grep "^PARAM $1 " "$work/render.log" || true)
    read -r _ _ label value <<<"$line"
    if [ "$label" = "$2" ] && awk -v a="$value" -v b="$3" 'BEGIN { exit !(a - b < 1e-6 && b - a < 1e-6) }'; then
        echo "  $2 reads back $value (set $3)"
    else
        echo "  FAIL: parameter $1 reads back as '$line', expected $2 $3"
        failed=1
    fi
}
echo "check-ardour: Ardour $(host_version ardour)"
expect_param 3 Threshold "$threshold"
expect_param 4 Ratio "$ratio"
expect_param 7 LowFreq "$lowfreq"
sib_in=$(band_db "$signal" sinc 5000-9000)
sib_out=$(band_db "${rendered[0]}" sinc 5000-9000)
voice_in=$(band_db "$signal" sinc -3000)
voice_out=$(band_db "${rendered[0]}" sinc -3000)
sib=$(awk -v a="$sib_out" -v b="$sib_in" 'BEGIN { printf "%.1f", a - b }')
voice=$(awk -v a="$voice_out" -v b="$voice_in" 'BEGIN { printf "%.1f", a - b }')
echo "  5-9 kHz band: $sib_in dB in, $sib_out dB out: $sib dB"
echo "  band below 3 kHz: $voice_in dB in, $voice_out dB out: $voice dB"
if ! awk -v d="$sib" 'BEGIN { exit !(d <= -6) }'; then
    echo "  FAIL: the 5-9 kHz band drops by less than 6 dB"
    failed=1
fi
if ! awk -v d="$voice" 'BEGIN { exit !(d < 2 && d > -2) }'; then
    echo "  FAIL: the band below 3 kHz moves by 2 dB or more"
    failed=1
fi
if [ "$gui" = 1 ] && [ "$failed" = 0 ]; then
    gui_check || failed=1
fi
[ "$failed" = 0 ] && echo "check-ardour: passed" || echo "check-ardour: FAILED"
exit "$failed"
