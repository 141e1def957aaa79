// The host's own parsers and measurements, checked against values worked out
// from the formulas here.
#include "DemoSignal.h"
#include "HostTestSupport.h"
#include "HostError.h"
#include "Measure.h"
#include "ParamValue.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>

namespace
{
using testsignal::kPi;

// Level in dB of a sine at freq in the sibilance (or voice) band of the
// measurement, against the whole sine: two channels of 4 s, so that the start
// of the filters' response is negligible.
double bandGainDb(bool sibilance, double freq, double rate)
{
    CSignalStats stats(2, rate);
    std::vector<float> s((size_t)(4 * rate) * 2);
    for (size_t i = 0; i < s.size() / 2; ++i)
        s[2 * i] = s[2 * i + 1] = (float)std::sin(2 * kPi * freq * (double)i / rate);
    stats.Add(s.data(), (long long)s.size() / 2);
    stats.Finish();
    return (sibilance ? stats.SibilanceDb() : stats.VoiceDb()) - stats.RmsDb();
}

// The bilinear-transformed 4th-order Butterworth pair, from its magnitude
// formula: |H|^2 = 1 / (1 + (w/wc)^8) with w = tan(pi f / fs) (prewarped).
double butterworthBandDb(double low, double high, double freq, double rate)
{
    double w = std::tan(kPi * freq / rate);
    double hp = 1.0 / (1.0 + std::pow(std::tan(kPi * low / rate) / w, 8));
    double lp = 1.0 / (1.0 + std::pow(w / std::tan(kPi * high / rate), 8));
    return 10 * std::log10(hp * lp);
}
} // namespace

// Typed values through the parameter table: one case per kind of mapping
// (the table's own maths is tested in params), units, the displayed ends of
// the gain ranges, and strict parsing.
TEST(HostParamValue, TypedTextIsParsedStrictly)
{
    const std::tuple<int, const char*, double> good[] = {
        {1, "-3", (std::pow(2.0, -0.5) - 0.001) / 9.999},            // Output, 6 dB per doubling
        {1, "19.93 dB", (std::pow(2.0, 19.93 / 6) - 0.001) / 9.999}, // ends as displayed
        {2, "-59.79", 0.0},
        {3, " -30 db ", 0.7},
        {6, "0.05s", 0.04 / 3.99},
        {6, "0.05 sec", 0.04 / 3.99},
        {7, "5000 Hz", 1.0 / 6.0},
        {0, "on", 1.0},
        {9, "OFF", 0.0},
        {10, "1", 1.0}};
    for (const auto& [index, text, want] : good)
        EXPECT_NEAR(ParseDeEsserValue(index, "p", text), want, 1e-5) << index << " " << text;
    const std::pair<int, const char*> bad[] = {{1, "20.1"}, {2, "0.01"}, {3, "0.1"},   {4, "0.99"},
                                               {6, "0"},    {7, "1999"}, {3, ""},      {3, "abc"},
                                               {3, "-30x"}, {3, "nan"},  {3, "1e400"}, {3, "5 ms"},
                                               {9, "2"},    {9, "yes"},  {9, "0.5"}};
    for (const auto& [index, text] : bad)
        EXPECT_THROW(ParseDeEsserValue(index, "p", text), CHostError) << index << " " << text;

    EXPECT_EQ(ParseNormalisedValue("Gain", "0.25"), 0.25f);
    EXPECT_EQ(ParseNormalisedValue("Gain", "1"), 1.f);
    for (const char* text : {"1.01", "-0.1", "half"})
        EXPECT_THROW(ParseNormalisedValue("Gain", text), CHostError) << text;
}

