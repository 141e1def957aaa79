// CHeadless: input injection, virtual time and pixel read-back for tests.
#include "CHeadless.h"

#include <cairo.h>

#include "AfxPopupList.h"
#include "AfxWndImpl.h"
#include "backends/HeadlessBackend.h"

using namespace AfxImpl;

bool CHeadless::Use()
{
    return CToolkit::UseHeadless();
}

void CHeadless::MouseDown(CWnd* wnd, CPoint point, unsigned modifiers)
{
    if (wnd && wnd->m_hWnd)
        DeliverMouse(wnd->m_hWnd, WM_LBUTTONDOWN, point, modifiers, false);
}

void CHeadless::MouseMove(CWnd* wnd, CPoint point, unsigned modifiers)
{
    if (wnd && wnd->m_hWnd)
        DeliverMouse(wnd->m_hWnd, WM_MOUSEMOVE, point, modifiers, false);
}

void CHeadless::MouseUp(CWnd* wnd, CPoint point, unsigned modifiers)
{
    if (wnd && wnd->m_hWnd)
        DeliverMouse(wnd->m_hWnd, WM_LBUTTONUP, point, modifiers, false);
}

void CHeadless::Click(CWnd* wnd, CPoint point, unsigned modifiers)
{
    if (!wnd || !wnd->m_hWnd)
        return;
    AFX_WND* w = wnd->m_hWnd;
    DeliverMouse(w, WM_LBUTTONDOWN, point, modifiers, false);
    if (IsAlive(w))
        DeliverMouse(w, WM_LBUTTONUP, point, modifiers, false);
}

void CHeadless::DoubleClick(CWnd* wnd, CPoint point, unsigned modifiers)
{
    if (!wnd || !wnd->m_hWnd)
        return;
    AFX_WND* w = wnd->m_hWnd;
    Click(wnd, point, modifiers);
    if (IsAlive(w))
        DeliverMouse(w, WM_LBUTTONDOWN, point, modifiers, true);
    if (IsAlive(w))
        DeliverMouse(w, WM_LBUTTONUP, point, modifiers, false);
}

namespace
{
AFX_WND* AnyWindow()
{
    const auto& all = State().windows;
    return all.empty() ? nullptr : all.front();
}
} // namespace

void CHeadless::Key(UINT keyCode, unsigned modifiers)
{
    AFX_WND* w = State().focus ? State().focus : AnyWindow();
    if (!w)
        return;
    DeliverKey(w, keyCode, modifiers, true);
    AFX_WND* after = State().focus ? State().focus : AnyWindow();
    if (after)
        DeliverKey(after, keyCode, modifiers, false);
}

void CHeadless::Char(UINT codePoint, unsigned modifiers)
{
    AFX_WND* w = State().focus ? State().focus : AnyWindow();
    if (w)
        DeliverChar(w, codePoint, modifiers);
}

void CHeadless::Type(const char* utf8)
{
    if (!utf8)
        return;
    const unsigned char* s = reinterpret_cast<const unsigned char*>(utf8);
    while (*s)
    {
        UINT cp;
        int len;
        if (*s < 0x80)
            cp = *s, len = 1;
        else if ((*s & 0xE0) == 0xC0)
            cp = *s & 0x1F, len = 2;
        else if ((*s & 0xF0) == 0xE0)
            cp = *s & 0x0F, len = 3;
        else if ((*s & 0xF8) == 0xF0)
            cp = *s & 0x07, len = 4;
        else
        {
            ++s;
            continue;
        }
        int k = 1;
        for (; k < len && (s[k] & 0xC0) == 0x80; ++k)
            cp = (cp << 6) | (s[k] & 0x3F);
        if (k < len)
        {
            s += k;
            continue;
        }
        Char(cp);
        s += len;
    }
}

void CHeadless::SetModifiers(unsigned modifiers)
{
    SetKeyModifierState(modifiers);
}

void CHeadless::SetDesktopScale(double scale)
{
    AfxHeadlessSetDesktopScale(scale);
}

