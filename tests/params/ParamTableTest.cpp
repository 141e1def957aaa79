// Mappings between normalised, internal and 16.16 values, against numbers
// worked out by hand from the table.
#include "ParamTable.h"

#include <cmath>
#include <gtest/gtest.h>

TEST(ParamTable, GainParametersUseSixDbPerDoubling)
{
    // Gain 1.0 in 0.001..10 normalises to 0.999/9.999.
    EXPECT_NEAR(ValToNormalizeValue(kParamOutput, 1.f), 0.0999100, 1e-7);
    EXPECT_NEAR(NormalizeValToInternalVal(kParamOutput, 0.0999100f), 0.0, 1e-4);
    EXPECT_NEAR(NormalizeValToInternalVal(kParamOutput, 1.f), 19.93, 0.01);
    EXPECT_NEAR(NormalizeValToInternalVal(kParamInput, 0.f), -59.79, 0.01);
    EXPECT_FLOAT_EQ(NormalizeValToInternalVal(kParamInput, 1.f), 0.f);
    // Doubling the gain adds exactly 6 dB, not 6.02.
    float half = ValToNormalizeValue(kParamInput, 0.5f);
    EXPECT_NEAR(NormalizeValToInternalVal(kParamInput, half), -6.0, 1e-4);
    // The shared mapping, both ways.
    EXPECT_DOUBLE_EQ(GainToDb6(0.25), -12.0);
    EXPECT_DOUBLE_EQ(Db6ToGain(6.0), 2.0);
    EXPECT_NEAR(GainToDb6(Db6ToGain(-17.3)), -17.3, 1e-12);

    float lo, hi;
    GetParamMinMax(kParamOutput, &lo, &hi);
    EXPECT_NEAR(lo, -59.79, 0.01);
    EXPECT_NEAR(hi, 19.93, 0.01);
    GetParamMinMax(kParamInput, &lo, &hi);
    EXPECT_NEAR(lo, -59.79, 0.01);
    EXPECT_FLOAT_EQ(hi, 0.f);
    GetParamMinMax(kParamLowFreq, &lo, &hi);
    EXPECT_FLOAT_EQ(lo, 2000.f);
    EXPECT_FLOAT_EQ(hi, 20000.f);
}

TEST(ParamTable, SwitchRowsRoundAndWrapAsUnsigned)
{
    EXPECT_EQ(NormalizeValToInternalVal(kParamSideChain, 0.4f), 0.f);
    EXPECT_EQ(NormalizeValToInternalVal(kParamSideChain, 0.5f), 1.f);
    EXPECT_EQ(NormalizeValToInternalVal(kParamSideChain, -0.2f), 0.f);
    // Below -0.5 the step is negative, wraps to a large unsigned number and
    // so yields the maximum.
    EXPECT_EQ(NormalizeValToInternalVal(kParamSideChain, -0.7f), 1.f);
    EXPECT_EQ(NormalizeValToDWValue(kParamOnOff, -0.7f), 1u);
    EXPECT_EQ(NormalizeValToDWValue(kParamOnOff, 0.3f), 0u);
    EXPECT_EQ(NormalizeValToInternalVal(kParamOnOff, 7.f), 1.f);
    // Switch rows are not clamped on the way in.
    EXPECT_FLOAT_EQ(ValToNormalizeValue(kParamSideChain, 1.f), 1.f);
    EXPECT_FLOAT_EQ(ValToNormalizeValue(kParamAutoThreshold, 3.f), 3.f);
    // NaN converts like an out-of-range value, without undefined behaviour.
    EXPECT_EQ(NormalizeValToInternalVal(kParamOnOff, NAN), 1.f);
}

TEST(ParamTable, LinearRowsClampAndFixedPointTruncates)
{
    EXPECT_FLOAT_EQ(ValToNormalizeValue(kParamThreshold, -120.f), 0.f);
    EXPECT_FLOAT_EQ(ValToNormalizeValue(kParamThreshold, 0.f), 1.f);
    EXPECT_NEAR(ValToNormalizeValue(kParamLowFreq, 4000.f), 0.1111111, 1e-7);
    EXPECT_NEAR(ValToNormalizeValue(kParamHiFreq, 8000.f), 0.3333333, 1e-7);
    EXPECT_FLOAT_EQ(ValToNormalizeValue(12, 5.f), 0.f);
    EXPECT_FLOAT_EQ(ValToNormalizeValue(-1, 5.f), 0.f);
    EXPECT_FLOAT_EQ(NormalizeValToInternalVal(kParamRatio, 2.f), 64.f);
    EXPECT_FLOAT_EQ(NormalizeValToInternalVal(kParamRelease, -1.f), 0.01f);
    EXPECT_FLOAT_EQ(NormalizeValToInternalVal(12, 0.5f), 0.f);

    EXPECT_EQ(NormalizeValToDWValue(kParamLowFreq, 0.f), 2000u * 65536u);
    EXPECT_EQ(NormalizeValToDWValue(kParamHiFreq, 1.f), 20000u * 65536u);
    // Negative decibels wrap into the unsigned result as two's complement.
    EXPECT_EQ((int32_t)NormalizeValToDWValue(kParamThreshold, 0.8f), -20 * 65536);
    float q = ValToNormalizeValue(kParamInput, 0.5f);
    int32_t dw = (int32_t)NormalizeValToDWValue(kParamInput, q);
    EXPECT_NEAR(dw / 65536.0, -6.0, 1e-4);
    EXPECT_EQ(NormalizeValToDWValue(12, 0.5f), 0u);
}
