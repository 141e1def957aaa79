// The panel's knobs and faders as a user works them, against formulas worked
// out here; then each bitmap control alone, with the options the panel leaves.
#include "EditorTestSupport.h"

#include <cmath>

namespace
{
// The Threshold knob: 34 x 34 at (262, 66), 0..1 over 30..330 degrees, 61
// frames. Points are offsets from its centre (279, 83).
class ControlsTest : public EditorFixture
{
protected:
    CPoint At(int dx, int dy) const { return CPoint(279 + dx, 83 + dy); }
    // A click at (dx, dy) with the knob at `from`, away from the end stops.
    float Click(int dx, int dy, float from = 0.5f)
    {
        effect->setParameter(kParamThreshold, from);
        CHeadless::Click(Panel(), At(dx, dy));
        return effect->getParameter(kParamThreshold);
    }
    // A press at the first point, moves to the others, the value at each.
    std::vector<float> Drag(std::initializer_list<CPoint> points)
    {
        std::vector<float> values;
        for (CPoint p : points)
        {
            if (values.empty())
                CHeadless::MouseDown(Panel(), At(p.x, p.y));
            else
                CHeadless::MouseMove(Panel(), At(p.x, p.y));
            values.push_back(effect->getParameter(kParamThreshold));
        }
        CHeadless::MouseUp(Panel(), At(points.end()[-1].x, points.end()[-1].y));
        return values;
    }
};
} // namespace

TEST_F(ControlsTest, KnobTurnsClockwiseFromDownWithADeadZoneAndEndStops)
{
    // y grows downward: left 90, up 180, right 270 degrees; (5, 12) is
    // 360 - atan(5 / 12) = 337.4, past the end.
    const double cases[][3] = {
        {-10, 0, 90}, {0, -10, 180}, {7, -7, 225}, {10, 0, 270}, {5, 12, 330}};
    for (auto& c : cases)
        EXPECT_NEAR((c[2] - 30.0) / 300.0, Click((int)c[0], (int)c[1]), 1e-6) << c[2];
    // Dead zone at the bottom: down-left and straight down give 0, down-right 1.
    EXPECT_FLOAT_EQ(0.f, Click(-2, 15, 0.4f));
    EXPECT_FLOAT_EQ(0.f, Click(0, 15, 0.4f));
    EXPECT_FLOAT_EQ(1.f, Click(2, 15, 0.4f));
    // At the minimum, crossing the bottom keeps the minimum until the left half
    // is reached; at the maximum, the left half keeps the maximum.
    EXPECT_EQ((std::vector<float>{0.f, 0.f, 0.f, 0.2f}),
              Drag({{-2, 15}, {3, 15}, {10, -2}, {-10, 0}}));
    EXPECT_EQ((std::vector<float>{1.f, 1.f}), Drag({{2, 15}, {-3, 15}}));

    // The centre and the guard point (dy = half width, dx > half height)
    // change nothing and tell the host nothing.
    effect->setParameter(kParamThreshold, 0.5f);
    HostCalls().clear();
    EXPECT_EQ((std::vector<float>{0.5f, 0.5f}), Drag({{0, 0}, {18, 17}}));
    EXPECT_TRUE(AutomatedValues(kParamThreshold).empty());
}

// Frame round(60 v) of the strip, drawn at once when the host sets v.
TEST_F(ControlsTest, KnobShowsTheFrameOfItsValue)
{
    for (auto [v, frame] : {std::pair{0.f, 0}, {0.0084f, 1}, {0.7417f, 45}, {0.99f, 59}})
    {
        effect->setParameter(kParamThreshold, v);
        EXPECT_TRUE(
            PanelBlockMatches(Panel(), 262, 66, Panel()->Image(5001), 0, frame * 34, 34, 34))
            << v;
    }
}

