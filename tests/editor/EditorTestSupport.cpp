// The headless editor tests' support and main; saving goes to a scratch user folder.
#include "EditorTestSupport.h"
#include "TestFiles.h"

std::vector<RecordedHostCall>& HostCalls()
{
    static std::vector<RecordedHostCall> calls;
    return calls;
}

VstIntPtr RecordingHostCallback(AEffect*, VstInt32 opcode, VstInt32 index, VstIntPtr value, void*,
                                float opt)
{
    HostCalls().push_back({opcode, index, opt, value});
    if (opcode == audioMasterVersion)
        return 2400;
    return 0;
}

std::vector<float> AutomatedValues(int index)
{
    std::vector<float> values;
    for (const RecordedHostCall& c : HostCalls())
        if (c.opcode == audioMasterAutomate && c.index == index)
            values.push_back(c.opt);
    return values;
}

std::unique_ptr<ADeEsser> MakeEffect()
{
    auto effect = std::make_unique<ADeEsser>(RecordingHostCallback);
    Dispatch(effect.get(), effOpen);
    return effect;
}

void EditorFixture::SetUp()
{
    CHeadless::SetModalHook({});
    SetKeyModifierState(0);
    effect = MakeEffect();
    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x1234));
    ASSERT_NE(nullptr, Panel());
    CHeadless::Pump();
    HostCalls().clear();
}

void EditorFixture::TearDown()
{
    CHeadless::SetModalHook({});
    SetKeyModifierState(0);
    Dispatch(effect.get(), effEditClose);
}

::testing::AssertionResult PanelBlockMatches(CWnd* panel, int x, int y, const CBitmap& image,
                                             int sx, int sy, int w, int h)
{
    CDC mem;
    mem.CreateCompatibleDC(nullptr);
    mem.SelectObject(const_cast<CBitmap*>(&image));
    for (int j = 0; j < h; ++j)
        for (int i = 0; i < w; ++i)
        {
            const COLORREF got = CHeadless::GetPixel(panel, x + i, y + j);
            if (got != mem.GetPixel(sx + i, sy + j))
                return ::testing::AssertionFailure()
                       << "pixel (" << x + i << ", " << y + j << ") is " << std::hex << got;
        }
    return ::testing::AssertionSuccess();
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    CHeadless::Use();
    UseScratchSettings();
    return RUN_ALL_TESTS();
}
