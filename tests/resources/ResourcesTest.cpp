// The embedded panel images: present, opaque and drawn at every scale, and drawn the way the panel
// reads them (knob angles, meter rows, lamp and switch halves).
#include "CBitmap.h"
#include "EmbeddedResources.h"
#include "PanelLayout.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

namespace
{
// Decoded image of resource id as drawn at a whole scale ("5000@2x.png"); owns the surface.
class Image
{
public:
    explicit Image(int id, int scale = 1)
    {
        const std::string name =
            std::to_string(id) + (scale == 1 ? "" : "@" + std::to_string(scale) + "x") + ".png";
        size_t size = 0;
        if (const unsigned char* data = GetEmbeddedResource(name.c_str(), &size))
            m_Surface.reset(AfxLoadPNG(data, size));
        if (m_Surface)
            cairo_surface_flush(m_Surface.get());
    }

    bool ok() const { return m_Surface != nullptr; }
    int w() const { return cairo_image_surface_get_width(m_Surface.get()); }
    int h() const { return cairo_image_surface_get_height(m_Surface.get()); }
    // Pixel as 0xAARRGGBB (premultiplied, which for opaque pixels is plain RGB).
    uint32_t at(int x, int y) const
    {
        const unsigned char* row = cairo_image_surface_get_data(m_Surface.get()) +
                                   (size_t)y * cairo_image_surface_get_stride(m_Surface.get());
        return reinterpret_cast<const uint32_t*>(row)[x];
    }
    int red(int x, int y) const { return (at(x, y) >> 16) & 255; }
    double luma(int x, int y) const
    {
        return 0.299 * red(x, y) + 0.587 * ((at(x, y) >> 8) & 255) + 0.114 * (at(x, y) & 255);
    }
    // Over rows y0..y1: the highest colourfulness (max - min channel; a lit LED or legend is
    // strongly coloured, the rest grey or dim).
    int maxChroma(int y0, int y1) const
    {
        int best = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = 0; x < w(); ++x)
            {
                const int r = red(x, y), g = (at(x, y) >> 8) & 255, b = at(x, y) & 255;
                best = std::max(best, std::max({r, g, b}) - std::min({r, g, b}));
            }
        return best;
    }

private:
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> m_Surface{nullptr,
                                                                           cairo_surface_destroy};
};
} // namespace

// Every image is there and opaque (a transparent pixel would show whatever the copy mode leaves
// under it), and drawn again at 2x, 3x and 4x with exactly that many times the pixels each way,
// so the layout holds at every scale. Other names find nothing.
TEST(EmbeddedResources, EveryImageIsOpaqueAtEveryScaleAndOtherNamesFindNothing)
{
    for (int id = 5000; id <= 5020; ++id)
    {
        Image one(id);
        ASSERT_TRUE(one.ok()) << id;
        for (int scale : {1, 2, 3, 4})
        {
            Image img(id, scale);
            ASSERT_TRUE(img.ok()) << id << "@" << scale;
            EXPECT_EQ(std::make_pair(one.w() * scale, one.h() * scale),
                      std::make_pair(img.w(), img.h()))
                << id << "@" << scale;
            int transparent = 0;
            for (int y = 0; y < img.h(); ++y)
                for (int x = 0; x < img.w(); ++x)
                    transparent += (img.at(x, y) >> 24) != 255;
            EXPECT_EQ(0, transparent) << id << "@" << scale;
        }
    }
    EXPECT_NE(nullptr, GetEmbeddedResource("5000.png", nullptr)); // no size asked for
    size_t size = 123;
    for (const char* bad : {"5021.png", "4999.png", "5000", "5000.png.bak", "", (const char*)0})
    {
        EXPECT_EQ(GetEmbeddedResource(bad, &size), nullptr) << (bad ? bad : "null");
        EXPECT_EQ(size, 0u);
    }
}

