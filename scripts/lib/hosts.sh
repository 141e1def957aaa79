# shellcheck shell=bash
# Shared by the extended host checks (scripts/check-*.sh): missing tools, the
# build, a scratch folder, a virtual display, and Ardour sessions driven by
# ardour7-lua or typed into in Ardour's window. Sourcing it changes to the top
# folder; the script's name (`check`) starts its messages.
cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit 1
check=$(basename "$0" .sh)
build=$(pwd)/build/release
host_pids=() # background processes stopped on exit
name=check   # the Ardour session's name

fail() { # what [log]: the log's error lines (or all of it), then exit 1
    echo "$check: FAILED: $1" >&2
    [ -z "${2:-}" ] || grep -E "^Error|FAIL|refused" "$2" >&2 || cat "$2" >&2
    exit 1
}

need_tools() { # command:package ...: installs the packages of missing commands
    local need=() tool sudo=""
    for tool in "$@"; do
        command -v "${tool%%:*}" >/dev/null || need+=("${tool#*:}")
    done
    [ "${#need[@]}" -gt 0 ] || return 0
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${need[@]}"
}

build_targets() { # target ...: the release build of just these
    [ -f "$build/build.ninja" ] || cmake --preset release >/dev/null
    cmake --build --preset release --target "$@" >/dev/null
}

stop_background() {
    [ "${#host_pids[@]}" -gt 0 ] || return 0
    kill "${host_pids[@]}" 2>/dev/null || true
    wait "${host_pids[@]}" 2>/dev/null || true
    host_pids=()
}

# $work: a scratch folder holding HOME and the XDG folders, removed on exit
# unless KEEP=1.
make_scratch() {
    work=$(mktemp -d "/tmp/deesser-$check-XXXXXX")
    trap 'stop_background; [ "${KEEP:-0}" = 1 ] && echo "$check: scratch folder $work" || rm -rf "$work"' EXIT
    export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share \
        XDG_CACHE_HOME=$work/home/.cache
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
    session=$work/$name
}

start_display() { # WxH: Xvfb on the first free display number from 90, then DISPLAY
    local display=90
    while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do
        display=$((display + 1))
    done
    Xvfb ":$display" -screen 0 "$1x24" -noreset >"$work/xvfb.log" 2>&1 &
    host_pids+=($!)
    export DISPLAY=:$display
    for _ in $(seq 1 40); do
        xdpyinfo >/dev/null 2>&1 && break
        sleep 0.25
    done
}

# Sets $at to "+x+y" of the first window the awk program picks from the window
# tree (it prints the line's last field), trying for up to tries/2 seconds.
find_window() { # awk-program tries
    at=""
    for _ in $(seq 1 "$2"); do
        at=$(xwininfo -root -tree 2>/dev/null | awk "$1" || true)
        [ -n "$at" ] && return 0
        sleep 0.5
    done
    return 1
}

host_version() { # package
    dpkg-query -W -f '${Version}' "$1" 2>/dev/null || echo "(version unknown)"
}

band_db() { # file, sox filter arguments...: RMS level of the left channel
    local file=$1
    shift
    sox "$file" -n remix 1 "$@" stats 2>&1 | awk '/RMS lev dB/ { print $4 }'
}

# The tools of an Ardour check; with --gui (sets gui=1) those of typing into
# Ardour's window too.
ardour_tools() { # [--gui]
    gui=0
    [ "${1:-}" = "--gui" ] && gui=1
    need_tools ardour7-lua:ardour sox:sox
    [ "$gui" = 0 ] || need_tools Xvfb:xvfb openbox:openbox xdotool:xdotool xwininfo:x11-utils import:imagemagick
}

# Ardour sessions: $session/$name.ardour, one stereo track "voice" holding the
# plug-in as its first processor.
ardour_lua() { # step, Lua body: runs it after the dummy engine is chosen, log in $work/step.log
    printf 'AudioEngine:set_backend("None (Dummy)", "", "")\n%s\nclose_session()\n' "$2" >"$work/$1.lua"
    ardour7-lua "$work/$1.lua" >"$work/$1.log" 2>&1 || fail "ardour7-lua $1.lua" "$work/$1.log"
}

