#!/usr/bin/env bash
# Extended test, not part of scripts/test.sh: the built DeEsser.lv2 in
# jalv.gtk3 (Debian's `jalv`) on a virtual X display with a dummy JACK server.
# Passes when jalv embeds the plug-in's own editor (a 460-pixel wide child of
# its window, more at a larger scale); the picture is kept as jalv.png in the
# scratch folder (KEEP=1 keeps it).
#
#   bash scripts/check-jalv-lv2.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(pwd)/build/release

need=()
for tool in jalv.gtk3:jalv jackd:jackd2 Xvfb:xvfb openbox:openbox xwininfo:x11-utils import:imagemagick; do
    command -v "${tool%%:*}" >/dev/null || need+=("${tool#*:}")
done
if [ "${#need[@]}" -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${need[@]}"
fi
[ -f "$build/build.ninja" ] || cmake --preset release >/dev/null
cmake --build --preset release --target lv2_bundle >/dev/null

work=$(mktemp -d /tmp/deesser-jalv-XXXXXX)
pids=()
finish() {
    kill "${pids[@]}" 2>/dev/null || true
    wait "${pids[@]}" 2>/dev/null || true
    [ "${KEEP:-0}" = 1 ] && echo "check-jalv-lv2: scratch folder $work" || rm -rf "$work"
}
trap finish EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config LV2_PATH=$build/lv2-bundle:/usr/lib/lv2
export JACK_DEFAULT_SERVER=deesser-check-$$ JACK_NO_AUDIO_RESERVATION=1
mkdir -p "$XDG_CONFIG_HOME"

display=90
while [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ]; do
    display=$((display + 1))
done
Xvfb ":$display" -screen 0 1280x800x24 -noreset >"$work/xvfb.log" 2>&1 &
pids+=($!)
export DISPLAY=:$display
jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 44100 -p 256 >"$work/jack.log" 2>&1 &
pids+=($!)
sleep 2
openbox >"$work/openbox.log" 2>&1 &
pids+=($!)
jalv.gtk3 urn:korvaine:comp2 >"$work/jalv.log" 2>&1 &
pids+=($!)

at=""
for i in $(seq 1 60); do
    at=$(xwininfo -root -tree 2>/dev/null | awk '/"Comp2"/ { found = 1 } found && / 460x2[0-9][0-9]\+0\+0 / { print $NF; exit }' || true)
    [ -n "$at" ] && break
    sleep 0.5
done
echo "check-jalv-lv2: jalv $(dpkg-query -W -f '${Version}' jalv 2>/dev/null || echo "(version unknown)")"
if [ -z "$at" ]; then
    echo "  FAIL: jalv shows no editor"
    cat "$work/jalv.log"
    exit 1
fi
sleep 1
x=${at#+}; x=${x%%+*}; y=${at##*+}
import -window root -crop 460x210+$x+$y "$work/jalv.png" 2>/dev/null || true
echo "  the editor is embedded in jalv's window at $at"
echo "check-jalv-lv2: passed"
