// The three bitmap controls on their own: value <-> angle and position
// mappings against formulas worked out here, callbacks, and what they draw
// compared with the strip, track and switch images.
#include "EditorTestSupport.h"

#include <cmath>

#include "CVRXBitmapSliderDC.h"
#include "CVRXBitmapSwitch2DC.h"
#include "CVRXNewBitmapTumamiDC.h"

namespace
{
struct Callbacks
{
    std::vector<std::pair<int, float>> calls;
    static bool Record(int id, float value, void* owner)
    {
        static_cast<Callbacks*>(owner)->calls.emplace_back(id, value);
        return true;
    }
};

// The panel's knob: 34 x 34 at (262, 66), 0..1 over 30..330 degrees, 61 frames.
struct KnobRig
{
    CRect rect{262, 66, 296, 100}, display{255, 105, 303, 119};
    CVRXBitmap strip;
    Callbacks cb;
    CVRXNewBitmapTumamiDC knob;
    KnobRig()
    {
        strip.LoadResourceBitmap(5001);
        knob.Make(rect, display, nullptr, &strip, 0.f, 1.f, 100, 61, 30.f, 330.f, 8, false,
                  Callbacks::Record, &cb);
    }
    // A point at offset (dx, dy) from the knob's centre (17, 17).
    CPoint At(int dx, int dy) const { return CPoint(rect.left + 17 + dx, rect.top + 17 + dy); }
    // The value after a move to offset (dx, dy); Point starts from `from`
    // (away from the end stops).
    float Move(int dx, int dy)
    {
        knob.SetValue(At(dx, dy));
        return knob.GetValue();
    }
    float Point(int dx, int dy, float from = 0.5f)
    {
        knob.SetValue(from, nullptr, false);
        return Move(dx, dy);
    }
};

// Panel's input fader: track 5009 with cap 5010, logarithmic over travel rows
// s (minimum) to e.
struct FaderRig
{
    CRect rect{48, 45, 64, 178}, display{14, 186, 48, 200};
    CVRXBitmap track, cap;
    Callbacks cb;
    CVRXBitmapSliderDC fader;
    const int s = 127, e = 6;
    FaderRig()
    {
        track.LoadResourceBitmap(5009);
        cap.LoadResourceBitmap(5010);
        fader.Make(rect, display, nullptr, &track, nullptr, &cap, 0.f, 1.f, CPoint(1, s),
                   CPoint(1, e), 104, 1, true, false, false, false, Callbacks::Record, &cb);
    }
    float AtY(int y)
    {
        fader.SetValueByPoint(CPoint(rect.left + 5, rect.top + y));
        return fader.GetValue();
    }
};
} // namespace

TEST(Knob, MapsPointsToAnglesClockwiseFromDownWithDeadZoneAndEndStops)
{
    KnobRig rig;
    // Clockwise from straight down, y growing downward: left 90, up 180,
    // right 270 degrees; (5, 12) is 360 - atan(5 / 12) = 337.4, past the end.
    const double cases[][3] = {
        {-10, 0, 90}, {0, -10, 180}, {7, -7, 225}, {10, 0, 270}, {5, 12, 330}};
    for (auto& c : cases)
    {
        EXPECT_NEAR((c[2] - 30.0) / 300.0, rig.Point((int)c[0], (int)c[1]), 1e-6) << c[2];
        EXPECT_NEAR(c[2], rig.knob.GetAngle(), 1e-6) << c[2];
    }
    // Dead zone at the bottom: down-left and straight down give 0, down-right 1.
    EXPECT_FLOAT_EQ(0.f, rig.Point(-2, 15, 0.4f));
    EXPECT_FLOAT_EQ(0.f, rig.Point(0, 15));
    EXPECT_FLOAT_EQ(1.f, rig.Point(2, 15));
    // At the minimum, moving across the bottom into the right half keeps the
    // minimum; at the maximum, the left half keeps the maximum.
    rig.Point(-2, 15);
    EXPECT_FLOAT_EQ(0.f, rig.Move(3, 15));
    EXPECT_FLOAT_EQ(0.f, rig.Move(10, -2));
    EXPECT_NEAR(0.2, rig.Move(-10, 0), 1e-6); // the left half works again
    rig.knob.SetValue(rig.At(2, 15));
    EXPECT_FLOAT_EQ(1.f, rig.Move(-3, 15));

    // The centre and the guard point (dy = half width, dx > half height)
    // change nothing and call nobody.
    rig.knob.SetValue(0.5f, nullptr, false);
    rig.cb.calls.clear();
    rig.knob.SetValue(rig.At(0, 0));
    EXPECT_FLOAT_EQ(0.5f, rig.Move(18, 17));
    EXPECT_TRUE(rig.cb.calls.empty());
}

TEST(Knob, CallbacksOnlyOnChangeForValuesButOnEveryDragMove)
{
    KnobRig rig;
    rig.knob.SetValue(0.25f, nullptr, true);
    rig.knob.SetValue(0.25f, nullptr, true); // unchanged
    rig.knob.SetValue(-3.f, nullptr, false); // clamps to 0, silently
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(7.f, nullptr, true);
    EXPECT_EQ((std::vector<std::pair<int, float>>{{100, 0.25f}, {100, 1.f}}), rig.cb.calls);

    // A drag reports every move, the same point twice included.
    rig.knob.SetValue(0.5f, nullptr, false);
    rig.cb.calls.clear();
    ASSERT_TRUE(rig.knob.PtInTumami(rig.At(-10, 0)));
    for (CPoint p : {rig.At(-10, 0), rig.At(-10, 0)})
        rig.knob.OnMouseMove(p, nullptr);
    EXPECT_EQ(2u, rig.cb.calls.size());
    rig.knob.OnLButtonUp(rig.At(10, 0), nullptr);
    EXPECT_FALSE(rig.knob.IsDragging());
    EXPECT_NEAR(0.8f, rig.knob.GetValue(), 1e-6);
    rig.knob.OnMouseMove(rig.At(-10, 0), nullptr); // after the release: not the knob's
    EXPECT_EQ(3u, rig.cb.calls.size());            // the release reported
    EXPECT_FALSE(rig.knob.PtInTumami(CPoint(rig.rect.right, rig.rect.top)));
}

