// The toolkit's engine: backend choice, window records, input routing
// (capture, modal filtering, pre-translation), posted messages, timers,
// paint scheduling and modal loops. Everything runs on the UI thread.
#include "CToolkit.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "AfxWndImpl.h"
#include "CFont.h"
#include "CHeadless.h"
#include "backends/HeadlessBackend.h"
#include "backends/X11Backend.h"

namespace AfxImpl
{
AfxState& State()
{
    static AfxState state;
    return state;
}

IToolkitBackend* Backend()
{
    AfxState& s = State();
    if (!s.backend)
    {
        const char* env = std::getenv("DEESSER_TOOLKIT");
        if (env && std::strcmp(env, "headless") == 0)
            s.backend.reset(AfxCreateHeadlessBackend());
        else
            s.backend.reset(AfxCreateX11Backend());
    }
    return s.backend.get();
}

bool IsAlive(const AFX_WND* wnd)
{
    if (!wnd)
        return false;
    const auto& w = State().windows;
    return std::find(w.begin(), w.end(), wnd) != w.end();
}

bool IsVisible(const AFX_WND* wnd)
{
    for (const AFX_WND* w = wnd; w; w = w->parent)
    {
        if (!w->visible)
            return false;
    }
    return wnd != nullptr;
}

bool IsInside(const AFX_WND* wnd, const AFX_WND* ancestor)
{
    for (const AFX_WND* w = wnd; w; w = w->parent)
    {
        if (w == ancestor)
            return true;
    }
    return false;
}

const AfxWndClass* FindClass(LPCTSTR name)
{
    if (!name)
        return nullptr;
    for (const AfxWndClass& c : State().classes)
    {
        if (c.name == name)
            return &c;
    }
    return nullptr;
}

CRect ToDevice(const CRect& r)
{
    const double k = State().scale;
    return CRect((int)std::lround(r.left * k), (int)std::lround(r.top * k),
                 (int)std::lround(r.right * k), (int)std::lround(r.bottom * k));
}

CRect ToDeviceOut(const CRect& r)
{
    const double k = State().scale;
    return CRect((int)std::floor(r.left * k), (int)std::floor(r.top * k),
                 (int)std::ceil(r.right * k), (int)std::ceil(r.bottom * k));
}

CSize ToDevice(CSize size)
{
    const double k = State().scale;
    return CSize((int)std::lround(size.cx * k), (int)std::lround(size.cy * k));
}

CPoint ToWindow(CPoint p)
{
    const double k = State().scale;
    return CPoint((int)std::floor(p.x / k), (int)std::floor(p.y / k));
}

CRect ToWindowOut(const CRect& r)
{
    const double k = State().scale;
    return CRect((int)std::floor(r.left / k), (int)std::floor(r.top / k),
                 (int)std::ceil(r.right / k), (int)std::ceil(r.bottom / k));
}

CSize ToWindow(CSize size)
{
    const double k = State().scale;
    return CSize((int)std::lround(size.cx / k), (int)std::lround(size.cy / k));
}

void FillImage(HBITMAP image, const CRect& rect, COLORREF color)
{
    if (!image)
        return;
    // Whole device pixels: the outward rectangle at the image's own scale.
    double k = 1.0, ky = 1.0;
    cairo_surface_get_device_scale(image, &k, &ky);
    const double l = std::floor(rect.left * k) / k, t = std::floor(rect.top * k) / k;
    const double r = std::ceil(rect.right * k) / k, b = std::ceil(rect.bottom * k) / k;
    cairo_t* cr = cairo_create(image);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgb(cr, GetRValue(color) / 255.0, GetGValue(color) / 255.0,
                         GetBValue(color) / 255.0);
    cairo_rectangle(cr, l, t, r - l, b - t);
    cairo_fill(cr);
    cairo_destroy(cr);
}

void ResizeBackBuffer(AFX_WND* wnd, CSize size)
{
    const CSize device = ToDevice(size);
    int w = std::max(device.cx, 1);
    int h = std::max(device.cy, 1);
    const double k = State().scale;
    double oldK = 0.0, oldKy = 0.0;
    if (wnd->back)
        cairo_surface_get_device_scale(wnd->back, &oldK, &oldKy);
    if (wnd->back && cairo_image_surface_get_width(wnd->back) == w &&
        cairo_image_surface_get_height(wnd->back) == h && oldK == k)
        return;
    cairo_surface_t* fresh = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_surface_set_device_scale(fresh, k, k);
    bool isNull = true;
    COLORREF bg = BrushColor(wnd->wndClass ? wnd->wndClass->brush : nullptr, &isNull);
    FillImage(fresh, CRect(0, 0, size.cx, size.cy), isNull ? RGB(0, 0, 0) : bg);
    if (wnd->back)
    {
        cairo_t* cr = cairo_create(fresh);
        cairo_set_source_surface(cr, wnd->back, 0, 0);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_destroy(wnd->back);
    }
    wnd->back = fresh;
}

AFX_WND* CreateRecord(CWnd* owner, AfxWndKind kind, AFX_WND* parent, const CRect& rect, DWORD style,
                      UINT id, const AfxWndClass* wndClass, LPCTSTR text, void* hostView)
{
    AfxState& s = State();
    AFX_WND* w = new AFX_WND;
    w->pWnd = owner;
    w->parent = parent;
    w->kind = kind;
    w->rect = rect;
    w->style = style;
    w->id = id;
    w->wndClass = wndClass;
    w->text = text ? text : "";
    w->visible = kind == AFX_KIND_HOST || (style & WS_VISIBLE) != 0;
    w->enabled = (style & WS_DISABLED) == 0;
    w->hostView = hostView;
    ResizeBackBuffer(w, rect.Size());
    s.windows.push_back(w);
    if (parent)
        parent->children.push_back(w);

    IToolkitBackend* backend = Backend();
    IBackendWindow* parentNative = parent ? EnsureNative(parent) : nullptr;
    if (kind == AFX_KIND_HOST)
    {
        w->native = backend->CreateNative(w, kind, nullptr, ToDevice(rect), true, hostView);
        if (w->native)
        {
            CSize size = ToWindow(w->native->NativeSize());
            if (size.cx > 0 && size.cy > 0)
            {
                w->rect.SetRectWin(0, 0, size.cx, size.cy);
                ResizeBackBuffer(w, size);
            }
        }
    }
    else if (kind == AFX_KIND_CHILD)
    {
        if (parentNative)
            w->native =
                backend->CreateNative(w, kind, parentNative, ToDevice(rect), w->visible, nullptr);
    }
    else
    {
        w->native =
            backend->CreateNative(w, kind, parentNative, ToDevice(rect), w->visible, nullptr);
    }
    return w;
}

IBackendWindow* EnsureNative(AFX_WND* wnd)
{
    if (!wnd || wnd->nativeGone)
        return nullptr;
    if (!wnd->native && wnd->kind == AFX_KIND_HOST && wnd->hostView)
        wnd->native = Backend()->CreateNative(wnd, AFX_KIND_HOST, nullptr, ToDevice(wnd->rect),
                                              true, wnd->hostView);
    return wnd->native;
}

void DestroyRecord(AFX_WND* wnd)
{
    AfxState& s = State();
    if (s.capture == wnd)
        s.capture = nullptr;
    if (s.focus == wnd)
        s.focus = nullptr;
    if (s.keyboard == wnd)
        s.keyboard = nullptr;
    s.posted.erase(std::remove_if(s.posted.begin(), s.posted.end(),
                                  [wnd](const AfxPosted& p) { return p.wnd == wnd; }),
                   s.posted.end());
    if (wnd->parent)
    {
        auto& c = wnd->parent->children;
        c.erase(std::remove(c.begin(), c.end(), wnd), c.end());
    }
    for (AFX_WND* child : wnd->children)
        child->parent = nullptr;
    if (wnd->native)
        Backend()->DestroyNative(wnd->native);
    wnd->native = nullptr;
    s.windows.erase(std::remove(s.windows.begin(), s.windows.end(), wnd), s.windows.end());
    if (wnd->back)
        cairo_surface_destroy(wnd->back);
    delete wnd;

    // With only host records left, let the backend release the window system
    // (x11 closes its display); host records re-create their natives later.
    bool onlyHosts = true;
    for (AFX_WND* w : s.windows)
    {
        if (w->kind != AFX_KIND_HOST)
            onlyHosts = false;
    }
    if (onlyHosts && s.backend)
    {
        for (AFX_WND* w : s.windows)
        {
            if (w->native)
                s.backend->DestroyNative(w->native);
            w->native = nullptr;
        }
        s.backend->AllWindowsGone();
    }
}

CPoint ScreenOrigin(const AFX_WND* wnd)
{
    if (!wnd)
        return CPoint();
    if (wnd->kind == AFX_KIND_CHILD && wnd->parent)
    {
        CPoint p = ScreenOrigin(wnd->parent);
        return CPoint(p.x + wnd->rect.left, p.y + wnd->rect.top);
    }
    if (wnd->native && !wnd->nativeGone)
        return ToWindow(wnd->native->ScreenOrigin());
    return wnd->kind == AFX_KIND_HOST ? CPoint() : wnd->rect.TopLeft();
}

AFX_WND* HitTest(AFX_WND* wnd, CPoint point, CPoint* local)
{
    CRect client(0, 0, wnd->rect.Width(), wnd->rect.Height());
    if (!client.PtInRect(point))
        return nullptr;
    // Later children are on top.
    for (auto it = wnd->children.rbegin(); it != wnd->children.rend(); ++it)
    {
        AFX_WND* c = *it;
        if (c->kind != AFX_KIND_CHILD || !c->visible)
            continue;
        if (c->rect.PtInRect(point))
        {
            AFX_WND* hit = HitTest(c, CPoint(point.x - c->rect.left, point.y - c->rect.top), local);
            if (hit)
                return hit;
        }
    }
    if (local)
        *local = point;
    return wnd;
}

void Present(AFX_WND* wnd, const CRect& area)
{
    if (!wnd || !wnd->native || wnd->nativeGone || !wnd->back || !IsVisible(wnd))
        return;
    CRect client(0, 0, wnd->rect.Width(), wnd->rect.Height());
    CRect r;
    if (!r.IntersectRect(area, client))
        return;
    cairo_surface_flush(wnd->back);
    wnd->native->Present(wnd->back, ToDeviceOut(r));
}

COLORREF BrushColor(HBRUSH brush, bool* isNull)
{
    // Stock brushes are encoded as small integers + 1 (see GetStockObject).
    uintptr_t v = (uintptr_t)brush;
    *isNull = true;
    switch (v)
    {
    case WHITE_BRUSH + 1:
        *isNull = false;
        return RGB(255, 255, 255);
    case LTGRAY_BRUSH + 1:
        *isNull = false;
        return RGB(192, 192, 192);
    case GRAY_BRUSH + 1:
        *isNull = false;
        return RGB(128, 128, 128);
    case DKGRAY_BRUSH + 1:
        *isNull = false;
        return RGB(64, 64, 64);
    case BLACK_BRUSH + 1:
        *isNull = false;
        return RGB(0, 0, 0);
    default:
        return 0;
    }
}

void PaintWindow(AFX_WND* wnd)
{
    if (wnd->eraseDirty && !wnd->dirty.IsRectEmpty())
    {
        bool isNull = true;
        COLORREF c = BrushColor(wnd->wndClass ? wnd->wndClass->brush : nullptr, &isNull);
        if (!isNull)
            FillImage(wnd->back, wnd->dirty, c);
    }
    CRect area = wnd->dirty;
    ++wnd->paintCount;
    wnd->pWnd->SendMessage(WM_PAINT);
    if (!IsAlive(wnd))
        return;
    // A handler that painted nothing still leaves the window valid.
    if (!wnd->dirty.IsRectEmpty() && wnd->dirty == area)
    {
        Present(wnd, area);
        wnd->dirty.SetRectEmpty();
        wnd->eraseDirty = false;
    }
}

CFont* DefaultFont()
{
    static CFont font;
    if (!font.GetFace())
        font.CreatePointFont(12, "sans-serif");
    return &font;
}

CRect PaintFace(CDC& dc, CWnd* wnd, COLORREF fill)
{
    CRect r;
    wnd->GetClientRect(&r);
    dc.FillSolidRect(&r, fill);
    return r;
}

CRect PaintFace(CDC& dc, CWnd* wnd, COLORREF fill, COLORREF topLeft, COLORREF bottomRight)
{
    CRect r = PaintFace(dc, wnd, fill);
    dc.Draw3dRect(&r, topLeft, bottomRight);
    return r;
}

void UseControlText(CDC& dc, CWnd* wnd, COLORREF color)
{
    dc.SelectObject(wnd->GetFont() ? wnd->GetFont() : DefaultFont());
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(color);
}

bool CallModalHook(CWnd* modal)
{
    AfxState& s = State();
    if (s.pickMenuArmed && CHeadless::IsMenuWindow(modal))
    {
        s.pickMenuArmed = false;
        CRect r;
        if (CHeadless::GetMenuItemRect(modal, s.pickMenuId, &r))
        {
            const CRect d = ToDevice(r); // input arrives in device pixels
            CPoint p(d.left + d.Width() / 2, d.top + d.Height() / 2);
            CHeadless::MouseMove(modal, p);
            CHeadless::Click(modal, p);
        }
        else
        {
            modal->SendMessage(WM_CLOSE);
        }
        return true;
    }
    if (!s.modalHook)
        return false;
    auto hook = s.modalHook; // the hook may replace itself
    hook(modal);
    return true;
}

// Routing -------------------------------------------------------------------

namespace
{
// Input may go to the window only when no modal loop runs or the window
// belongs to the innermost modal window.
bool AcceptsInput(const AFX_WND* wnd)
{
    const AfxState& s = State();
    if (s.modalStack.empty())
        return true;
    return IsInside(wnd, s.modalStack.back());
}

bool PreTranslate(AFX_WND* target, UINT message, WPARAM wParam, LPARAM lParam)
{
    // Collect the chain first: a handler may destroy windows.
    std::vector<AFX_WND*> chain;
    for (AFX_WND* w = target; w; w = w->parent)
        chain.push_back(w);
    for (AFX_WND* w : chain)
    {
        if (!IsAlive(w))
            return true;
        if (w->pWnd->PreTranslateMessage(message, wParam, lParam))
            return true;
    }
    return false;
}

UINT MouseFlags(unsigned modifiers, bool buttonDown)
{
    UINT f = buttonDown ? MK_LBUTTON : 0;
    if (modifiers & KEYMOD_SHIFT)
        f |= MK_SHIFT;
    if (modifiers & KEYMOD_CONTROL)
        f |= MK_CONTROL;
    return f;
}
} // namespace

void DeliverMouse(AFX_WND* wnd, UINT message, CPoint devicePoint, unsigned modifiers,
                  bool doubleClick)
{
    AfxState& s = State();
    const CPoint point = ToWindow(devicePoint);
    SetKeyModifierState(modifiers);
    if (!IsAlive(wnd))
        return;
    if (message == WM_LBUTTONDOWN)
        s.buttonDown = true;
    else if (message == WM_LBUTTONUP)
        s.buttonDown = false;

    AFX_WND* target = nullptr;
    CPoint local = point;
    if (s.capture && IsAlive(s.capture))
    {
        CPoint from = ScreenOrigin(wnd);
        CPoint to = ScreenOrigin(s.capture);
        local = CPoint(point.x + from.x - to.x, point.y + from.y - to.y);
        target = s.capture;
    }
    else
    {
        target = HitTest(wnd, point, &local);
        if (!target)
        {
            // Outside the window (a pointer grab of a pop-up): the window
            // itself gets it, with the outside point.
            if (wnd->kind != AFX_KIND_POPUP)
                return;
            target = wnd;
            local = point;
        }
        if (!target->enabled)
            return;
    }
    if (!AcceptsInput(target))
        return;
    if (message == WM_LBUTTONDOWN && doubleClick && target->wndClass &&
        (target->wndClass->style & CS_DBLCLKS))
        message = WM_LBUTTONDBLCLK;
    WPARAM wp = MouseFlags(modifiers, s.buttonDown);
    LPARAM lp = MAKELPARAM((SHORT)local.x, (SHORT)local.y);
    if (PreTranslate(target, message, wp, lp))
        return;
    if (IsAlive(target))
        target->pWnd->SendMessage(message, wp, lp);
}

namespace
{
AFX_WND* KeyTarget(AFX_WND* wnd)
{
    AfxState& s = State();
    AFX_WND* target = (s.focus && IsAlive(s.focus)) ? s.focus : wnd;
    if (!s.modalStack.empty() && !IsInside(target, s.modalStack.back()))
        target = s.modalStack.back();
    return IsAlive(target) ? target : nullptr;
}
} // namespace

void DeliverKey(AFX_WND* wnd, UINT keyCode, unsigned modifiers, bool down)
{
    SetKeyModifierState(modifiers);
    AFX_WND* target = KeyTarget(wnd);
    if (!target)
        return;
    UINT message = down ? WM_KEYDOWN : WM_KEYUP;
    LPARAM lp = 1;
    if (PreTranslate(target, message, keyCode, lp))
        return;
    if (IsAlive(target))
        target->pWnd->SendMessage(message, keyCode, lp);
}

void DeliverChar(AFX_WND* wnd, UINT codePoint, unsigned modifiers)
{
    SetKeyModifierState(modifiers);
    AFX_WND* target = KeyTarget(wnd);
    if (!target)
        return;
    if (PreTranslate(target, WM_CHAR, codePoint, 1))
        return;
    if (IsAlive(target))
        target->pWnd->SendMessage(WM_CHAR, codePoint, 1);
}

void DeliverExpose(AFX_WND* wnd, const CRect& area)
{
    const CRect r = ToWindowOut(area);
    if (IsAlive(wnd) && wnd->kind != AFX_KIND_HOST)
        wnd->pWnd->InvalidateRect(&r, FALSE);
}

void DeliverClose(AFX_WND* wnd)
{
    if (IsAlive(wnd))
        wnd->pWnd->PostMessage(WM_CLOSE);
}

void DeliverNativeGone(AFX_WND* wnd)
{
    if (!IsAlive(wnd))
        return;
    // The window system destroyed the window and all its descendants.
    std::vector<AFX_WND*> stack{wnd};
    while (!stack.empty())
    {
        AFX_WND* w = stack.back();
        stack.pop_back();
        if (w->native)
            Backend()->DestroyNative(w->native);
        w->native = nullptr;
        w->nativeGone = true;
        for (AFX_WND* c : w->children)
        {
            if (c->kind == AFX_KIND_CHILD)
                stack.push_back(c);
        }
    }
}

void DeliverHostResize(AFX_WND* wnd, CSize deviceSize)
{
    const CSize size = ToWindow(deviceSize);
    if (!IsAlive(wnd) || size == wnd->rect.Size())
        return;
    wnd->rect.SetRectWin(0, 0, size.cx, size.cy);
    ResizeBackBuffer(wnd, size);
    wnd->pWnd->SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(size.cx, size.cy));
}

