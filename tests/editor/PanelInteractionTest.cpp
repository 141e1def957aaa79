// The main panel against the real effect: presses on the value displays
// open the entry field, typed values reach the parameters with the panel's
// rounding, drags and clicks change parameters and tell the host, host
// changes move the controls, and the copy menu, the lamp and SAVE work.
#include "EditorTestSupport.h"

#include <cmath>
#include <cstring>
#include <thread>

#include <cairo.h>

#include "AfxPopupList.h"
#include "CPresetSaveDlg.h"
#include "ParamTable.h"
#include "TestFiles.h"

namespace
{
CPoint Centre(const CRect& r)
{
    return CPoint(r.left + r.Width() / 2, r.top + r.Height() / 2);
}

// Every knob: id, parameter, top-left corner.
const int kKnobs[][4] = {{100, kParamThreshold, 262, 66}, {101, kParamAttack, 262, 141},
                         {102, kParamRelease, 333, 66},   {103, kParamRatio, 333, 141},
                         {108, kParamLowFreq, 99, 54},    {109, kParamHiFreq, 99, 139}};
const int kDisplayedParams[] = {kParamThreshold, kParamAttack, kParamRelease, kParamRatio,
                                kParamInput,     kParamOutput, kParamLowFreq, kParamHiFreq};

class PanelTest : public EditorFixture
{
protected:
    void Press(CPoint p, unsigned modifiers = 0) { CHeadless::MouseDown(Panel(), p, modifiers); }
    void Release(CPoint p, unsigned modifiers = 0) { CHeadless::MouseUp(Panel(), p, modifiers); }
    void Click(CPoint p, unsigned modifiers = 0) { CHeadless::Click(Panel(), p, modifiers); }
    // Commits `integerImage` as if typed into the open entry field; the
    // field tells the panel and hides.
    void Commit(const char* integerImage)
    {
        Panel()->EntryField().GetEdit().SetWindowText(integerImage);
        Panel()->EntryField().SendMessage(WM_INPUTVAL_RETURN);
    }
    void OpenDisplay(int param) { Click(Centre(CUIWindow::DisplayRect(param))); }
};
} // namespace

// The field shows the value with the decimals of the effect's display text, as
// an integer image, with the parameter's range and room for its ends.
TEST_F(PanelTest, PressOnEachDisplayOpensTheEntryAtItsValueAndRange)
{
    CVRXFloatEditWnd& field = Panel()->EntryField();
    ASSERT_NE(nullptr, field.GetSafeHwnd());
    EXPECT_FALSE(field.IsWindowVisible());
    for (int param : kDisplayedParams)
    {
        const CRect rect = CUIWindow::DisplayRect(param);
        Click(Centre(rect));
        EXPECT_TRUE(field.IsWindowVisible()) << param;
        char shown[32] = {};
        effect->getParameterDisplay(param, shown);
        const char* point = std::strchr(shown, '.');
        const int decimals = point ? (int)std::strlen(point + 1) : 0;
        const int scale = decimals == 2 ? 100 : 10;
        EXPECT_EQ(decimals, field.GetEdit().GetFloatPoint()) << param;

        float min, max;
        GetParamMinMax(param, &min, &max);
        int lower = 0, upper = 0;
        field.GetSpin().GetRange32(lower, upper);
        EXPECT_EQ((int)(min * scale), lower) << param;
        EXPECT_EQ((int)(max * scale), upper) << param;
        EXPECT_EQ(min < 0, min < 0 && field.GetSign()) << param; // a negative end can be typed
        EXPECT_GT(field.GetMaxChars(), (int)std::to_string(lower).size()) << param;
        EXPECT_GT(field.GetMaxChars(), (int)std::to_string(upper).size()) << param;
        const int value = (int)(effect->getParameterDisplayVal(param) * scale);
        EXPECT_EQ(value, field.GetSpin().GetPos32()) << param;
        CString text;
        field.GetText(text);
        EXPECT_EQ(std::to_string(value), text.str()) << param;

        // Top-left corner one pixel right of the display's.
        CRect wr, pr;
        field.GetWindowRect(&wr);
        Panel()->GetWindowRect(&pr);
        EXPECT_EQ(CPoint(rect.left + 1, rect.top), CPoint(wr.left - pr.left, wr.top - pr.top))
            << param;
    }
    // A press anywhere else closes the field unused.
    Click(CPoint(240, 30));
    EXPECT_EQ(-1, Panel()->GetEditId());
    EXPECT_FALSE(field.IsWindowVisible());
    EXPECT_EQ(1, field.GetEdit().GetFloatPoint());
}

