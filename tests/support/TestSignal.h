// The test-signal kit: deterministic noise and sines, the vocal-like signal
// with sibilant bursts that tests and benchmarks run through the effect, and
// reference filters in double precision to measure bands of the result.
#pragma once

#include <cstdint>
#include <vector>

namespace testsignal
{
constexpr double kPi = 3.14159265358979323846;

// Deterministic noise in [-amp, amp] (xorshift), the same on every machine.
std::vector<float> Noise(int n, float amp, uint32_t seed = 12345u);
std::vector<float> Sine(int n, double freq, double rate, double amp = 0.5);

// A voiced tone (150 Hz with vibrato, 24 harmonics falling 6 dB per octave) in
// 4 Hz syllables, and bursts of 5-9 kHz noise (sibilants) in the first 80 ms
// of every 400 ms. Peaks near -6 dBFS for the voice and -12 dBFS for the
// sibilants; the right channel has a little less voice and more sibilance.
struct Vocal
{
    explicit Vocal(int frames, double rate = 44100.0);

    static bool InBurst(double seconds);
    // The voice alone, at least 120 ms after a burst ended.
    static bool VoiceOnly(double seconds);
    // Samples where `pick(time)` holds.
    std::vector<bool> Mask(bool (*pick)(double)) const;
    // `channels` interleaved: left, right, then left at 1 - 0.25 c.
    std::vector<float> Interleaved(int channels) const;

    double rate;
    std::vector<float> left, right;
};

// Second-order section in double, direct form I.
struct Biquad
{
    double b0, b1, b2, a1, a2, x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    double Run(double x);
};

// Butterworth by the bilinear transform without pre-warping.
Biquad Butterworth(double cutoff, double rate, bool lowPass);

// x through a high-pass at `lo` then a low-pass at `hi` (two low-passes at
// `hi` when lo is 0).
std::vector<double> Band(const std::vector<float>& x, double lo, double hi, double rate);

// RMS level in dB of the samples where mask holds.
double RmsDb(const std::vector<double>& x, const std::vector<bool>& mask);
} // namespace testsignal
