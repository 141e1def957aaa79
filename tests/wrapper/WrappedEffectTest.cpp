// The effect driven through CWrappedEffect: the bundle folder as the
// plug-in's directory, block splitting, in-place and inactive processing,
// the end of a typed edit and shown values.
#include "ADeEsser.h"
#include "BankFile.h"
#include "CWrappedEffect.h"
#include "IWrapperListener.h"
#include "ParamRange.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
class WrappedEffectTest : public ::testing::Test
{
protected:
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};
};

TEST_F(WrappedEffectTest, FactoryBankComesFromTheBundleFolder)
{
    TempDir bundle;
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    std::strcpy(bank[0].name, "From Bundle");
    bank[0].values[kParamThreshold] = 0.25f;
    ASSERT_TRUE(WriteBankFile((bundle / "DeEsserDef.fxb").c_str(), (uint32_t)kDeEsserUniqueID,
                              bank.data(), kBankChunkSize));

    CWrappedEffect wrapped(bundle.path().c_str()); // no trailing slash
    EXPECT_EQ(wrapped.BundleFolder(), bundle.path() + "/");
    EXPECT_STREQ(wrapped.Effect().GetFactoryProgram(0).name, "From Bundle");
    EXPECT_FLOAT_EQ(wrapped.GetPlain(kParamThreshold), -75.f);
}

TEST_F(WrappedEffectTest, ProcessSplitsLongBlocksWorksInPlaceAndIsSilentWhenInactive)
{
    constexpr int kFrames = 1000;
    const testsignal::Vocal vocal(kFrames, 48000.0);
    CWrappedEffect whole(m_Config.path().c_str()), split(m_Config.path().c_str());
    whole.Activate(48000.0, kFrames);
    split.Activate(48000.0, 64);
    for (CWrappedEffect* fx : {&whole, &split})
        for (int index : {kParamThreshold, kParamRatio, kParamInput})
            fx->SetNormalised(index, index == kParamInput ? 0.8f : 0.6f);
    const float* in[2] = {vocal.left.data(), vocal.right.data()};
    std::vector<float> out[2] = {vocal.left, vocal.right}, io[2] = {vocal.left, vocal.right};
    float* outs[2] = {out[0].data(), out[1].data()};
    float* ios[2] = {io[0].data(), io[1].data()};
    whole.Process(in, outs, kFrames);
    split.Process(ios, ios, kFrames);
    EXPECT_NE(out[0], vocal.left);
    EXPECT_EQ(io[0], out[0]);
    EXPECT_EQ(io[1], out[1]);

    split.Deactivate();
    split.Process(ios, ios, kFrames);
    EXPECT_EQ(io[0], std::vector<float>(kFrames, 0.f));
}

TEST_F(WrappedEffectTest, TypedValueEndsItsEditAndShownValuesCompareInRange)
{
    struct EndListener : IWrapperListener
    {
        void OnEndEdit(int index) override { ended = index; }
        int ended = -1;
    } listener;
    CWrappedEffect wrapped(m_Config.path().c_str());
    wrapped.SetListener(&listener);
    wrapped.Effect().setParameterFromDiaplay(kParamHiFreq, 30000.f); // typed in the panel
    EXPECT_EQ(listener.ended, kParamHiFreq);
    // Beyond the range shows as its end; a switch is on for any value above 0.
    EXPECT_TRUE(wrapped.ShowsPlain(kParamHiFreq, 26000.f));
    EXPECT_FALSE(wrapped.SetPlain(kParamHiFreq, 26000.f)); // already there: no change
    EXPECT_TRUE(wrapped.ShowsPlain(kParamOnOff, 0.5f));
    EXPECT_FALSE(wrapped.ShowsPlain(kParamOnOff, 0.f));
}
} // namespace