// The input fader: 16 x 133 at (48, 45), its 12-row cap centred on rows 127
// (0) to 6 (1) of the track, logarithmic: t = (row - 127) / (6 - 127), value
// (10^t - 1) / 9.
TEST_F(ControlsTest, FaderTravelsLogarithmicallyAndDrawsItsCapOverTheTrack)
{
    auto pressRow = [&](int row)
    {
        CHeadless::Click(Panel(), CPoint(53, 45 + row));
        return effect->getParameter(kParamInput);
    };
    EXPECT_FLOAT_EQ(1.f, pressRow(5));   // above the end point
    EXPECT_FLOAT_EQ(0.f, pressRow(128)); // below the start point
    EXPECT_FLOAT_EQ(1.f, pressRow(6));

    const CVRXBitmap &track = Panel()->Image(5009), &cap = Panel()->Image(5010);
    for (float v : {0.f, 0.2403f, 1.f})
    {
        effect->setParameter(kParamInput, v);
        const double centre = 127 - std::log10(v * 9.0 + 1.0) * 121;
        EXPECT_NEAR(centre, Panel()->Fader(104).GetCapCentre(), 1e-9);
        const int capTop = (int)centre - 6, below = capTop + 12;
        EXPECT_TRUE(PanelBlockMatches(Panel(), 48, 45 + capTop, cap, 0, 0, 16, 12)) << v;
        EXPECT_TRUE(PanelBlockMatches(Panel(), 48, 45, track, 0, 0, 16, capTop)) << v;
        EXPECT_TRUE(PanelBlockMatches(Panel(), 48, 45 + below, track, 0, below, 16, 133 - below))
            << v;
    }
}

// A logarithmic knob, 0..1 in 11 frames: 0.12 shows frame floor(10 log10(2.08)
// + 0.5) = 3, index value ceil(1.2) = 2; straight up drags to (10^0.5 - 1) / 9.
TEST(BitmapControls, OptionsThePanelDoesNotUse)
{
    CRect rect(0, 0, 20, 110), none;
    CVRXNewBitmapTumamiDC knob;
    knob.Make(rect, none, nullptr, nullptr, 0.f, 1.f, 1, 11, 30.f, 330.f, 0, true, nullptr,
              nullptr);
    knob.SetValue(0.12f, nullptr, false);
    EXPECT_EQ(std::pair(3, 2), std::pair(knob.GetFrameIndex(), knob.GetIndexValue()));
    knob.SetValue(CPoint(10, 0));
    EXPECT_NEAR((std::sqrt(10.0) - 1.0) / 9.0, knob.GetValue(), 1e-6);

    // Linear over -1..1 from row 100 to 10, reversed 10 to 100; snapping picks
    // the end of the value's half. Rows: reversed, snap, row, value.
    const float rows[][4] = {{0, 0, 40, 1.f / 3}, {1, 0, 40, -1.f / 3}, {1, 0, 5, -1},
                             {1, 0, 105, 1},      {0, 1, 40, 1},        {0, 1, 70, -1}};
    CVRXBitmapSliderDC fader;
    for (auto& r : rows)
    {
        fader.Make(rect, none, nullptr, nullptr, nullptr, nullptr, -1.f, 1.f,
                   CPoint(5, r[0] ? 10 : 100), CPoint(5, r[0] ? 100 : 10), 2, 1, false, r[0] != 0,
                   false, r[1] != 0, nullptr, nullptr);
        fader.SetValueByPoint(CPoint(5, (int)r[2]));
        EXPECT_NEAR(r[3], fader.GetValue(), 1e-6) << r[0] << r[1] << r[2];
    }

    // A latched switch whose one 4 x 8 image (rows 0-1 white, black below) is
    // also its disable mask: drawn on, the background shows on rows 0-1.
    CVRXBitmap image;
    image.CreateBitmap(4, 8);
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    dc.SelectObject(&image);
    dc.FillSolidRect(0, 0, 4, 2, RGB(255, 255, 255));
    CVRXBitmapSwitch2DC sw;
    sw.Make(rect, nullptr, &image, &image, 3, none, true, &image, nullptr, nullptr);
    sw.Enable(false);
    sw.SetValue(1, false); // disabled: ignored
    sw.Enable(true);
    EXPECT_TRUE(sw.LButtonDown(CPoint(3, 3)) && sw.IsDown());
    sw.LButtonUp(CPoint(30, 3)); // released outside: no toggle
    EXPECT_EQ(std::pair(0, false), std::pair(sw.GetValue(), sw.IsDown()));
    sw.LButtonDown(CPoint(3, 3));
    sw.LButtonUp(CPoint(3, 3));
    sw.SetValue(0, false); // latched: once on, it stays on
    EXPECT_EQ(1, sw.GetValue());
    dc.CreateBitmapDC(8, 8);
    dc.FillSolidRect(0, 0, 8, 8, RGB(9, 9, 9));
    sw.DrawSwitch(&dc);
    EXPECT_EQ(std::pair(RGB(9, 9, 9), 0u), std::pair(dc.GetPixel(1, 1), dc.GetPixel(3, 3)));
}
