// CDC and its window kinds over cairo. Copies go through cairo; the and/xor
// raster operations work on the ARGB32 pixels directly. Each context keeps a
// reference to its target, so a window resized or destroyed under a live
// context only leaves the context drawing into an orphaned image.
#include "CDC.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>
#include <string>

#include "AfxWndImpl.h"
#include "CToolkit.h"
#include "CWnd.h"

using namespace AfxImpl;

namespace
{
// Cairo refuses invalid UTF-8 (and then refuses all further drawing on the
// context), so stray bytes become "?".
std::string SanitizeUtf8(const char* text, size_t length)
{
    std::string out;
    out.reserve(length);
    size_t i = 0;
    const unsigned char* s = reinterpret_cast<const unsigned char*>(text);
    while (i < length)
    {
        unsigned char c = s[i];
        size_t n = 0;
        if (c < 0x80)
            n = 1;
        else if (c >= 0xC2 && c <= 0xDF)
            n = 2;
        else if (c >= 0xE0 && c <= 0xEF)
            n = 3;
        else if (c >= 0xF0 && c <= 0xF4)
            n = 4;
        bool ok = n > 0 && i + n <= length;
        for (size_t k = 1; ok && k < n; ++k)
            ok = (s[i + k] & 0xC0) == 0x80;
        if (ok && n == 3)
        {
            // No overlong forms, no surrogates.
            unsigned cp = ((c & 0x0Fu) << 12) | ((s[i + 1] & 0x3Fu) << 6) | (s[i + 2] & 0x3Fu);
            ok = cp >= 0x800 && (cp < 0xD800 || cp > 0xDFFF);
        }
        if (ok && n == 4)
        {
            unsigned cp = ((c & 0x07u) << 18) | ((s[i + 1] & 0x3Fu) << 12) |
                          ((s[i + 2] & 0x3Fu) << 6) | (s[i + 3] & 0x3Fu);
            ok = cp >= 0x10000 && cp <= 0x10FFFF;
        }
        if (c == 0)
            break;
        if (ok)
        {
            out.append(text + i, n);
            i += n;
        }
        else
        {
            out += '?';
            i += 1;
        }
    }
    return out;
}

void ApplyFont(cairo_t* cr, const CFont* font)
{
    const CFont* f = (font && font->GetFace()) ? font : DefaultFont();
    if (f && f->GetFace())
    {
        cairo_set_font_face(cr, f->GetFace());
        cairo_set_font_size(cr, f->GetPixelSize());
    }
    else
    {
        cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(cr, 12.0);
    }
}

void SetColor(cairo_t* cr, COLORREF c)
{
    cairo_set_source_rgb(cr, GetRValue(c) / 255.0, GetGValue(c) / 255.0, GetBValue(c) / 255.0);
}

// Device pixels per window pixel of a surface (its cairo device scale).
double ScaleOf(HBITMAP s)
{
    double k = 1.0, ky = 1.0;
    if (s)
        cairo_surface_get_device_scale(s, &k, &ky);
    return k;
}

// A context on a 1x1 image at `scale`, for measuring text without a target
// (the caller destroys it). Glyph metrics depend on the device resolution.
cairo_t* MeasureContext(double scale)
{
    static cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    cairo_surface_set_device_scale(surface, scale, scale);
    return cairo_create(surface);
}

// Window coordinate v on the device pixel grid of scale k (nearest edge).
double Snap(int v, double k)
{
    return std::lround(v * k) / k;
}

bool IsImage(HBITMAP s)
{
    return s && cairo_surface_get_type(s) == CAIRO_SURFACE_TYPE_IMAGE &&
           cairo_image_surface_get_format(s) == CAIRO_FORMAT_ARGB32;
}
} // namespace

CDC::CDC() = default;

CDC::~CDC()
{
    DeleteDC();
}

BOOL CDC::CreateCompatibleDC(CDC*)
{
    DeleteDC();
    // Until a bitmap is selected, a memory context draws into 1x1 pixel.
    m_pOwnBitmap = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1);
    SetTarget(m_pOwnBitmap);
    m_hDC = this;
    return TRUE;
}