TEST_F(PanelTest, TypedValuesAreNudgedAndClampedBeforeReachingTheParameter)
{
    struct Case
    {
        int param;
        const char* image; // integer image of the field
        float expected;    // internal value
    };
    const Case cases[] = {
        {kParamThreshold, "0", 0.f},
        {kParamThreshold, "-15", -1.505f},
        {kParamThreshold, "-20000", -100.f},
        {kParamThreshold, "junk", 0.f},
        {kParamThreshold, "-1", -0.105f},
        {kParamRelease, "123", 1.2305f},
        {kParamRelease, "0", 0.01f},
        {kParamRelease, "999", 4.f},
        {kParamAttack, "55", 5.505f},
        {kParamRatio, "40", 4.005f},
        {kParamRatio, "0", 1.f},
        {kParamLowFreq, "50000", 5000.005f},
        {kParamHiFreq, "999999", 20000.f},
        {kParamInput, "-65", -6.505f},
        {kParamOutput, "123", 12.305f},
    };
    for (const Case& c : cases)
    {
        HostCalls().clear();
        OpenDisplay(c.param);
        ASSERT_NE(-1, Panel()->GetEditId());
        Commit(c.image);
        EXPECT_FLOAT_EQ(c.expected, effect->GetInternalValue(c.param)) << c.param << " " << c.image;
        EXPECT_EQ(-1, Panel()->GetEditId());
        EXPECT_FALSE(Panel()->EntryField().IsWindowVisible());
        // The host hears the new normalised value and the control follows.
        std::vector<float> automated = AutomatedValues(c.param);
        ASSERT_EQ(1u, automated.size()) << c.param << " " << c.image;
        EXPECT_FLOAT_EQ(effect->getParameter(c.param), automated[0]);
    }
    EXPECT_FLOAT_EQ(effect->getParameter(kParamThreshold), Panel()->Knob(100).GetValue());
    EXPECT_FLOAT_EQ(effect->getParameter(kParamOutput), Panel()->Fader(105).GetValue());
}

TEST_F(PanelTest, SecondDisplayPressDiscardsTheFirstEntryAndStrayReturnsOnlyRepaint)
{
    const float threshold = effect->GetInternalValue(kParamThreshold);
    OpenDisplay(kParamThreshold);
    Panel()->EntryField().GetEdit().SetWindowText("-300");
    OpenDisplay(kParamAttack);
    EXPECT_EQ(121, Panel()->GetEditId());
    EXPECT_EQ(threshold, effect->GetInternalValue(kParamThreshold));

    Panel()->HideEdit();
    EXPECT_EQ(-1, Panel()->GetEditId());
    EXPECT_FALSE(Panel()->EntryField().IsWindowVisible());
    HostCalls().clear();
    {
        CClientDC dc(Panel());
        dc.FillSolidRect(0, 0, 10, 10, RGB(255, 0, 255));
    }
    Panel()->SendMessage(WM_INPUTVAL_RETURN);
    EXPECT_EQ(ImagePixel(Editor()->GetBackground(), 5, 5), CHeadless::GetPixel(Panel(), 5, 5));
    EXPECT_TRUE(HostCalls().empty());
    EXPECT_EQ(threshold, effect->GetInternalValue(kParamThreshold));
}

