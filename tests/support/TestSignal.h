// The test-signal kit: deterministic noise, and the vocal-like
// signal with sibilant bursts that tests and benchmarks run through the effect.
#pragma once

#include "CIIRFilter.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace testsignal
{
constexpr double kPi = 3.14159265358979323846;

// Deterministic noise in [-amp, amp] (xorshift), the same on every machine.
inline std::vector<float> Noise(int n, float amp, uint32_t seed = 12345u)
{
    std::vector<float> v((size_t)n);
    for (auto& x : v)
    {
        seed ^= seed << 13;
        seed ^= seed >> 17;
        seed ^= seed << 5;
        x = amp * ((float)(seed & 0xFFFFFF) / 8388607.5f - 1.f);
    }
    return v;
}

// A voiced tone (150 Hz with vibrato, 24 harmonics falling 6 dB per octave) in
// 4 Hz syllables, and bursts of 5-9 kHz noise (sibilants) in the first 80 ms
// of every 400 ms. Peaks near -6 dBFS for the voice and -12 dBFS for the
// sibilants; the right channel has a little less voice and more sibilance.
struct Vocal
{
    explicit Vocal(int frames, double rate = 44100.0) : left((size_t)frames), right((size_t)frames)
    {
        std::vector<float> hiss = Noise(frames, 1.f, 0x9E3779B9u), band((size_t)frames);
        CIIRFilter hp, lp;
        hp.SetParams((float)(1.0 / rate), 5000.f, false);
        lp.SetParams((float)(1.0 / rate), 9000.f, true);
        hp.OperateEqualizer(hiss.data(), band.data(), frames);
        lp.OperateEqualizer(band.data(), hiss.data(), frames);
        double phase = 0.0;
        for (int i = 0; i < frames; ++i)
        {
            const double t = i / rate;
            const double f0 = 150.0 * (1.0 + 0.02 * std::sin(2.0 * kPi * 5.5 * t));
            phase += 2.0 * kPi * f0 / rate;
            double voice = 0.0;
            for (int k = 1; k <= 24; ++k)
                voice += std::sin(k * phase) / k;
            const double v = 0.3 * (0.5 - 0.5 * std::cos(2.0 * kPi * 4.0 * t)) * voice;
            const double sib = std::fmod(t, 0.4) < 0.08 ? 0.9 * hiss[(size_t)i] : 0.0;
            left[(size_t)i] = (float)(v + sib);
            right[(size_t)i] = (float)(0.9 * v + 1.1 * sib);
        }
    }

    // `channels` interleaved: left, right, then left at 1 - 0.25 c.
    std::vector<float> Interleaved(int channels) const
    {
        std::vector<float> s(left.size() * (size_t)channels);
        for (size_t i = 0; i < left.size(); ++i)
            for (int c = 0; c < channels; ++c)
                s[i * channels + c] = c == 1 ? right[i] : (float)(left[i] * (1.0 - 0.25 * c));
        return s;
    }

    std::vector<float> left, right;
};
} // namespace testsignal