BOOL CDC::CreateBitmapDC(int width, int height)
{
    DeleteDC();
    if (width <= 0 || height <= 0 || width > 16384 || height > 16384)
        return FALSE;
    const double k = CToolkit::Scale();
    m_pOwnBitmap = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, (int)std::lround(width * k),
                                              (int)std::lround(height * k));
    if (cairo_surface_status(m_pOwnBitmap) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(m_pOwnBitmap);
        m_pOwnBitmap = nullptr;
        return FALSE;
    }
    cairo_surface_set_device_scale(m_pOwnBitmap, k, k);
    SetTarget(m_pOwnBitmap);
    m_hDC = this;
    return TRUE;
}

BOOL CDC::CreateDC(LPCTSTR, LPCTSTR, LPCTSTR, const void*)
{
    return CreateCompatibleDC(nullptr);
}

BOOL CDC::DeleteDC()
{
    Flush();
    SetTarget(nullptr);
    if (m_pOwnBitmap)
        cairo_surface_destroy(m_pOwnBitmap);
    m_pOwnBitmap = nullptr;
    m_pSelectedBitmap = nullptr;
    m_pSelectedFont = nullptr;
    m_HasClip = false;
    bool had = m_hDC != nullptr;
    m_hDC = nullptr;
    return had ? TRUE : FALSE;
}

void CDC::SetTarget(HBITMAP surface)
{
    Flush();
    if (surface)
        cairo_surface_reference(surface);
    if (m_pTarget)
        cairo_surface_destroy(m_pTarget);
    m_pTarget = surface;
}

void CDC::SetClip(const CRect& rect)
{
    Flush();
    m_Clip = rect;
    m_HasClip = true;
}

_cairo* CDC::Cairo()
{
    if (!m_pCairo && m_pTarget)
    {
        m_pCairo = cairo_create(m_pTarget);
        if (m_HasClip)
        {
            // Whole device pixels: the clip covers every one the area touches.
            const double k = ScaleOf(m_pTarget);
            const double l = std::floor(m_Clip.left * k) / k, t = std::floor(m_Clip.top * k) / k;
            const double r = std::ceil(m_Clip.right * k) / k, b = std::ceil(m_Clip.bottom * k) / k;
            cairo_rectangle(m_pCairo, l, t, r - l, b - t);
            cairo_clip(m_pCairo);
        }
    }
    return m_pCairo;
}

void CDC::Flush()
{
    if (m_pCairo)
    {
        cairo_destroy(m_pCairo);
        m_pCairo = nullptr;
    }
    if (m_pTarget)
        cairo_surface_flush(m_pTarget);
}

void CDC::InitDrawing()
{
    Cairo();
}

void CDC::ExitDrawing()
{
    Flush();
    OnFlushed();
}

CBitmap* CDC::SelectObject(CBitmap* bitmap)
{
    CBitmap* previous = m_pSelectedBitmap;
    m_pSelectedBitmap = bitmap;
    // Memory and bitmap contexts draw into the selected bitmap.
    if (m_pOwnBitmap)
        SetTarget(bitmap && bitmap->GetHandle() ? bitmap->GetHandle() : m_pOwnBitmap);
    return previous;
}

CFont* CDC::SelectObject(CFont* font)
{
    CFont* previous = m_pSelectedFont;
    m_pSelectedFont = font;
    return previous;
}

HBITMAP CDC::GetTargetSurface() const
{
    return m_pTarget;
}

CSize CDC::GetTargetSize() const
{
    return GetBitmapSize0(m_pTarget);
}

namespace
{
// dst = dst op src per colour channel, dst alpha kept; rectangles already
// clipped to both images.
void PixelOp(HBITMAP dst, int x, int y, int w, int h, HBITMAP src, int sx, int sy, DWORD rop)
{
    unsigned char* dData = cairo_image_surface_get_data(dst);
    const unsigned char* sData = cairo_image_surface_get_data(src);
    int dStride = cairo_image_surface_get_stride(dst);
    int sStride = cairo_image_surface_get_stride(src);
    for (int row = 0; row < h; ++row)
    {
        uint32_t* d = reinterpret_cast<uint32_t*>(dData + (size_t)(y + row) * dStride) + x;
        const uint32_t* s =
            reinterpret_cast<const uint32_t*>(sData + (size_t)(sy + row) * sStride) + sx;
        for (int col = 0; col < w; ++col)
        {
            uint32_t dv = d[col];
            uint32_t sv = s[col];
            uint32_t rgb = rop == SRCAND ? (dv & sv) : (dv ^ sv);
            uint32_t a = dv >> 24;
            // Stay a valid premultiplied pixel: no channel above alpha.
            uint32_t r = std::min((rgb >> 16) & 0xFF, a);
            uint32_t g = std::min((rgb >> 8) & 0xFF, a);
            uint32_t b = std::min(rgb & 0xFF, a);
            d[col] = (a << 24) | (r << 16) | (g << 8) | b;
        }
    }
    cairo_surface_mark_dirty_rectangle(dst, x, y, w, h);
}
} // namespace

