// The built DeEsser.so, loaded and driven only through VSTPluginMain and the
// AEffect record, as a host does. (The base classes' default answers are the
// dispatcher tests'.)
#include "HostHarness.h"
#include "TestFiles.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <tuple>

namespace
{
// The parameters' labels, and none for index 11.
const char* const kLabels[] = {"", "dB", "dB", "dB", "", "ms", "sec", "Hz", "Hz", "", "", ""};

class PluginSo : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(host.Create(), nullptr); }

    const TempDir& config = UseScratchSettings(); // empty: no user bank is found
    HostHarness host;
};
} // namespace

TEST_F(PluginSo, RecordIdentityAndCanDo)
{
    AEffect* e = host.effect;
    const VstInt32 fields[] = {e->magic,     e->uniqueID,     e->numPrograms,
                               e->numParams, e->numInputs,    e->numOutputs,
                               e->flags,     e->initialDelay, e->version};
    const VstInt32 expected[] = {VstFourCC('V', 's', 't', 'P'), 0x49446545, 32, 11, 2, 2, 57, 0, 1};
    for (size_t i = 0; i < std::size(fields); ++i)
        EXPECT_EQ(fields[i], expected[i]) << "field " << i;

    EXPECT_EQ(host.String(effGetEffectName), "Comp2");
    EXPECT_EQ(host.String(effGetProductString), "Comp2");
    EXPECT_EQ(host.String(effGetVendorString), "KORVAINE Co.,Ltd.");
    char vendor[64];
    EXPECT_EQ(host.Dispatch(effGetVendorString, 0, 0, vendor), 1);
    EXPECT_EQ(host.Dispatch(effGetVendorVersion), 1000);
    EXPECT_EQ(host.Dispatch(effGetPlugCategory), 1);
    EXPECT_EQ(host.Dispatch(9999) + host.Dispatch(-5), 0);
    std::array<void*, 2> arrangement = {(void*)1, (void*)1};
    host.Dispatch(effGetSpeakerArrangement, 0, (VstIntPtr)&arrangement[0], &arrangement[1]);
    EXPECT_EQ(arrangement, (std::array<void*, 2>{}));
    // Null buffers from a careless host are refused, not dereferenced.
    EXPECT_EQ(host.Dispatch(effGetEffectName, 0, 0, nullptr), 0);
    EXPECT_EQ(host.Dispatch(effGetParamName, 0, 0, nullptr), 0);
    EXPECT_EQ(host.Dispatch(effCanDo, 0, 0, nullptr), 0);

    // No events, time info, offline processing or MIDI names; bypass, matched
    // exactly; nothing else known.
    for (const char* text :
         {"sendVstEvents", "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent",
          "receiveVstTimeInfo", "offline", "midiProgramNames"})
        EXPECT_EQ(host.Dispatch(effCanDo, 0, 0, (void*)text), -1) << text;
    EXPECT_EQ(host.Dispatch(effCanDo, 0, 0, (void*)"bypass"), 1);
    for (const char* text : {"Bypass", ""})
        EXPECT_EQ(host.Dispatch(effCanDo, 0, 0, (void*)text), 0) << text;
}

TEST_F(PluginSo, ParametersAsTheHostSeesThem)
{
    AEffect* e = host.effect;
    host.Dispatch(effOpen);
    // Set a known state through the host path and read the texts back; index
    // 11 has no name, text or value.
    float values[12] = {1.f, 0.0999100f, 1.f, 0.7f, 3.f / 63.f, 0.25f, 0.f, 0.f, 1.f, 0.f, 1.f};
    for (int i = 0; i < 11; ++i)
        e->setParameter(e, i, values[i]);
    const char* names[] = {"ON/OFF", "Output",     "Input",         "Threshold",
                           "Ratio",  "AttackTime", "ReleaseTime",   "LowFreq",
                           "HiFreq", "SideChain",  "AutoThreshold", ""};
    const char* texts[] = {"ON",   "0.0",    "0.0",     "-30.0", "4.0", "5.0",
                           "0.01", "2000.0", "20000.0", "OFF",   "ON",  ""};
    for (int i = 0; i < 12; ++i)
    {
        EXPECT_EQ(host.String(effGetParamName, i), names[i]);
        EXPECT_EQ(host.String(effGetParamLabel, i), kLabels[i]);
        EXPECT_EQ(host.String(effGetParamDisplay, i), texts[i]) << i;
        EXPECT_FLOAT_EQ(e->getParameter(e, i), values[i]);
    }

    // "-0.0" is shown as "0.0" for the gains, not for the threshold.
    e->setParameter(e, 1, 0.0998f); // just below unity gain
    EXPECT_EQ(host.String(effGetParamDisplay, 1), "0.0");
    e->setParameter(e, 3, 0.9996f); // -0.04 dB
    EXPECT_EQ(host.String(effGetParamDisplay, 3), "-0.0");
    e->setParameter(e, 0, 0.7f);
    EXPECT_EQ(host.String(effGetParamDisplay, 0), "OFF");
}