TEST(Knob, FramesIndexValuesAndDrawing)
{
    KnobRig lin;
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(300, 110));
    // Frame round(60 v), index value ceil(60 v).
    const float rows[][3] = {{0.f, 0, 0}, {0.0084f, 1, 1}, {0.7417f, 45, 45}, {0.99f, 59, 60}};
    for (auto& r : rows)
    {
        lin.knob.SetValue(r[0], nullptr, false);
        EXPECT_EQ((int)r[1], lin.knob.GetFrameIndex()) << r[0];
        EXPECT_EQ((int)r[2], lin.knob.GetIndexValue()) << r[0];
        lin.knob.Draw(&dc);
        EXPECT_TRUE(BlockMatches(dc, 262, 66, lin.strip, 0, (int)r[1] * 34, 34, 34)) << r[0];
    }
}

TEST(Fader, PointMappingsEndsAndCallbacks)
{
    FaderRig rig;
    // Logarithmic: t = (y - s) / (e - s), value (10^t - 1) / 9.
    EXPECT_NEAR((std::pow(10.0, 61.0 / 121.0) - 1.0) / 9.0, rig.AtY(66), 1e-6);
    EXPECT_FLOAT_EQ(1.f, rig.AtY(rig.e - 1)); // above the end point
    EXPECT_FLOAT_EQ(0.f, rig.AtY(rig.s + 1)); // below the start point
    EXPECT_FLOAT_EQ(1.f, rig.AtY(rig.e));
    EXPECT_FLOAT_EQ(0.f, rig.AtY(rig.s));
    EXPECT_FLOAT_EQ(0.f, rig.AtY(rig.s)); // unchanged: no callback
    // One callback per change: 0 -> x -> 1 -> 0 -> 1 -> 0.
    EXPECT_EQ(5u, rig.cb.calls.size());

    // SetValue clamps, and calls back only when told to.
    FaderRig off;
    off.fader.SetValue(3.f, nullptr, true); // clamps to 1
    off.fader.SetValue(0.2f, nullptr, false);
    EXPECT_EQ((std::vector<std::pair<int, float>>{{104, 1.f}}), off.cb.calls);
    EXPECT_FLOAT_EQ(0.2f, off.fader.GetValue());
}

TEST(Fader, DrawsTrackWithCapCentredOnTheTravelPoint)
{
    FaderRig rig;
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(100, 200));
    for (float v : {0.f, 0.2403f, 1.f})
    {
        rig.fader.SetValue(v, nullptr, false);
        rig.fader.DrawSlider(&dc);
        const double centre = 127 - std::log10(v * 9.0 + 1.0) * 121;
        EXPECT_NEAR(centre, rig.fader.GetCapCentre(), 1e-9);
        const int capTop = (int)centre - 6, below = capTop + 12;
        EXPECT_TRUE(BlockMatches(dc, 48, 45 + capTop, rig.cap, 0, 0, 16, 12)) << v;
        EXPECT_TRUE(BlockMatches(dc, 48, 45, rig.track, 0, 0, 16, capTop)) << v; // may be empty
        EXPECT_TRUE(BlockMatches(dc, 48, 45 + below, rig.track, 0, below, 16, 133 - below)) << v;
    }
}

TEST(Switch, ValueRulesPushHandlingAndDrawing)
{
    CVRXBitmap img0, img1;
    img0.LoadResourceBitmap(5003);
    img1.LoadResourceBitmap(5002);
    CRect rect(23, 7, 52, 27), none;
    Callbacks cb;
    CVRXBitmapSwitch2DC sw;
    sw.Make(rect, nullptr, &img0, &img1, 107, none, false, nullptr, Callbacks::Record, &cb);
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(60, 40));
    sw.SetValue(1, true);
    sw.DrawSwitch(&dc);
    EXPECT_TRUE(BlockMatches(dc, 23, 7, img1, 0, 0, 29, 20));
    sw.SetValue(1, true); // unchanged: no callback
    sw.SetValue(0, false);
    EXPECT_EQ((std::vector<std::pair<int, float>>{{107, 1.f}}), cb.calls);

    // Press and release inside toggles (the pressed half drawn meanwhile);
    // release outside does not.
    cb.calls.clear();
    EXPECT_FALSE(sw.LButtonDown(CPoint(5, 5)));
    EXPECT_TRUE(sw.LButtonDown(CPoint(30, 10)));
    sw.DrawSwitch(&dc);
    EXPECT_TRUE(BlockMatches(dc, 23, 7, img0, 0, 20, 29, 20));
    sw.LButtonUp(CPoint(30, 10));
    EXPECT_FALSE(sw.IsDown());
    EXPECT_EQ(1, sw.GetValue());
    sw.LButtonDown(CPoint(30, 10));
    sw.LButtonUp(CPoint(0, 0));
    EXPECT_EQ(1, sw.GetValue());
    EXPECT_EQ(1u, cb.calls.size());
}
