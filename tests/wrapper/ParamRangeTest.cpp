// Display units <-> normalised values of the LV2 and CLAP parameters.
#include "ADeEsserProgram.h"
#include "ParamRange.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

namespace
{
struct Case
{
    const char* symbol;
    float plain;
    float normalised;
};

TEST(ParamRange, DisplayValuesAndStoredValuesBothWays)
{
    const Case cases[] = {
        {"threshold", -30.f, 0.7f}, // exactly what setParameter(3, 0.7) stores
        {"threshold", -150.f, 0.f}, // clamped to the range
        {"ratio", 4.f, 3.f / 63.f},
        {"attack", 10.f, 0.5f},
        {"release", 4.f, 1.f},
        {"low_freq", 4000.f, 2000.f / 18000.f},
        {"high_freq", 30000.f, 1.f},
        {"output", 6.f, (2.f - 0.001f) / 9.999f}, // 6 dB per doubling: gain 2
        {"input", -6.f, (0.5f - 0.001f) / 0.999f},
        {"power", 0.5f, 1.f}, // a switch is on above 0
        {"side_chain", -1.f, 0.f},
    };
    for (const Case& c : cases)
    {
        const int index = FindParamBySymbol(c.symbol);
        ASSERT_GE(index, 0) << c.symbol;
        EXPECT_NEAR(PlainToNormalised(index, c.plain), c.normalised, 2e-7f)
            << c.symbol << " " << c.plain;
    }
    EXPECT_EQ(PlainToNormalised(kParamThreshold, -30.f), 0.7f);
    EXPECT_TRUE(std::isnan(PlainToNormalised(kParamRatio, NAN)));

    EXPECT_FLOAT_EQ(NormalisedToPlain(kParamThreshold, 0.7f), -30.f);
    EXPECT_NEAR(NormalisedToPlain(kParamInput, (0.5f - 0.001f) / 0.999f), -6.f, 1e-4f);
    EXPECT_FLOAT_EQ(NormalisedToPlain(kParamHiFreq, 1.5f), 20000.f); // within the range
    // A switch shows on only from 1, as the effect's own display does.
    EXPECT_EQ(NormalisedToPlain(kParamOnOff, 0.99f), 0.f);
    EXPECT_EQ(NormalisedToPlain(kParamSideChain, 1.f), 1.f);
}

TEST(ParamRange, RangesDefaultsAndSymbols)
{
    const ADeEsserProgram fresh;
    std::set<std::string> symbols;
    for (int i = 0; i < kNumParams; ++i)
    {
        const ParamRange& r = GetParamRange(i);
        symbols.insert(r.symbol);
        EXPECT_EQ(FindParamBySymbol(r.symbol), i);
        EXPECT_LT(r.minPlain, r.maxPlain) << r.symbol;
        EXPECT_GE(r.defaultPlain, r.minPlain) << r.symbol;
        EXPECT_LE(r.defaultPlain, r.maxPlain) << r.symbol;
        // The default is the fresh program's value, bit for bit.
        EXPECT_EQ(PlainToNormalised(i, r.defaultPlain), fresh.values[i]) << r.symbol;
        const bool isSwitch = i == kParamOnOff || i == kParamSideChain || i == kParamAutoThreshold;
        EXPECT_EQ(r.toggled, isSwitch) << r.symbol;
    }
    EXPECT_EQ(symbols.size(), (size_t)kNumParams);
    EXPECT_EQ(FindParamBySymbol("Threshold"), -1);
    EXPECT_EQ(FindParamBySymbol(nullptr), -1);
}
} // namespace