const std::vector<AFX_WND*>& AllWindows()
{
    return State().windows;
}
} // namespace AfxImpl

using namespace AfxImpl;

// CToolkit ------------------------------------------------------------------

namespace
{
// Once a window exists the backend stays: true only when it is this one.
bool UseBackend(const char* name, IToolkitBackend* (*create)())
{
    AfxState& s = State();
    if (!s.windows.empty())
        return s.backend && std::strcmp(s.backend->Name(), name) == 0;
    s.backend.reset(create());
    return true;
}
} // namespace

bool CToolkit::UseX11()
{
    return UseBackend("x11", AfxCreateX11Backend);
}

bool CToolkit::UseHeadless()
{
    return UseBackend("headless", AfxCreateHeadlessBackend);
}

const char* CToolkit::BackendName()
{
    return AfxImpl::Backend()->Name();
}

IToolkitBackend* CToolkit::Backend()
{
    return AfxImpl::Backend();
}

uint64_t CToolkit::NowMs()
{
    return AfxImpl::Backend()->NowMs();
}

int CToolkit::WindowCount()
{
    return (int)State().windows.size();
}

void CToolkit::SetScale(double scale)
{
    AfxState& s = State();
    if (!(scale >= 1.0 && scale <= 4.0) || scale == s.scale)
        return;
    s.scale = scale;
    std::vector<AFX_WND*> snapshot = s.windows;
    for (AFX_WND* w : snapshot)
    {
        if (w->kind == AFX_KIND_HOST && w->native && !w->nativeGone)
        {
            const CSize size = ToWindow(w->native->NativeSize());
            if (size.cx > 0 && size.cy > 0)
                w->rect.SetRectWin(0, 0, size.cx, size.cy);
        }
        ResizeBackBuffer(w, w->rect.Size());
        if (w->native && !w->nativeGone && w->kind != AFX_KIND_HOST)
            w->native->SetBounds(ToDevice(w->rect));
        if (w->kind != AFX_KIND_HOST)
            w->pWnd->Invalidate(TRUE);
    }
}

