// Checks the embedded panel images: present, valid PNG, opaque at every scale, and drawn the way
// the panel reads them (knob angles, meter rows, lamp and switch halves). Their sizes and pixels
// as the panel shows them are the editor's tests' business (controls drawn from their images,
// reference pictures).
#include "CBitmap.h"
#include "EmbeddedResources.h"
#include "PanelLayout.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

namespace
{

// Decoded image of resource id as drawn at a whole scale ("5000@2x.png");
// owns the surface.
class Image
{
public:
    explicit Image(int id, int scale = 1)
    {
        std::string name = std::to_string(id) +
                           (scale == 1 ? std::string() : "@" + std::to_string(scale) + "x") +
                           ".png";
        size_t size = 0;
        const unsigned char* data = GetEmbeddedResource(name.c_str(), &size);
        if (!data)
            return;
        m_Surface = AfxLoadPNG(data, size);
        if (m_Surface)
            cairo_surface_flush(m_Surface);
    }
    ~Image()
    {
        if (m_Surface)
            cairo_surface_destroy(m_Surface);
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    bool ok() const { return m_Surface != nullptr; }
    int w() const { return cairo_image_surface_get_width(m_Surface); }
    int h() const { return cairo_image_surface_get_height(m_Surface); }
    // Pixel as 0xAARRGGBB (premultiplied, which for opaque pixels is plain RGB).
    uint32_t at(int x, int y) const
    {
        const unsigned char* row =
            cairo_image_surface_get_data(m_Surface) +
            static_cast<size_t>(y) * cairo_image_surface_get_stride(m_Surface);
        return reinterpret_cast<const uint32_t*>(row)[x];
    }
    int red(int x, int y) const { return (at(x, y) >> 16) & 255; }
    int green(int x, int y) const { return (at(x, y) >> 8) & 255; }
    int blue(int x, int y) const { return at(x, y) & 255; }
    double luma(int x, int y) const
    {
        return 0.299 * red(x, y) + 0.587 * green(x, y) + 0.114 * blue(x, y);
    }
    // Over a block: the highest colourfulness (max - min channel; a lit LED or legend is
    // strongly coloured, the rest grey or dim).
    int maxChroma(int x0, int y0, int x1, int y1) const
    {
        int best = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x)
            {
                const int r = red(x, y), g = green(x, y), b = blue(x, y);
                best = std::max(best, std::max({r, g, b}) - std::min({r, g, b}));
            }
        return best;
    }

private:
    cairo_surface_t* m_Surface = nullptr;
};

} // namespace

TEST(EmbeddedResources, LookupByName)
{
    for (int id = 5000; id <= 5020; ++id)
    {
        std::string name = std::to_string(id) + ".png";
        size_t size = 0;
        const unsigned char* data = GetEmbeddedResource(name.c_str(), &size);
        ASSERT_NE(data, nullptr) << name;
        ASSERT_GT(size, 8u) << name;
        EXPECT_EQ(std::memcmp(data, "\x89PNG\r\n\x1a\n", 8), 0) << name;
        EXPECT_NE(GetEmbeddedResource(name.c_str(), nullptr), nullptr);
    }
    size_t size = 123;
    for (const char* bad :
         {"5021.png", "4999.png", "5000", "5000.png.bak", "", (const char*)nullptr})
    {
        EXPECT_EQ(GetEmbeddedResource(bad, &size), nullptr) << (bad ? bad : "null");
        EXPECT_EQ(size, 0u);
    }
}

// Frame k shows the pointer at 30 + 5 k degrees clockwise from straight down, and the frame's
// border matches the background under every knob, so no seam shows.
TEST(EmbeddedResources, KnobStripPointerAndEdges)
{
    Image knob(5001), bg(5000);
    ASSERT_TRUE(knob.ok() && bg.ok());
    const double pi = std::acos(-1.0);
    for (int k : {0, 10, 20, 30, 40, 50, 60})
    {
        // Centroid of the pointer's bright pixels on the knob, weighted by brightness (the
        // scale ticks lie outside radius 13 and are left out).
        double sx = 0, sy = 0;
        int n = 0;
        for (int y = 0; y < 34; ++y)
            for (int x = 0; x < 34; ++x)
            {
                double dx = x + 0.5 - 17, dy = y + 0.5 - 17;
                double excess = knob.luma(x, k * 34 + y) - 140;
                if (std::hypot(dx, dy) < 13 && excess > 0)
                {
                    sx += dx * excess;
                    sy += dy * excess;
                    ++n;
                }
            }
        ASSERT_GT(n, 5) << "frame " << k;
        double expected = (30.0 + 5.0 * k) * pi / 180;
        // Screen direction of an angle clockwise from down: (-sin a, cos a).
        double ex = -std::sin(expected), ey = std::cos(expected);
        double len = std::hypot(sx, sy);
        double cosErr = (sx * ex + sy * ey) / len;
        EXPECT_GT(cosErr, std::cos(8 * pi / 180)) << "frame " << k;
    }
    for (int k = 0; k < PANEL_KNOB_FRAMES; ++k)
        for (const PanelControl& c : kPanelControls)
            if (c.kind == PANEL_KNOB)
            {
                const PanelRect& r = c.rect;
                EXPECT_EQ(knob.at(0, k * 34), bg.at(r.l, r.t));
                EXPECT_EQ(knob.at(33, k * 34 + 33), bg.at(r.r - 1, r.b - 1));
            }
}

