// The host's own parsers and measurements, checked against values worked out
// from the formulas here.
#include "DemoSignal.h"
#include "FxbFile.h"
#include "HostError.h"
#include "LegacyList.h"
#include "Measure.h"
#include "ParamValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>

namespace
{
const double kPi = 3.14159265358979323846;

// Level in dB of a sine at freq after the filter, measured after it settles.
double bandGainDb(double low, double high, double freq, double rate)
{
    CBandPass f(low, high, rate);
    double in = 0, out = 0;
    for (int i = 0; i < (int)rate; ++i)
    {
        double x = std::sin(2 * kPi * freq * i / rate);
        double y = f.Run(x);
        if (i > rate / 2)
        {
            in += x * x;
            out += y * y;
        }
    }
    return 10 * std::log10(out / in);
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

TEST(HostParamValue, DisplayUnitsMapToNormalisedValues)
{
    // Gains: 6 dB per doubling, then linear in the gain range.
    const std::tuple<int, double, double> cases[] = {
        {1, 0.0, (1.0 - 0.001) / 9.999},
        {1, -3.0, (std::pow(2.0, -0.5) - 0.001) / 9.999},
        {1, 19.93, (std::pow(2.0, 19.93 / 6) - 0.001) / 9.999},
        {2, 0.0, 1.0},
        {2, -6.0, (0.5 - 0.001) / 0.999},
        {2, -59.79, 0.0},
        {3, -30.0, 0.7},
        {4, 4.0, 3.0 / 63.0},
        {5, 10.0, 0.5},
        {6, 0.05, 0.04 / 3.99},
        {7, 5000.0, 1.0 / 6.0},
        {8, 20000.0, 1.0},
        {9, 0.0, 0.0},
        {10, 1.0, 1.0}};
    for (const auto& [index, display, want] : cases)
        EXPECT_NEAR(DisplayToNormalised(index, display, false), want, 1e-5)
            << index << " " << display;

    // Out of range: an error, or clamped when asked (the legacy import).
    for (auto [index, display] :
         {std::make_pair(1, 20.0), std::make_pair(2, 0.01), std::make_pair(3, 0.1),
          std::make_pair(4, 0.99), std::make_pair(6, 0.0), std::make_pair(7, 1999.0)})
        EXPECT_THROW(DisplayToNormalised(index, display, false), CHostError) << index;
    EXPECT_EQ(DisplayToNormalised(3, -120.0, true), 0.f);
    EXPECT_EQ(DisplayToNormalised(4, 100.0, true), 1.f);
}

TEST(HostParamValue, TypedTextIsParsedStrictly)
{
    EXPECT_NEAR(ParseDeEsserValue(3, "Threshold", "-30dB"), 0.7, 1e-7);
    EXPECT_NEAR(ParseDeEsserValue(3, "Threshold", " -30 db "), 0.7, 1e-7);
    EXPECT_NEAR(ParseDeEsserValue(7, "LowFreq", "5000 Hz"), 1.0 / 6.0, 1e-7);
    EXPECT_NEAR(ParseDeEsserValue(6, "ReleaseTime", "0.05s"), 0.04 / 3.99, 1e-7);
    EXPECT_NEAR(ParseDeEsserValue(6, "ReleaseTime", "0.05 sec"), 0.04 / 3.99, 1e-7);
    EXPECT_EQ(ParseDeEsserValue(0, "ON/OFF", "on"), 1.f);
    EXPECT_EQ(ParseDeEsserValue(9, "SideChain", "OFF"), 0.f);
    EXPECT_EQ(ParseDeEsserValue(10, "AutoThreshold", "1"), 1.f);
    for (const char* bad : {"", "abc", "-30x", "nan", "inf", "1e400", "--3", "5 ms"})
        EXPECT_THROW(ParseDeEsserValue(3, "Threshold", bad), CHostError) << bad;
    for (const char* bad : {"2", "yes", "0.5", ""})
        EXPECT_THROW(ParseDeEsserValue(9, "SideChain", bad), CHostError) << bad;

    EXPECT_EQ(ParseNormalisedValue("Gain", "0.25"), 0.25f);
    EXPECT_EQ(ParseNormalisedValue("Gain", "1"), 1.f);
    EXPECT_THROW(ParseNormalisedValue("Gain", "1.01"), CHostError);
    EXPECT_THROW(ParseNormalisedValue("Gain", "-0.1"), CHostError);
    EXPECT_THROW(ParseNormalisedValue("Gain", "half"), CHostError);
}

TEST(HostLegacyList, ValueLinesAndTextLines)
{
    LegacyProgram p;
    ParseValueLine("0\t-1310720\t65536\t6554\t262144\t12345", p);
    EXPECT_TRUE(p.has[0] && p.has[1] && p.has[2] && p.has[3]);
    EXPECT_DOUBLE_EQ(p.value[0], -20.0);
    EXPECT_DOUBLE_EQ(p.value[1], 1.0);
    EXPECT_DOUBLE_EQ(p.value[2], 6554 / 65536.0);
    EXPECT_DOUBLE_EQ(p.value[3], 4.0);

    // Empty fields and fields starting with a space are absent, but counted.
    LegacyProgram q;
    ParseValueLine("x\t\t196608\t", q);
    EXPECT_FALSE(q.has[0]);
    EXPECT_TRUE(q.has[1]);
    EXPECT_DOUBLE_EQ(q.value[1], 3.0);
    EXPECT_FALSE(q.has[2]);
    EXPECT_FALSE(q.has[3]);
    LegacyProgram r;
    ParseValueLine("0\t 65536\tjunk", r);
    EXPECT_FALSE(r.has[0]);
    EXPECT_TRUE(r.has[1]);
    EXPECT_DOUBLE_EQ(r.value[1], 0.0); // not a number reads as 0

    EXPECT_EQ(SplitTabs("a\tb"), (std::vector<std::string>{"a", "b"}));

    std::string data = "one\r\ntwo\n" + std::string(100, 'x') + "\nlast";
    size_t pos = 0;
    std::string line;
    ASSERT_TRUE(ReadLegacyLine(data, pos, 80, line));
    EXPECT_EQ(line, "one");
    ASSERT_TRUE(ReadLegacyLine(data, pos, 80, line));
    EXPECT_EQ(line, "two");
    ASSERT_TRUE(ReadLegacyLine(data, pos, 80, line));
    EXPECT_EQ(line, std::string(80, 'x'));
    ASSERT_TRUE(ReadLegacyLine(data, pos, 80, line));
    EXPECT_EQ(line, "last");
    EXPECT_FALSE(ReadLegacyLine(data, pos, 80, line));
}

TEST(HostFxbFile, BuildParseAndBounds)
{
    FxbBank bank;
    bank.fxId = 0x49446545;
    bank.numPrograms = 32;
    for (int i = 0; i < 2304; ++i)
        bank.chunk.push_back((uint8_t)(i * 7));
    std::vector<uint8_t> bytes = BuildFxbBank(bank);
    ASSERT_EQ(bytes.size(), 2464u);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "CcnK");
    EXPECT_EQ(bytes[4] | bytes[5] | bytes[6] | bytes[7], 0);
    EXPECT_EQ(bytes[16], 0x49);
    EXPECT_EQ(bytes[19], 0x45);
    EXPECT_EQ((bytes[158] << 8) | bytes[159], 2304);

    FxbBank back = ParseFxbBank(bytes, "t");
    EXPECT_EQ(back.fxId, bank.fxId);
    EXPECT_EQ(back.numPrograms, 32);
    EXPECT_EQ(back.chunk, bank.chunk);

    // A file with trailing bytes still parses; a cut one does not.
    std::vector<uint8_t> longer = bytes;
    longer.push_back(0);
    EXPECT_EQ(ParseFxbBank(longer, "t").chunk.size(), 2304u);
    for (size_t cut : {0u, 3u, 11u, 100u, 159u, 160u, 2463u})
        EXPECT_THROW(ParseFxbBank(std::vector<uint8_t>(bytes.begin(), bytes.begin() + cut), "t"),
                     CHostError)
            << cut;
    std::vector<uint8_t> huge = bytes;
    huge[156] = 0xFF; // chunk size far beyond the file
    EXPECT_THROW(ParseFxbBank(huge, "t"), CHostError);
    std::vector<uint8_t> regular = bytes;
    std::memcpy(regular.data() + 8, "FxBk", 4);
    EXPECT_THROW(ParseFxbBank(regular, "t"), CHostError);
}

TEST(HostMeasure, BandPassAndLevels)
{
    const double rate = 44100;
    // Both bands against the Butterworth magnitude, in band, at the edges and
    // in the stop bands.
    for (double f : {1250.0, 4000.0, 5000.0, 6000.0, 7000.0, 9000.0, 12000.0})
        EXPECT_NEAR(bandGainDb(5000, 9000, f, rate), butterworthBandDb(5000, 9000, f, rate), 0.05)
            << f;
    for (double f : {50.0, 100.0, 1000.0, 3000.0, 6000.0})
        EXPECT_NEAR(bandGainDb(100, 3000, f, rate), butterworthBandDb(100, 3000, f, rate), 0.05)
            << f;
    EXPECT_LT(bandGainDb(5000, 9000, 1250, rate), -45.0);
    EXPECT_FALSE(CBandPass(5000, 9000, 8000).Usable());

    // A full-scale sine: peak 0 dBFS, RMS -3.01 dBFS.
    CSignalStats stats(1, rate);
    std::vector<float> s(44100);
    for (size_t i = 0; i < s.size(); ++i)
        s[i] = (float)std::sin(2 * kPi * 1000 * i / rate);
    stats.Add(s.data(), (long long)s.size());
    stats.Finish();
    EXPECT_NEAR(stats.PeakDb(), 0.0, 0.01);
    EXPECT_NEAR(stats.RmsDb(), -3.0103, 0.01);
    EXPECT_NEAR(stats.VoiceDb(), -3.0103, 0.1);
    EXPECT_LT(stats.SibilanceDb(), -50.0);
    EXPECT_EQ(stats.WindowPower().size(), 100u); // 441-frame windows

    // Output at half the input's amplitude: -6.02 dB in every window.
    CSignalStats half(1, rate);
    for (float& v : s)
        v *= 0.5f;
    half.Add(s.data(), (long long)s.size());
    half.Finish();
    for (double g : WideGainCurve(stats, half))
        EXPECT_NEAR(g, -6.0206, 1e-3);
}

TEST(HostDemoSignal, DeterministicVoiceWithSibilantBursts)
{
    std::vector<float> a = SynthesiseDemo(44100, 4.0);
    ASSERT_EQ(a.size(), 176400u);
    EXPECT_EQ(a, SynthesiseDemo(44100, 4.0));
    float peak = 0;
    for (float v : a)
        peak = std::max(peak, std::fabs(v));
    EXPECT_LT(peak, 1.0f);
    EXPECT_GT(peak, 0.25f);
    // Bursts lie in the sibilance band; vowels in the voice band.
    for (const DemoSegment& seg : DemoSegments())
    {
        CSignalStats st(1, 44100);
        size_t from = (size_t)(seg.start * 44100) + 2000, to = (size_t)(seg.end * 44100) - 2000;
        st.Add(a.data() + from, (long long)(to - from));
        if (seg.sibilant)
            EXPECT_GT(st.SibilanceDb(), st.VoiceDb() + 20) << seg.start;
        else
            EXPECT_GT(st.VoiceDb(), st.SibilanceDb() + 30) << seg.start;
    }
}