TEST_F(PanelTest, KnobAndFaderDragsFollowThePointerAndTellTheHost)
{
    effect->setParameter(kParamThreshold, 0.5f); // away from both end stops
    HostCalls().clear();
    const CPoint c(262 + 17, 66 + 17);
    Press(CPoint(c.x - 10, c.y)); // jumps to the left: 0.2
    EXPECT_NEAR(0.2f, effect->getParameter(kParamThreshold), 1e-6);
    CHeadless::MouseMove(Panel(), CPoint(c.x, c.y - 10)); // up: 0.5
    EXPECT_NEAR(0.5f, effect->getParameter(kParamThreshold), 1e-6);
    CHeadless::MouseMove(Panel(), CPoint(c.x + 60, c.y)); // far right, captured: 0.8
    EXPECT_NEAR(0.8f, effect->getParameter(kParamThreshold), 1e-6);
    Release(CPoint(c.x + 60, c.y));
    EXPECT_FALSE(Panel()->Knob(100).IsDragging());

    const std::vector<float> automated = AutomatedValues(kParamThreshold);
    ASSERT_EQ(4u, automated.size()); // press, two moves, release
    EXPECT_NEAR(0.2f, automated[0], 1e-6);
    EXPECT_NEAR(0.8f, automated[3], 1e-6);
    // The knob shows frame 48 (0.8 * 60) at once, without waiting for a paint.
    EXPECT_TRUE(PanelBlockMatches(Panel(), 262, 66, Panel()->Image(5001), 0, 48 * 34, 34, 34));

    // A move without a drag changes nothing.
    CHeadless::MouseMove(Panel(), CPoint(c.x - 10, c.y));
    EXPECT_NEAR(0.8f, effect->getParameter(kParamThreshold), 1e-6);

    // Every knob drives its own parameter.
    for (auto& k : kKnobs)
    {
        effect->setParameter(k[1], 0.5f);
        Click(CPoint(k[2] + 17 + 10, k[3] + 17));
        EXPECT_NEAR(0.8f, effect->getParameter(k[1]), 1e-6) << k[0];
        EXPECT_NEAR(0.8f, Panel()->Knob(k[0]).GetValue(), 1e-6) << k[0];
    }

    // A fader click jumps, and its drag maps logarithmically.
    HostCalls().clear();
    Press(CPoint(52, 45 + 66)); // input fader, 66 px down its track
    const double t = (66.0 - 127.0) / (6.0 - 127.0);
    const float expected = (float)((std::pow(10.0, t) - 1.0) / 9.0);
    EXPECT_FLOAT_EQ(expected, effect->getParameter(kParamInput));
    CHeadless::MouseMove(Panel(), CPoint(70, 20)); // above the end point: maximum
    EXPECT_FLOAT_EQ(1.f, effect->getParameter(kParamInput));
    Release(CPoint(70, 20));
    ASSERT_EQ(2u, AutomatedValues(kParamInput).size());

    Click(CPoint(410, 45 + 130)); // output fader, below its start point: minimum
    EXPECT_FLOAT_EQ(0.f, effect->getParameter(kParamOutput));
    EXPECT_FLOAT_EQ(0.f, Panel()->Fader(105).GetValue());
    // The cap sits at the bottom of the track: rows 121..132.
    EXPECT_TRUE(PanelBlockMatches(Panel(), 403, 45 + 121, Panel()->Image(5010), 0, 0, 16, 12));
}

