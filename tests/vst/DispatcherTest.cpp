// The base classes' default answers, trampolines and host-callback helpers,
// on a bare effect that overrides nothing but processing.
#include "AEffEditor.h"
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
    void setParameter(VstInt32 index, float value) override
    {
        lastIndex = index;
        lastValue = value;
    }
    int processed = 0;
    int lastIndex = -1;
    float lastValue = 0.f;
};

class CountingEditor : public AEffEditor
{
public:
    using AEffEditor::AEffEditor;
    bool getRect(ERect** r) override
    {
        *r = &rect;
        return true;
    }
    bool open(void* p) override
    {
        ++opens;
        return AEffEditor::open(p), true;
    }
    void idle() override { ++idles; }
    ERect rect{0, 0, 10, 20};
    int opens = 0, idles = 0;
};
} // namespace

TEST(Dispatcher, DefaultAnswers)
{
    BareEffect fx(nullptr, 4, 2);
    AEffect* e = fx.getAeffect();
    EXPECT_EQ(e->object, &fx);
    EXPECT_EQ(e->flags, effFlagsCanReplacing);
    auto d = [&](VstInt32 op, VstInt32 index = 0, VstIntPtr value = 0, void* ptr = nullptr)
    { return e->dispatcher(e, op, index, value, ptr, 0.f); };
    // Opcodes 25-79 without an override answer 0, except the ones with a
    // fixed default answer.
    for (VstInt32 op = effProcessEvents; op <= effGetNumMidiOutputChannels; ++op)
    {
        VstIntPtr expected = 0;
        if (op == effCanBeAutomated)
            expected = 1;
        if (op == effGetPlugCategory)
            expected = kPlugCategEffect;
        if (op == effGetVstVersion)
            expected = 2300;
        char buffer[256] = {};
        EXPECT_EQ(d(op, 0, 0, buffer), expected) << "opcode " << op;
    }
    EXPECT_EQ(d(effIdentify), VstFourCC('N', 'v', 'E', 'f'));
    EXPECT_EQ(d(effGetVu), 0);
    d(effSetProgram, 0, 3);
    EXPECT_EQ(d(effGetProgram), 3);
    d(effSetProgram, 0, 4); // equal to the count: ignored
    d(effSetProgram, 0, -2);
    EXPECT_EQ(d(effGetProgram), 3);
    ERect* rect = (ERect*)1;
    EXPECT_EQ(d(effEditGetRect, 0, 0, &rect), 0);
    EXPECT_EQ(rect, nullptr);
    EXPECT_EQ(d(effEditOpen), 0);
}

TEST(Dispatcher, TrampolinesAndEditorForwarding)
{
    BareEffect fx(nullptr, 1, 1);
    AEffect* e = fx.getAeffect();
    e->setParameter(e, 7, 0.25f);
    EXPECT_EQ(fx.lastIndex, 7);
    EXPECT_EQ(fx.lastValue, 0.25f);
    float* io[2] = {nullptr, nullptr};
    e->processReplacing(e, io, io, 64);
    e->process(e, io, io, 32);
    EXPECT_EQ(fx.processed, 96);

    auto* editor = new CountingEditor(&fx);
    fx.setEditor(editor);
    EXPECT_EQ(e->flags & effFlagsHasEditor, effFlagsHasEditor);
    ERect* rect = nullptr;
    EXPECT_EQ(e->dispatcher(e, effEditGetRect, 0, 0, &rect, 0.f), 1);
    EXPECT_EQ(rect->right, 20);
    int window = 0;
    EXPECT_EQ(e->dispatcher(e, effEditOpen, 0, 0, &window, 0.f), 1);
    e->dispatcher(e, effEditIdle, 0, 0, nullptr, 0.f);
    EXPECT_EQ(editor->opens, 1);
    EXPECT_EQ(editor->idles, 1);
    EXPECT_TRUE(editor->isOpen());
    e->dispatcher(e, effEditClose, 0, 0, nullptr, 0.f);
    EXPECT_FALSE(editor->isOpen());
}

TEST(Dispatcher, HostHelpersSkipANullCallbackAndCarryTheValueAsFloat)
{
    BareEffect quiet(nullptr, 1, 1);
    quiet.setParameterAutomated(0, 0.5f);
    EXPECT_FALSE(quiet.endEdit(0));
    EXPECT_EQ(quiet.getDirectory(), nullptr);
    EXPECT_EQ(quiet.getMasterVersion(), 0);

    g_Sent.clear();
    BareEffect loud(Recorder, 1, 1);
    loud.setParameterAutomated(2, 0.75f);
    loud.beginEdit(2);
    loud.endEdit(2);
    loud.updateDisplay();
    ASSERT_EQ(g_Sent.size(), 4u);
    EXPECT_EQ(g_Sent[0], audioMasterAutomate);
    EXPECT_EQ(g_Sent[1], audioMasterBeginEdit);
    EXPECT_EQ(g_Sent[2], audioMasterEndEdit);
    EXPECT_EQ(g_Sent[3], audioMasterUpdateDisplay);
    g_Sent.clear();
    loud.setParameterAutomated(1, 0.125f);
    EXPECT_EQ(g_LastOpt, 0.125f);
    // resume() asks for MIDI only when the effect says it receives MIDI.
    g_Sent.clear();
    loud.resume();
    EXPECT_TRUE(g_Sent.empty());
}

TEST(Dispatcher, CloseReleasesTheInstance)
{
    g_Destroyed = 0;
    auto* fx = new BareEffect(nullptr, 1, 1);
    AEffect* e = fx->getAeffect();
    EXPECT_EQ(e->dispatcher(e, effClose, 0, 0, nullptr, 0.f), 0);
    EXPECT_EQ(g_Destroyed, 1);
}
