// The main panel against the real effect: value displays and typed values,
// drags and clicks, host changes, the copy menu and the lamp.
#include "EditorTestSupport.h"

#include <cmath>
#include <cstring>

#include "AfxPopupList.h"

namespace
{
class PanelTest : public EditorFixture
{
protected:
    void Click(CPoint p, unsigned modifiers = 0) { CHeadless::Click(Panel(), p, modifiers); }
    // The value a control of the layout shows, 0..1.
    float Shown(const PanelControl& c)
    {
        if (c.kind == PANEL_KNOB)
            return Panel()->Knob(c.id).GetValue();
        if (c.kind == PANEL_FADER)
            return Panel()->Fader(c.id).GetValue();
        return (float)Panel()->Switch(c.id).GetValue();
    }
};
} // namespace

// The field shows the value with the decimals of the effect's display text, as
// an integer image, with a sign where the range has one and room for its ends.
TEST_F(PanelTest, PressOnEachDisplayOpensTheEntryAtItsValue)
{
    CVRXFloatEditWnd& field = Panel()->EntryField();
    EXPECT_FALSE(field.IsWindowVisible());
    for (const PanelControl& c : kPanelControls)
    {
        if (c.kind == PANEL_SWITCH)
            continue;
        const int param = c.drives;
        SCOPED_TRACE(param);
        Click(Centre(c.display));
        EXPECT_TRUE(field.IsWindowVisible());
        char shown[32] = {};
        effect->getParameterDisplay(param, shown);
        const char* point = std::strchr(shown, '.');
        const int decimals = point ? (int)std::strlen(point + 1) : 0;
        const int scale = decimals == 2 ? 100 : 10;
        EXPECT_EQ(decimals, field.GetEdit().GetFloatPoint());

        float min, max;
        GetParamMinMax(param, &min, &max);
        EXPECT_EQ(min < 0, min < 0 && field.GetSign()); // a negative end can be typed
        EXPECT_GT(field.GetMaxChars(), (int)std::to_string((int)(min * scale)).size());
        CString text;
        field.GetText(text);
        EXPECT_EQ(std::to_string((int)(effect->getParameterDisplayVal(param) * scale)), text.str());
        // Top-left corner one pixel right of the display's.
        CRect wr, pr;
        field.GetWindowRect(&wr);
        Panel()->GetWindowRect(&pr);
        EXPECT_EQ(CPoint(c.display.l + 1, c.display.t), CPoint(wr.left - pr.left, wr.top - pr.top));
    }
    // A press anywhere else closes the field unused.
    Click(CPoint(240, 30));
    EXPECT_EQ(-1, Panel()->GetEditId());
    EXPECT_FALSE(field.IsWindowVisible());

    // A second display's press discards the first entry; a stray Return only repaints.
    const float threshold = effect->GetInternalValue(kParamThreshold);
    OpenDisplay(kParamThreshold);
    Panel()->EntryField().GetEdit().SetWindowText("-300");
    OpenDisplay(kParamAttack);
    EXPECT_EQ(121, Panel()->GetEditId());
    EXPECT_EQ(threshold, effect->GetInternalValue(kParamThreshold));

    Panel()->HideEdit();
    HostCalls().clear();
    {
        CClientDC dc(Panel());
        dc.FillSolidRect(0, 0, 10, 10, RGB(255, 0, 255));
    }
    Panel()->SendMessage(WM_INPUTVAL_RETURN);
    EXPECT_TRUE(PanelBlockMatches(Panel(), 0, 0, Editor()->GetBackground(), 0, 0, 10, 10));
    EXPECT_TRUE(HostCalls().empty());
    EXPECT_EQ(threshold, effect->GetInternalValue(kParamThreshold));
}