TEST_F(PanelTest, SwitchClicksToggleTheirParametersListenAndResetToFactory)
{
    const struct
    {
        CPoint at;
        int param;
    } switches[] = {
        {{30, 12}, kParamOnOff}, {{175, 90}, kParamSideChain}, {{310, 60}, kParamAutoThreshold}};
    for (auto& s : switches)
    {
        const float before = effect->getParameter(s.param);
        HostCalls().clear();
        Click(s.at);
        EXPECT_FLOAT_EQ(before != 0.f ? 0.f : 1.f, effect->getParameter(s.param)) << s.param;
        ASSERT_EQ(1u, AutomatedValues(s.param).size()) << s.param;
        Click(s.at);
        EXPECT_FLOAT_EQ(before, effect->getParameter(s.param)) << s.param;
    }
    EXPECT_FALSE(effect->GetListen());
    Click(CPoint(175, 74));
    EXPECT_TRUE(effect->GetListen());
    EXPECT_EQ(1, Panel()->Switch(111).GetValue());
    // Drawn at once with the "on" image's released half.
    EXPECT_TRUE(PanelBlockMatches(Panel(), 168, 68, Panel()->Image(5013), 0, 0, 14, 12));
    Click(CPoint(175, 74));
    EXPECT_FALSE(effect->GetListen());
    EXPECT_TRUE(PanelBlockMatches(Panel(), 168, 68, Panel()->Image(5014), 0, 0, 14, 12));

    // Shift on the power resets the program to its factory values.
    const int cur = effect->getProgram();
    effect->setParameter(kParamThreshold, 0.123f);
    effect->setParameter(kParamRatio, 0.456f);
    ASSERT_NE(0.123f, effect->GetFactoryProgram(cur).values[kParamThreshold]);
    Click(CPoint(30, 12), KEYMOD_SHIFT);
    EXPECT_EQ(0, std::memcmp(effect->GetFactoryProgram(cur).values, effect->GetProgram(cur).values,
                             sizeof(float) * 11));
    EXPECT_FLOAT_EQ(effect->getParameter(kParamThreshold), Panel()->Knob(100).GetValue());

    // Control asks for the bank-wide reset, which the effect keeps empty:
    // only the power toggles.
    effect->setProgram(3);
    effect->setParameter(kParamRatio, 0.9f);
    effect->setProgram(cur);
    effect->setParameter(kParamRatio, 0.8f);
    const float power = effect->getParameter(kParamOnOff);
    Click(CPoint(30, 12), KEYMOD_CONTROL);
    EXPECT_NE(power, effect->getParameter(kParamOnOff));
    EXPECT_FLOAT_EQ(0.8f, effect->getParameter(kParamRatio));
    EXPECT_FLOAT_EQ(0.9f, effect->GetProgram(3).values[kParamRatio]);

    // A plain click only toggles the power.
    effect->setParameter(kParamRatio, 0.7f);
    Click(CPoint(30, 12));
    EXPECT_FLOAT_EQ(0.7f, effect->getParameter(kParamRatio));
}

TEST_F(PanelTest, HostChangesMoveTheControls)
{
    for (auto& k : kKnobs)
    {
        effect->setParameter(k[1], 0.375f);
        EXPECT_FLOAT_EQ(0.375f, Panel()->Knob(k[0]).GetValue()) << k[1];
    }
    effect->setParameter(kParamThreshold, 0.25f); // drawn at once: frame 15
    EXPECT_TRUE(PanelBlockMatches(Panel(), 262, 66, Panel()->Image(5001), 0, 15 * 34, 34, 34));
    effect->setParameter(kParamOutput, 0.7f);
    EXPECT_FLOAT_EQ(0.7f, Panel()->Fader(105).GetValue());
    effect->setParameter(kParamInput, 0.1f);
    EXPECT_FLOAT_EQ(0.1f, Panel()->Fader(104).GetValue());
    effect->setParameter(kParamSideChain, 0.f);
    EXPECT_EQ(0, Panel()->Switch(112).GetValue());
    EXPECT_TRUE(PanelBlockMatches(Panel(), 168, 85, Panel()->Image(5016), 0, 0, 14, 12));
    effect->setParameter(kParamAutoThreshold, 1.f);
    EXPECT_EQ(1, Panel()->Switch(106).GetValue());
    // Selecting a program replays all of its values into the controls.
    effect->setProgram(7);
    EXPECT_FLOAT_EQ(effect->getParameter(kParamRatio), Panel()->Knob(103).GetValue());
    EXPECT_FLOAT_EQ(effect->getParameter(kParamOutput), Panel()->Fader(105).GetValue());

    // Automation from another thread is queued and applied at the next idle.
    std::thread([this] { effect->setParameter(kParamRatio, 0.0625f); }).join();
    EXPECT_NE(0.0625f, Panel()->Knob(103).GetValue());
    effect->dispatcher(effEditIdle, 0, 0, nullptr, 0.f);
    EXPECT_FLOAT_EQ(0.0625f, Panel()->Knob(103).GetValue());
}

