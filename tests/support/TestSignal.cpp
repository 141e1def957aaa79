#include "TestSignal.h"

#include "CIIRFilter.h"

#include <cmath>

namespace testsignal
{
std::vector<float> Noise(int n, float amp, uint32_t seed)
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

std::vector<float> Sine(int n, double freq, double rate, double amp)
{
    std::vector<float> v((size_t)n);
    for (int i = 0; i < n; ++i)
        v[(size_t)i] = (float)(amp * std::sin(2.0 * kPi * freq * i / rate));
    return v;
}

Vocal::Vocal(int frames, double sampleRate) : rate(sampleRate)
{
    left.resize((size_t)frames);
    right.resize((size_t)frames);
    std::vector<float> noise = Noise(frames, 1.f, 0x9E3779B9u);
    std::vector<float> hiss((size_t)frames), band((size_t)frames);
    CIIRFilter hp, lp;
    hp.SetParams((float)(1.0 / rate), 5000.f, false);
    lp.SetParams((float)(1.0 / rate), 9000.f, true);
    hp.OperateEqualizer(noise.data(), hiss.data(), frames);
    lp.OperateEqualizer(hiss.data(), band.data(), frames);

    double phase = 0.0;
    for (int i = 0; i < frames; ++i)
    {
        const double t = i / rate;
        const double f0 = 150.0 * (1.0 + 0.02 * std::sin(2.0 * kPi * 5.5 * t));
        phase += 2.0 * kPi * f0 / rate;
        double voice = 0.0;
        for (int k = 1; k <= 24; ++k)
            voice += std::sin(k * phase) / k;
        const double syllable = 0.5 - 0.5 * std::cos(2.0 * kPi * 4.0 * t);
        const double v = 0.3 * syllable * voice;
        const double sib = InBurst(t) ? 0.9 * band[(size_t)i] : 0.0;
        left[(size_t)i] = (float)(v + sib);
        right[(size_t)i] = (float)(0.9 * v + 1.1 * sib);
    }
}

bool Vocal::InBurst(double t)
{
    return std::fmod(t, 0.4) < 0.08;
}

std::vector<bool> Vocal::Mask(bool (*pick)(double)) const
{
    std::vector<bool> m(left.size());
    for (size_t i = 0; i < m.size(); ++i)
        m[i] = pick(i / rate);
    return m;
}

std::vector<float> Vocal::Interleaved(int channels) const
{
    std::vector<float> s(left.size() * (size_t)channels);
    for (size_t i = 0; i < left.size(); ++i)
        for (int c = 0; c < channels; ++c)
            s[i * channels + c] = c == 1 ? right[i] : (float)(left[i] * (1.0 - 0.25 * c));
    return s;
}

} // namespace testsignal
