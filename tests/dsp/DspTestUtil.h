// Helpers for the filter tests: sine gain measurement and the analytic
// magnitude of a biquad; signals from the shared kit.
#pragma once

#include "TestSignal.h"

#include <gtest/gtest.h>

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

// fn(done, count) over n samples in pieces of `chunk` (the last one shorter).
template <class Fn> void ForChunks(size_t n, int chunk, Fn fn)
{
    for (size_t done = 0; done < n; done += (size_t)chunk)
        fn(done, (int)std::min((size_t)chunk, n - done));
}

// process(in, out, offset, count) over the stereo pair l, r into ol, orr in chunks.
template <class Process>
void RunStereo(std::vector<float>& l, std::vector<float>& r, std::vector<float>& ol,
               std::vector<float>& orr, int chunk, Process process)
{
    ol.assign(l.size(), 0.f);
    orr.assign(l.size(), 0.f);
    ForChunks(l.size(), chunk,
              [&](size_t done, int count)
              {
                  float* in[2] = {l.data() + done, r.data() + done};
                  float* out[2] = {ol.data() + done, orr.data() + done};
                  process(in, out, done, count);
              });
}

// Direct form I from a zero state exactly as written, earlier samples re-read
// from the buffers: b0 x[i] + b1 x[i-1] + b2 x[i-2] - a1 y[i-1] - a2 y[i-2].
inline std::vector<float> LiteralDF1(float b0, float b1, float b2, float a1, float a2,
                                     const std::vector<float>& in)
{
    std::vector<float> out(in.size());
    for (size_t i = 0; i < in.size(); ++i)
        out[i] = b0 * in[i] + b1 * (i > 0 ? in[i - 1] : 0.f) + b2 * (i > 1 ? in[i - 2] : 0.f) -
                 a1 * (i > 0 ? out[i - 1] : 0.f) - a2 * (i > 1 ? out[i - 2] : 0.f);
    return out;
}

// The last two inputs and outputs a second-order filter keeps.
template <class Filter> std::vector<float> State(const Filter& f)
{
    return {f.x1, f.x2, f.y1, f.y2};
}

// run(in, out, count) with count 0 touches neither output nor state; a
// non-finite input (`bad`) makes the state bad until Reset zeroes it.
template <class Filter, class Run>
void ExpectEmptyCallAndBadStateReset(Filter& f, float bad, Run run)
{
    const std::vector<float> before = State(f);
    float guard = 7.f, in[2] = {bad, 0.f}, out[2];
    run(nullptr, &guard, 0);
    EXPECT_EQ(guard, 7.f);
    EXPECT_EQ(State(f), before);
    run(in, out, 2);
    EXPECT_TRUE(f.IsStateBad());
    f.Reset();
    EXPECT_FALSE(f.IsStateBad());
    EXPECT_EQ(State(f), std::vector<float>(4, 0.f));
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