TEST_F(PanelTest, CopyMenuListsAllProgramsAndCopiesTheChosenOne)
{
    const int cur = effect->getProgram();
    effect->setProgram(5);
    effect->setParameter(kParamThreshold, 0.3125f);
    effect->setProgram(cur);
    ASSERT_NE(0.3125f, effect->getParameter(kParamThreshold));

    int entries = -1, indexOfEach = 0;
    bool drawnPressed = false;
    OnModal<CAfxPopupList>(
        [&](CAfxPopupList& list)
        {
            entries = list.EntryCount();
            for (int i = 0; i < 40; ++i)
                indexOfEach += list.IndexOfId(1010 + i) == (i < 32 ? i : -1);
            drawnPressed = PanelBlockMatches(Panel(), 64, 10, Panel()->Image(5017), 0, 0, 25, 17);
            CHeadless::SetModalHook({});
            CHeadless::PickMenuItem(1010 + 5);
        });
    Click(CPoint(70, 15));
    Pump();
    EXPECT_EQ(32, entries);
    EXPECT_EQ(40, indexOfEach);
    EXPECT_TRUE(drawnPressed);
    EXPECT_EQ(0, Panel()->Switch(131).GetValue());
    EXPECT_TRUE(PanelBlockMatches(Panel(), 64, 10, Panel()->Image(5018), 0, 0, 25, 17));
    EXPECT_FLOAT_EQ(0.3125f, effect->getParameter(kParamThreshold));
    EXPECT_FLOAT_EQ(0.3125f, Panel()->Knob(100).GetValue());
    EXPECT_EQ(0, std::memcmp(effect->GetProgram(5).values, effect->GetProgram(cur).values,
                             sizeof(float) * 11));

    // The current program's entry cannot be chosen.
    effect->setParameter(kParamThreshold, 0.75f);
    HostCalls().clear();
    CHeadless::PickMenuItem(1010 + cur);
    Click(CPoint(70, 15));
    Pump();
    EXPECT_FLOAT_EQ(0.75f, effect->getParameter(kParamThreshold));
    for (const RecordedHostCall& c : HostCalls())
        EXPECT_NE(audioMasterUpdateDisplay, c.opcode);

    // The command handler copies whatever slot it is given, 1010 + slot.
    Panel()->SendMessage(WM_COMMAND, MAKEWPARAM(1010 + 5, 0), 0);
    EXPECT_FLOAT_EQ(0.3125f, effect->getParameter(kParamThreshold));
    Panel()->SendMessage(WM_COMMAND, MAKEWPARAM(1100, 0), 0); // no such slot: ignored
    EXPECT_FLOAT_EQ(0.3125f, effect->getParameter(kParamThreshold));
}

TEST_F(PanelTest, LampShowsAChangedProgramAndAClickRevertsIt)
{
    const CVRXBitmap& lamp = Panel()->Image(5020);
    PaintNow();
    ASSERT_FALSE(effect->IsProgramChanged());
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 0, 43, 16));
    EXPECT_TRUE(PanelBlockMatches(Panel(), 195, 10, Panel()->Image(5019), 0, 0, 43, 16));

    const float threshold = effect->getParameter(kParamThreshold);
    Click(CPoint(310, 60)); // auto threshold
    Click(CPoint(262 + 7, 66 + 17));
    ASSERT_TRUE(effect->IsProgramChanged());
    Pump(); // the invalidated lamp is painted at the next pump
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 16, 43, 16));

    Click(CPoint(160, 18));
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_FLOAT_EQ(threshold, effect->getParameter(kParamThreshold));
    EXPECT_FLOAT_EQ(threshold, Panel()->Knob(100).GetValue());
    Pump();
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 0, 43, 16));
}

TEST_F(PanelTest, SaveOpensTheDialogAndStoresTheProgramOnOK)
{
    effect->setParameter(kParamThreshold, 0.4375f);
    bool sawDialog = false;
    OnModal<CPresetSaveDlg>(
        [&](CPresetSaveDlg& dlg)
        {
            sawDialog = true;
            dlg.m_PGMCombo.SelectByUser(9);
            dlg.SetDlgItemText(IDC_PRESETNAME, "Sibilant");
            dlg.OnOK();
        });
    Click(CPoint(216, 18));
    EXPECT_TRUE(sawDialog);
    EXPECT_STREQ("Sibilant", effect->GetProgram(9).name);
    EXPECT_FLOAT_EQ(0.4375f, effect->GetProgram(9).values[kParamThreshold]);
    EXPECT_EQ(9, effect->getProgram()); // saving selects the slot saved into

    // Cancel stores nothing.
    OnModal<CPresetSaveDlg>(
        [&](CPresetSaveDlg& dlg)
        {
            dlg.m_PGMCombo.SelectByUser(10);
            dlg.OnCancel();
        });
    const ADeEsserProgram before = effect->GetProgram(10);
    effect->setParameter(kParamThreshold, 0.0625f);
    Click(CPoint(216, 18));
    EXPECT_EQ(0, std::memcmp(&before, &effect->GetProgram(10), sizeof(before)));
}

