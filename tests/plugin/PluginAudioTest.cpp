// The audio path of the built plug-in, through the VST interface, on test
// signals: a steady in-band sine, and a vocal-like signal with sibilant bursts.
// Reference filters are written here independently, in double precision.
#include "HostHarness.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{
constexpr double kPi = 3.14159265358979323846;
constexpr float kRate = 44100.f;

// Normalised values of display settings (gains: 6 dB per doubling).
float NormDb(double db, double lo, double hi)
{
    return (float)((db - lo) / (hi - lo));
}
float NormGainDb(double db, double maxGain)
{
    return (float)((std::exp2(db / 6.0) - 0.001) / (maxGain - 0.001));
}
float NormHz(double hz)
{
    return (float)((hz - 2000.0) / 18000.0);
}

struct Stereo
{
    std::vector<float> l, r;
    explicit Stereo(size_t n = 0) : l(n), r(n) {}
    size_t size() const { return l.size(); }
};

// Voiced harmonics (150 Hz, falling 9 dB per octave, up to 2 kHz) with noise
// bursts band-limited to 5-9 kHz: 150 ms of every 500 ms.
Stereo SibilantSignal(double seconds, std::vector<bool>* burst, std::vector<bool>* quiet = nullptr)
{
    size_t n = (size_t)(seconds * kRate);
    Stereo s(n);
    std::mt19937 rng(7);
    std::normal_distribution<double> noise(0.0, 1.0);
    // Band-pass for the noise: 4th-order (two 2nd-order sections), 5-9 kHz.
    double w0 = 2 * kPi * 6708.0 / kRate, bw = std::log2(9000.0 / 5000.0);
    double alpha = std::sin(w0) * std::sinh(std::log(2.0) / 2 * bw * w0 / std::sin(w0));
    double b0 = alpha, b2 = -alpha, a0 = 1 + alpha, a1 = -2 * std::cos(w0), a2 = 1 - alpha;
    double z[2][4] = {};
    if (burst)
        burst->assign(n, false);
    if (quiet)
        quiet->assign(n, false);
    for (size_t i = 0; i < n; ++i)
    {
        double t = i / (double)kRate;
        double v = 0;
        for (int h = 1; h * 150 <= 2000; ++h)
            v += 0.3 / std::pow(h, 1.5) * std::sin(2 * kPi * 150 * h * t + h);
        bool on = std::fmod(t, 0.5) >= 0.3 && std::fmod(t, 0.5) < 0.45;
        double x = on ? noise(rng) : 0.0;
        for (int st = 0; st < 2; ++st)
        {
            double y = (b0 * x + b2 * z[st][1] - a1 * z[st][2] - a2 * z[st][3]) / a0;
            z[st][1] = z[st][0];
            z[st][0] = x;
            z[st][3] = z[st][2];
            z[st][2] = y;
            x = y;
        }
        s.l[i] = (float)(v + 0.6 * x);
        s.r[i] = (float)(0.9 * v + 0.6 * x);
        if (burst)
            (*burst)[i] = on;
        // Voice alone, at least 150 ms after the last burst's release began.
        if (quiet)
            (*quiet)[i] = std::fmod(t, 0.5) >= 0.1 && std::fmod(t, 0.5) < 0.3;
    }
    return s;
}

// Second-order section in double, direct form I.
struct Biquad
{
    double b0, b1, b2, a1, a2, x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    double Run(double x)
    {
        double y = b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

// Butterworth by the bilinear transform without pre-warping.
Biquad Butterworth(double cutoff, bool lowPass)
{
    double w = 2 * kPi * cutoff / kRate, k = 2 * std::sqrt(2.0) * w, d = k + 4 + w * w;
    Biquad f;
    f.a1 = -(8 - 2 * w * w) / d;
    f.a2 = (4 - k + w * w) / d;
    if (lowPass)
        f.b0 = w * w / d, f.b1 = 2 * w * w / d, f.b2 = w * w / d;
    else
        f.b0 = 4 / d, f.b1 = -8 / d, f.b2 = 4 / d;
    return f;
}

double RmsDb(const std::vector<double>& x, const std::vector<bool>& mask, bool want)
{
    double sum = 0;
    size_t count = 0;
    for (size_t i = 0; i < x.size(); ++i)
        if (mask[i] == want)
            sum += x[i] * x[i], ++count;
    return 10 * std::log10(sum / count + 1e-30);
}

// The channel through a band-pass of 5-9 kHz (sibilance) or a 3 kHz low-pass.
std::vector<double> Band(const std::vector<float>& x, bool sibilance)
{
    Biquad a = sibilance ? Butterworth(5000, false) : Butterworth(3000, true);
    Biquad b = sibilance ? Butterworth(9000, true) : Butterworth(3000, true);
    std::vector<double> y(x.size());
    for (size_t i = 0; i < x.size(); ++i)
        y[i] = b.Run(a.Run(x[i]));
    return y;
}

class PluginAudio : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
        ASSERT_NE(host.Create(), nullptr);
        host.Dispatch(effOpen);
        host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
        host.Dispatch(effSetBlockSize, 0, 256);
        // A known program: unity gains, side-chain on, auto threshold off,
        // attack 0 ms, release 0.01 s, key band 4-8 kHz.
        Set(1, NormGainDb(0, 10)), Set(2, 1.f), Set(3, 1.f), Set(4, 0.f), Set(5, 0.f);
        Set(6, 0.f), Set(7, NormHz(4000)), Set(8, NormHz(8000)), Set(9, 1.f), Set(10, 0.f);
        host.Dispatch(effMainsChanged, 0, 1);
        host.Dispatch(effStartProcess);
    }
    void Set(int index, float value) { host.effect->setParameter(host.effect, index, value); }