// Typed values are nudged by half a last decimal away from zero and clamped
// to the parameter's range; the host hears the new value.
TEST_F(PanelTest, TypedValuesAreNudgedAndClampedBeforeReachingTheParameter)
{
    struct Case
    {
        int param;
        const char* image; // integer image of the field
        float expected;    // internal value
    };
    const Case cases[] = {
        {kParamThreshold, "-15", -1.505f}, {kParamThreshold, "-20000", -100.f},
        {kParamThreshold, "junk", 0.f},    {kParamRelease, "123", 1.2305f},
        {kParamRelease, "0", 0.01f},       {kParamAttack, "55", 5.505f},
        {kParamRatio, "0", 1.f},           {kParamLowFreq, "50000", 5000.005f},
        {kParamHiFreq, "999999", 20000.f}, {kParamInput, "-65", -6.505f},
        {kParamOutput, "123", 12.305f},
    };
    for (const Case& c : cases)
    {
        HostCalls().clear();
        OpenDisplay(c.param);
        ASSERT_NE(-1, Panel()->GetEditId());
        Panel()->EntryField().GetEdit().SetWindowText(c.image); // as if typed
        Panel()->EntryField().SendMessage(WM_INPUTVAL_RETURN);
        EXPECT_FLOAT_EQ(c.expected, effect->GetInternalValue(c.param)) << c.param << " " << c.image;
        EXPECT_EQ(std::vector<float>{effect->getParameter(c.param)}, AutomatedValues(c.param))
            << c.param << " " << c.image;
    }
    EXPECT_EQ(-1, Panel()->GetEditId());
    EXPECT_FLOAT_EQ(effect->getParameter(kParamOutput), Panel()->Fader(105).GetValue());
}

// A press starts a drag that holds outside the control, tells the host at
// every step and draws at once; every control drives its own parameter.
TEST_F(PanelTest, KnobAndFaderDragsFollowThePointerAndTellTheHost)
{
    effect->setParameter(kParamThreshold, 0.5f); // away from both end stops
    HostCalls().clear();
    const CPoint c(262 + 17, 66 + 17);
    CHeadless::MouseDown(Panel(), CPoint(c.x - 10, c.y)); // jumps to the left: 0.2
    CHeadless::MouseMove(Panel(), CPoint(c.x + 60, c.y)); // far right, captured: 0.8
    CHeadless::MouseUp(Panel(), CPoint(c.x + 60, c.y));
    EXPECT_FALSE(Panel()->Knob(100).IsDragging());
    const std::vector<float> automated = AutomatedValues(kParamThreshold);
    ASSERT_EQ(3u, automated.size()); // press, move, release
    EXPECT_NEAR(0.2f, automated[0], 1e-6);
    EXPECT_NEAR(0.8f, automated[2], 1e-6);
    // The knob shows frame 48 (0.8 * 60) at once, without waiting for a paint.
    EXPECT_TRUE(PanelBlockMatches(Panel(), 262, 66, Panel()->Image(5001), 0, 48 * 34, 34, 34));
    // A move without a drag changes nothing.
    CHeadless::MouseMove(Panel(), CPoint(c.x - 10, c.y));
    EXPECT_NEAR(0.8f, effect->getParameter(kParamThreshold), 1e-6);

    // Knobs 10 px right of their centre: 0.8. Faders 66 px down their track,
    // logarithmic from row 127 (0) to row 6 (1): (10^t - 1) / 9.
    const float fader = (float)((std::pow(10.0, (66.0 - 127.0) / (6.0 - 127.0)) - 1.0) / 9.0);
    for (const PanelControl& k : kPanelControls)
    {
        if (k.kind == PANEL_SWITCH)
            continue;
        effect->setParameter(k.drives, 0.5f);
        const bool knob = k.kind == PANEL_KNOB;
        const CPoint c = Centre(k.rect);
        Click(knob ? CPoint(c.x + 10, c.y) : CPoint(c.x, k.rect.t + 66));
        EXPECT_NEAR(knob ? 0.8f : fader, effect->getParameter(k.drives), 1e-6) << k.id;
        EXPECT_NEAR(knob ? 0.8f : fader, Shown(k), 1e-6) << k.id;
    }
    // The output fader's cap is drawn at once, centred on the row pressed.
    const int capTop = 45 + (int)Panel()->Fader(105).GetCapCentre() - 6;
    EXPECT_TRUE(PanelBlockMatches(Panel(), 403, capTop, Panel()->Image(5010), 0, 0, 16, 12));
}

