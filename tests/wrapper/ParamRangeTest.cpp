// Display units <-> normalised values of the LV2 and CLAP parameters.
#include "ADeEsserProgram.h"
#include "ParamRange.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
// What the wrapper adds to the table's mappings (tested in params/): gains
// in 6 dB-per-doubling decibels, switches, clamping, non-finite values.
TEST(ParamRange, DisplayValuesAndStoredValuesBothWays)
{
    EXPECT_EQ(PlainToNormalised(kParamThreshold, -30.f), 0.7f); // as setParameter(3, 0.7)
    EXPECT_FLOAT_EQ(NormalisedToPlain(kParamThreshold, 0.7f), -30.f);
    EXPECT_EQ(PlainToNormalised(kParamThreshold, -150.f), 0.f);
    EXPECT_FLOAT_EQ(NormalisedToPlain(kParamHiFreq, 1.5f), 20000.f);
    const float gain2 = (2.f - 0.001f) / 9.999f; // output gain 2 in 0.001..10
    EXPECT_NEAR(PlainToNormalised(kParamOutput, 6.f), gain2, 2e-7f);
    EXPECT_NEAR(NormalisedToPlain(kParamOutput, gain2), 6.f, 1e-4f);
    // Beyond the range stores what the range's end stores, bit for bit.
    EXPECT_EQ(PlainToNormalised(kParamOutput, 40.f),
              PlainToNormalised(kParamOutput, GetParamRange(kParamOutput).maxPlain));
    // A switch is on for any value above 0 and shows on only from 1, as the
    // effect's own display does.
    EXPECT_EQ(PlainToNormalised(kParamOnOff, 0.5f), 1.f);
    EXPECT_EQ(PlainToNormalised(kParamSideChain, -1.f), 0.f);
    EXPECT_EQ(NormalisedToPlain(kParamOnOff, 0.99f), 0.f);
    EXPECT_EQ(NormalisedToPlain(kParamSideChain, 1.f), 1.f);
    EXPECT_TRUE(std::isnan(PlainToNormalised(kParamSideChain, NAN))); // not "off"
}

TEST(ParamRange, SymbolsSwitchesAndDefaults)
{
    const ADeEsserProgram fresh;
    for (int i = 0; i < kNumParams; ++i)
    {
        const ParamRange& r = GetParamRange(i);
        EXPECT_EQ(FindParamBySymbol(r.symbol), i); // and so no symbol twice
        const bool isSwitch = i == kParamOnOff || i == kParamSideChain || i == kParamAutoThreshold;
        EXPECT_EQ(r.toggled, isSwitch) << r.symbol;
        // The default is the fresh program's value, bit for bit.
        EXPECT_EQ(PlainToNormalised(i, r.defaultPlain), fresh.values[i]) << r.symbol;
    }
    EXPECT_EQ(FindParamBySymbol("Threshold"), -1);
    EXPECT_EQ(FindParamBySymbol(nullptr), -1);
}
} // namespace
