// The three bitmap controls on their own: value <-> angle and position
// mappings (checked against the formulas worked out here), callbacks, and
// what they draw, compared with the strip, track and switch images.
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
    CRect rect{262, 66, 296, 100};
    CRect display{255, 105, 303, 119};
    CVRXBitmap strip;
    Callbacks cb;
    CVRXNewBitmapTumamiDC knob;
    explicit KnobRig(bool log = false)
    {
        strip.LoadResourceBitmap(5001);
        knob.Make(rect, display, nullptr, &strip, 0.f, 1.f, 100, 61, 30.f, 330.f, 8, log,
                  Callbacks::Record, &cb);
    }
    // A point at offset (dx, dy) from the knob's centre (17, 17).
    CPoint At(int dx, int dy) const { return CPoint(rect.left + 17 + dx, rect.top + 17 + dy); }
};

// Clockwise from straight down, in degrees, as worked out by hand for a
// point (dx, dy) with y growing downward.
double ClockwiseFromDown(int dx, int dy)
{
    const double pi = 3.14159265358979;
    double a = std::atan2(-(double)dx, (double)dy) * 180.0 / pi; // counter-clockwise is negative x
    return a < 0 ? a + 360.0 : a;
}

struct FaderRig
{
    CRect rect{48, 45, 64, 178};
    CRect display{14, 186, 48, 200};
    CVRXBitmap track, cap;
    Callbacks cb;
    CVRXBitmapSliderDC fader;
    int s = 0, e = 0; // travel ends, rectangle-relative y
    explicit FaderRig(bool log = true, bool reversed = false)
    {
        track.LoadResourceBitmap(5009);
        cap.LoadResourceBitmap(5010);
        s = track.Height() - cap.Height() / 2;
        e = cap.Height() / 2;
        if (reversed) // the minimum at the top
            std::swap(s, e);
        fader.Make(rect, display, nullptr, &track, nullptr, &cap, 0.f, 1.f, CPoint(1, s),
                   CPoint(1, e), 104, 1, log, reversed, false, false, Callbacks::Record, &cb);
    }
    CPoint AtY(int y) const { return CPoint(rect.left + 5, rect.top + y); }
};
} // namespace

TEST(Knob, StartsAtMidRangeAndMapsPointsToAnglesClockwiseFromDown)
{
    KnobRig rig;
    EXPECT_FLOAT_EQ(0.5f, rig.knob.GetValue());
    EXPECT_NEAR(180.0, rig.knob.GetAngle(), 1e-9);

    struct Case
    {
        int dx, dy;
    };
    // Left, up-left, up, up-right, right and a few in between.
    const Case cases[] = {{-10, 0}, {-7, -7}, {0, -10}, {7, -7}, {10, 0}, {-3, 9}, {5, 12}};
    for (const Case& c : cases)
    {
        rig.knob.SetValue(0.5f, nullptr, false); // away from both ends
        rig.knob.SetValue(rig.At(c.dx, c.dy));
        double angle = ClockwiseFromDown(c.dx, c.dy);
        angle = std::min(330.0, std::max(30.0, angle));
        EXPECT_NEAR(angle, rig.knob.GetAngle(), 1e-6) << c.dx << "," << c.dy;
        EXPECT_NEAR((angle - 30.0) / 300.0, rig.knob.GetValue(), 1e-6) << c.dx << "," << c.dy;
    }
    // Straight up is the middle, left 0.2, right 0.8.
    rig.knob.SetValue(0.4f, nullptr, false);
    rig.knob.SetValue(rig.At(0, -5));
    EXPECT_NEAR(0.5, rig.knob.GetValue(), 1e-6);
    rig.knob.SetValue(rig.At(-5, 0));
    EXPECT_NEAR(0.2, rig.knob.GetValue(), 1e-6);
    rig.knob.SetValue(rig.At(5, 0));
    EXPECT_NEAR(0.8, rig.knob.GetValue(), 1e-6);
}

