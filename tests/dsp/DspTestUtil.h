// Helpers for the filter tests: test signals, sine gain measurement and the
// analytic magnitude of a biquad.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <functional>
#include <vector>

namespace dsptest
{
constexpr double kPi = 3.14159265358979323846;

// Deterministic noise in [-amp, amp] (xorshift), the same on every machine.
inline std::vector<float> Noise(int n, float amp, uint32_t seed = 12345u)
{
    std::vector<float> v((size_t)n);
    uint32_t s = seed;
    for (auto& x : v)
    {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        x = amp * ((float)(s & 0xFFFFFF) / 8388607.5f - 1.f);
    }
    return v;
}

inline std::vector<float> Sine(int n, double freq, double rate, double amp = 0.5)
{
    std::vector<float> v((size_t)n);
    for (int i = 0; i < n; ++i)
        v[(size_t)i] = (float)(amp * std::sin(2.0 * kPi * freq * i / rate));
    return v;
}

// Gain in dB of a block filter at one frequency: a sine runs through it and
// the output's RMS over the second half is compared with the input's.
inline double MeasureGainDb(const std::function<void(const float*, float*, int)>& filter,
                            double freq, double rate)
{
    const int n = 32768;
    std::vector<float> in = Sine(n, freq, rate), out((size_t)n);
    filter(in.data(), out.data(), n);
    double ein = 0.0, eout = 0.0;
    for (int i = n / 2; i < n; ++i)
    {
        ein += (double)in[(size_t)i] * in[(size_t)i];
        eout += (double)out[(size_t)i] * out[(size_t)i];
    }
    return 10.0 * std::log10(eout / ein);
}

// |H(e^jw)| in dB of (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2).
inline double BiquadGainDb(double b0, double b1, double b2, double a1, double a2, double freq,
                           double rate)
{
    const std::complex<double> z1 = std::polar(1.0, -2.0 * kPi * freq / rate);
    const std::complex<double> z2 = z1 * z1;
    const std::complex<double> h = (b0 + b1 * z1 + b2 * z2) / (1.0 + a1 * z1 + a2 * z2);
    return 20.0 * std::log10(std::abs(h));
}
} // namespace dsptest
