// Drawing: raster operations on known pixels, PNG loading and resources,
// fonts, text extents and clipped text.
#include <gtest/gtest.h>

#include <cairo.h>
#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

namespace
{
// A bitmap of the given size filled with one colour.
void MakeFilled(CBitmap& bmp, int w, int h, COLORREF color)
{
    ASSERT_TRUE(bmp.CreateBitmap(w, h));
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    dc.SelectObject(&bmp);
    dc.FillSolidRect(0, 0, w, h, color);
    dc.ExitDrawing();
}

COLORREF PixelOf(CBitmap& bmp, int x, int y)
{
    CDC dc;
    dc.CreateCompatibleDC(nullptr);
    dc.SelectObject(&bmp);
    return dc.GetPixel(x, y);
}

cairo_status_t AppendPng(void* closure, const unsigned char* data, unsigned int length)
{
    static_cast<std::vector<unsigned char>*>(closure)->insert(
        static_cast<std::vector<unsigned char>*>(closure)->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

// PNG bytes of a w x h image: left half red, right half opaque blue.
std::vector<unsigned char> TwoColourPng(int w, int h)
{
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t* cr = cairo_create(s);
    cairo_set_source_rgb(cr, 1, 0, 0);
    cairo_rectangle(cr, 0, 0, w / 2, h);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0, 0, 1);
    cairo_rectangle(cr, w / 2, 0, w - w / 2, h);
    cairo_fill(cr);
    cairo_destroy(cr);
    std::vector<unsigned char> png;
    cairo_surface_write_to_png_stream(s, AppendPng, &png);
    cairo_surface_destroy(s);
    return png;
}
} // namespace

TEST(ToolkitDrawing, BitBltCopyAndXorOnKnownPixels)
{
    const COLORREF dstColor = RGB(0xF0, 0x0F, 0xAA);
    const COLORREF srcColor = RGB(0x3C, 0xFF, 0x55);
    for (DWORD rop : {(DWORD)SRCCOPY, (DWORD)SRCAND, (DWORD)SRCINVERT})
    {
        CBitmap dst, src;
        MakeFilled(dst, 8, 8, dstColor);
        MakeFilled(src, 4, 4, srcColor);
        CDC dstDC, srcDC;
        dstDC.CreateCompatibleDC(nullptr);
        srcDC.CreateCompatibleDC(&dstDC);
        dstDC.SelectObject(&dst);
        srcDC.SelectObject(&src);
        // 3x3 from (1,1) of the source to (2,2): the source has only 3x3
        // pixels there, so nothing beyond (4,4) changes.
        ASSERT_TRUE(dstDC.BitBlt(2, 2, 5, 5, &srcDC, 1, 1, rop));
        COLORREF expected = rop == SRCCOPY  ? srcColor
                            : rop == SRCAND ? RGB(0x30, 0x0F, 0x00)
                                            : RGB(0xCC, 0xF0, 0xFF);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                EXPECT_EQ(dstDC.GetPixel(x, y),
                          x >= 2 && x <= 4 && y >= 2 && y <= 4 ? expected : dstColor)
                    << "rop " << std::hex << rop << " at " << std::dec << x << "," << y;
    }
}

TEST(ToolkitDrawing, BitmapContextsCopyOverlappingAreas)
{
    CDC off;
    ASSERT_TRUE(off.CreateBitmapDC(10, 6));
    EXPECT_EQ(off.GetTargetSize(), CSize(10, 6));
    off.FillSolidRect(0, 0, 10, 6, RGB(0, 0, 0));
    off.FillSolidRect(0, 0, 2, 2, RGB(255, 255, 255));
    // Overlapping copy within one context reads the source before writing.
    off.BitBlt(1, 1, 3, 3, &off, 0, 0, SRCCOPY);
    EXPECT_EQ(off.GetPixel(1, 1), RGB(255, 255, 255));
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
    HBITMAP loaded = LoadBitmap0(5000, "com.example.bundle");
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(GetBitmapSize0(loaded), CSize(6, 4));
    CBitmap attached;
    EXPECT_TRUE(attached.Attach(loaded));
    EXPECT_EQ(attached.GetSafeHandle(), (HGDIOBJ)loaded);
    EXPECT_EQ(LoadBitmap0(5999, nullptr), nullptr); // missing resource
    EXPECT_EQ(GetBitmapSize0(nullptr), CSize());

    // Truncated and foreign data load nothing, without crashing.
    EXPECT_FALSE(bmp.LoadPNG(png.data(), png.size() / 2));
    EXPECT_EQ(bmp.GetSize(), CSize());
    const char notPng[] = "GIF89a....";
    EXPECT_FALSE(bmp.LoadPNG(notPng, sizeof(notPng)));
    EXPECT_FALSE(bmp.LoadPNG(nullptr, 10));
    EXPECT_FALSE(bmp.LoadPNGFile("/nonexistent/5000.png"));
    AfxRegisterResource("5001.png", notPng, sizeof(notPng));
    EXPECT_EQ(LoadBitmap0(5001, nullptr), nullptr);
}

TEST(ToolkitDrawing, FontsFallBackAndMeasureText)
{
    CFont small, large;
    ASSERT_TRUE(small.CreatePointFont(9, "Osaka"));
    ASSERT_TRUE(large.CreatePointFont(120, "Osaka")); // tenths of a point
    EXPECT_DOUBLE_EQ(large.GetPixelSize(), 12.0);
    EXPECT_FALSE(CFont().CreatePointFont(0, "Osaka"));

    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    dc.SelectObject(&small);
    CSize a = dc.GetTextExtent(CString("A"));
    CSize aaaa = dc.GetTextExtent(CString("AAAA"));
    EXPECT_GT(a.cy, 0);
    EXPECT_NEAR(aaaa.cx, 4 * a.cx, 4);
    EXPECT_EQ(dc.GetTextExtent(CString("")).cx, 0);
    EXPECT_EQ(dc.SelectObject(&large), &small);
    EXPECT_GT(dc.GetTextExtent(CString("AAAA")).cx, aaaa.cx);
    // Japanese text has width too (the fallback face covers it), and bad
    // UTF-8 is measured rather than refused.
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
        EXPECT_EQ(dc.SetTextColor(RGB(0, 0, 0)), 0u);
        CRect clip(0, 0, 20, 30);
        CString text("WWWWWWWW");
        ASSERT_GT(dc.GetTextExtent(text).cx, 40);
        dc.ExtTextOut(4, 5, clipped ? ETO_CLIPPED : 0, &clip, text, nullptr);
        EXPECT_GT(dark(4, 20, 30), 0);
        EXPECT_EQ(dark(0, 4, 30), 0);  // nothing left of x
        EXPECT_EQ(dark(0, 120, 5), 0); // nor above y
        EXPECT_EQ(dark(20, 120, 30) > 0, !clipped);
    }
}

