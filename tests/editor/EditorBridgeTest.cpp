// The editor object as the host drives it through the dispatcher: size
// before and after open, open/close/idle/draw order, ownership of the panel,
// the message box, the control callback and image loading.
#include "EditorTestSupport.h"

#include <thread>

#include "CInDeEsser.h"
#include "ParamTable.h"

namespace
{
std::unique_ptr<ADeEsser> MakeEffect()
{
    auto effect = std::make_unique<ADeEsser>(RecordingHostCallback);
    effect->dispatcher(effOpen, 0, 0, nullptr, 0.f);
    return effect;
}

CDeEsserEditor* EditorOf(ADeEsser* effect)
{
    return static_cast<CDeEsserEditor*>(effect->getEditor());
}
} // namespace

TEST(EditorBridge, SizeComesFromTheBackgroundBeforeAndAfterOpen)
{
    auto effect = MakeEffect();
    ASSERT_NE(nullptr, EditorOf(effect.get()));
    EXPECT_TRUE(effect->getAeffect()->flags & effFlagsHasEditor);
    ERect* rect = nullptr;
    EXPECT_EQ(1, effect->dispatcher(effEditGetRect, 0, 0, &rect, 0.f));
    ASSERT_NE(nullptr, rect);
    EXPECT_EQ(0, rect->top);
    EXPECT_EQ(0, rect->left);
    EXPECT_EQ(210, rect->bottom);
    EXPECT_EQ(460, rect->right);
    EXPECT_EQ(EditorOf(effect.get())->GetBackground().Height(), rect->bottom);

    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    ERect* again = nullptr;
    effect->dispatcher(effEditGetRect, 0, 0, &again, 0.f);
    EXPECT_EQ(rect, again);
    CRect client;
    EditorOf(effect.get())->GetUIWindow()->GetClientRect(&client);
    EXPECT_EQ(CRect(0, 0, 460, 210), client);
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);
}

TEST(EditorBridge, OpenTwiceMakesOnePanelAndCloseRemovesIt)
{
    const int windows = CToolkit::WindowCount();
    auto effect = MakeEffect();
    CDeEsserEditor* editor = EditorOf(effect.get());
    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(nullptr, editor->GetPanel());

    // Idle and draw before open do nothing.
    effect->dispatcher(effEditIdle, 0, 0, nullptr, 0.f);
    effect->dispatcher(effEditDraw, 0, 0, nullptr, 0.f);
    EXPECT_EQ(windows, CToolkit::WindowCount());

    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    CUIWindow* panel = editor->GetUIWindow();
    ASSERT_NE(nullptr, panel);
    EXPECT_TRUE(editor->isOpen());
    EXPECT_EQ(static_cast<IDeEsserPanel*>(panel), editor->GetPanel());
    const int open = CToolkit::WindowCount();
    EXPECT_GT(open, windows);
    EXPECT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    EXPECT_EQ(panel, editor->GetUIWindow());
    EXPECT_EQ(open, CToolkit::WindowCount());

    // draw paints the whole panel at once.
    {
        CClientDC dc(panel);
        dc.FillSolidRect(0, 0, 460, 210, RGB(255, 0, 255));
    }
    effect->dispatcher(effEditDraw, 0, 0, nullptr, 0.f);
    EXPECT_TRUE(PanelBlockMatches(panel, 0, 0, editor->GetBackground(), 0, 0, 20, 5));
    EXPECT_TRUE(PanelBlockMatches(panel, 440, 200, editor->GetBackground(), 440, 200, 20, 10));

    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);
    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(nullptr, editor->GetUIWindow());
    EXPECT_EQ(nullptr, editor->GetPanel());
    EXPECT_EQ(windows, CToolkit::WindowCount());
    effect->dispatcher(effEditIdle, 0, 0, nullptr, 0.f);  // after close: nothing
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f); // twice: harmless

    // The effect's changes go nowhere while closed, and the next open shows them.
    effect->setParameter(kParamThreshold, 0.125f);
    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x78, 0.f));
    EXPECT_FLOAT_EQ(0.125f, editor->GetUIWindow()->Knob(100).GetValue());
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);

    // A null parent is refused without a panel.
    EXPECT_EQ(0, effect->dispatcher(effEditOpen, 0, 0, nullptr, 0.f));
    EXPECT_FALSE(editor->isOpen());
    EXPECT_EQ(windows, CToolkit::WindowCount());
}