TEST_F(PanelTest, SwitchClicksToggleTheirParametersListenAndResetToFactory)
{
    for (const PanelControl& s : kPanelControls)
    {
        if (s.kind != PANEL_SWITCH || s.drives < 0)
            continue;
        const float before = effect->getParameter(s.drives);
        HostCalls().clear();
        Click(Centre(s.rect));
        EXPECT_FLOAT_EQ(before != 0.f ? 0.f : 1.f, effect->getParameter(s.drives)) << s.id;
        EXPECT_EQ(1u, AutomatedValues(s.drives).size()) << s.id;
        Click(Centre(s.rect));
        EXPECT_FLOAT_EQ(before, effect->getParameter(s.drives)) << s.id;
    }
    EXPECT_FALSE(effect->GetListen());
    Click(CPoint(175, 74));
    EXPECT_TRUE(effect->GetListen());
    // Drawn at once with the "on" image's released half.
    EXPECT_TRUE(PanelBlockMatches(Panel(), 168, 68, Panel()->Image(5013), 0, 0, 14, 12));
    Click(CPoint(175, 74));
    EXPECT_FALSE(effect->GetListen());

    // Shift on the power resets the program to its factory values.
    const int cur = effect->getProgram();
    effect->setParameter(kParamThreshold, 0.123f);
    ASSERT_NE(0.123f, effect->GetFactoryProgram(cur).values[kParamThreshold]);
    Click(CPoint(30, 12), KEYMOD_SHIFT);
    EXPECT_EQ(0, std::memcmp(effect->GetFactoryProgram(cur).values, effect->GetProgram(cur).values,
                             sizeof(float) * 11));
    EXPECT_FLOAT_EQ(effect->getParameter(kParamThreshold), Panel()->Knob(100).GetValue());

    // Control asks for the bank-wide reset, which the effect keeps empty, and
    // a plain click: both only toggle the power.
    const int other = (cur + 3) % kNumPrograms;
    effect->setProgram(other);
    effect->setParameter(kParamRatio, 0.9f);
    effect->setProgram(cur);
    for (unsigned modifiers : {(unsigned)KEYMOD_CONTROL, 0u})
    {
        effect->setParameter(kParamRatio, 0.8f);
        const float power = effect->getParameter(kParamOnOff);
        Click(CPoint(30, 12), modifiers);
        EXPECT_NE(power, effect->getParameter(kParamOnOff));
        EXPECT_FLOAT_EQ(0.8f, effect->getParameter(kParamRatio));
    }
    EXPECT_FLOAT_EQ(0.9f, effect->GetProgram(other).values[kParamRatio]);
}

TEST_F(PanelTest, HostChangesMoveTheControls)
{
    for (const PanelControl& c : kPanelControls)
    {
        if (c.drives < 0)
            continue;
        const float v = c.kind == PANEL_SWITCH ? 1.f - effect->getParameter(c.drives) : 0.375f;
        effect->setParameter(c.drives, v);
        EXPECT_FLOAT_EQ(v, Shown(c)) << c.id;
    }
    for (const RecordedHostCall& call : HostCalls())
        EXPECT_NE(audioMasterAutomate, call.opcode); // no echo to the host
    EXPECT_TRUE(PanelBlockMatches(Panel(), 168, 85, Panel()->Image(5016), 0, 0, 14, 12));
    // Selecting a program replays all of its values into the controls.
    effect->setProgram(7);
    for (const PanelControl& c : kPanelControls)
    {
        if (c.drives < 0)
            continue;
        EXPECT_FLOAT_EQ(effect->getParameter(c.drives), Shown(c)) << c.id;
    }
}