TEST(Knob, DeadZoneEndStopsAndIgnoredPoints)
{
    KnobRig rig;
    // Inside the dead zone at the bottom: down-left clamps to the minimum,
    // straight down too (angle 0), down-right to the maximum.
    rig.knob.SetValue(0.4f, nullptr, false);
    rig.knob.SetValue(rig.At(-2, 15));
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(0.5f, nullptr, false);
    rig.knob.SetValue(rig.At(0, 15));
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(0.5f, nullptr, false);
    rig.knob.SetValue(rig.At(2, 15));
    EXPECT_FLOAT_EQ(1.f, rig.knob.GetValue());

    // At the minimum, moving across the bottom into the right half keeps the
    // minimum; at the maximum, the left half keeps the maximum.
    rig.knob.SetValue(0.4f, nullptr, false);
    rig.knob.SetValue(rig.At(-2, 15)); // 0
    rig.knob.SetValue(rig.At(3, 15));
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(rig.At(10, -2)); // still pinned while the last value is the minimum
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(rig.At(-10, 0)); // left half works again
    EXPECT_NEAR(0.2, rig.knob.GetValue(), 1e-6);
    rig.knob.SetValue(rig.At(2, 15)); // 1
    rig.knob.SetValue(rig.At(-3, 15));
    EXPECT_FLOAT_EQ(1.f, rig.knob.GetValue());
    rig.knob.SetValue(rig.At(0, 15)); // straight down at the maximum stays there
    EXPECT_FLOAT_EQ(1.f, rig.knob.GetValue());

    // The centre itself and the guard point (dy = half width, dx > half
    // height) change nothing and call nobody.
    rig.knob.SetValue(0.5f, nullptr, false);
    rig.cb.calls.clear();
    rig.knob.SetValue(rig.At(0, 0));
    rig.knob.SetValue(rig.At(18, 17));
    EXPECT_FLOAT_EQ(0.5f, rig.knob.GetValue());
    EXPECT_TRUE(rig.cb.calls.empty());
}

TEST(Knob, CallbacksOnlyOnChangeForValuesButOnEveryDragMove)
{
    KnobRig rig;
    rig.knob.SetValue(0.25f, nullptr, true);
    ASSERT_EQ(1u, rig.cb.calls.size());
    EXPECT_EQ(100, rig.cb.calls[0].first);
    EXPECT_FLOAT_EQ(0.25f, rig.cb.calls[0].second);
    rig.knob.SetValue(0.25f, nullptr, true); // unchanged
    rig.knob.SetValue(-3.f, nullptr, false); // clamps to 0, silently
    EXPECT_EQ(1u, rig.cb.calls.size());
    EXPECT_FLOAT_EQ(0.f, rig.knob.GetValue());
    rig.knob.SetValue(7.f, nullptr, true);
    EXPECT_FLOAT_EQ(1.f, rig.knob.GetValue());
    EXPECT_EQ(2u, rig.cb.calls.size());

    // A drag reports every move, the same point twice included.
    rig.knob.SetValue(0.5f, nullptr, false); // away from the end stops
    rig.cb.calls.clear();
    ASSERT_TRUE(rig.knob.PtInTumami(rig.At(-10, 0)));
    EXPECT_TRUE(rig.knob.IsDragging());
    rig.knob.OnMouseMove(rig.At(-10, 0), nullptr);
    rig.knob.OnMouseMove(rig.At(-10, 0), nullptr);
    rig.knob.OnMouseMove(rig.At(0, -10), nullptr);
    ASSERT_EQ(3u, rig.cb.calls.size());
    EXPECT_NEAR(0.2f, rig.cb.calls[1].second, 1e-6);
    EXPECT_NEAR(0.5f, rig.cb.calls[2].second, 1e-6);
    rig.knob.OnLButtonUp(rig.At(10, 0), nullptr);
    EXPECT_FALSE(rig.knob.IsDragging());
    EXPECT_EQ(4u, rig.cb.calls.size());
    EXPECT_NEAR(0.8f, rig.knob.GetValue(), 1e-6);
    // Moves after the release are not the knob's.
    rig.knob.OnMouseMove(rig.At(-10, 0), nullptr);
    EXPECT_EQ(4u, rig.cb.calls.size());
    // A press outside is refused.
    EXPECT_FALSE(rig.knob.PtInTumami(CPoint(rig.rect.right, rig.rect.top)));
}