TEST(HostMeasure, BandPassAndLevels)
{
    // Both bands against the Butterworth magnitude, in band, at the edges and
    // in the stop bands, at an ordinary rate and at a high one (where the
    // voice band's 100 Hz edge tests the filters' single precision).
    for (double rate : {44100.0, 192000.0})
    {
        SCOPED_TRACE(rate);
        for (double f : {4000.0, 5000.0, 6000.0, 7000.0, 9000.0, 12000.0})
            EXPECT_NEAR(bandGainDb(true, f, rate), butterworthBandDb(5000, 9000, f, rate), 0.05)
                << f;
        for (double f : {50.0, 100.0, 1000.0, 3000.0, 6000.0})
            EXPECT_NEAR(bandGainDb(false, f, rate), butterworthBandDb(100, 3000, f, rate), 0.05)
                << f;
        EXPECT_LT(bandGainDb(true, 1250, rate), -45.0);
    }
    CSignalStats low(1, 8000);
    EXPECT_FALSE(low.SibilanceUsable());
    EXPECT_TRUE(std::isnan(low.SibilanceDb()));

    // A full-scale sine: peak 0 dBFS, RMS -3.01 dBFS.
    const double rate = 44100;
    CSignalStats stats(1, rate);
    std::vector<float> s(44100);
    for (size_t i = 0; i < s.size(); ++i)
        s[i] = (float)std::sin(2 * kPi * 1000 * i / rate);
    stats.Add(s.data(), (long long)s.size());
    stats.Finish();
    EXPECT_NEAR(stats.PeakDb(), 0.0, 0.01);
    EXPECT_NEAR(stats.RmsDb(), -3.0103, 0.01);
    EXPECT_EQ(stats.WindowPower().size(), 100u); // 441-frame windows

    // Output at half the input's amplitude: -6.02 dB in every window.
    CSignalStats half(1, rate);
    for (float& v : s)
        v *= 0.5f;
    half.Add(s.data(), (long long)s.size());
    half.Finish();
    for (double g : WideGainCurve(stats, half))
        EXPECT_NEAR(g, -6.0206, 1e-3);

    // Input and output in one pass give what each gives alone, in odd blocks,
    // mono and stereo, a non-finite input sample counting as 0.
    for (int channels : {1, 2})
    {
        std::vector<float> x = TestSignal(channels, 44100, 20000), y = x;
        for (float& v : y)
            v *= -0.7f;
        x[301] = NAN;
        CSignalStats a(channels, rate), b(channels, rate), pa(channels, rate), pb(channels, rate);
        a.Add(x.data(), 20000);
        b.Add(y.data(), 20000);
        for (long long at = 0, n = 1; at < 20000; at += n, n = n * 3 % 997 + 1)
        {
            n = std::min(n, 20000 - at);
            CSignalStats::AddPair(pa, x.data() + at * channels, pb, y.data() + at * channels, n);
        }
        for (CSignalStats* st : {&a, &b, &pa, &pb})
            st->Finish();
        EXPECT_EQ(pa.WindowSibilance(), a.WindowSibilance()) << channels;
        EXPECT_EQ(pb.WindowPower(), b.WindowPower()) << channels;
        EXPECT_EQ(pa.PeakDb(), a.PeakDb()) << channels;
    }
}

// The demo's bursts lie in the sibilance band, its vowels in the voice band.
TEST(HostDemoSignal, VoiceWithSibilantBursts)
{
    std::vector<float> a = SynthesiseDemo(44100, 4.0);
    ASSERT_EQ(a.size(), 176400u);
    for (const DemoSegment& seg : DemoSegments())
    {
        CSignalStats st(1, 44100);
        size_t from = (size_t)(seg.start * 44100) + 2000, to = (size_t)(seg.end * 44100) - 2000;
        st.Add(a.data() + from, (long long)(to - from));
        if (seg.sibilant)
            EXPECT_GT(st.SibilanceDb(), st.VoiceDb() + 20) << seg.start;
        else
            EXPECT_GT(st.VoiceDb(), st.SibilanceDb() + 30) << seg.start;
        EXPECT_LT(st.PeakDb(), 0.0) << seg.start;
    }
}