// The panel tests its press targets in one pass over the layout table; that
// gives the intended order only because no two targets (controls, value
// displays, lamp, save face) overlap.
TEST(PanelLayout, NoTwoPressTargetsOverlap)
{
    std::vector<CRect> targets{CUIWindow::kLampRect, CUIWindow::kSaveRect};
    for (const PanelControl& c : kPanelControls)
    {
        targets.emplace_back(c.rect.l, c.rect.t, c.rect.r, c.rect.b);
        if (c.kind != PANEL_SWITCH)
            targets.emplace_back(c.display.l, c.display.t, c.display.r, c.display.b);
    }
    for (size_t i = 0; i < targets.size(); ++i)
        for (size_t j = i + 1; j < targets.size(); ++j)
        {
            CRect both;
            EXPECT_FALSE(both.IntersectRect(targets[i], targets[j])) << i << " and " << j;
        }
}

// At scale 2 the panel works in panel pixels while everything it shows is
// twice as large: input at device pixels reaches the controls halved, and the
// entry field, the copy menu, the save dialog and the message box are drawn
// at twice their size in window pixels (their text at device resolution).
TEST(PanelAtScale2, InputIsHalvedAndEveryWindowIsDrawnAtTwiceItsSize)
{
    ScopedEnv noEnvironment("DEESSER_UI_SCALE", nullptr);
    CHeadless::SetDesktopScale(2.0);
    ADeEsser effect(RecordingHostCallback);
    effect.dispatcher(effOpen, 0, 0, nullptr, 0.f);
    ASSERT_EQ(1, effect.dispatcher(effEditOpen, 0, 0, (void*)0x1, 0.f));
    CUIWindow* panel = static_cast<CDeEsserEditor*>(effect.getEditor())->GetUIWindow();
    auto device = [](int x, int y) { return CPoint(2 * x, 2 * y); };
    // Twice as wide in device pixels as in window pixels.
    auto drawnAtTwice = [](CWnd* wnd)
    {
        CRect r;
        wnd->GetClientRect(&r);
        CBitmap shot;
        shot.Attach(CHeadless::Snapshot(wnd));
        return r.Width() > 0 && cairo_image_surface_get_width(shot.GetHandle()) == 2 * r.Width();
    };

    // A drag on the Threshold knob, 10 panel pixels left of its centre: 0.2
    // (from the middle: a knob resting at an end keeps to it).
    effect.setParameter(kParamThreshold, 0.5f);
    CHeadless::Click(panel, device(279 - 10, 83));
    EXPECT_NEAR(0.2f, effect.getParameter(kParamThreshold), 1e-4);

    // The threshold display opens the entry field over it; typing works.
    CHeadless::Click(panel, device(279, 112));
    CVRXFloatEditWnd& field = panel->EntryField();
    ASSERT_TRUE(field.IsWindowVisible());
    CRect at;
    field.GetWindowRect(&at);
    panel->ScreenToClient(&at);
    EXPECT_EQ(CPoint(256, 105), at.TopLeft());
    EXPECT_TRUE(drawnAtTwice(&field));
    field.GetEdit().SetWindowText("");
    CHeadless::Type("-12.5");
    CHeadless::Key(VK_RETURN_KEY);
    EXPECT_NEAR((-12.505 + 100.0) / 100.0, effect.getParameter(kParamThreshold), 1e-5);

    // The copy menu, the save dialog and a message box.
    int modals = 0;
    CHeadless::SetModalHook(
        [&](CWnd* modal)
        {
            ++modals;
            EXPECT_TRUE(drawnAtTwice(modal));
            modal->SendMessage(WM_CLOSE);
        });
    CHeadless::Click(panel, device(70, 15));  // COPY
    CHeadless::Click(panel, device(216, 18)); // SAVE
    EXPECT_TRUE(static_cast<CDeEsserEditor*>(effect.getEditor())->ShowMessage("Saved."));
    EXPECT_EQ(3, modals);
    CHeadless::SetModalHook({});

    effect.dispatcher(effEditClose, 0, 0, nullptr, 0.f);
    CHeadless::SetDesktopScale(0.0);
}
