// Drawing: raster operations on known pixels, PNG loading, images at a
// scale, fonts, text extents, clipped text, paint and client contexts.
#include <cairo.h>

#include "ToolkitFixture.h"

namespace
{
// PNG bytes of a w x h image: left half red, right half opaque blue.
std::vector<unsigned char> TwoColourPng(int w, int h)
{
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t* cr = cairo_create(s);
    cairo_set_source_rgb(cr, 1, 0, 0);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 0, 0, 1);
    cairo_rectangle(cr, w / 2, 0, w - w / 2, h);
    cairo_fill(cr);
    cairo_destroy(cr);
    std::vector<unsigned char> png;
    cairo_surface_write_to_png_stream(
        s,
        [](void* closure, const unsigned char* data, unsigned int length)
        {
            auto* out = static_cast<std::vector<unsigned char>*>(closure);
            out->insert(out->end(), data, data + length);
            return CAIRO_STATUS_SUCCESS;
        },
        &png);
    cairo_surface_destroy(s);
    return png;
}

COLORREF PixelOf(CBitmap& bmp, int x, int y)
{
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    dc.SelectObject(&bmp);
    return dc.GetPixel(x, y);
}
} // namespace

TEST(ToolkitDrawing, BitBltCopyAndXorOnKnownPixelsWithinTheSource)
{
    const COLORREF dstColor = RGB(0xF0, 0x0F, 0xAA), srcColor = RGB(0x3C, 0xFF, 0x55);
    const struct
    {
        DWORD rop;
        COLORREF result;
    } rows[] = {
        {SRCCOPY, srcColor}, {SRCAND, RGB(0x30, 0x0F, 0x00)}, {SRCINVERT, RGB(0xCC, 0xF0, 0xFF)}};
    for (const auto& r : rows)
    {
        CDC dst, src;
        ASSERT_TRUE(dst.CreateBitmapDC(8, 8));
        ASSERT_TRUE(src.CreateBitmapDC(4, 4));
        dst.FillSolidRect(0, 0, 8, 8, dstColor);
        src.FillSolidRect(0, 0, 4, 4, srcColor);
        // 5x5 from (1,1) of the source to (2,2): the source has only 3x3
        // pixels there, so nothing beyond (4,4) changes.
        ASSERT_TRUE(dst.BitBlt(2, 2, 5, 5, &src, 1, 1, r.rop));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                EXPECT_EQ(dst.GetPixel(x, y),
                          x >= 2 && x <= 4 && y >= 2 && y <= 4 ? r.result : dstColor)
                    << r.rop << " at " << x << "," << y;
    }
}

TEST(ToolkitDrawing, OverlappingCopyWithinOneContextAndBadArguments)
{
    CDC off;
    ASSERT_TRUE(off.CreateBitmapDC(10, 6));
    off.FillSolidRect(0, 0, 10, 6, RGB(0, 0, 0));
    off.FillSolidRect(0, 0, 2, 2, RGB(255, 255, 255));
    // The source is read before it is written.
    off.BitBlt(1, 1, 3, 3, &off, 0, 0, SRCCOPY);
    EXPECT_EQ(off.GetPixel(2, 2), RGB(255, 255, 255));
    EXPECT_EQ(off.GetPixel(3, 3), RGB(0, 0, 0));

    EXPECT_FALSE(off.CreateBitmapDC(0, 5));
    EXPECT_FALSE(off.BitBlt(0, 0, 1, 1, nullptr, 0, 0, SRCCOPY));
    EXPECT_EQ(off.GetPixel(0, 0), CLR_INVALID);
}

TEST(ToolkitDrawing, PngFromMemoryResourcesAndBadData)
{
    std::vector<unsigned char> png = TwoColourPng(6, 4);
    CBitmap bmp;
    ASSERT_TRUE(bmp.LoadPNG(png.data(), png.size()));
    EXPECT_EQ(bmp.GetSize(), CSize(6, 4));
    EXPECT_EQ(PixelOf(bmp, 0, 0), RGB(255, 0, 0));
    EXPECT_EQ(PixelOf(bmp, 5, 3), RGB(0, 0, 255));
    AfxRegisterResource("5000.png", png.data(), png.size());
    CBitmap loaded;
    ASSERT_TRUE(loaded.Attach(LoadBitmap0(5000, "com.example.bundle")));
    EXPECT_EQ(loaded.GetSize(), CSize(6, 4));

    // Truncated, foreign and missing data load nothing, without crashing.
    EXPECT_FALSE(bmp.LoadPNG(png.data(), png.size() / 2));
    EXPECT_EQ(bmp.GetSize(), CSize());
    const char notPng[] = "GIF89a....";
    EXPECT_FALSE(bmp.LoadPNG(notPng, sizeof(notPng)));
    EXPECT_FALSE(bmp.LoadPNG(nullptr, 10));
    EXPECT_FALSE(bmp.LoadPNGFile("/nonexistent/5000.png"));
    AfxRegisterResource("5001.png", notPng, sizeof(notPng));
    EXPECT_EQ(LoadBitmap0(5001, nullptr), nullptr);
    EXPECT_EQ(LoadBitmap0(5999, nullptr), nullptr);
    EXPECT_EQ(GetBitmapSize0(nullptr), CSize());
}