namespace
{
// A copy of an image (same pixels, same scale), for blits within one image.
HBITMAP CopyOf(HBITMAP source)
{
    HBITMAP copy =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, cairo_image_surface_get_width(source),
                                   cairo_image_surface_get_height(source));
    const double k = ScaleOf(source);
    cairo_surface_set_device_scale(copy, k, k);
    cairo_t* cr = cairo_create(copy);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, source, 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(copy);
    return copy;
}
} // namespace

// Coordinates are window pixels; the copy itself lands on whole device
// pixels: the destination's edges round to its grid and, where source and
// destination share a scale, pixels are copied one to one. A source of
// another scale is resampled with a smoothing filter.
BOOL CDC::BitBlt(int x, int y, int width, int height, CDC* src, int srcX, int srcY, DWORD rop)
{
    if (!src || !m_pTarget || !src->m_pTarget)
        return FALSE;
    if (width <= 0 || height <= 0)
        return TRUE;
    src->Flush();
    HBITMAP source = src->m_pTarget;
    const double tk = ScaleOf(m_pTarget), sk = ScaleOf(source);
    const CRect d((int)std::lround(x * tk), (int)std::lround(y * tk),
                  (int)std::lround((x + width) * tk), (int)std::lround((y + height) * tk));
    const CPoint s((int)std::lround(srcX * sk), (int)std::lround(srcY * sk));
    if (rop == SRCAND || rop == SRCINVERT)
    {
        Flush();
        if (!IsImage(m_pTarget) || !IsImage(source) || tk != sk)
            return FALSE;
        // Clip the destination to the target, the clip and the source.
        CRect bounds(0, 0, cairo_image_surface_get_width(m_pTarget),
                     cairo_image_surface_get_height(m_pTarget));
        if (m_HasClip)
            bounds.IntersectRect(bounds, CRect((int)std::floor(m_Clip.left * tk),
                                               (int)std::floor(m_Clip.top * tk),
                                               (int)std::ceil(m_Clip.right * tk),
                                               (int)std::ceil(m_Clip.bottom * tk)));
        CRect srcInDst(d.left - s.x, d.top - s.y,
                       d.left - s.x + cairo_image_surface_get_width(source),
                       d.top - s.y + cairo_image_surface_get_height(source));
        CRect r;
        if (!r.IntersectRect(d, bounds) || !r.IntersectRect(r, srcInDst))
            return TRUE;
        HBITMAP copy = source == m_pTarget ? CopyOf(source) : nullptr;
        PixelOp(m_pTarget, r.left, r.top, r.Width(), r.Height(), copy ? copy : source,
                r.left - d.left + s.x, r.top - d.top + s.y, rop);
        if (copy)
            cairo_surface_destroy(copy);
        return TRUE;
    }
    // SRCCOPY (and any other operation): the source drawn over the target.
    HBITMAP copy = nullptr;
    if (source == m_pTarget)
    {
        Flush();
        copy = source = CopyOf(source);
    }
    cairo_t* cr = Cairo();
    cairo_save(cr);
    cairo_rectangle(cr, d.left / tk, d.top / tk, d.Width() / tk, d.Height() / tk);
    cairo_clip(cr);
    if (tk == sk)
    {
        cairo_set_source_surface(cr, source, (d.left - s.x) / tk, (d.top - s.y) / tk);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
    }
    else
    {
        cairo_set_source_surface(cr, source, x - srcX, y - srcY);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    }
    cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
    cairo_paint(cr);
    cairo_restore(cr);
    if (copy)
        cairo_surface_destroy(copy);
    return TRUE;
}

