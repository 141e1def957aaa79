#!/usr/bin/env python3
"""The least the 100-3000 Hz band can move when a gain on the whole signal
takes the 5-9 kHz band down by TARGET dB, for any gain that is constant within
windows of a few milliseconds and knows each window's band energies. Taking
windows down in order of their 5-9 kHz to voice energy ratio is the best such
gain can do (a fractional knapsack), so no side-chain setting can do better on
the file. Needs sox.

Usage: scripts/voice-band-bound.py FILE [TARGET_DB]
"""
import array
import math
import subprocess
import sys


def band(path, low, high):
    """The file as mono float samples through 4th-order high- and low-passes."""
    raw = subprocess.run(["sox", path, "-t", "f32", "-c", "1", "-",
                          "highpass", str(low), "highpass", str(low),
                          "lowpass", str(high), "lowpass", str(high)],
                         capture_output=True, check=True).stdout
    samples = array.array("f")
    samples.frombytes(raw)
    return samples


def bound(sib, voice, window, target_db):
    wins = []
    for i in range(0, len(sib) - window + 1, window):
        wins.append((sum(x * x for x in sib[i:i + window]),
                     sum(x * x for x in voice[i:i + window])))
    sib_total = sum(s for s, _ in wins)
    voice_total = sum(v for _, v in wins)
    need = sib_total * (1 - 10 ** (-target_db / 10))
    wins.sort(key=lambda w: -w[0] / (w[1] + 1e-30))
    taken = lost = 0.0
    for s, v in wins:
        part = min(1.0, (need - taken) / s) if s > 0 else 0.0
        taken += part * s
        lost += part * v
        if taken >= need:
            break
    return 10 * math.log10(1 - lost / voice_total)


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    path = sys.argv[1]
    target = float(sys.argv[2]) if len(sys.argv) == 3 else 6.0
    rate = int(subprocess.run(["soxi", "-r", path], capture_output=True, text=True, check=True).stdout)
    sib, voice = band(path, 5000, 9000), band(path, 100, 3000)
    for ms in (2, 5, 10, 20):
        print(f"{ms:2d} ms windows: 5-9 kHz -{target:g} dB, 100-3000 Hz at best "
              f"{bound(sib, voice, max(1, rate * ms // 1000), target):+.2f} dB")


main()