TEST(ToolkitDrawing, PaintAndClientContextsDrawIntoTheWindow)
{
    ASSERT_TRUE(CHeadless::Use());
    CWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 30, 20), nullptr, 0));
    CToolkit::Pump();
    {
        CClientDC dc(&wnd);
        dc.FillSolidRect(0, 0, 30, 20, RGB(10, 200, 30));
    }
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 29, 19), RGB(10, 200, 30));
    // A paint cycle is clipped to the invalid area.
    CRect part(0, 0, 10, 10);
    wnd.InvalidateRect(&part, FALSE);
    {
        CPaintDC dc(&wnd);
        EXPECT_EQ(dc.m_rcPaint, part);
        dc.FillSolidRect(0, 0, 30, 20, RGB(255, 0, 0));
    }
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 5, 5), RGB(255, 0, 0));
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 15, 15), RGB(10, 200, 30));
    CBitmap snap;
    ASSERT_TRUE(snap.Attach(CHeadless::Snapshot(&wnd)));
    EXPECT_EQ(PixelOf(snap, 5, 5), RGB(255, 0, 0));
    wnd.DestroyWindow();
    // A context outliving its window draws into an orphaned image safely.
    CWnd gone;
    ASSERT_TRUE(gone.Create(nullptr, "", WS_POPUP, CRect(0, 0, 5, 5), nullptr, 0));
    CClientDC late(&gone);
    gone.DestroyWindow();
    late.FillSolidRect(0, 0, 5, 5, RGB(1, 2, 3));
    EXPECT_EQ(late.GetPixel(1, 1), RGB(1, 2, 3));
}

// Images for a scale: the resource drawn at that scale is taken as it is,
// another scale is resampled from the next one drawn above it (else below),
// and sizes stay in window pixels. Copies between contexts of one scale land
// on device pixels one to one.
TEST(ToolkitDrawing, ImagesAndCopiesAtAScale)
{
    std::vector<unsigned char> one = TwoColourPng(4, 2), two = TwoColourPng(8, 4);
    AfxRegisterResource("7100.png", one.data(), one.size());
    AfxRegisterResource("7100@2x.png", two.data(), two.size());
    const struct
    {
        double scale;
        CSize device;
    } cases[] = {{1.0, {4, 2}}, {2.0, {8, 4}}, {1.5, {6, 3}}, {3.0, {12, 6}}, {9.0, {4, 2}}};
    for (const auto& c : cases)
    {
        CBitmap bmp;
        ASSERT_TRUE(bmp.Attach(LoadBitmapScaled(7100, c.scale))) << c.scale;
        EXPECT_EQ(CSize(4, 2), bmp.GetSize()) << c.scale;
        EXPECT_EQ(c.device.cx, cairo_image_surface_get_width(bmp.GetHandle())) << c.scale;
        EXPECT_EQ(c.device.cy, cairo_image_surface_get_height(bmp.GetHandle())) << c.scale;
        EXPECT_EQ(RGB(255, 0, 0), PixelOf(bmp, 0, 0)) << c.scale; // device pixels
        EXPECT_EQ(RGB(0, 0, 255), PixelOf(bmp, c.device.cx - 1, 0)) << c.scale;
    }

    // At scale 2 a bitmap context has twice the pixels; a copy of the 2x
    // image at window (1, 0) puts its device column 0 at device column 2.
    CToolkit::SetScale(2.0);
    CBitmap image;
    ASSERT_TRUE(image.Attach(LoadBitmapScaled(7100, 2.0)));
    CDC src, dst;
    src.CreateCompatibleDC(nullptr);
    src.SelectObject(&image);
    ASSERT_TRUE(dst.CreateBitmapDC(6, 2));
    EXPECT_EQ(CSize(6, 2), dst.GetTargetSize());
    dst.FillSolidRect(0, 0, 6, 2, RGB(0, 255, 0));
    ASSERT_TRUE(dst.BitBlt(1, 0, 4, 2, &src, 0, 0, SRCCOPY));
    const COLORREF row[12] = {RGB(0, 255, 0), RGB(0, 255, 0), RGB(255, 0, 0), RGB(255, 0, 0),
                              RGB(255, 0, 0), RGB(255, 0, 0), RGB(0, 0, 255), RGB(0, 0, 255),
                              RGB(0, 0, 255), RGB(0, 0, 255), RGB(0, 255, 0), RGB(0, 255, 0)};
    for (int x = 0; x < 12; ++x)
        EXPECT_EQ(row[x], dst.GetPixel(x, 3)) << x;
    CToolkit::SetScale(1.0);
}