void CHeadless::AdvanceTime(unsigned ms)
{
    AfxHeadlessAdvance(ms);
}

void CHeadless::SetModalHook(std::function<void(CWnd* modal)> hook)
{
    State().modalHook = std::move(hook);
}

void CHeadless::PickMenuItem(UINT id)
{
    State().pickMenuId = id;
    State().pickMenuArmed = true;
}

bool CHeadless::IsMenuWindow(CWnd* wnd)
{
    auto* list = dynamic_cast<CAfxPopupList*>(wnd);
    return list && list->IsMenu();
}

bool CHeadless::IsDropDownWindow(CWnd* wnd)
{
    auto* list = dynamic_cast<CAfxPopupList*>(wnd);
    return list && !list->IsMenu();
}

bool CHeadless::GetMenuItemRect(CWnd* menuWindow, UINT id, CRect* rect)
{
    auto* list = dynamic_cast<CAfxPopupList*>(menuWindow);
    if (!list || !rect)
        return false;
    // The menu's entries are in the same order as the CMenu's items; ids are
    // kept by the popup's owner, so look the id up through the list's data.
    int index = list->IndexOfId(id);
    if (index < 0)
        return false;
    *rect = list->EntryRect(index);
    return !rect->IsRectEmpty();
}

uint32_t CHeadless::GetPixelARGB(CWnd* wnd, int x, int y)
{
    if (!wnd || !wnd->m_hWnd || !wnd->m_hWnd->back)
        return 0;
    HBITMAP b = wnd->m_hWnd->back;
    cairo_surface_flush(b);
    if (x < 0 || y < 0 || x >= cairo_image_surface_get_width(b) ||
        y >= cairo_image_surface_get_height(b))
        return 0;
    const unsigned char* data = cairo_image_surface_get_data(b);
    return reinterpret_cast<const uint32_t*>(data +
                                             (size_t)y * cairo_image_surface_get_stride(b))[x];
}

COLORREF CHeadless::GetPixel(CWnd* wnd, int x, int y)
{
    uint32_t v = GetPixelARGB(wnd, x, y);
    return RGB((v >> 16) & 0xFF, (v >> 8) & 0xFF, v & 0xFF);
}

namespace
{
// Draws w's back buffer and its visible children; (ox, oy) is w's top-left
// corner in device pixels.
void Compose(cairo_t* cr, AFX_WND* w, int ox, int oy)
{
    if (w->back)
    {
        cairo_surface_flush(w->back);
        double k = 1.0, ky = 1.0;
        cairo_surface_get_device_scale(w->back, &k, &ky);
        cairo_save(cr); // the snapshot has the back buffer's scale: pixels 1:1
        cairo_translate(cr, ox / k, oy / k);
        cairo_set_source_surface(cr, w->back, 0, 0);
        cairo_rectangle(cr, 0, 0, w->rect.Width(), w->rect.Height());
        cairo_fill(cr);
        cairo_restore(cr);
    }
    for (AFX_WND* c : w->children)
    {
        if (c->kind == AFX_KIND_CHILD && c->visible)
        {
            const CRect at = ToDevice(c->rect);
            Compose(cr, c, ox + at.left, oy + at.top);
        }
    }
}
} // namespace

HBITMAP CHeadless::Snapshot(CWnd* wnd)
{
    if (!wnd || !wnd->m_hWnd)
        return nullptr;
    AFX_WND* w = wnd->m_hWnd;
    const CSize size = ToDevice(w->rect.Size());
    cairo_surface_t* s =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, std::max(size.cx, 1), std::max(size.cy, 1));
    cairo_surface_set_device_scale(s, CToolkit::Scale(), CToolkit::Scale());
    cairo_t* cr = cairo_create(s);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    Compose(cr, w, 0, 0);
    cairo_destroy(cr);
    cairo_surface_flush(s);
    return s;
}

int CHeadless::PaintCount(CWnd* wnd)
{
    return wnd && wnd->m_hWnd ? wnd->m_hWnd->paintCount : 0;
}