TEST(EditorBridge, OtherThreadsGetTheMailboxNotThePanel)
{
    auto effect = MakeEffect();
    CDeEsserEditor* editor = EditorOf(effect.get());
    IDeEsserPanel* seen = nullptr;
    auto ask = [&]
    {
        std::thread other([&] { seen = editor->GetPanel(); });
        other.join();
    };
    ask();
    EXPECT_EQ(nullptr, seen);
    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    ask();
    ASSERT_NE(nullptr, seen);
    EXPECT_NE(static_cast<IDeEsserPanel*>(editor->GetUIWindow()), seen);
    // Queued calls keep the last value per parameter and wait for idle.
    seen->UpdateControl(kParamRatio, 0.25f);
    seen->UpdateControl(kParamRatio, 0.5f);
    seen->UpdateControl(kParamOutput, 0.75f);
    seen->UpdateControl(42, 1.f); // no such parameter: dropped
    EXPECT_NE(0.5f, editor->GetUIWindow()->Knob(103).GetValue());
    effect->dispatcher(effEditIdle, 0, 0, nullptr, 0.f);
    EXPECT_FLOAT_EQ(0.5f, editor->GetUIWindow()->Knob(103).GetValue());
    EXPECT_FLOAT_EQ(0.75f, editor->GetUIWindow()->Fader(105).GetValue());
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);
    ask();
    EXPECT_EQ(nullptr, seen);
}

TEST(EditorBridge, DestroyingTheEffectWhileOpenClosesThePanelFirst)
{
    const int windows = CToolkit::WindowCount();
    auto effect = MakeEffect();
    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    EXPECT_GT(CToolkit::WindowCount(), windows);
    effect.reset();
    EXPECT_EQ(windows, CToolkit::WindowCount());
}

TEST(EditorBridge, MessagesShowOnlyWhileOpen)
{
    auto effect = MakeEffect();
    CDeEsserEditor* editor = EditorOf(effect.get());
    EXPECT_FALSE(editor->ShowMessage("closed"));
    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    int boxes = 0;
    CHeadless::SetModalHook(
        [&](CWnd* modal)
        {
            ++boxes;
            modal->SendMessage(WM_CLOSE);
        });
    EXPECT_TRUE(editor->ShowMessage("Could not save the bank."));
    EXPECT_EQ(1, boxes);
    EXPECT_FALSE(editor->ShowMessage(nullptr));
    CHeadless::SetModalHook({});
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);
}

TEST(EditorBridge, ControlCallbackHandsValuesToThePanel)
{
    auto effect = MakeEffect();
    ASSERT_EQ(1, effect->dispatcher(effEditOpen, 0, 0, (void*)0x77, 0.f));
    CUIWindow* panel = EditorOf(effect.get())->GetUIWindow();
    HostCalls().clear();
    EXPECT_TRUE(ControlCallback(100, 0.3f, panel));
    EXPECT_FLOAT_EQ(0.3f, effect->getParameter(kParamThreshold));
    ASSERT_EQ(1u, AutomatedValues(kParamThreshold).size());
    EXPECT_FLOAT_EQ(0.3f, AutomatedValues(kParamThreshold)[0]);
    EXPECT_TRUE(ControlCallback(111, 1.f, panel));
    EXPECT_TRUE(effect->GetListen());
    EXPECT_TRUE(ControlCallback(131, 1.f, panel)); // the copy button drives nothing
    EXPECT_TRUE(ControlCallback(999, 1.f, panel));
    EXPECT_FALSE(ControlCallback(100, 0.9f, nullptr));
    EXPECT_FLOAT_EQ(0.3f, effect->getParameter(kParamThreshold));
    effect->dispatcher(effEditClose, 0, 0, nullptr, 0.f);
}

TEST(EditorBridge, ImagesLoadByIdAndMissingOnesAreEmpty)
{
    CVRXBitmap background, missing;
    EXPECT_TRUE(background.LoadResourceBitmap(5000));
    EXPECT_EQ(460, background.Width());
    EXPECT_EQ(210, background.Height());
    EXPECT_FALSE(missing.LoadResourceBitmap(4999));
    EXPECT_EQ(0, missing.Width());
    EXPECT_EQ(0, missing.Height());
    for (int id = 5001; id <= 5020; ++id)
    {
        CVRXBitmap image;
        EXPECT_TRUE(image.LoadResourceBitmap(id)) << id;
    }
    // The application object and the meters' constant exist from load time.
    EXPECT_EQ(&theApp, AfxGetApp());
    EXPECT_DOUBLE_EQ(0.6931471805599453, g_dLog2);
}