# A new session with a silent region as long as the signal (headless Ardour
# imports no files: the caller overwrites the region's sources, listed in
# $sources) and the plug-in set through Ardour's controls.
ardour_build_session() { # frames, plug-in id, Lua plug-in type, Lua {{index, value}, ...}[, more Lua]
    ardour_lua build "$(
        cat <<EOF
assert(create_session("$session", "$name", 44100), "no session")
local track = Session:new_audio_track(2, 2, nil, 1, "voice", -1, ARDOUR.TrackMode.Normal, true):front()
local region = track:bounce_range(0, $1, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
track:playlist():add_region(region, Temporal.timepos_t(0), 1, false, 0, 0, false)
local ar = region:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("SOURCE " .. ar:source(c):to_filesource():path())
end
local plugin = ARDOUR.LuaAPI.new_plugin(Session, "$2", ARDOUR.PluginType.$3, "")
assert(not plugin:isnil(), "$2 not found")
assert(track:add_processor_by_index(plugin, 0, nil, true), "plug-in not added")
for _, p in ipairs($4) do
    assert(ARDOUR.LuaAPI.set_processor_param(plugin, p[1], p[2]), "refused: parameter " .. p[1])
end
${5:-}
Session:save_state("")
EOF
    )"
    mapfile -t sources < <(sed -n 's/^SOURCE //p' "$work/build.log")
    [ "${#sources[@]}" -eq 2 ] || fail "no stereo region" "$work/build.log"
}

# The saved session reloaded and the track rendered through the plug-in (the
# files in $rendered); the Lua lines given print what the caller reads back.
ardour_render_session() { # frames, Lua lines with `plugin` in scope
    ardour_lua render "$(
        cat <<EOF
assert(load_session("$session", "$name"), "session does not load")
local track = Session:route_by_name("voice"):to_track()
local plugin = track:nth_plugin(0)
assert(not plugin:isnil(), "plug-in gone after reload")
$2
local out = track:bounce_range(0, $1, ARDOUR.InterThreadInfo(), track:main_outs(), false, "")
local ar = out:to_audioregion()
for c = 0, ar:n_channels() - 1 do
    print("RENDERED " .. ar:source(c):to_filesource():path())
end
EOF
    )"
    mapfile -t rendered < <(sed -n 's/^RENDERED //p' "$work/render.log")
    [ "${#rendered[@]}" -eq 2 ] || fail "nothing rendered" "$work/render.log"
}

# The saved session in Ardour's window on a virtual display with the plug-in's
# own editor shown: -15 typed into its Threshold display, then Ctrl+S. The
# panel (at its own size: the clicks are in its pixels) is the window the awk
# program picks; its picture is kept as $work/picture. A command given runs
# with the panel's screen position before Ctrl+S. Returns 1 when the editor
# does not open.
ardour_type_threshold() { # awk-program picture [command]
    local config=$XDG_CONFIG_HOME/ardour7 file=$session/$name.ardour
    mkdir -p "$config"
    touch "$config/.a7" # no first-run wizard
    # The dummy engine starts without a dialog.
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

    unset DEESSER_UI_SCALE
    start_display 1920x1080
    openbox >"$work/openbox.log" 2>&1 &
    host_pids+=($!)
    ardour -n -a "$file" >"$work/ardour.log" 2>&1 &
    host_pids+=($!)
    if ! find_window "$1" 120; then
        echo "  FAIL: the plug-in's editor did not open in Ardour"
        stop_background
        return 1
    fi
    # Where the window manager has put it by now: a window found while it
    # was still being mapped can show the screen's corner.
    sleep 2
    find_window "$1" 10 || true
    local x=${at#+} y=${at##*+}
    x=${x%%+*}
    xdotool mousemove $((x + 279)) $((y + 112)) click 1 # the Threshold display
    sleep 1
    xdotool key BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace BackSpace
    xdotool type --delay 100 -- "-15"
    xdotool key Return
    sleep 1
    import -window root -crop "460x210+$x+$y" "$work/$2" 2>/dev/null || true
    [ -z "${3:-}" ] || "$3" "$x" "$y"
    local before
    before=$(stat -c %Y "$file")
    xdotool search --name "$name - Ardour" windowactivate --sync key ctrl+s >/dev/null 2>&1 || true
    for _ in $(seq 1 40); do
        [ "$(stat -c %Y "$file")" != "$before" ] && break
        sleep 0.5
    done
    sleep 1
    stop_background
}
