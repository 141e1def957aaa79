// A vocal-like stereo test signal for the benchmarks: a voiced tone (150 Hz
// with vibrato, 24 harmonics falling 6 dB per octave) in 4 Hz syllables, and
// bursts of 5-9 kHz noise (sibilants) of 80 ms every 400 ms. Peaks near
// -6 dBFS for the voice and -12 dBFS for the sibilants.
#pragma once

#include "CIIRFilter.h"

#include <cmath>
#include <cstdint>
#include <vector>

struct BenchSignal
{
    std::vector<float> left, right;

    explicit BenchSignal(int frames, double rate = 44100.0)
    {
        const double pi = 3.14159265358979323846;
        left.resize((size_t)frames);
        right.resize((size_t)frames);
        std::vector<float> noise((size_t)frames), hiss((size_t)frames), band((size_t)frames);
        uint32_t s = 0x9E3779B9u;
        for (float& x : noise)
        {
            s ^= s << 13;
            s ^= s >> 17;
            s ^= s << 5;
            x = (float)(s & 0xFFFFFF) / 8388607.5f - 1.f;
        }
        CIIRFilter hp, lp;
        hp.SetParams((float)(1.0 / rate), 5000.f, false);
        lp.SetParams((float)(1.0 / rate), 9000.f, true);
        hp.OperateEqualizer(noise.data(), hiss.data(), frames);
        lp.OperateEqualizer(hiss.data(), band.data(), frames);

        double phase = 0.0;
        for (int i = 0; i < frames; ++i)
        {
            const double t = i / rate;
            const double f0 = 150.0 * (1.0 + 0.02 * std::sin(2.0 * pi * 5.5 * t));
            phase += 2.0 * pi * f0 / rate;
            double voice = 0.0;
            for (int k = 1; k <= 24; ++k)
                voice += std::sin(k * phase) / k;
            const double syllable = 0.5 - 0.5 * std::cos(2.0 * pi * 4.0 * t);
            const double inBurst = std::fmod(t, 0.4) < 0.08 ? 1.0 : 0.0;
            const double v = 0.3 * syllable * voice;
            const double sib = 0.9 * inBurst * band[(size_t)i];
            left[(size_t)i] = (float)(v + sib);
            right[(size_t)i] = (float)(0.9 * v + 1.1 * sib);
        }
    }
};