// Frame k shows the pointer at 30 + 5 k degrees clockwise from straight down; the frame's border
// matches the background under every knob, so no seam shows; and the 2x strip is drawn, not
// enlarged: a pixel-doubled image would have every 2x2 block flat.
TEST(EmbeddedResources, KnobStripPointerEdgesAndDetailAtTwoTimes)
{
    Image knob(5001), bg(5000), knob2(5001, 2);
    ASSERT_TRUE(knob.ok() && bg.ok() && knob2.ok());
    const double pi = std::acos(-1.0);
    for (int k : {0, 20, 40, 60})
    {
        // Centroid of the pointer's bright pixels on the knob, weighted by brightness (the
        // scale ticks lie outside radius 13 and are left out).
        double sx = 0, sy = 0;
        for (int y = 0; y < 34; ++y)
            for (int x = 0; x < 34; ++x)
            {
                const double dx = x + 0.5 - 17, dy = y + 0.5 - 17;
                const double excess = knob.luma(x, k * 34 + y) - 140;
                if (std::hypot(dx, dy) < 13 && excess > 0)
                    sx += dx * excess, sy += dy * excess;
            }
        // Screen direction of an angle clockwise from down: (-sin a, cos a).
        const double a = (30.0 + 5.0 * k) * pi / 180;
        EXPECT_GT((-sx * std::sin(a) + sy * std::cos(a)) / std::hypot(sx, sy),
                  std::cos(8 * pi / 180))
            << "frame " << k;
    }
    for (int k = 0; k < PANEL_KNOB_FRAMES; ++k)
        for (const PanelControl& c : kPanelControls)
            if (c.kind == PANEL_KNOB)
            {
                EXPECT_EQ(knob.at(0, k * 34), bg.at(c.rect.l, c.rect.t));
                EXPECT_EQ(knob.at(33, k * 34 + 33), bg.at(c.rect.r - 1, c.rect.b - 1));
            }
    int uneven = 0;
    for (int y = 0; y < 68; y += 2)
        for (int x = 0; x < 68; x += 2)
            uneven += knob2.at(x, y) != knob2.at(x + 1, y) ||
                      knob2.at(x, y) != knob2.at(x, y + 1) ||
                      knob2.at(x, y) != knob2.at(x + 1, y + 1);
    EXPECT_GT(uneven, 300);
}

// Level strip: row 19 is 0 dB at 3 rows per dB; silence (row 133 down) lights nothing, full
// scale (row 1 down) lights every segment, red above 0 dB and green below. The reduction strip
// grows down from the top.
TEST(EmbeddedResources, MeterStrips)
{
    Image level(5011), gr(5012);
    ASSERT_TRUE(level.ok() && gr.ok());
    const int half = level.w() / 2, lit = half + half / 2, unlit = half / 2;
    for (int y = 133; y < level.h(); ++y)
        for (int x = 0; x < half; ++x)
            EXPECT_EQ(level.at(x, y), level.at(half + x, y)) << "row " << y;
    int litRows = 0;
    for (int y = 1; y < 133; ++y)
        litRows += level.luma(lit, y) > level.luma(unlit, y) + 40;
    EXPECT_GE(litRows, 2 * 132 / 3 - 1);                     // one gap row in three
    EXPECT_GT(level.red(lit, 11), level.luma(lit, 11) + 40); // red above 0 dB
    EXPECT_LT(level.red(lit, 50), level.luma(lit, 50));      // green below

    const int gh = gr.w() / 2;
    EXPECT_GT(gr.luma(gh + gh / 2, 0), gr.luma(gh / 2, 0) + 40);
    EXPECT_GT(gr.luma(gh + gh / 2, gr.h() - 2), gr.luma(gh / 2, gr.h() - 2) + 40);
}

// The modified lamp is dark in its upper half and lit (amber) in the lower one; the switch
// images for a non-zero value are coloured (lit LED or legend) where the value-0 ones are grey.
TEST(EmbeddedResources, LampAndSwitchStates)
{
    Image lamp(5020);
    ASSERT_TRUE(lamp.ok());
    double luma[2] = {}, red[2] = {}; // upper (off), lower (on) half
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 43; ++x)
            luma[y / 16] += lamp.luma(x, y), red[y / 16] += lamp.red(x, y);
    EXPECT_GT(luma[1], 1.5 * luma[0]);
    EXPECT_GT(red[1], 2 * red[0]);

    for (const PanelControl& c : kPanelControls)
    {
        if (c.kind != PANEL_SWITCH)
            continue;
        Image lit(c.image1), unlit(c.image0);
        ASSERT_TRUE(lit.ok() && unlit.ok());
        for (int half = 0; half < 2; ++half)
        {
            const int y0 = half * lit.h() / 2, y1 = y0 + lit.h() / 2;
            EXPECT_GT(lit.maxChroma(y0, y1), 100) << c.image1 << " half " << half;
            EXPECT_LT(unlit.maxChroma(y0, y1), 60) << c.image0 << " half " << half;
        }
    }
}
