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
gui=0
[ "${1:-}" = "--gui" ] && gui=1
cd "$(dirname "$0")/.."
root=$(pwd)
build=$root/build/release

need=()
command -v ardour7-lua >/dev/null || need+=(ardour)
command -v sox >/dev/null || need+=(sox)
if [ "$gui" = 1 ]; then
    for tool in Xvfb:xvfb openbox:openbox xdotool:xdotool xwininfo:x11-utils import:imagemagick; do
        command -v "${tool%%:*}" >/dev/null || need+=("${tool#*:}")
    done
fi
if [ "${#need[@]}" -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${need[@]}"
fi

[ -f "$build/build.ninja" ] || cmake --preset release >/dev/null
cmake --build --preset release --target lv2_bundle DeEsser deesser >/dev/null

work=$(mktemp -d /tmp/deesser-ardour-lv2-XXXXXX)
if [ "${KEEP:-0}" = 1 ]; then
    echo "check-ardour-lv2: scratch folder $work"
else
    trap 'rm -rf "$work"' EXIT
fi
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share \
    XDG_CACHE_HOME=$work/home/.cache
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$work/lv2"
# The bundle as installed; the system's LV2 folder supplies the core vocabulary.
cp -r "$build/lv2-bundle/DeEsser.lv2" "$work/lv2/"
export LV2_PATH=$work/lv2:/usr/lib/lv2

# The vocal-like test signal: the demo's synthetic voice (4 s, mono), as stereo.
"$build/host/deesser" demo --out-dir "$work/signal" --plugin "$build/DeEsser.so" >/dev/null
sox "$work/signal/demo-in.wav" -e floating-point -b 32 "$work/vocal.wav" remix 1 1 2>/dev/null
signal=$work/vocal.wav
frames=$(soxi -s "$signal" 2>/dev/null)

name=check
session=$work/$name
# Ardour numbers the plug-in's control ports from 0 in port order:
# threshold 0, ratio 1, attack 2, release 3, low_freq 4, ...
cat >"$work/build.lua" <<EOF2
AudioEngine:set_backend("None (Dummy)", "", "")
assert(create_session("$session", "$name", 44100), "no session")
local track = Session:new_audio_track(2, 2, nil, 1, "voice", -1, ARDOUR.TrackMode.Normal, true):front()
local region = track:bounce_range(0, $frames, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
track:playlist():add_region(region, Temporal.timepos_t(0), 1, false, 0, 0, false)
local ar = region:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("SOURCE " .. ar:source(c):to_filesource():path())
end
local plugin = ARDOUR.LuaAPI.new_plugin(Session, "urn:korvaine:comp2", ARDOUR.PluginType.LV2, "")
assert(not plugin:isnil(), "urn:korvaine:comp2 not found")
assert(track:add_processor_by_index(plugin, 0, nil, true), "plug-in not added")
for _, p in ipairs({{0, -30}, {1, 4}, {4, 6000}}) do
    assert(ARDOUR.LuaAPI.set_processor_param(plugin, p[1], p[2]), "refused: parameter " .. p[1])
end
assert(not ARDOUR.LuaAPI.set_processor_param(plugin, 0, -150), "Ardour took -150 dB")
Session:save_state("")
close_session()
EOF2
ardour7-lua "$work/build.lua" >"$work/build.log" 2>&1 || { cat "$work/build.log" >&2; exit 1; }
mapfile -t sources < <(sed -n 's/^SOURCE //p' "$work/build.log")
[ "${#sources[@]}" -eq 2 ] || { echo "check-ardour-lv2: no stereo region" >&2; cat "$work/build.log" >&2; exit 1; }
for s in "${sources[@]}"; do
    sox "$signal" -e floating-point -b 32 "$s" remix 1 2>/dev/null
done

cat >"$work/render.lua" <<EOF2
AudioEngine:set_backend("None (Dummy)", "", "")
assert(load_session("$session", "$name"), "session does not load")
local track = Session:route_by_name("voice"):to_track()
local plugin = track:nth_plugin(0)
assert(not plugin:isnil(), "plug-in gone after reload")
print("NAME " .. plugin:display_name())
for _, i in ipairs({0, 1, 4}) do
    print(string.format("PARAM %d %.9g", i, ARDOUR.LuaAPI.get_processor_param(plugin, i)))
end
local out = track:bounce_range(0, $frames, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
local ar = out:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("RENDERED " .. ar:source(c):to_filesource():path())
end
close_session()
EOF2
ardour7-lua "$work/render.lua" >"$work/render.log" 2>&1 || { cat "$work/render.log" >&2; exit 1; }
mapfile -t rendered < <(sed -n 's/^RENDERED //p' "$work/render.log")
[ "${#rendered[@]}" -eq 2 ] || { echo "check-ardour-lv2: nothing rendered" >&2; cat "$work/render.log" >&2; exit 1; }

# The VST 2.4 build with the same settings (its programs at the built-in
# defaults: no bank beside the copy, none in the scratch settings folder).
mkdir -p "$work/vst"
cp "$build/DeEsser.so" "$work/vst/"
"$build/host/deesser" render "$signal" "$work/vst.wav" --plugin "$work/vst/DeEsser.so" \
    --set Threshold=-30 --set Ratio=4 --set LowFreq=6000 >/dev/null


# The saved session in Ardour's window with the plug-in's editor open: -15
# typed into the Threshold display, then Ctrl+S.
gui_check() {
    local config=$XDG_CONFIG_HOME/ardour7 file=$session/$name.ardour i
    mkdir -p "$config"
    touch "$config/.a7" # no first-run wizard
    cat >"$config/config" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config><Option name="hide-dummy-backend" value="0"/></Config>
  <Extra><AudioMIDISetup><EngineStates>
    <State backend="None (Dummy)" driver="" device="Silence" input-device="" output-device="" sample-rate="44100" buffer-size="256" n-periods="2" input-latency="0" output-latency="0" input-channels="0" output-channels="0" active="1" use-buffered-io="0" lru="1" midi-option=""><MIDIDevices/></State>
  </EngineStates></AudioMIDISetup></Extra>
</Ardour>
XML
    # Ardour reopens plug-in windows kept as "P-<route id>-<processor id>".
    local route proc
    route=$(sed -n 's/.*<Route [^>]* id="\([0-9]*\)" name="voice".*/\1/p' "$file" | head -1)
    proc=$(sed -n 's/.*<Processor id="\([0-9]*\)" name="Comp2".*/\1/p' "$file" | head -1)
    sed -i "s#</Session>#  <Extra><UI><Window name=\"P-$route-$proc\" visible=\"1\" x-off=\"100\" y-off=\"100\" x-size=\"460\" y-size=\"250\" custom-ui=\"1\"/></UI></Extra>\n</Session>#" "$file"

    local display=90 pids=()
    while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do
        display=$((display + 1))
    done
    Xvfb ":$display" -screen 0 1920x1080x24 -noreset >"$work/xvfb.log" 2>&1 &
    pids+=($!)
    export DISPLAY=:$display
    for i in $(seq 1 40); do
        xdpyinfo >/dev/null 2>&1 && break
        sleep 0.25
    done
    openbox >"$work/openbox.log" 2>&1 &
    pids+=($!)
    ardour -n -a "$file" >"$work/ardour.log" 2>&1 &
    pids+=($!)
    stop_gui() { kill "${pids[@]}" 2>/dev/null || true; wait "${pids[@]}" 2>/dev/null || true; }

    # The panel: the 460-pixel wide child of the plug-in's window.
    local at=""
    for i in $(seq 1 120); do
        at=$(xwininfo -root -tree 2>/dev/null | awk '/"voice: Comp2/ { found = 1 } found && /\(has no name\): \(\)  460x2[0-9][0-9]\+0\+0/ { print $NF; exit }' || true)
        [ -n "$at" ] && break
        sleep 0.5
    done
    if [ -z "$at" ]; then
        echo "  FAIL: the plug-in's editor did not open in Ardour"
        stop_gui
        return 1
    fi
    local x y
    x=${at#+}; x=${x%%+*}; y=${at##*+}
    sleep 2
    import -window root -crop 460x210+$x+$y "$work/ardour-lv2.png" 2>/dev/null || true
    xdotool mousemove $((x + 279)) $((y + 112)) click 1 # the Threshold display
    sleep 1
    for i in 1 2 3 4 5 6 7 8; do xdotool key BackSpace; done
    xdotool type --delay 100 -- "-15"
    xdotool key Return
    sleep 1
    local before
    before=$(stat -c %Y "$file")
    xdotool search --name "$name - Ardour" windowactivate --sync key ctrl+s >/dev/null 2>&1 || true
    for i in $(seq 1 40); do
        [ "$(stat -c %Y "$file")" != "$before" ] && break
        sleep 0.5
    done
    sleep 1
    stop_gui
    local value
    value=$(sed -n 's/.*<Port symbol="threshold" value="\([^"]*\)".*/\1/p' "$file" | head -1)
    if awk -v d="$value" 'BEGIN { exit !(d > -15.05 && d <= -14.95) }'; then
        echo "  typed in the editor in Ardour's window: the saved session holds threshold $value dB"
    else
        echo "  FAIL: after typing -15 in the editor the saved threshold port is '$value' (picture: $work/ardour-lv2.png)"
        return 1
    fi
}

failed=0
echo "check-ardour-lv2: Ardour $(dpkg-query -W -f '${Version}' ardour 2>/dev/null || echo '(version unknown)')"
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
band_db() { sox "$1" -n remix 1 sinc 5000-9000 stats 2>&1 | awk '/RMS lev dB/ { print $4 }'; }
sib_in=$(band_db "$signal")
sib_out=$(band_db "${rendered[0]}")
sib=$(awk -v a="$sib_out" -v b="$sib_in" 'BEGIN { printf "%.1f", a - b }')
echo "  5-9 kHz band: $sib_in dB in, $sib_out dB out: $sib dB"
awk -v d="$sib" 'BEGIN { exit !(d <= -6) }' || { echo "  FAIL: the 5-9 kHz band drops by less than 6 dB"; failed=1; }
if [ "$gui" = 1 ] && [ "$failed" = 0 ]; then
    gui_check || failed=1
fi
[ "$failed" = 0 ] && echo "check-ardour-lv2: passed" || echo "check-ardour-lv2: FAILED"
exit "$failed"