double CToolkit::Scale()
{
    return State().scale;
}

CSize CToolkit::ScreenSize()
{
    return ToWindow(AfxImpl::Backend()->ScreenSize());
}

double CToolkit::DesktopScale()
{
    return AfxImpl::Backend()->DesktopScale();
}

CWnd* CToolkit::GetModalWindow()
{
    AfxState& s = State();
    return s.modalStack.empty() ? nullptr : s.modalStack.back()->pWnd;
}

namespace
{
void DeliverPosted()
{
    AfxState& s = State();
    std::deque<AfxPosted> batch;
    batch.swap(s.posted);
    while (!batch.empty())
    {
        AfxPosted p = batch.front();
        batch.pop_front();
        if (IsAlive(p.wnd))
            p.wnd->pWnd->SendMessage(p.message, p.wParam, p.lParam);
    }
}

void FireTimers()
{
    AfxState& s = State();
    if (s.windows.empty())
        return;
    uint64_t now = s.backend->NowMs();
    std::vector<AFX_WND*> snapshot = s.windows;
    for (AFX_WND* w : snapshot)
    {
        if (!IsAlive(w) || w->timers.empty())
            continue;
        std::vector<UINT_PTR> due;
        for (AfxTimer& t : w->timers)
        {
            if (now >= t.dueMs)
            {
                due.push_back(t.id);
                t.dueMs = now + t.periodMs; // missed periods are not made up
            }
        }
        for (UINT_PTR id : due)
        {
            if (!IsAlive(w))
                break;
            TIMERPROC cb = nullptr;
            bool found = false;
            for (const AfxTimer& t : w->timers)
            {
                if (t.id == id)
                {
                    cb = t.callback;
                    found = true;
                }
            }
            if (!found)
                continue;
            if (cb)
                cb(w, WM_TIMER, id, (DWORD)now);
            else
                w->pWnd->SendMessage(WM_TIMER, id, 0);
        }
    }
}

void PaintAll()
{
    AfxState& s = State();
    // Parents before children: the order of creation is kept in the list.
    std::vector<AFX_WND*> snapshot = s.windows;
    for (AFX_WND* w : snapshot)
    {
        if (IsAlive(w) && !w->dirty.IsRectEmpty() && w->kind != AFX_KIND_HOST && IsVisible(w))
            PaintWindow(w);
    }
}

int MsUntilNextTimer()
{
    AfxState& s = State();
    uint64_t now = s.backend->NowMs();
    uint64_t best = UINT64_MAX;
    for (AFX_WND* w : s.windows)
    {
        for (const AfxTimer& t : w->timers)
            best = std::min(best, t.dueMs);
    }
    if (best == UINT64_MAX)
        return 250;
    if (best <= now)
        return 0;
    return (int)std::min<uint64_t>(best - now, 250);
}
} // namespace

