// The editor as the host drives it through the dispatcher: open, close, idle and
// draw in any order, other threads, bad calls and images, the display scale.
#include "EditorTestSupport.h"

#include <cairo.h>

#include <cmath>
#include <thread>
#include <tuple>

#include "EditorScale.h"
#include "TestFiles.h"

TEST(EditorBridge, OpenTwiceMakesOnePanelAndCloseRemovesIt)
{
    const int windows = CToolkit::WindowCount();
    auto effect = MakeEffect();
    CDeEsserEditor* editor = EditorOf(effect.get());
    // Idle and draw before open do nothing.
    Dispatch(effect.get(), effEditIdle);
    Dispatch(effect.get(), effEditDraw);
    EXPECT_EQ(windows, CToolkit::WindowCount());

    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    CUIWindow* panel = editor->GetUIWindow();
    ASSERT_NE(nullptr, panel);
    EXPECT_EQ(static_cast<IDeEsserPanel*>(panel), editor->GetPanel());
    const int open = CToolkit::WindowCount();
    EXPECT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    EXPECT_EQ(panel, editor->GetUIWindow());
    EXPECT_EQ(open, CToolkit::WindowCount());

    // draw paints the whole panel at once.
    {
        CClientDC dc(panel);
        dc.FillSolidRect(0, 0, 460, 210, RGB(255, 0, 255));
    }
    Dispatch(effect.get(), effEditDraw);
    EXPECT_TRUE(PanelBlockMatches(panel, 0, 0, editor->GetBackground(), 0, 0, 20, 5));
    EXPECT_TRUE(PanelBlockMatches(panel, 440, 200, editor->GetBackground(), 440, 200, 20, 10));

    Dispatch(effect.get(), effEditClose);
    EXPECT_EQ(nullptr, editor->GetPanel());
    EXPECT_EQ(windows, CToolkit::WindowCount());
    Dispatch(effect.get(), effEditIdle);  // after close: nothing
    Dispatch(effect.get(), effEditClose); // twice: harmless

    // Changes while closed show at the next open.
    effect->setParameter(kParamThreshold, 0.125f);
    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    EXPECT_FLOAT_EQ(0.125f, editor->GetUIWindow()->Knob(100).GetValue());
    Dispatch(effect.get(), effEditClose);

    // A null parent is refused without a panel.
    EXPECT_EQ(0, Dispatch(effect.get(), effEditOpen));
    EXPECT_EQ(windows, CToolkit::WindowCount());

    // Destroying the effect while open closes the panel first.
    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    effect.reset();
    EXPECT_EQ(windows, CToolkit::WindowCount());
}

// Other threads get a mailbox, not the panel; messages show only while open
// and with a text; control callbacks without a panel or for no control change
// nothing; a missing image loads empty.
TEST(EditorBridge, OtherThreadsMessagesAndBadCalls)
{
    auto effect = MakeEffect();
    CDeEsserEditor* editor = EditorOf(effect.get());
    IDeEsserPanel* seen = nullptr;
    auto ask = [&] { std::thread([&] { seen = editor->GetPanel(); }).join(); };
    ask();
    EXPECT_EQ(nullptr, seen);
    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    ask();
    ASSERT_NE(nullptr, seen);
    EXPECT_NE(static_cast<IDeEsserPanel*>(editor->GetUIWindow()), seen);
    // Queued calls keep the last value per parameter and wait for idle.
    seen->UpdateControl(kParamRatio, 0.25f);
    seen->UpdateControl(kParamRatio, 0.5f);
    seen->UpdateControl(kParamOutput, 0.75f);
    seen->UpdateControl(42, 1.f); // no such parameter: dropped
    EXPECT_NE(0.5f, editor->GetUIWindow()->Knob(103).GetValue());
    Dispatch(effect.get(), effEditIdle);
    EXPECT_FLOAT_EQ(0.5f, editor->GetUIWindow()->Knob(103).GetValue());
    EXPECT_FLOAT_EQ(0.75f, editor->GetUIWindow()->Fader(105).GetValue());

    EXPECT_FALSE(editor->ShowMessage(nullptr)); // shown: the host-scale test

    const float threshold = effect->getParameter(kParamThreshold);
    HostCalls().clear();
    EXPECT_TRUE(ControlCallback(131, 1.f, editor->GetUIWindow())); // the copy button
    EXPECT_TRUE(ControlCallback(999, 1.f, editor->GetUIWindow()));
    EXPECT_FALSE(ControlCallback(100, 0.9f, nullptr));
    EXPECT_FLOAT_EQ(threshold, effect->getParameter(kParamThreshold));
    EXPECT_TRUE(HostCalls().empty());
    Dispatch(effect.get(), effEditClose);
    ask();
    EXPECT_EQ(nullptr, seen);
    EXPECT_FALSE(editor->ShowMessage("closed"));

    CVRXBitmap missing;
    EXPECT_FALSE(missing.LoadResourceBitmap(4999));
    EXPECT_EQ(0, missing.Width());
}

