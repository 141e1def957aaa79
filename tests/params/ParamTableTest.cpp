// Mappings between normalised, internal and 16.16 values, against numbers
// worked out by hand from the ranges (gains in 6 dB per doubling).
#include "ParamTable.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(ParamTable, NormalisedInternalAndFixedPointValues)
{
    const struct
    {
        int index;
        float norm, internal;
        double tolerance;
    } toInternal[] = {
        {kParamOutput, 0.0999100f, 0.f, 1e-4}, // gain 1 in 0.001..10
        {kParamOutput, 1.f, 19.93f, 0.01},     // 6 * log2(10)
        {kParamInput, 0.f, -59.79f, 0.01},     // 6 * log2(0.001)
        {kParamInput, 1.f, 0.f, 0},
        {kParamRatio, 2.f, 64.f, 0}, // linear rows clamp
        {kParamRelease, -1.f, 0.01f, 0},
        {kParamSideChain, 0.4f, 0.f, 0}, // switches take the nearest step
        {kParamSideChain, 0.5f, 1.f, 0},
        {kParamSideChain, -0.2f, 0.f, 0},
        {kParamSideChain, -0.7f, 1.f, 0}, // a negative step wraps as unsigned: max
        {kParamOnOff, 7.f, 1.f, 0},
        {kParamOnOff, NAN, 1.f, 0}, // like an out-of-range value, without UB
        {12, 0.5f, 0.f, 0},
    };
    for (const auto& r : toInternal)
        EXPECT_NEAR(NormalizeValToInternalVal(r.index, r.norm), r.internal, r.tolerance)
            << r.index << " " << r.norm;

    const struct
    {
        int index;
        float value, norm;
    } toNorm[] = {
        {kParamOutput, 1.f, 0.0999100f},
        {kParamThreshold, -120.f, 0.f},
        {kParamThreshold, 0.f, 1.f},
        {kParamLowFreq, 4000.f, 0.1111111f},
        {kParamHiFreq, 8000.f, 0.3333333f},
        {kParamAutoThreshold, 3.f, 3.f}, // switches: no clamp
        {12, 5.f, 0.f},
        {-1, 5.f, 0.f},
    };
    for (const auto& r : toNorm)
        EXPECT_NEAR(ValToNormalizeValue(r.index, r.value), r.norm, 1e-7) << r.index;

    // Doubling the gain adds exactly 6 dB, not 6.02.
    float half = ValToNormalizeValue(kParamInput, 0.5f);
    EXPECT_NEAR(NormalizeValToInternalVal(kParamInput, half), -6.0, 1e-4);
    EXPECT_NEAR((int32_t)NormalizeValToDWValue(kParamInput, half) / 65536.0, -6.0, 1e-4);
    EXPECT_DOUBLE_EQ(GainToDb6(0.25), -12.0);
    EXPECT_DOUBLE_EQ(Db6ToGain(6.0), 2.0);
    float lo, hi;
    GetParamMinMax(kParamOutput, &lo, &hi);
    EXPECT_NEAR(lo, -59.79, 0.01);
    EXPECT_NEAR(hi, 19.93, 0.01);

    // 16.16 values truncate; negative decibels wrap as two's complement.
    EXPECT_EQ(NormalizeValToDWValue(kParamLowFreq, 0.f), 2000u * 65536u);
    EXPECT_EQ(NormalizeValToDWValue(kParamHiFreq, 1.f), 20000u * 65536u);
    EXPECT_EQ((int32_t)NormalizeValToDWValue(kParamThreshold, 0.8f), -20 * 65536);
    EXPECT_EQ(NormalizeValToDWValue(kParamOnOff, -0.7f), 1u);
    EXPECT_EQ(NormalizeValToDWValue(kParamOnOff, 0.3f), 0u);
    EXPECT_EQ(NormalizeValToDWValue(12, 0.5f), 0u);
}