// The resource drawn at the scale asked for is taken as it is, another scale
// is resampled from the next one drawn above it (else below), a scale outside
// 1..4 means 1; sizes stay in window pixels.
TEST(ToolkitDrawing, ImagesAtAScale)
{
    std::vector<unsigned char> one = TwoColourPng(4, 2), two = TwoColourPng(8, 4);
    AfxRegisterResource("7100.png", one.data(), one.size());
    AfxRegisterResource("7100@2x.png", two.data(), two.size());
    const struct
    {
        double scale;
        int deviceWidth;
    } rows[] = {{1.0, 4}, {1.5, 6}, {3.0, 12}, {9.0, 4}};
    for (const auto& r : rows)
    {
        CBitmap bmp;
        ASSERT_TRUE(bmp.Attach(LoadBitmapScaled(7100, r.scale))) << r.scale;
        EXPECT_EQ(bmp.GetSize(), CSize(4, 2)) << r.scale;
        EXPECT_EQ(cairo_image_surface_get_width(bmp.GetHandle()), r.deviceWidth) << r.scale;
        EXPECT_EQ(PixelOf(bmp, r.deviceWidth - 1, 0), RGB(0, 0, 255)) << r.scale;
    }
}

TEST(ToolkitDrawing, FontsInPointsOrTenthsAndTextExtents)
{
    CFont small, large;
    ASSERT_TRUE(small.CreatePointFont(9, "Osaka"));
    ASSERT_TRUE(large.CreatePointFont(120, "Osaka")); // tenths of a point
    EXPECT_DOUBLE_EQ(large.GetPixelSize(), 12.0);
    EXPECT_FALSE(CFont().CreatePointFont(0, "Osaka"));
    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    dc.SelectObject(&small);
    EXPECT_EQ(dc.GetTextExtent(CString("")).cx, 0);
    const int aaaa = dc.GetTextExtent(CString("AAAA")).cx;
    EXPECT_NEAR(aaaa, 4 * dc.GetTextExtent(CString("A")).cx, 4);
    EXPECT_EQ(dc.SelectObject(&large), &small);
    EXPECT_GT(dc.GetTextExtent(CString("AAAA")).cx, aaaa);
    // Japanese text has width (the fallback face covers it), and bad UTF-8
    // is measured rather than refused.
    EXPECT_GT(dc.GetTextExtent(CString("\xE3\x83\x97\xE3\x83\xAA")).cx, 0);
    EXPECT_GT(dc.GetTextExtent(CString("a\xFF_b")).cx, 0);
}

TEST(ToolkitDrawing, TextIsDrawnAtItsTopLeftAndClipped)
{
    CFont font;
    ASSERT_TRUE(font.CreatePointFont(12, "Osaka"));
    for (bool clipped : {false, true})
    {
        CDC dc;
        auto dark = [&](int x0, int x1, int y1)
        {
            int n = 0;
            for (int x = x0; x < x1; ++x)
                for (int y = 0; y < y1; ++y)
                    n += GetRValue(dc.GetPixel(x, y)) <= 128;
            return n;
        };
        ASSERT_TRUE(dc.CreateBitmapDC(120, 30));
        dc.FillSolidRect(0, 0, 120, 30, RGB(255, 255, 255));
        dc.SelectObject(&font);
        dc.SetBkMode(TRANSPARENT);
        dc.SetTextColor(RGB(0, 0, 0));
        CRect clip(0, 0, 20, 30);
        dc.ExtTextOut(4, 5, clipped ? ETO_CLIPPED : 0, &clip, CString("WWWWWWWW"), nullptr);
        EXPECT_GT(dark(4, 20, 30), 0);
        EXPECT_EQ(dark(0, 4, 30), 0);  // nothing left of x
        EXPECT_EQ(dark(0, 120, 5), 0); // nor above y
        EXPECT_EQ(dark(20, 120, 30) > 0, !clipped);
    }
}

TEST_F(ToolkitTest, PaintContextsAreClippedToTheInvalidArea)
{
    CToolkit::Pump();
    {
        CClientDC dc(&m_Top);
        dc.FillSolidRect(0, 0, 30, 20, RGB(10, 200, 30));
    }
    CRect part(0, 0, 10, 10);
    m_Top.InvalidateRect(&part, FALSE);
    {
        CPaintDC dc(&m_Top);
        EXPECT_EQ(dc.m_rcPaint, part);
        dc.FillSolidRect(0, 0, 30, 20, RGB(255, 0, 0));
    }
    EXPECT_EQ(CHeadless::GetPixel(&m_Top, 5, 5), RGB(255, 0, 0));
    EXPECT_EQ(CHeadless::GetPixel(&m_Top, 15, 15), RGB(10, 200, 30));
    // A context outliving its window draws into an orphaned image safely.
    CClientDC late(&m_Top);
    m_Top.DestroyWindow();
    late.FillSolidRect(0, 0, 5, 5, RGB(1, 2, 3));
    EXPECT_EQ(late.GetPixel(1, 1), RGB(1, 2, 3));
}
