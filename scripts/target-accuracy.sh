#!/usr/bin/env bash
# Accuracy of `deesser render --target`: real speech at five peak levels, one
# side-chain and one split-band factory program, --target 6. Prints a Markdown
# table of what the first pass chose and what the render reached (5-9 kHz and
# 100-3000 Hz band changes, measured on the output).
# Usage: scripts/target-accuracy.sh [BUILD_DIR] [TARGET_DB] [SPEECH]
# SPEECH: a sound file to use instead of the tests' Czech dialogue sample
# (brought to each level with sox), or "words" for the English words of the
# Debian package ktuberling-data, joined with 0.25 s pauses.
set -euo pipefail
build=${1:-build/release}
target=${2:-6}
speech=${3:-}
deesser=$build/host/deesser
maker=$build/tests/support/make_speech_sample
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
export XDG_CONFIG_HOME=$tmp/config

if [ "$speech" = words ]; then
    words=(/usr/share/ktuberling/sounds/en/*.ogg)
    [ -e "${words[0]}" ] || { echo "install ktuberling-data first" >&2; exit 1; }
    for i in "${!words[@]}"; do
        sox "${words[$i]}" -c 1 "$tmp/w$(printf %03d "$i").wav" remix - pad 0 0.25
    done
    sox "$tmp"/w*.wav "$tmp/words.wav"
    speech=$tmp/words.wav
fi
# make_level OUT PEAK_DB
make_level() {
    if [ -n "$speech" ]; then
        sox "$speech" -b 32 -e floating-point "$1" gain -n "$2"
    else
        "$maker" "$1" "$2"
    fi
}

echo "| program | peak | Threshold | Ratio | fixed dip | 5-9 kHz | 100-3000 Hz | 5-9 kHz within $target +- 1.5 | voice < 0.7 |"
echo "|---|---|---|---|---|---|---|---|---|"
for program in "Female Vocal" "Split Male"; do
    for level in -1 -6 -12 -18 -24; do
        make_level "$tmp/in.wav" "$level"
        "$deesser" render "$tmp/in.wav" "$tmp/out.wav" --force --factory \
            --program-name "$program" --target "$target" --json -q >"$tmp/report.json"
        python3 - "$program" "$level" "$target" "$tmp/report.json" <<'PY'
import json, sys
program, level, target, path = sys.argv[1], sys.argv[2], float(sys.argv[3]), sys.argv[4]
t = json.load(open(path))["target"]
sib, voice = t["reached"]["sibilance_change_db"], t["reached"]["voice_change_db"]
ok_sib = "yes" if abs(-sib - target) <= 1.5 else "NO"
ok_voice = "yes" if abs(voice) < 0.7 else "NO"
fixed = t["fixed"]["sibilance_change_db"]
fixed = 0.0 if abs(fixed) < 0.05 else fixed
print(f"| {program} | {level} dBFS | {t['threshold_db']:.1f} dB | {t['ratio']:.1f} | "
      f"{fixed:+.1f} dB | {sib:+.2f} dB | {voice:+.2f} dB | "
      f"{ok_sib} | {ok_voice} |")
PY
    done
done