TEST(Knob, FrameIndexAndIndexValue)
{
    KnobRig lin;
    const float values[] = {0.f, 0.004f, 0.0084f, 0.25f, 0.5f, 0.7417f, 0.99f, 1.f};
    for (float v : values)
    {
        lin.knob.SetValue(v, nullptr, false);
        const float step = 1.f / 60.f;
        EXPECT_EQ((int)std::floor(v / step + 0.5f), lin.knob.GetFrameIndex()) << v;
        EXPECT_EQ((int)std::ceil(v / step), lin.knob.GetIndexValue()) << v;
    }
    // Logarithmic: frame = round(log10(9v + 1) * 60).
    KnobRig log(true);
    log.knob.SetValue(0.2403f, nullptr, false);
    EXPECT_EQ(30, log.knob.GetFrameIndex());
    log.knob.SetValue(1.f, nullptr, false);
    EXPECT_EQ(60, log.knob.GetFrameIndex());
    log.knob.SetValue(0.f, nullptr, false);
    EXPECT_EQ(0, log.knob.GetFrameIndex());
    // and a logarithmic drag: straight up (t = 0.5) gives (10^0.5 - 1) / 9.
    log.knob.SetValue(0.5f, nullptr, false);
    log.knob.SetValue(log.At(0, -8));
    EXPECT_NEAR((std::sqrt(10.0) - 1.0) / 9.0, log.knob.GetValue(), 1e-6);
}

TEST(Knob, DrawsTheFrameOfItsValue)
{
    KnobRig rig;
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(300, 110));
    for (float v : {0.f, 0.5f, 0.25f, 1.f})
    {
        rig.knob.SetValue(v, nullptr, false);
        rig.knob.Draw(&dc);
        const int k = (int)std::floor(v * 60.f + 0.5f);
        EXPECT_TRUE(BlockMatches(dc, 262, 66, rig.strip, 0, k * 34, 34, 34)) << v;
    }
    EXPECT_EQ(2074 / 34, 61); // the strip holds exactly the 61 frames
}

TEST(Fader, LogarithmicPointMappingAndEnds)
{
    FaderRig rig;
    EXPECT_EQ(127, rig.s);
    EXPECT_EQ(6, rig.e);
    EXPECT_FLOAT_EQ(0.f, rig.fader.GetValue());

    // Half travel: (10^0.5 - 1) / 9 = 0.2403.
    rig.fader.SetValueByPoint(rig.AtY((rig.s + rig.e) / 2)); // y = 66, t = 61/121
    const double t = (66.0 - rig.s) / (rig.e - rig.s);
    EXPECT_NEAR((std::pow(10.0, t) - 1.0) / 9.0, rig.fader.GetValue(), 1e-6);
    EXPECT_NEAR(0.2403, (std::pow(10.0, 0.5) - 1.0) / 9.0, 5e-5);

    rig.fader.SetValueByPoint(rig.AtY(rig.e - 1)); // above the end point
    EXPECT_FLOAT_EQ(1.f, rig.fader.GetValue());
    rig.fader.SetValueByPoint(rig.AtY(rig.s + 1)); // below the start point
    EXPECT_FLOAT_EQ(0.f, rig.fader.GetValue());
    rig.fader.SetValueByPoint(rig.AtY(rig.e));
    EXPECT_FLOAT_EQ(1.f, rig.fader.GetValue());
    rig.fader.SetValueByPoint(rig.AtY(rig.s));
    EXPECT_FLOAT_EQ(0.f, rig.fader.GetValue());
    // Callbacks came for every change and only for changes (0 -> x -> 1 -> 0 -> 1 -> 0).
    EXPECT_EQ(5u, rig.cb.calls.size());
    for (auto& c : rig.cb.calls)
        EXPECT_EQ(104, c.first);
}