// The scale's sources in their order, each saying nothing when it has no
// usable number; the desktop is asked only when nothing before it answered.
TEST(EditorScale, SourcesInOrderEachClampedOrIgnored)
{
    static double desktop = 0.0;
    static int desktopAsked = 0;
    auto ask = [] { return ++desktopAsked, desktop; };
    const struct
    {
        double host;
        const char* environment;
        double desktopScale;
        double expected;
        bool asksDesktop;
    } cases[] = {
        {2.0, "3", 4.0, 2.0, false},     // the host first
        {9.0, nullptr, 0.0, 4.0, false}, // outside 1..4: the nearer end
        {0.0, " 1.5 ", 2.0, 1.5, false}, // then DEESSER_UI_SCALE
        {0.0, "6", 2.0, 4.0, false},
        {-1.0, "2x", 2.0, 2.0, true}, // not a number: the desktop's turn
        {std::nan(""), "", 1.25, 1.25, true},
        {0.0, "0", 100.0 / 96.0, 100.0 / 96.0, true}, // Xft.dpi / 96, as it is
        {0.0, nullptr, 72.0 / 96.0, 1.0, true},
        {0.0, nullptr, 0.0, 1.0, true}, // nothing anywhere
    };
    for (const auto& c : cases)
    {
        desktop = c.desktopScale;
        desktopAsked = 0;
        EXPECT_DOUBLE_EQ(c.expected, ResolveEditorScale(c.host, c.environment, ask))
            << c.host << " " << (c.environment ? c.environment : "-") << " " << c.desktopScale;
        EXPECT_EQ(c.asksDesktop, desktopAsked == 1) << c.host;
    }
}

// The VST host's scale ('PreS'/'AeCs', scale in opt) sizes the editor before it
// opens; the panel works in panel pixels while all it shows (entry field, copy
// menu, save dialog, message box) is drawn at the scale. While open a new scale
// resizes every window and asks the host for the new size; withdrawn, the desktop's.
TEST(EditorBridge, HostScaleSizesTheEditorAndEveryWindowItShows)
{
    const VstInt32 kPreS = ('P' << 24) | ('r' << 16) | ('e' << 8) | 'S';
    const VstIntPtr kAeCs = ('A' << 24) | ('e' << 16) | ('C' << 8) | 's';
    ScopedEnv noEnvironment("DEESSER_UI_SCALE", nullptr);
    auto effect = MakeEffect();
    auto rect = [&]
    {
        ERect* r = nullptr;
        effect->dispatcher(effEditGetRect, 0, 0, &r, 0.f);
        return CSize(r->right - r->left, r->bottom - r->top);
    };
    auto deviceWidth = [](CWnd* wnd)
    {
        CBitmap shot;
        shot.Attach(CHeadless::Snapshot(wnd));
        return cairo_image_surface_get_width(shot.GetHandle());
    };
    CHeadless::SetDesktopScale(1.5);
    EXPECT_EQ(CSize(690, 315), rect());
    EXPECT_EQ(1, effect->dispatcher(effVendorSpecific, kPreS, kAeCs, nullptr, 2.f));
    EXPECT_EQ(0, effect->dispatcher(effVendorSpecific, kPreS, 0, nullptr, 3.f)); // not ours
    EXPECT_EQ(CSize(920, 420), rect());

    ASSERT_EQ(1, Dispatch(effect.get(), effEditOpen, (void*)0x77));
    CUIWindow* panel = EditorOf(effect.get())->GetUIWindow();
    EXPECT_EQ(920, deviceWidth(panel));
    CRect client;
    panel->GetClientRect(&client);
    EXPECT_EQ(CRect(0, 0, 460, 210), client); // the panel's own size stays
    // The threshold display at device (558, 224) opens the entry field over it.
    CHeadless::Click(panel, CPoint(2 * 279, 2 * 112));
    CVRXFloatEditWnd& field = panel->EntryField();
    ASSERT_TRUE(field.IsWindowVisible());
    CRect at;
    field.GetWindowRect(&at);
    panel->ScreenToClient(&at);
    EXPECT_EQ(CPoint(256, 105), at.TopLeft());
    EXPECT_EQ(2 * at.Width(), deviceWidth(&field));
    int modals = 0;
    CHeadless::SetModalHook(
        [&](CWnd* modal)
        {
            CRect r;
            modal->GetClientRect(&r);
            modals += r.Width() > 0 && deviceWidth(modal) == 2 * r.Width();
            modal->SendMessage(WM_CLOSE);
        });
    CHeadless::Click(panel, CPoint(2 * 70, 2 * 15));  // COPY
    CHeadless::Click(panel, CPoint(2 * 216, 2 * 18)); // SAVE
    EXPECT_TRUE(EditorOf(effect.get())->ShowMessage("Saved."));
    EXPECT_EQ(3, modals);
    CHeadless::SetModalHook({});

    HostCalls().clear();
    effect->dispatcher(effVendorSpecific, kPreS, kAeCs, nullptr, 3.f);
    EXPECT_EQ(CSize(1380, 630), rect());
    ASSERT_EQ(1u, HostCalls().size());
    EXPECT_EQ(std::make_tuple((VstInt32)audioMasterSizeWindow, 1380, (VstIntPtr)630),
              std::make_tuple(HostCalls()[0].opcode, HostCalls()[0].index, HostCalls()[0].value));
    EXPECT_EQ(1380, deviceWidth(panel));

    HostCalls().clear();
    effect->dispatcher(effVendorSpecific, kPreS, kAeCs, nullptr, 3.f); // no change: no call
    effect->dispatcher(effVendorSpecific, kPreS, kAeCs, nullptr, 0.f); // withdrawn: the desktop
    EXPECT_EQ(CSize(690, 315), rect());
    ASSERT_EQ(1u, HostCalls().size());
    Dispatch(effect.get(), effEditClose);
    CHeadless::SetDesktopScale(0.0);
    EXPECT_EQ(CSize(460, 210), rect());
}
