// Demo signal synthesis.
#include "DemoSignal.h"

#include <cmath>
#include <cstdint>

namespace
{
const double kPi = 3.14159265358979323846;

struct Vowel
{
    double f0Start, f0End; // Hz, glide over the vowel
    double formant[3];     // Hz
};

// Small deterministic generator (xorshift) so the demo is the same everywhere.
class CNoise
{
public:
    explicit CNoise(uint64_t seed) : m_State(seed) {}
    double Uniform() // 0..1
    {
        m_State ^= m_State << 13;
        m_State ^= m_State >> 7;
        m_State ^= m_State << 17;
        return (double)(m_State >> 11) / 9007199254740992.0;
    }

private:
    uint64_t m_State;
};

// Raised-cosine fade in and out of length fade (s) over [start, end].
double envelope(double t, double start, double end, double fade)
{
    if (t < start || t >= end)
        return 0.0;
    double a = std::min(1.0, (t - start) / fade);
    double b = std::min(1.0, (end - t) / fade);
    double x = std::min(a, b);
    return 0.5 - 0.5 * std::cos(kPi * x);
}

// Resonance weight of a harmonic at freq for formants with bandwidth 120 Hz
// and a spectral tilt of -12 dB per octave above 200 Hz.
double formantWeight(double freq, const double* formants)
{
    double w = 0.0;
    const double gains[3] = {1.0, 0.5, 0.25};
    for (int k = 0; k < 3; ++k)
    {
        double d = (freq - formants[k]) / 120.0;
        w += gains[k] / (1.0 + d * d);
    }
    double tilt = freq > 200.0 ? std::pow(200.0 / freq, 2.0) : 1.0;
    return (0.15 + w) * tilt;
}
} // namespace

const std::vector<DemoSegment>& DemoSegments()
{
    // Five syllables ending in "s" ("as, es, is, os, us"): a vowel, a short
    // gap, the sibilant, then a pause before the next syllable, as between words.
    static const std::vector<DemoSegment> segments = []
    {
        std::vector<DemoSegment> s;
        for (int k = 0; k < 5; ++k)
        {
            double base = 0.05 + 0.78 * k;
            s.push_back({base, base + 0.40, false});
            s.push_back({base + 0.43, base + 0.58, true});
        }
        return s;
    }();
    return segments;
}

std::vector<float> SynthesiseDemo(double sampleRate, double seconds)
{
    static const Vowel vowels[5] = {
        {150, 185, {800, 1200, 2500}}, // a
        {185, 205, {500, 1800, 2500}}, // e
        {205, 220, {300, 2300, 3000}}, // i
        {210, 170, {500, 900, 2400}},  // o
        {170, 150, {320, 800, 2300}},  // u
    };
    const double phrase = 4.0;
    long long total = (long long)std::llround(seconds * sampleRate);
    long long phraseFrames = (long long)std::llround(phrase * sampleRate);
    std::vector<float> out((size_t)std::max(0LL, total), 0.f);

    // One phrase, then copies of it.
    std::vector<double> one((size_t)phraseFrames, 0.0);
    int vowelIndex = 0;
    CNoise noise(0x5EED1234ULL);
    for (const DemoSegment& seg : DemoSegments())
    {
        long long a = (long long)(seg.start * sampleRate);
        long long b = std::min(phraseFrames, (long long)(seg.end * sampleRate));
        if (seg.sibilant)
        {
            // Sum of 300 sines at random frequencies inside 5-9 kHz with random
            // phases: noise that has no energy outside the band at all.
            const int partials = 300;
            std::vector<double> freq(partials), phase(partials);
            for (int k = 0; k < partials; ++k)
            {
                freq[k] = 5000.0 + 4000.0 * noise.Uniform();
                phase[k] = 2.0 * kPi * noise.Uniform();
            }
            const double level = 0.10 * std::sqrt(2.0 / partials); // RMS 0.1, -20 dBFS
            for (long long i = a; i < b; ++i)
            {
                double t = (double)i / sampleRate;
                double s = 0.0;
                for (int k = 0; k < partials; ++k)
                    s += std::sin(2.0 * kPi * freq[k] * (t - seg.start) + phase[k]);
                one[i] += level * s * envelope(t, seg.start, seg.end, 0.02);
            }
        }
        else
        {
            const Vowel& v = vowels[vowelIndex++ % 5];
            // Scale each vowel to an RMS of 0.2 (-14 dBFS) at its mean pitch.
            double meanF0 = 0.5 * (v.f0Start + v.f0End), power = 0.0;
            for (int h = 1; h * meanF0 < 3400.0; ++h)
                power += 0.5 * std::pow(formantWeight(h * meanF0, v.formant), 2.0);
            const double scale = 0.2 / std::sqrt(power);
            double phaseAcc = 0.0;
            for (long long i = a; i < b; ++i)
            {
                double t = (double)i / sampleRate;
                double x = (t - seg.start) / (seg.end - seg.start);
                // Glide between the vowel's ends and a 5.5 Hz vibrato of 2 %.
                double f0 = (v.f0Start + (v.f0End - v.f0Start) * x) *
                            (1.0 + 0.02 * std::sin(2.0 * kPi * 5.5 * t));
                phaseAcc += 2.0 * kPi * f0 / sampleRate;
                double s = 0.0;
                for (int h = 1; h * f0 < 3400.0; ++h)
                    s += formantWeight(h * f0, v.formant) * std::sin(h * phaseAcc);
                one[i] += scale * s * envelope(t, seg.start, seg.end, 0.04);
            }
        }
    }
    for (long long i = 0; i < total; ++i)
        out[i] = (float)one[i % phraseFrames];
    return out;
}