TEST(Fader, LinearReversedAndSnapModes)
{
    FaderRig lin(false);
    lin.fader.SetValueByPoint(lin.AtY(40));
    EXPECT_NEAR((127.0 - 40.0) / 121.0, lin.fader.GetValue(), 1e-6);

    // Reversed: the minimum at the top (s = 6), the maximum at the bottom.
    FaderRig rev(false, true);
    rev.fader.SetValueByPoint(rev.AtY(rev.e + 1));
    EXPECT_FLOAT_EQ(1.f, rev.fader.GetValue());
    rev.fader.SetValueByPoint(rev.AtY(rev.s - 1));
    EXPECT_FLOAT_EQ(0.f, rev.fader.GetValue());
    rev.fader.SetValueByPoint(rev.AtY(40));
    EXPECT_NEAR((6.0 - 40.0) / (6.0 - 127.0), rev.fader.GetValue(), 1e-6);

    CVRXBitmap track, cap;
    track.LoadResourceBitmap(5009);
    cap.LoadResourceBitmap(5010);
    CRect rect(0, 0, 16, 133), none;
    Callbacks cb;
    CVRXBitmapSliderDC snap;
    snap.Make(rect, none, nullptr, &track, nullptr, &cap, 0.f, 1.f, CPoint(1, 127), CPoint(1, 6), 7,
              1, false, false, false, true, Callbacks::Record, &cb);
    snap.SetValueByPoint(CPoint(3, 70)); // just below the middle of the travel
    EXPECT_FLOAT_EQ(0.f, snap.GetValue());
    snap.SetValueByPoint(CPoint(3, 60));
    EXPECT_FLOAT_EQ(1.f, snap.GetValue());
}

TEST(Fader, DisabledIgnoresPressesAndUnchangedValuesAreSilent)
{
    FaderRig rig;
    rig.fader.Enable(false);
    EXPECT_FALSE(rig.fader.PtInSwitch(rig.AtY(60)));
    EXPECT_FALSE(rig.fader.IsDragging());
    rig.fader.OnMouseMove(rig.AtY(20), nullptr);
    EXPECT_FLOAT_EQ(0.f, rig.fader.GetValue());
    rig.fader.Enable(true);
    EXPECT_TRUE(rig.fader.PtInSwitch(rig.AtY(60)));
    EXPECT_FALSE(rig.fader.PtInSwitch(CPoint(rig.rect.right, 60)));

    rig.fader.SetValue(0.5f, nullptr, true);
    rig.fader.SetValue(0.5f, nullptr, true);
    rig.fader.SetValue(3.f, nullptr, true); // clamps to 1
    ASSERT_EQ(2u, rig.cb.calls.size());
    EXPECT_FLOAT_EQ(0.5f, rig.cb.calls[0].second);
    EXPECT_FLOAT_EQ(1.f, rig.cb.calls[1].second);
    rig.fader.SetValue(0.2f, nullptr, false);
    EXPECT_EQ(2u, rig.cb.calls.size());
    EXPECT_FLOAT_EQ(0.2f, rig.fader.GetValue());
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
        const double t = std::log10(v * 9.0 + 1.0);
        const int p = (int)(rig.s - t * (rig.s - rig.e));
        const int capTop = p - rig.cap.Height() / 2;
        EXPECT_NEAR(rig.s - t * (rig.s - rig.e), rig.fader.GetCapCentre(), 1e-9);
        EXPECT_TRUE(BlockMatches(dc, 48, 45 + capTop, rig.cap, 0, 0, 16, 12)) << v;
        // Above and below the cap, the track.
        if (capTop > 0)
        {
            EXPECT_TRUE(BlockMatches(dc, 48, 45, rig.track, 0, 0, 16, capTop)) << v;
        }
        const int below = capTop + 12;
        EXPECT_TRUE(BlockMatches(dc, 48, 45 + below, rig.track, 0, below, 16, 133 - below)) << v;
    }
}