BOOL CDC::StretchBlt(int x, int y, int width, int height, CDC* src, int srcX, int srcY,
                     int srcWidth, int srcHeight, DWORD rop)
{
    if (!src || !m_pTarget || !src->m_pTarget)
        return FALSE;
    if (width <= 0 || height <= 0 || srcWidth <= 0 || srcHeight <= 0)
        return FALSE;
    if (width == srcWidth && height == srcHeight)
        return BitBlt(x, y, width, height, src, srcX, srcY, rop);
    src->Flush();
    // Scale into a scratch image of the destination size, then combine.
    CDC scratch;
    if (!scratch.CreateBitmapDC(width, height))
        return FALSE;
    cairo_t* cr = scratch.Cairo();
    cairo_scale(cr, (double)width / srcWidth, (double)height / srcHeight);
    cairo_set_source_surface(cr, src->m_pTarget, -srcX, -srcY);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BILINEAR);
    cairo_rectangle(cr, 0, 0, srcWidth, srcHeight);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_fill(cr);
    scratch.Flush();
    return BitBlt(x, y, width, height, &scratch, 0, 0, rop);
}

int CDC::SetBkMode(int mode)
{
    int old = m_BkMode;
    m_BkMode = mode;
    return old;
}

COLORREF CDC::SetTextColor(COLORREF color)
{
    COLORREF old = m_TextColor;
    m_TextColor = color;
    return old;
}

COLORREF CDC::SetBkColor(COLORREF color)
{
    COLORREF old = m_BkColor;
    m_BkColor = color;
    return old;
}

CSize CDC::GetTextExtent(const CString& text) const
{
    return GetTextExtent(text.GetString(), text.GetLength());
}

CSize CDC::GetTextExtent(LPCTSTR text, int count) const
{
    // Measured at the scale the text will be drawn at.
    cairo_t* cr =
        MeasureContext(m_pOwnBitmap || !m_pTarget ? CToolkit::Scale() : ScaleOf(m_pTarget));
    ApplyFont(cr, m_pSelectedFont);
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    CSize size(0, (int)std::ceil(fe.ascent + fe.descent));
    if (text && count > 0)
    {
        std::string s = SanitizeUtf8(text, (size_t)count);
        cairo_text_extents_t te;
        cairo_text_extents(cr, s.c_str(), &te);
        size.cx = (int)std::ceil(te.x_advance);
    }
    cairo_destroy(cr);
    return size;
}

BOOL CDC::ExtTextOut(int x, int y, UINT options, LPCRECT rect, const CString& text, LPINT spacing)
{
    return ExtTextOut(x, y, options, rect, text.GetString(), (UINT)text.GetLength(), spacing);
}

BOOL CDC::ExtTextOut(int x, int y, UINT options, LPCRECT rect, LPCTSTR text, UINT count, LPINT)
{
    cairo_t* cr = Cairo();
    if (!cr)
        return FALSE;
    std::string s = text ? SanitizeUtf8(text, count) : std::string();
    cairo_save(cr);
    ApplyFont(cr, m_pSelectedFont);
    if (rect && (options & ETO_CLIPPED))
    {
        cairo_rectangle(cr, rect->left, rect->top, rect->right - rect->left,
                        rect->bottom - rect->top);
        cairo_clip(cr);
    }
    if (rect && (options & ETO_OPAQUE))
    {
        SetColor(cr, m_BkColor);
        cairo_rectangle(cr, rect->left, rect->top, rect->right - rect->left,
                        rect->bottom - rect->top);
        cairo_fill(cr);
    }
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    if (!s.empty())
    {
        if (m_BkMode == OPAQUE && !(options & ETO_OPAQUE))
        {
            cairo_text_extents_t te;
            cairo_text_extents(cr, s.c_str(), &te);
            SetColor(cr, m_BkColor);
            cairo_rectangle(cr, x, y, std::ceil(te.x_advance), std::ceil(fe.ascent + fe.descent));
            cairo_fill(cr);
        }
        SetColor(cr, m_TextColor);
        cairo_move_to(cr, x, y + fe.ascent);
        cairo_show_text(cr, s.c_str());
    }
    cairo_restore(cr);
    return TRUE;
}

BOOL CDC::TextOut(int x, int y, const CString& text)
{
    return ExtTextOut(x, y, 0, nullptr, text, nullptr);
}

void CDC::FillSolidRect(LPCRECT rect, COLORREF color)
{
    if (rect)
        FillSolidRect(rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top,
                      color);
}

