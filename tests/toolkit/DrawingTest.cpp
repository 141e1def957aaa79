// Drawing: copies within one image, PNG loading and bad data, clipped text,
// and paint and client contexts. (Raster operations, images at a scale and
// text extents show in the panel's own drawing tests.)
#include <gtest/gtest.h>

#include <cairo.h>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

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
        // Bad UTF-8 is measured rather than refused.
        EXPECT_GT(dc.GetTextExtent(CString("a\xFF_b")).cx, 0);
    }
}

TEST(ToolkitDrawing, PaintContextsAreClippedToTheInvalidArea)
{
    ASSERT_TRUE(CHeadless::Use());
    CWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 30, 20), nullptr, 0));
    CToolkit::Pump();
    {
        CClientDC dc(&wnd);
        dc.FillSolidRect(0, 0, 30, 20, RGB(10, 200, 30));
    }
    CRect part(0, 0, 10, 10);
    wnd.InvalidateRect(&part, FALSE);
    {
        CPaintDC dc(&wnd);
        EXPECT_EQ(dc.m_rcPaint, part);
        dc.FillSolidRect(0, 0, 30, 20, RGB(255, 0, 0));
    }
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 5, 5), RGB(255, 0, 0));
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 15, 15), RGB(10, 200, 30));
    // A context outliving its window draws into an orphaned image safely.
    CClientDC late(&wnd);
    wnd.DestroyWindow();
    late.FillSolidRect(0, 0, 5, 5, RGB(1, 2, 3));
    EXPECT_EQ(late.GetPixel(1, 1), RGB(1, 2, 3));
}