// Hosts that take the integer fields as the value range get no properties
// (they then work in 0..1 with the names and display texts); every other host
// gets them byte for byte. The host is asked for its names once.
TEST(PluginSoProperties, AnsweredPerHost)
{
    const int ranges[12][2] = {{0, 1}, {0, 10},       {0, 1},        {-100, 0}, {1, 64}, {0, 20},
                               {0, 4}, {2000, 20000}, {2000, 20000}, {0, 1},    {0, 1},  {0, 0}};
    // Product and vendor answered, the answer's result, and whether the host
    // misreads (known by a product prefix or the vendor, in any case).
    const std::tuple<const char*, const char*, VstIntPtr, bool> hosts[] = {
        {"Ardour", "Linux Audio Systems", 0, true}, // fills the names, answers 0
        {"Mixbus", "Linux Audio Systems", 0, true},
        {"Carla-Discovery", "falkTX", 1, true},
        {"qtractor", "", 1, true},
        {"NativeVST", "MusE", 1, true},
        {nullptr, nullptr, 0, false}, // names itself nothing
        {"REAPER", "Cockos", 1, false},
        {"Ardou", "Linux Audio", 1, false},
    };
    for (const auto& [product, vendor, result, misreads] : hosts)
    {
        HostHarness host;
        HostHarness::productAnswer = product;
        HostHarness::vendorAnswer = vendor;
        HostHarness::nameResult = result;
        ASSERT_NE(host.Create(), nullptr);
        const std::string who = product ? product : "(nothing)";
        for (int pass = 0; pass < 2; ++pass)
            for (int i = 0; i < 12; ++i)
            {
                VstParameterProperties p, expected;
                std::memset(&p, 0xAB, sizeof(p));
                std::memset(&expected, 0, sizeof(expected));
                if (!misreads)
                {
                    std::strcpy(expected.label, kLabels[i]);
                    expected.flags = i == 0 || i == 9 || i == 10 ? 11 : 10;
                    expected.minInteger = ranges[i][0];
                    expected.maxInteger = ranges[i][1];
                    expected.stepInteger = 128;
                    expected.largeStepInteger = 256;
                    expected.displayIndex = (VstInt16)i;
                }
                EXPECT_EQ(host.Dispatch(effGetParameterProperties, i, 0, &p), misreads ? 0 : 1)
                    << who << " " << i;
                EXPECT_EQ(std::memcmp(&p, &expected, sizeof(p)), 0) << who << " " << i;
            }
        for (VstInt32 opcode : {audioMasterGetVendorString, audioMasterGetProductString})
            EXPECT_EQ(std::count_if(HostHarness::calls.begin(), HostHarness::calls.end(),
                                    [&](const HostCall& c) { return c.opcode == opcode; }),
                      1)
                << who << " " << opcode;
    }
}

TEST_F(PluginSo, ProgramsAndOutOfRangeSelection)
{
    host.Dispatch(effOpen);
    host.Dispatch(effSetProgram, 0, 5);
    EXPECT_EQ(host.Dispatch(effGetProgram), 5);
    host.Dispatch(effSetProgram, 0, 32);
    host.Dispatch(effSetProgram, 0, -1);
    EXPECT_EQ(host.Dispatch(effGetProgram), 5);
    char name[64];
    for (auto [index, answer] : {std::pair{31, 1}, {32, 0}, {-1, 0}})
        EXPECT_EQ(host.Dispatch(effGetProgramNameIndexed, index, 0, name), answer) << index;

    char longName[40] = "A name that is much longer than 23";
    host.Dispatch(effSetProgramName, 0, 0, longName);
    EXPECT_EQ(host.String(effGetProgramName), std::string(longName, 23));
}

// Double precision through the same path (the float bypass is the effect
// tests'): bypassed, the output is the input times the normalised input value.
// The flags stay as they were after a whole start.
TEST_F(PluginSo, DoublePrecisionBypassIsExact)
{
    AEffect* e = host.effect;
    host.Start(44100.f, 256);
    e->setParameter(e, 0, 0.f);
    e->setParameter(e, 2, 0.5f);
    std::vector<double> dl(256, 0.5), dr(256, -0.25), dol(256), dor(256);
    double* din[2] = {dl.data(), dr.data()};
    double* dout[2] = {dol.data(), dor.data()};
    e->processDoubleReplacing(e, din, dout, 256);
    EXPECT_EQ(dol[10], 0.25);
    EXPECT_EQ(dor[10], -0.125);
    EXPECT_EQ(e->flags, 57);
}

TEST(PluginSoEntry, RefusesAHostThatDoesNotAnswerTheVersion)
{
    HostHarness host;
    HostHarness::versionAnswer = 0;
    EXPECT_EQ(host.Create(), nullptr);
    EXPECT_EQ(host.entry(nullptr), nullptr);
}
