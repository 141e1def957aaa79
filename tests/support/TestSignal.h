// The test-signal kit: deterministic noise and sines, and the vocal-like
// signal with sibilant bursts that tests and benchmarks run through the effect.
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
    // Samples where `pick(time)` holds.
    std::vector<bool> Mask(bool (*pick)(double)) const;
    // `channels` interleaved: left, right, then left at 1 - 0.25 c.
    std::vector<float> Interleaved(int channels) const;

    double rate;
    std::vector<float> left, right;
};
} // namespace testsignal
