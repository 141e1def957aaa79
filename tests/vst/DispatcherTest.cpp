// The base classes' default answers and guards, the obsolete process call and
// the host-callback helpers, on a bare effect that overrides nothing but
// processing.
#include "AudioEffectX.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{
std::vector<VstInt32> g_Sent;
float g_LastOpt = 0.f;

VstIntPtr Recorder(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float opt)
{
    g_Sent.push_back(opcode);
    g_LastOpt = opt;
    return 0;
}

int g_Destroyed = 0;

class BareEffect : public AudioEffectX
{
public:
    using AudioEffectX::AudioEffectX;
    ~BareEffect() override { ++g_Destroyed; }
    void processReplacing(float**, float**, VstInt32 n) override { processed += n; }
    int processed = 0;
};
} // namespace

TEST(Dispatcher, DefaultAnswersAndGuards)
{
    BareEffect fx(nullptr, 4, 2);
    AEffect* e = fx.getAeffect();
    ERect* rect = (ERect*)1;
    int window = 0;
    const struct
    {
        VstInt32 opcode;
        VstIntPtr value;
        void* ptr;
        VstIntPtr expected;
    } rows[] = {
        // clang-format off
        {effEditGetRect, 0, &rect, 0}, // without an editor: a null rectangle
        {effEditOpen, 0, &window, 0},
        {effSetProgram, 3, nullptr, 0},
        {effSetProgram, 4, nullptr, 0}, // equal to the count: ignored
        {effSetProgram, -2, nullptr, 0},
        {effGetProgram, 0, nullptr, 3},
        {effIdentify, 0, nullptr, VstFourCC('N', 'v', 'E', 'f')},
        {effGetVu, 0, nullptr, 0},
        // clang-format on
    };
    for (const auto& r : rows)
        EXPECT_EQ(e->dispatcher(e, r.opcode, 0, r.value, r.ptr, 0.f), r.expected) << r.opcode;
    EXPECT_EQ(rect, nullptr);
    // Opcodes 25-79 without an override answer 0, but for three fixed answers.
    for (VstInt32 op = effProcessEvents; op <= effGetNumMidiOutputChannels; ++op)
    {
        VstIntPtr expected = op == effCanBeAutomated    ? 1
                             : op == effGetPlugCategory ? kPlugCategEffect
                             : op == effGetVstVersion   ? 2300
                                                        : 0;
        char buffer[256] = {};
        EXPECT_EQ(e->dispatcher(e, op, 0, 0, buffer, 0.f), expected) << "opcode " << op;
    }
    // The obsolete accumulating call processes as the replacing one.
    float* io[2] = {nullptr, nullptr};
    e->process(e, io, io, 32);
    EXPECT_EQ(fx.processed, 32);
}

TEST(Dispatcher, HostHelpersSkipANullCallbackAndCarryTheValueAsFloat)
{
    BareEffect quiet(nullptr, 1, 1);
    quiet.setParameterAutomated(0, 0.5f);
    EXPECT_EQ(quiet.getDirectory(), nullptr);

    g_Sent.clear();
    BareEffect loud(Recorder, 1, 1);
    loud.setParameterAutomated(2, 0.75f);
    EXPECT_EQ(g_LastOpt, 0.75f);
    loud.beginEdit(2);
    loud.endEdit(2);
    loud.updateDisplay();
    loud.resume(); // asks for MIDI only when the effect says it receives MIDI
    EXPECT_EQ(g_Sent, (std::vector<VstInt32>{audioMasterAutomate, audioMasterBeginEdit,
                                             audioMasterEndEdit, audioMasterUpdateDisplay}));
}

TEST(Dispatcher, CloseReleasesTheInstance)
{
    g_Destroyed = 0;
    auto* fx = new BareEffect(nullptr, 1, 1);
    AEffect* e = fx->getAeffect();
    EXPECT_EQ(e->dispatcher(e, effClose, 0, 0, nullptr, 0.f), 0);
    EXPECT_EQ(g_Destroyed, 1);
}
