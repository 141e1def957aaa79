// Helpers for the filter tests: chunked runs, the direct form I written out,
// the empty-call/bad-state check and the analytic magnitude of a biquad.
#pragma once

#include "TestSignal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

namespace dsptest
{
using testsignal::kPi;
using testsignal::Noise;

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

// A filter made by setup(f), run(f, in, out, count) in chunks of 1, 2, 31 and
// 255, gives `want` and ends in the last two inputs and outputs; count 0 with
// no input touches no output; a non-finite input makes the state bad until
// Reset zeroes it.
template <class Filter, class Setup, class Run>
void ExpectRecursionAndSafety(Setup setup, const std::vector<float>& in,
                              const std::vector<float>& want, Run run)
{
    const size_t n = in.size();
    for (int chunk : {1, 2, 31, 255})
    {
        Filter f;
        setup(f);
        std::vector<float> out(n);
        ForChunks(n, chunk, [&](size_t done, int c) { run(f, &in[done], &out[done], c); });
        EXPECT_EQ(out, want) << "chunk " << chunk;
        EXPECT_EQ(std::vector<float>({f.x1, f.x2, f.y1, f.y2}),
                  std::vector<float>({in[n - 1], in[n - 2], want[n - 1], want[n - 2]}));
        float guard = 7.f, bad[2] = {NAN, 0.f}, out2[2];
        run(f, nullptr, &guard, 0);
        EXPECT_EQ(guard, 7.f);
        run(f, bad, out2, 2);
        EXPECT_TRUE(f.IsStateBad());
        f.Reset();
        EXPECT_EQ(std::vector<float>({f.x1, f.x2, f.y1, f.y2}), std::vector<float>(4, 0.f));
    }
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