// Level strip: row 19 is 0 dB at 3 rows per dB; silence (row 133 down) lights nothing, full
// scale (row 1 down) lights every segment, red above 0 dB and not below.
TEST(EmbeddedResources, MeterStrips)
{
    Image level(5011), gr(5012);
    ASSERT_TRUE(level.ok() && gr.ok());
    const int half = level.w() / 2, mid = half / 2;
    for (int y = 133; y < level.h(); ++y)
        for (int x = 0; x < half; ++x)
            EXPECT_EQ(level.at(x, y), level.at(half + x, y)) << "row " << y;
    int litRows = 0;
    for (int y = 1; y < 133; ++y)
        litRows += level.luma(half + mid, y) > level.luma(mid, y) + 40;
    EXPECT_GE(litRows, 2 * 132 / 3 - 1); // one gap row in three
    for (int y : {2, 11, 17})
    {
        EXPECT_GT(level.red(half + mid, y), 200) << y;
        EXPECT_GT(level.red(half + mid, y), level.green(half + mid, y) + 80) << y;
    }
    for (int y : {20, 50, 101})
        EXPECT_GT(level.green(half + mid, y), 150) << y;

    // Reduction strip grows down from the top: its first rows light.
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
    double off = 0, on = 0;
    int offRed = 0, onRed = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 43; ++x)
        {
            off += lamp.luma(x, y);
            on += lamp.luma(x, y + 16);
            offRed += lamp.red(x, y);
            onRed += lamp.red(x, y + 16);
        }
    EXPECT_GT(on, 1.5 * off);
    EXPECT_GT(onRed, 2 * offRed);

    for (const PanelControl& c : kPanelControls)
    {
        if (c.kind != PANEL_SWITCH)
            continue;
        Image lit(c.image1), unlit(c.image0);
        ASSERT_TRUE(lit.ok() && unlit.ok());
        for (int half = 0; half < 2; ++half)
        {
            int y0 = half * lit.h() / 2, y1 = y0 + lit.h() / 2;
            EXPECT_GT(lit.maxChroma(0, y0, lit.w(), y1), 100) << c.image1 << " half " << half;
            EXPECT_LT(unlit.maxChroma(0, y0, unlit.w(), y1), 60) << c.image0 << " half " << half;
        }
    }
}

// Every image is opaque (the panel copies images over its background, so a
// transparent pixel would show whatever the copy mode leaves there), and drawn
// again at 2x, 3x and 4x: exactly that many times the pixels each way (so the
// panel's layout holds at every scale), and drawn, not enlarged: a 2x knob
// frame has detail a doubled 1x frame lacks.
TEST(EmbeddedResources, EveryImageIsOpaqueAndDrawnAtTwoThreeAndFourTimes)
{
    for (int id = 5000; id <= 5020; ++id)
    {
        Image one(id);
        ASSERT_TRUE(one.ok()) << id;
        for (int scale : {1, 2, 3, 4})
        {
            Image img(id, scale);
            ASSERT_TRUE(img.ok()) << id << "@" << scale;
            EXPECT_EQ(one.w() * scale, img.w()) << id << "@" << scale;
            EXPECT_EQ(one.h() * scale, img.h()) << id << "@" << scale;
            int transparent = 0;
            for (int y = 0; y < img.h(); ++y)
                for (int x = 0; x < img.w(); ++x)
                    transparent += (img.at(x, y) >> 24) != 255;
            EXPECT_EQ(0, transparent) << id << "@" << scale;
        }
    }
    // Within the 2x knob strip's first frame, 2x2 blocks are not all flat:
    // a pixel-doubled image would have every block flat.
    Image knob(5001, 2);
    int uneven = 0;
    for (int y = 0; y < 68; y += 2)
        for (int x = 0; x < 68; x += 2)
            uneven += knob.at(x, y) != knob.at(x + 1, y) || knob.at(x, y) != knob.at(x, y + 1) ||
                      knob.at(x, y) != knob.at(x + 1, y + 1);
    EXPECT_GT(uneven, 300);
}
