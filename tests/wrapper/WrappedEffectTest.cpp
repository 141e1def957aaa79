// The effect driven through CWrappedEffect: its host callback, the bundle
// folder as the plug-in's directory, block splitting and parameters in
// display units.
#include "ADeEsser.h"
#include "BankFile.h"
#include "CWrappedEffect.h"
#include "IWrapperListener.h"
#include "ParamRange.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
// Writes every call into one log line, values with two decimals.
struct RecordingListener : IWrapperListener
{
    void OnBeginEdit(int index) override { log += "begin " + std::to_string(index) + ";"; }
    void OnParamEdited(int index, float value) override
    {
        char text[32];
        std::snprintf(text, sizeof(text), "edit %d %.2f;", index, value);
        log += text;
    }
    void OnEndEdit(int index) override { log += "end " + std::to_string(index) + ";"; }
    void OnUpdateDisplay() override { log += "update;"; }
    std::string log;
};

class WrappedEffectTest : public ::testing::Test
{
protected:
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};
};

TEST_F(WrappedEffectTest, PanelEditsAndProgramChangesReachTheListener)
{
    CWrappedEffect wrapped(m_Config.path().c_str());
    RecordingListener listener;
    wrapped.SetListener(&listener);
    ADeEsser& fx = wrapped.Effect();

    fx.setParameterFormUI(kParamRatio, 0.5f);
    fx.setParameterFromDiaplay(kParamThreshold, -20.f);
    fx.setParameter(kParamAttack, 0.5f); // from the host: not echoed
    fx.ProgramToInitial();
    EXPECT_EQ(listener.log, "edit 4 0.50;edit 3 0.80;end 3;update;");
}

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
    auto configure = [](auto set)
    {
        for (int index : {kParamThreshold, kParamRatio, kParamInput})
            set(index, index == kParamInput ? 0.8f : 0.6f);
    };

    // Reference: the effect as a VST host drives it, one block.
    ADeEsser reference(nullptr);
    reference.open();
    reference.setSampleRate(48000.f);
    reference.setBlockSize(kFrames);
    reference.resume();
    reference.startProcess();
    configure([&](int index, float value) { reference.setParameter(index, value); });
    std::vector<float> ref[2] = {vocal.left, vocal.right}, refOut[2] = {vocal.left, vocal.right};
    float* in[2] = {ref[0].data(), ref[1].data()};
    float* out[2] = {refOut[0].data(), refOut[1].data()};
    reference.processReplacing(in, out, kFrames);

    CWrappedEffect wrapped(m_Config.path().c_str());
    wrapped.Activate(48000.0, 64);
    configure([&](int index, float value) { wrapped.SetNormalised(index, value); });
    std::vector<float> buf[2] = {vocal.left, vocal.right};
    float* io[2] = {buf[0].data(), buf[1].data()};
    wrapped.Process(io, io, kFrames);
    EXPECT_EQ(buf[0], refOut[0]);
    EXPECT_EQ(buf[1], refOut[1]);
    float inPeak = 0.f, outPeak = 0.f, reduction = 0.f;
    wrapped.GetMeters(&inPeak, &outPeak, &reduction);
    EXPECT_GT(inPeak, 0.f);
    EXPECT_LT(reduction, 1.f);

    wrapped.Deactivate();
    wrapped.Process(io, io, kFrames);
    EXPECT_EQ(buf[0], std::vector<float>(kFrames, 0.f));
}

TEST_F(WrappedEffectTest, SetPlainReportsChangesAndIgnoresNonFiniteValues)
{
    CWrappedEffect wrapped(m_Config.path().c_str());
    EXPECT_TRUE(wrapped.SetPlain(kParamThreshold, -30.f));
    EXPECT_FALSE(wrapped.SetPlain(kParamThreshold, -30.f));
    EXPECT_FALSE(wrapped.SetPlain(kParamThreshold, NAN));
    EXPECT_FALSE(wrapped.SetPlain(kParamThreshold, INFINITY));
    EXPECT_FALSE(wrapped.SetPlain(kNumParams, 1.f));
    EXPECT_EQ(wrapped.GetNormalised(kParamThreshold), 0.7f);
    EXPECT_TRUE(wrapped.ShowsPlain(kParamThreshold, -30.f));
    EXPECT_FALSE(wrapped.ShowsPlain(kParamThreshold, -29.f));
    EXPECT_TRUE(wrapped.SetPlain(kParamHiFreq, 30000.f));
    EXPECT_TRUE(wrapped.ShowsPlain(kParamHiFreq, 25000.f)) << "clamped alike";
    EXPECT_TRUE(wrapped.SetPlain(kParamOnOff, 0.f));
    EXPECT_TRUE(wrapped.ShowsPlain(kParamOnOff, -1.f));
    EXPECT_FALSE(wrapped.ShowsPlain(kParamOnOff, 0.5f));
}
} // namespace
