// The shipped factory bank: the built DeEsserDef.fxb holds the table's
// programs as the effect displays them, and every program does its job on a
// test signal: it turns a sibilant 5-9 kHz band down by 2 to 10 dB and leaves
// a voiced 100-3000 Hz signal within 0.5 dB.
#include "ADeEsser.h"
#include "BankFile.h"
#include "FactoryTable.h"
#include "TestFiles.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <vector>

#ifndef DEESSER_FACTORY_BANK
#error "DEESSER_FACTORY_BANK must name the built bank file"
#endif

namespace
{
constexpr int kRate = 44100;
constexpr int kBlock = 256;
// Voiced sounds: harmonics of a voice, 100-3000 Hz; sibilance: 5-9 kHz.
// The voice falls by about 6 dB per octave above 1 kHz, as speech does; its
// sum peaks near -10 dBFS, the sibilance near -16 dBFS.
const double kVoiceHz[] = {150, 300, 600, 1200, 2400, 2900};
const double kVoiceAmp[] = {0.08, 0.08, 0.06, 0.04, 0.02, 0.016};
const double kSibilanceHz[] = {5200, 6100, 7000, 7900, 8800};
constexpr double kSibilanceAmp = 0.03; // each

VstIntPtr SilentHost(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}

// 1.5 s of voiced tones, then 1.5 s of sibilance: steady tones, so that
// every program's settled reduction is measured.
std::vector<float> TestSignal()
{
    const int half = 3 * kRate / 2;
    std::vector<float> x(2 * half, 0.f);
    auto add = [&](int from, double hz, double amp)
    {
        const std::vector<float> tone = testsignal::Sine(half, hz, kRate, amp);
        for (int i = 0; i < half; ++i)
            x[from + i] += tone[i];
    };
    for (size_t k = 0; k < std::size(kVoiceHz); ++k)
        add(0, kVoiceHz[k], kVoiceAmp[k]);
    for (double hz : kSibilanceHz)
        add(half, hz, kSibilanceAmp);
    return x;
}

// Amplitude of the tone at `hz` in x[from, from + rate): one second, so every
// whole-hertz tone falls on a bin.
double ToneAmplitude(const std::vector<float>& x, int from, double hz)
{
    double re = 0, im = 0;
    for (int i = 0; i < kRate; ++i)
    {
        double phase = 2 * testsignal::kPi * hz * i / kRate;
        re += x[from + i] * std::cos(phase);
        im += x[from + i] * std::sin(phase);
    }
    return 2.0 * std::sqrt(re * re + im * im) / kRate;
}

std::vector<float> Render(const ADeEsserProgram& program, const std::vector<float>& in)
{
    auto effect = std::make_unique<ADeEsser>(SilentHost);
    effect->setSampleRate((float)kRate);
    effect->setBlockSize(kBlock);
    ADeEsserProgram copy = program;
    effect->setChunk(&copy, sizeof copy, true);
    effect->startProcess();
    std::vector<float> out(in.size());
    std::vector<float> l(kBlock), r(kBlock), ol(kBlock), orr(kBlock);
    for (size_t at = 0; at + kBlock <= in.size(); at += kBlock)
    {
        std::memcpy(l.data(), &in[at], kBlock * sizeof(float));
        std::memcpy(r.data(), &in[at], kBlock * sizeof(float));
        float* ins[2] = {l.data(), r.data()};
        float* outs[2] = {ol.data(), orr.data()};
        effect->processReplacing(ins, outs, kBlock);
        std::memcpy(&out[at], ol.data(), kBlock * sizeof(float));
    }
    return out;
}

std::vector<ADeEsserProgram> BuiltBank()
{
    std::vector<unsigned char> chunk;
    EXPECT_EQ(
        ReadBankFile(DEESSER_FACTORY_BANK, (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk),
        kBankFileLoaded);
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    if (chunk.size() == (size_t)kBankChunkSize)
        std::memcpy(bank.data(), chunk.data(), chunk.size());
    return bank;
}

std::vector<FactoryEntry> Table()
{
    std::vector<FactoryEntry> entries;
    std::string error;
    EXPECT_TRUE(ReadFactoryTable(DEESSER_FACTORY_TABLE, &entries, &error)) << error;
    return entries;
}

std::string Display(ADeEsser& effect, int index)
{
    char text[64] = {};
    effect.getParameterDisplay(index, text);
    return text;
}

std::string Fixed(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

TEST(FactoryBank, HoldsTheTableAsTheEffectShowsIt)
{
    std::vector<FactoryEntry> table = Table();
    std::vector<ADeEsserProgram> bank = BuiltBank();
    ASSERT_GE(table.size(), 16u);
    EXPECT_EQ(ReadBytes(DEESSER_FACTORY_BANK).size(), 2464u);

    ADeEsser effect(SilentHost);
    effect.setChunk(bank.data(), kBankChunkSize, false);
    EXPECT_EQ(effect.getProgram(), 0);
    std::set<std::string> names;
    for (size_t i = 0; i < table.size(); ++i)
    {
        const FactoryEntry& e = table[i];
        SCOPED_TRACE(e.name);
        effect.setProgram((VstInt32)i);
        char name[32] = {};
        effect.getProgramName(name);
        EXPECT_EQ(std::string(name), e.name);
        names.insert(name);
        EXPECT_EQ(Display(effect, kParamOnOff), "ON");
        EXPECT_EQ(Display(effect, kParamThreshold), Fixed("%.1f", e.thresholdDb));
        EXPECT_EQ(Display(effect, kParamRatio), Fixed("%.1f", e.ratio));
        EXPECT_EQ(Display(effect, kParamAttack), Fixed("%.1f", e.attackMs));
        EXPECT_EQ(Display(effect, kParamRelease), Fixed("%.2f", e.releaseS));
        EXPECT_NEAR(effect.GetInternalValue(kParamLowFreq), e.lowHz, 0.05);
        EXPECT_NEAR(effect.GetInternalValue(kParamHiFreq), e.highHz, 0.05);
        EXPECT_EQ(Display(effect, kParamSideChain), e.sideChain ? "ON" : "OFF");
        EXPECT_EQ(Display(effect, kParamAutoThreshold), e.autoThreshold ? "ON" : "OFF");
        EXPECT_NEAR(effect.GetInternalValue(kParamInput), e.inputDb, 0.05);
        EXPECT_NEAR(effect.GetInternalValue(kParamOutput), e.outputDb, 0.05);
        // Output gain: 6 dB per doubling.
        EXPECT_NEAR(effect.GetOutputGain(), std::exp2(e.outputDb / 6.0), 1e-3);
    }
    EXPECT_EQ(names.size(), table.size());
    ADeEsserProgram defaults;
    for (size_t i = table.size(); i < (size_t)kNumPrograms; ++i)
        EXPECT_EQ(std::memcmp(&bank[i], &defaults, sizeof defaults), 0) << i;
}

TEST(FactoryBank, EveryProgramTamesSibilanceAndSparesTheVoice)
{
    std::vector<FactoryEntry> table = Table();
    std::vector<ADeEsserProgram> bank = BuiltBank();
    const std::vector<float> in = TestSignal();
    const int voiceFrom = kRate / 2, sibilanceFrom = 2 * kRate;
    for (size_t i = 0; i < table.size(); ++i)
    {
        SCOPED_TRACE(table[i].name);
        // The same program without compression is the reference for the
        // sibilance band (the split-band filters shape it by themselves).
        ADeEsserProgram reference = bank[i];
        reference.values[kParamRatio] = ValToNormalizeValue(kParamRatio, 1.f);
        std::vector<float> out = Render(bank[i], in);
        std::vector<float> ref = Render(reference, in);

        double voiceWorst = 0;
        for (size_t k = 0; k < std::size(kVoiceHz); ++k)
        {
            double db = 20 * std::log10(ToneAmplitude(out, voiceFrom, kVoiceHz[k]) / kVoiceAmp[k]);
            voiceWorst = std::max(voiceWorst, std::fabs(db));
        }
        double ess = 0;
        for (double hz : kSibilanceHz)
            ess += 20 *
                   std::log10(ToneAmplitude(out, sibilanceFrom, hz) /
                              ToneAmplitude(ref, sibilanceFrom, hz)) /
                   std::size(kSibilanceHz);
        EXPECT_LT(voiceWorst, 0.5);
        EXPECT_LE(ess, -2.0);
        EXPECT_GE(ess, -10.0);
    }
}
} // namespace