void CToolkit::Pump()
{
    AfxState& s = State();
    if (!s.backend)
        return; // no window was ever made
    s.backend->DrainEvents();
    DeliverPosted();
    FireTimers();
    PaintAll();
}

void CToolkit::RunModalLoop(CWnd* modal, const bool& done)
{
    AfxState& s = State();
    if (!modal || !modal->m_hWnd)
        return;
    AFX_WND* w = modal->m_hWnd;
    IToolkitBackend* backend = AfxImpl::Backend();
    bool headless = std::strcmp(backend->Name(), "headless") == 0;
    s.modalStack.push_back(w);
    int turns = 0;
    while (!done && IsAlive(w))
    {
        Pump();
        if (done || !IsAlive(w))
            break;
        if (headless)
        {
            bool hooked = CallModalHook(modal);
            Pump();
            if (done || !IsAlive(w))
                break;
            if (!hooked || ++turns > 1000)
            {
                modal->SendMessage(WM_CLOSE);
                Pump();
                break;
            }
        }
        else if (!backend->CanDeliverInput() || !w->native || w->nativeGone)
        {
            // Nobody can ever answer a window that is not on screen.
            modal->SendMessage(WM_CLOSE);
            Pump();
            break;
        }
        else
        {
            backend->WaitForEvents(MsUntilNextTimer());
        }
    }
    auto& st = s.modalStack;
    st.erase(std::remove(st.begin(), st.end(), w), st.end());
}

// Globals of AfxDefs.h ------------------------------------------------------

int GetSystemMetrics(int index)
{
    switch (index)
    {
    case SM_CXEDGE:
    case SM_CYEDGE:
        return 2;
    case SM_CXVSCROLL:
    case SM_CYHSCROLL:
        return 15;
    default:
        return 0;
    }
}

HGDIOBJ GetStockObject(int index)
{
    if (index < WHITE_BRUSH || index > NULL_BRUSH)
        return nullptr;
    return (HGDIOBJ)(uintptr_t)(index + 1);
}

HCURSOR LoadCursor(HINSTANCE, LPCTSTR name)
{
    return (HCURSOR)name;
}

LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR, HBRUSH background, HICON)
{
    AfxState& s = State();
    CString name;
    name.Format("AfxWnd:%x:%lx", classStyle, (unsigned long)(uintptr_t)background);
    if (const AfxWndClass* c = FindClass(name))
        return c->name;
    AfxWndClass c;
    c.name = name;
    c.style = classStyle;
    c.brush = background;
    s.classes.push_back(c);
    return s.classes.back().name;
}