TEST(Switch, ValueRulesAndCallbacks)
{
    CVRXBitmap img0, img1;
    img0.LoadResourceBitmap(5003);
    img1.LoadResourceBitmap(5002);
    CRect rect(23, 7, 52, 27), none;
    Callbacks cb;
    CVRXBitmapSwitch2DC sw;
    sw.Make(rect, nullptr, &img0, &img1, 107, none, false, nullptr, Callbacks::Record, &cb);
    EXPECT_EQ(0, sw.GetValue());
    sw.SetValue(1, true);
    sw.SetValue(1, true);
    sw.SetValue(0, false);
    ASSERT_EQ(1u, cb.calls.size());
    EXPECT_EQ(107, cb.calls[0].first);
    EXPECT_FLOAT_EQ(1.f, cb.calls[0].second);
    EXPECT_EQ(0, sw.GetValue());

    sw.Enable(false);
    sw.SetValue(1, true);
    EXPECT_EQ(0, sw.GetValue());
    sw.Enable(true);

    // Latched: once on, it stays on.
    CVRXBitmapSwitch2DC latch;
    latch.Make(rect, nullptr, &img0, &img1, 9, none, true, nullptr, Callbacks::Record, &cb);
    latch.SetValue(1, false);
    latch.SetValue(0, true);
    EXPECT_EQ(1, latch.GetValue());

    // Push handling: press inside, release inside toggles; release outside does not.
    cb.calls.clear();
    EXPECT_FALSE(sw.LButtonDown(CPoint(5, 5)));
    EXPECT_TRUE(sw.LButtonDown(CPoint(30, 10)));
    EXPECT_TRUE(sw.IsDown());
    sw.LButtonUp(CPoint(30, 10));
    EXPECT_FALSE(sw.IsDown());
    EXPECT_EQ(1, sw.GetValue());
    sw.LButtonDown(CPoint(30, 10));
    sw.LButtonUp(CPoint(0, 0));
    EXPECT_EQ(1, sw.GetValue());
    EXPECT_EQ(1u, cb.calls.size());
}

TEST(Switch, DrawsTheHalfOfTheImageForValueAndPress)
{
    CVRXBitmap img0, img1;
    img0.LoadResourceBitmap(5003);
    img1.LoadResourceBitmap(5002);
    ASSERT_EQ(40, img0.Height());
    CRect rect(23, 7, 52, 27), none;
    CVRXBitmapSwitch2DC sw;
    sw.Make(rect, nullptr, &img0, &img1, 107, none, false, nullptr, nullptr, nullptr);
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(60, 40));
    sw.DrawSwitch(&dc);
    EXPECT_TRUE(BlockMatches(dc, 23, 7, img0, 0, 0, 29, 20));
    sw.SetValue(1, false);
    sw.DrawSwitch(&dc);
    EXPECT_TRUE(BlockMatches(dc, 23, 7, img1, 0, 0, 29, 20));
    sw.LButtonDown(CPoint(30, 10));
    sw.DrawSwitch(&dc);
    EXPECT_TRUE(BlockMatches(dc, 23, 7, img1, 0, 20, 29, 20));

    // Disabled: nothing is drawn.
    CDC blank;
    ASSERT_TRUE(blank.CreateBitmapDC(60, 40));
    blank.FillSolidRect(0, 0, 60, 40, RGB(1, 2, 3));
    sw.Enable(false);
    sw.DrawSwitch(&blank);
    EXPECT_EQ(RGB(1, 2, 3), blank.GetPixel(30, 10));
}

TEST(Switch, DisableMaskLetsTheBackgroundThroughWhereWhite)
{
    CVRXBitmap img0, img1;
    img0.LoadResourceBitmap(5005);
    img1.LoadResourceBitmap(5004);
    // Mask: left half white (background shows), right half black (image shows).
    CVRXBitmap mask;
    ASSERT_TRUE(mask.CreateBitmap(14, 12));
    {
        CDC m;
        m.CreateCompatibleDC(nullptr);
        m.SelectObject(&mask);
        m.FillSolidRect(0, 0, 7, 12, RGB(255, 255, 255));
        m.FillSolidRect(7, 0, 7, 12, RGB(0, 0, 0));
    }
    CRect rect(5, 5, 19, 17), none;
    CVRXBitmapSwitch2DC sw;
    sw.Make(rect, nullptr, &img0, &img1, 106, none, false, &mask, nullptr, nullptr);
    CDC dc;
    ASSERT_TRUE(dc.CreateBitmapDC(30, 30));
    const COLORREF back = RGB(0x35, 0x6A, 0x9C);
    dc.FillSolidRect(0, 0, 30, 30, back);
    sw.DrawSwitch(&dc);
    for (int y = 5; y < 17; ++y)
    {
        for (int x = 5; x < 12; ++x)
            ASSERT_EQ(back, dc.GetPixel(x, y)) << x << "," << y;
    }
    EXPECT_TRUE(BlockMatches(dc, 12, 5, img0, 7, 0, 7, 12));
}
