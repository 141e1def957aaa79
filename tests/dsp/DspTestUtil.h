// Helpers for the filter tests: sine gain measurement and the analytic
// magnitude of a biquad; signals from the shared kit.
#pragma once

#include "TestSignal.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <vector>

namespace dsptest
{
using testsignal::kPi;
using testsignal::Noise;
using testsignal::Sine;

// process(in, out, offset, count) over the stereo pair l, r into ol, orr, in
// pieces of `chunk` samples (the last one shorter).
template <class Process>
void RunStereo(std::vector<float>& l, std::vector<float>& r, std::vector<float>& ol,
               std::vector<float>& orr, int chunk, Process process)
{
    const size_t n = l.size();
    ol.assign(n, 0.f);
    orr.assign(n, 0.f);
    for (size_t done = 0; done < n; done += (size_t)chunk)
    {
        float* in[2] = {l.data() + done, r.data() + done};
        float* out[2] = {ol.data() + done, orr.data() + done};
        process(in, out, done, (int)std::min((size_t)chunk, n - done));
    }
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
