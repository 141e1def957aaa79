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
# that the editor takes the keyboard itself.
#
#   bash scripts/check-ardour.sh [--gui]    # KEEP=1 keeps the scratch folder
#   DEESSER_SO=other/DeEsser.so bash scripts/check-ardour.sh   # another build
set -euo pipefail
gui=0
[ "${1:-}" = "--gui" ] && gui=1
cd "$(dirname "$0")/.."
root=$(pwd)
fail() { # what, log
    echo "check-ardour: FAILED: $1" >&2
    [ -z "${2:-}" ] || grep -E "^Error|FAIL|refused" "$2" >&2 || cat "$2" >&2
    exit 1
}
build=$root/build/release

need=()
command -v ardour7-lua >/dev/null || need+=(ardour)
command -v sox >/dev/null || need+=(sox)
if [ "$gui" = 1 ]; then
    command -v Xvfb >/dev/null || need+=(xvfb)
    command -v openbox >/dev/null || need+=(openbox)
    command -v xdotool >/dev/null || need+=(xdotool)
    command -v xwininfo >/dev/null || need+=(x11-utils)
    command -v import >/dev/null || need+=(imagemagick)
fi
if [ "${#need[@]}" -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${need[@]}"
fi

[ -f "$build/build.ninja" ] || cmake --preset release >/dev/null
cmake --build --preset release --target DeEsser deesser >/dev/null

# A scratch tree for Ardour's settings, caches and the session.
work=$(mktemp -d /tmp/deesser-ardour-XXXXXX)
if [ "${KEEP:-0}" = 1 ]; then
    echo "check-ardour: scratch folder $work"
else
    trap 'rm -rf "$work"' EXIT
fi
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share \
    XDG_CACHE_HOME=$work/home/.cache LXVST_PATH=$work/vst
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME" "$LXVST_PATH"
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

name=check
session=$work/$name
# Normalised values of the settings (the plug-in's own mappings):
# Threshold -100..0 dB, Ratio 1..64, LowFreq 2000..20000 Hz.
threshold=$(awk 'BEGIN { printf "%.9f", (-30 + 100) / 100 }')
ratio=$(awk 'BEGIN { printf "%.9f", (4 - 1) / 63 }')
lowfreq=$(awk 'BEGIN { printf "%.9f", (6000 - 2000) / 18000 }')

# 1. A session with one stereo track holding a silent region as long as the
# signal (headless Ardour imports no files: the region's sources are
# overwritten below), and the plug-in set through Ardour's controls.
cat >"$work/build.lua" <<EOF
AudioEngine:set_backend("None (Dummy)", "", "")
assert(create_session("$session", "$name", 44100), "no session")
local track = Session:new_audio_track(2, 2, nil, 1, "voice", -1, ARDOUR.TrackMode.Normal, true):front()
local region = track:bounce_range(0, $frames, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
track:playlist():add_region(region, Temporal.timepos_t(0), 1, false, 0, 0, false)
local ar = region:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("SOURCE " .. ar:source(c):to_filesource():path())
end
local plugin = ARDOUR.LuaAPI.new_plugin(Session, "Comp2", ARDOUR.PluginType.LXVST, "")
assert(not plugin:isnil(), "Comp2 not found")
assert(track:add_processor_by_index(plugin, 0, nil, true), "plug-in not added")
for _, p in ipairs({{3, $threshold}, {4, $ratio}, {7, $lowfreq}}) do
    assert(ARDOUR.LuaAPI.set_processor_param(plugin, p[1], p[2]), "refused: parameter " .. p[1])
end
Session:save_state("")
close_session()
EOF
ardour7-lua "$work/build.lua" >"$work/build.log" 2>&1 || fail "building the session" "$work/build.log"
mapfile -t sources < <(sed -n 's/^SOURCE //p' "$work/build.log")
[ "${#sources[@]}" -eq 2 ] || fail "no stereo region" "$work/build.log"
for s in "${sources[@]}"; do
    sox "$signal" -e floating-point -b 32 "$s" 2>/dev/null
done

# 2. The saved session reloaded: the values read back, the names Ardour shows,
# and the track rendered through the plug-in.
cat >"$work/render.lua" <<EOF
AudioEngine:set_backend("None (Dummy)", "", "")
assert(load_session("$session", "$name"), "session does not load")
local track = Session:route_by_name("voice"):to_track()
local plugin = track:nth_plugin(0)
assert(not plugin:isnil(), "plug-in gone after reload")
local insert = plugin:to_insert():plugin(0)
for _, i in ipairs({3, 4, 7}) do
    print(string.format("PARAM %d %s %.9f", i, insert:parameter_label(i),
                        ARDOUR.LuaAPI.get_processor_param(plugin, i)))
end
local out = track:bounce_range(0, $frames, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
local ar = out:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("RENDERED " .. ar:source(c):to_filesource():path())
end
close_session()
EOF
ardour7-lua "$work/render.lua" >"$work/render.log" 2>&1 || fail "rendering" "$work/render.log"
rendered=$(sed -n 's/^RENDERED //p' "$work/render.log" | head -1)
[ -n "$rendered" ] || fail "nothing rendered" "$work/render.log"

# The saved session in Ardour's window: -15 typed into the Threshold display of
# the plug-in's own editor, then Ctrl+S.
gui_check() {
    local config=$XDG_CONFIG_HOME/ardour7 file=$session/$name.ardour
    mkdir -p "$config"
    touch "$config/.a7" # no first-run wizard
    # The dummy engine starts without a dialog.
    cat >"$config/config" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="" device="Silence" input-device="" output-device="" sample-rate="44100" buffer-size="256" n-periods="2" input-latency="0" output-latency="0" input-channels="0" output-channels="0" active="1" use-buffered-io="0" lru="1" midi-option="">
          <MIDIDevices/>
        </State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
</Ardour>
XML
    # The session opens with the plug-in's own editor shown: Ardour keeps the
    # open plug-in windows as "P-<route id>-<processor id>".
    local route proc
    route=$(sed -n 's/.*<Route [^>]* id="\([0-9]*\)" name="voice".*/\1/p' "$file" | head -1)
    proc=$(sed -n 's/.*<Processor id="\([0-9]*\)" name="Comp2".*/\1/p' "$file" | head -1)
    sed -i "s#</Session>#  <Extra><UI><Window name=\"P-$route-$proc\" visible=\"1\" x-off=\"100\" y-off=\"100\" x-size=\"460\" y-size=\"250\" custom-ui=\"1\"/></UI></Extra>\n</Session>#" "$file"

    unset DEESSER_UI_SCALE # the panel at its own size: the clicks below are in its pixels
    local display=90 pids=()
    while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do
        display=$((display + 1))
    done
    Xvfb ":$display" -screen 0 1920x1080x24 -noreset >"$work/xvfb.log" 2>&1 &
    pids+=($!)
    export DISPLAY=:$display
    for _ in $(seq 1 40); do
        xdpyinfo >/dev/null 2>&1 && break
        sleep 0.25
    done
    openbox >"$work/openbox.log" 2>&1 &
    pids+=($!)
    ardour -n -a "$file" >"$work/ardour.log" 2>&1 &
    pids+=($!)
    stop_gui() { kill "${pids[@]}" 2>/dev/null || true; wait "${pids[@]}" 2>/dev/null || true; }

    # The editor panel is the 460 x 210 window.
    local at=""
    for _ in $(seq 1 120); do
        at=$(xwininfo -root -tree 2>/dev/null | awk '/ 460x210\+/ { print $NF; exit }')
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
    xdotool mousemove $((x + 279)) $((y + 112)) click 1 # the Threshold display
    sleep 1
    xdotool key BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace
    xdotool type --delay 100 -- "-15"
    xdotool key Return
    sleep 1
    import -window root "$work/ardour-typed.png" 2>/dev/null || true
    local before
    before=$(stat -c %Y "$file")
    xdotool search --name "$name - Ardour" windowactivate --sync key ctrl+s >/dev/null 2>&1 || true
    for _ in $(seq 1 40); do
        [ "$(stat -c %Y "$file")" != "$before" ] && break
        sleep 0.5
    done
    sleep 1
    stop_gui
    local value
    value=$(grep -o '<Controllable name="Threshold"[^>]*value="[^"]*"' "$file" | sed 's/.*value="\([^"]*\)"/\1/')
    if awk -v v="$value" 'BEGIN { d = -100 + 100 * v; exit !(d > -15.05 && d <= -14.95) }'; then
        echo "  typed in Ardour's plug-in window: the saved session holds Threshold $value ($(awk -v v="$value" 'BEGIN { printf "%.1f", -100 + 100 * v }') dB)"
    else
        echo "  FAIL: after typing -15 in Ardour's plug-in window the saved Threshold is '$value' (picture: $work/ardour-typed.png)"
        return 1
    fi
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
band_db() { # file, sox filter arguments...
    local file=$1
    shift
    sox "$file" -n remix 1 "$@" stats 2>&1 | awk '/RMS lev dB/ { print $4 }'
}
echo "check-ardour: Ardour $(dpkg-query -W -f '${Version}' ardour 2>/dev/null || echo '(version unknown)')"
expect_param 3 Threshold "$threshold"
expect_param 4 Ratio "$ratio"
expect_param 7 LowFreq "$lowfreq"
sib_in=$(band_db "$signal" sinc 5000-9000)
sib_out=$(band_db "$rendered" sinc 5000-9000)
voice_in=$(band_db "$signal" sinc -3000)
voice_out=$(band_db "$rendered" sinc -3000)
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