    Stereo Process(Stereo in, int block = 256)
    {
        Stereo out(in.size());
        for (size_t done = 0; done < in.size(); done += block)
        {
            int n = (int)std::min<size_t>(block, in.size() - done);
            float* i[2] = {in.l.data() + done, in.r.data() + done};
            float* o[2] = {out.l.data() + done, out.r.data() + done};
            host.effect->processReplacing(host.effect, i, o, n);
        }
        return out;
    }

    HostHarness host;
};
} // namespace

TEST_F(PluginAudio, ReducesTheSibilanceBandAndLeavesTheVoiceAlone)
{
    std::vector<bool> burst, quiet;
    Stereo in = SibilantSignal(2.0, &burst, &quiet);
    Set(3, NormDb(-30, -100, 0));
    Set(4, 3.f / 63.f); // ratio 4
    Stereo out = Process(in);

    double sibIn = RmsDb(Band(in.l, true), burst, true);
    double sibOut = RmsDb(Band(out.l, true), burst, true);
    double voiceIn = RmsDb(Band(in.l, false), quiet, true);
    double voiceOut = RmsDb(Band(out.l, false), quiet, true);
    EXPECT_LT(sibOut, sibIn - 6.0) << "sibilance " << sibIn << " -> " << sibOut;
    EXPECT_NEAR(voiceOut, voiceIn, 0.1) << "voice " << voiceIn << " -> " << voiceOut;

    // Split band: the voice band stays even during the bursts.
    host.Dispatch(effStartProcess);
    Set(9, 0.f);
    Stereo split = Process(in);
    double splitSib = RmsDb(Band(split.l, true), burst, true);
    EXPECT_LT(splitSib, sibIn - 3.0);
}

TEST_F(PluginAudio, SteadyReductionFollowsThresholdAndRatio)
{
    // A 6 kHz sine sits inside the key band. With the longest release the
    // envelope holds the key's peak, so the gain settles at (1 - 1/ratio) of
    // the key's excess over the threshold.
    const size_t n = 22050;
    Stereo in(n);
    for (size_t i = 0; i < n; ++i)
        in.l[i] = in.r[i] = (float)(0.5 * std::sin(2 * kPi * 6000 * i / kRate));
    Biquad hp = Butterworth(4000, false), lp = Butterworth(8000, true);
    double keyPeak = 0;
    for (size_t i = 0; i < n; ++i)
    {
        double k = lp.Run(hp.Run(in.l[i]));
        if (i > n / 2)
            keyPeak = std::max(keyPeak, std::fabs(k));
    }
    for (double ratio : {2.0, 4.0, 10.0})
    {
        host.Dispatch(effStartProcess);
        Set(3, NormDb(-30, -100, 0));
        Set(4, (float)((ratio - 1) / 63));
        Set(6, 1.f);
        Stereo out = Process(in);
        double outPeak = 0;
        for (size_t i = n / 2; i < n; ++i)
            outPeak = std::max(outPeak, (double)std::fabs(out.l[i]));
        double expectedDb = -(1 - 1 / ratio) * (20 * std::log10(keyPeak) + 30);
        EXPECT_NEAR(20 * std::log10(outPeak / 0.5), expectedDb, 0.05) << "ratio " << ratio;
    }
}

TEST_F(PluginAudio, RatioOneIsTransparentAndBlockSizeDoesNotMatter)
{
    Stereo in = SibilantSignal(0.5, nullptr);
    Set(3, 0.f); // -100 dB: everything is over the threshold
    Stereo out = Process(in);
    // The output gain nearest to unity is 2^(-1e-7 / 6) or so: float rounding.
    for (size_t i = 0; i < in.size(); ++i)
    {
        ASSERT_NEAR(out.l[i], in.l[i], 1e-6f * std::fabs(in.l[i])) << i;
        ASSERT_NEAR(out.r[i], in.r[i], 1e-6f * std::fabs(in.r[i])) << i;
    }

    // The same settings in blocks of 256 and in odd blocks give the same
    // samples: filters and envelopes carry their state across calls.
    Set(3, NormDb(-30, -100, 0));
    Set(4, 3.f / 63.f);
    host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate); // fresh key filters
    host.Dispatch(effStartProcess);
    Stereo a = Process(in, 256);
    host.Dispatch(effSetSampleRate, 0, 0, nullptr, kRate);
    host.Dispatch(effStartProcess);
    Stereo b = Process(in, 31);
    for (size_t i = 0; i < in.size(); ++i)
        ASSERT_EQ(a.l[i], b.l[i]) << i;
}

TEST_F(PluginAudio, NonFiniteInputDoesNotSilenceTheOutputForGood)
{
    Stereo in = SibilantSignal(0.2, nullptr);
    Set(3, NormDb(-30, -100, 0));
    Set(4, 3.f / 63.f);
    Stereo bad = in;
    bad.l[100] = NAN;
    bad.r[200] = INFINITY;
    Process(bad);
    Stereo out = Process(in);
    for (size_t i = 0; i < out.size(); ++i)
        ASSERT_TRUE(std::isfinite(out.l[i]) && std::isfinite(out.r[i])) << i;
    // And a host that sends more frames than it announced is served in full.
    Stereo longer = SibilantSignal(0.05, nullptr);
    Stereo result(longer.size());
    float* i2[2] = {longer.l.data(), longer.r.data()};
    float* o2[2] = {result.l.data(), result.r.data()};
    host.effect->processReplacing(host.effect, i2, o2, (VstInt32)longer.size());
    EXPECT_NE(result.l.back(), 0.f);
}