TEST_F(PanelTest, CopyMenuListsAllProgramsAndCopiesTheChosenOne)
{
    const int cur = effect->getProgram(), source = (cur + 5) % kNumPrograms;
    effect->setProgram(source);
    effect->setParameter(kParamThreshold, 0.3125f);
    effect->setProgram(cur);
    ASSERT_NE(0.3125f, effect->getParameter(kParamThreshold));

    int entries = -1;
    bool drawnPressed = false;
    OnModal<CAfxPopupList>(
        [&](CAfxPopupList& list)
        {
            entries = list.EntryCount();
            drawnPressed = PanelBlockMatches(Panel(), 64, 10, Panel()->Image(5017), 0, 0, 25, 17);
            CHeadless::SetModalHook({});
            CHeadless::PickMenuItem(1010 + source);
        });
    Click(CPoint(70, 15));
    CHeadless::Pump();
    EXPECT_EQ(32, entries);
    EXPECT_TRUE(drawnPressed);
    EXPECT_TRUE(PanelBlockMatches(Panel(), 64, 10, Panel()->Image(5018), 0, 0, 25, 17));
    EXPECT_FLOAT_EQ(0.3125f, Panel()->Knob(100).GetValue());
    EXPECT_EQ(0, std::memcmp(effect->GetProgram(source).values, effect->GetProgram(cur).values,
                             sizeof(float) * 11));

    // The current program's entry cannot be chosen; no such slot is ignored.
    effect->setParameter(kParamThreshold, 0.75f);
    HostCalls().clear();
    CHeadless::PickMenuItem(1010 + cur);
    Click(CPoint(70, 15));
    CHeadless::Pump();
    Panel()->SendMessage(WM_COMMAND, MAKEWPARAM(1100, 0), 0);
    EXPECT_FLOAT_EQ(0.75f, effect->getParameter(kParamThreshold));
    for (const RecordedHostCall& c : HostCalls())
        EXPECT_NE(audioMasterUpdateDisplay, c.opcode);
}

TEST_F(PanelTest, LampShowsAChangedProgramAndAClickRevertsIt)
{
    const CVRXBitmap& lamp = Panel()->Image(5020);
    Panel()->SendMessage(WM_PAINT);
    ASSERT_FALSE(effect->IsProgramChanged());
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 0, 43, 16));
    EXPECT_TRUE(PanelBlockMatches(Panel(), 195, 10, Panel()->Image(5019), 0, 0, 43, 16));

    const float threshold = effect->getParameter(kParamThreshold);
    Click(CPoint(310, 60)); // auto threshold
    Click(CPoint(262 + 7, 66 + 17));
    ASSERT_TRUE(effect->IsProgramChanged());
    CHeadless::Pump(); // the invalidated lamp is painted at the next pump
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 16, 43, 16));

    Click(CPoint(160, 18));
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_FLOAT_EQ(threshold, Panel()->Knob(100).GetValue());
    CHeadless::Pump();
    EXPECT_TRUE(PanelBlockMatches(Panel(), 141, 10, lamp, 0, 0, 43, 16));
}

// The panel tests its press targets in one pass over the layout table: the
// order is right only while no two targets (controls, displays, lamp, save) overlap.
TEST(PanelLayout, NoTwoPressTargetsOverlap)
{
    std::vector<PanelRect> targets{kPanelLampRect, kPanelSaveRect};
    for (const PanelControl& c : kPanelControls)
    {
        targets.push_back(c.rect);
        if (c.kind != PANEL_SWITCH)
            targets.push_back(c.display);
    }
    auto rect = [&](size_t i)
    { return CRect(targets[i].l, targets[i].t, targets[i].r, targets[i].b); };
    for (size_t i = 0; i < targets.size(); ++i)
        for (size_t j = i + 1; j < targets.size(); ++j)
        {
            CRect both;
            EXPECT_FALSE(both.IntersectRect(rect(i), rect(j))) << i << " and " << j;
        }
}
