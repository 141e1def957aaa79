#!/usr/bin/env bash
# Extended test, not part of scripts/test.sh: the built DeEsser.lv2 in
# jalv.gtk3 (Debian's `jalv`) on a virtual X display with a dummy JACK server.
# Passes when jalv embeds the plug-in's own editor (a 460-pixel wide child of
# its window, more at a larger scale); the picture is kept as jalv.png in the
# scratch folder (KEEP=1 keeps it).
#
#   bash scripts/check-jalv-lv2.sh
set -euo pipefail
# shellcheck source=lib/hosts.sh
source "$(dirname "$0")/lib/hosts.sh"

need_tools jalv.gtk3:jalv jackd:jackd2 Xvfb:xvfb openbox:openbox xwininfo:x11-utils import:imagemagick
build_targets lv2_bundle

make_scratch
export LV2_PATH=$build/lv2-bundle:/usr/lib/lv2
export JACK_DEFAULT_SERVER=deesser-check-$$ JACK_NO_AUDIO_RESERVATION=1

start_display 1280x800
jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 44100 -p 256 >"$work/jack.log" 2>&1 &
host_pids+=($!)
sleep 2
openbox >"$work/openbox.log" 2>&1 &
host_pids+=($!)
jalv.gtk3 urn:korvaine:comp2 >"$work/jalv.log" 2>&1 &
host_pids+=($!)

find_window '/"Comp2"/ { found = 1 } found && / 460x2[0-9][0-9]\+0\+0 / { print $NF; exit }' 60 || true
echo "check-jalv-lv2: jalv $(host_version jalv)"
if [ -z "$at" ]; then
    echo "  FAIL: jalv shows no editor"
    cat "$work/jalv.log"
    exit 1
fi
sleep 1
x=${at#+}
x=${x%%+*}
y=${at##*+}
import -window root -crop 460x210+$x+$y "$work/jalv.png" 2>/dev/null || true
echo "  the editor is embedded in jalv's window at $at"
echo "check-jalv-lv2: passed"