void CDC::FillSolidRect(int x, int y, int width, int height, COLORREF color)
{
    cairo_t* cr = Cairo();
    if (!cr || width <= 0 || height <= 0)
        return;
    cairo_save(cr);
    SetColor(cr, color);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    // Edges on the device pixel grid: no half-covered pixels at any scale.
    const double k = ScaleOf(m_pTarget);
    const double l = Snap(x, k), t = Snap(y, k);
    cairo_rectangle(cr, l, t, Snap(x + width, k) - l, Snap(y + height, k) - t);
    cairo_fill(cr);
    cairo_restore(cr);
}

void CDC::Draw3dRect(LPCRECT rect, COLORREF topLeft, COLORREF bottomRight)
{
    if (!rect)
        return;
    int w = rect->right - rect->left;
    int h = rect->bottom - rect->top;
    FillSolidRect(rect->left, rect->top, w - 1, 1, topLeft);
    FillSolidRect(rect->left, rect->top, 1, h - 1, topLeft);
    FillSolidRect(rect->right - 1, rect->top, 1, h, bottomRight);
    FillSolidRect(rect->left, rect->bottom - 1, w, 1, bottomRight);
}

void CDC::DrawLine(int x0, int y0, int x1, int y1, COLORREF color)
{
    cairo_t* cr = Cairo();
    if (!cr)
        return;
    cairo_save(cr);
    SetColor(cr, color);
    cairo_set_line_width(cr, 1.0);
    cairo_move_to(cr, x0 + 0.5, y0 + 0.5);
    cairo_line_to(cr, x1 + 0.5, y1 + 0.5);
    cairo_stroke(cr);
    cairo_restore(cr);
}

COLORREF CDC::GetPixel(int x, int y) const
{
    if (!IsImage(m_pTarget))
        return CLR_INVALID;
    const_cast<CDC*>(this)->Flush();
    int w = cairo_image_surface_get_width(m_pTarget);
    int h = cairo_image_surface_get_height(m_pTarget);
    if (x < 0 || y < 0 || x >= w || y >= h)
        return CLR_INVALID;
    const unsigned char* data = cairo_image_surface_get_data(m_pTarget);
    uint32_t v = reinterpret_cast<const uint32_t*>(
        data + (size_t)y * cairo_image_surface_get_stride(m_pTarget))[x];
    uint32_t a = v >> 24;
    if (a == 0)
        return RGB(0, 0, 0);
    uint32_t r = ((v >> 16) & 0xFF) * 255 / a;
    uint32_t g = ((v >> 8) & 0xFF) * 255 / a;
    uint32_t b = (v & 0xFF) * 255 / a;
    return RGB(r, g, b);
}

COLORREF CDC::SetPixel(int x, int y, COLORREF color)
{
    COLORREF old = GetPixel(x, y);
    if (old == CLR_INVALID)
        return CLR_INVALID;
    FillSolidRect(x, y, 1, 1, color);
    Flush();
    return color;
}

// CPaintDC ------------------------------------------------------------------

CPaintDC::CPaintDC(CWnd* wnd) : m_pWnd(wnd)
{
    if (!wnd || !wnd->m_hWnd)
        return;
    AFX_WND* w = wnd->m_hWnd;
    CRect client(0, 0, w->rect.Width(), w->rect.Height());
    // A paint sent directly (nothing invalid) repaints the whole window.
    m_rcPaint = w->dirty.IsRectEmpty() ? client : w->dirty;
    w->dirty.SetRectEmpty();
    w->eraseDirty = false;
    SetTarget(w->back);
    SetClip(m_rcPaint);
    m_hDC = this;
}

CPaintDC::~CPaintDC()
{
    Flush();
    if (m_pWnd && IsAlive(m_pWnd->m_hWnd) && m_pTarget == m_pWnd->m_hWnd->back)
        Present(m_pWnd->m_hWnd, m_rcPaint);
}

// CClientDC -----------------------------------------------------------------

CClientDC::CClientDC(CWnd* wnd) : m_pWnd(wnd)
{
    if (!wnd || !wnd->m_hWnd)
        return;
    SetTarget(wnd->m_hWnd->back);
    m_hDC = this;
}

CClientDC::~CClientDC()
{
    Flush();
    OnFlushed();
}

void CClientDC::OnFlushed()
{
    if (m_pWnd && IsAlive(m_pWnd->m_hWnd) && m_pTarget == m_pWnd->m_hWnd->back)
    {
        AFX_WND* w = m_pWnd->m_hWnd;
        Present(w, CRect(0, 0, w->rect.Width(), w->rect.Height()));
    }
}
