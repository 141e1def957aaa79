// X11 backend.
//  - One Display connection of our own, opened with the first window and
//    closed when the last window is gone (the host's connection is never
//    used; hosts may pass none).
//  - Every Xlib call runs inside an XGuard that installs our error handler
//    and restores the previous one on the way out, so an X error (a host that
//    destroyed its window under us, say) is swallowed instead of ending the
//    host's process, and no handler of ours stays installed between calls.
//    Errors for other connections go to the previous handler.
//  - A lost connection ends no process either: a per-display exit handler
//    marks the backend dead and the toolkit carries on off-screen.
//  - Events are read only when the toolkit pumps (host idle, modal loops);
//    waiting uses poll() on the connection, never a busy loop.
#include "X11Backend.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xresource.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cairo-xlib.h>
#include <cairo.h>
#include <chrono>
#include <cstdlib>
#include <poll.h>
#include <string>
#include <thread>
#include <unordered_map>

#include "AfxWndImpl.h"

namespace
{
// Error handling ------------------------------------------------------------

XErrorHandler g_PreviousHandler = nullptr;
int g_GuardDepth = 0;
Display* g_OurDisplay = nullptr;
unsigned long g_ErrorCount = 0;

int OurErrorHandler(Display* dpy, XErrorEvent* ev)
{
    if (dpy == g_OurDisplay)
    {
        ++g_ErrorCount; // BadWindow after the host destroyed its view, etc.
        return 0;
    }
    if (g_PreviousHandler)
        return g_PreviousHandler(dpy, ev);
    return 0;
}

class XGuard
{
public:
    XGuard()
    {
        if (g_GuardDepth++ == 0)
            g_PreviousHandler = XSetErrorHandler(OurErrorHandler);
    }
    ~XGuard()
    {
        if (--g_GuardDepth == 0)
        {
            XSetErrorHandler(g_PreviousHandler);
            g_PreviousHandler = nullptr;
        }
    }
    XGuard(const XGuard&) = delete;
    XGuard& operator=(const XGuard&) = delete;
};

class X11Backend;

class X11Window : public IBackendWindow
{
public:
    X11Window(X11Backend* backend, HWND wnd, AfxWndKind kind, Window window, Visual* visual,
              CSize size)
        : m_pBackend(backend), m_hWnd(wnd), m_Kind(kind), m_Window(window), m_pVisual(visual),
          m_Size(size)
    {
    }
    ~X11Window() override;

    void SetBounds(const CRect& rect) override;
    void Show(bool visible) override;
    void Present(HBITMAP backBuffer, const CRect& area) override;
    void SetFocus() override;
    void HoldKeyboard(bool hold) override;
    void GrabPointer(bool grab) override;
    void SetTitle(const char* utf8) override;
    CPoint ScreenOrigin() const override;
    CSize NativeSize() const override;
    void* NativeHandle() const override { return (void*)(uintptr_t)m_Window; }
    // Frees the cairo surface and the input context (the latter only while
    // the connection lives; a lost connection took it along).
    void ReleaseDrawing(bool connected);

    X11Backend* m_pBackend;
    HWND m_hWnd;
    AfxWndKind m_Kind;
    Window m_Window;
    Visual* m_pVisual;
    CSize m_Size;
    cairo_surface_t* m_pSurface = nullptr;
    XIC m_Ic = nullptr;
    bool m_Grabbed = false;
};

class X11Backend : public IToolkitBackend
{
public:
    ~X11Backend() override { CloseDisplay(); }
    const char* Name() const override { return "x11"; }

    IBackendWindow* CreateNative(HWND wnd, AfxWndKind kind, IBackendWindow* parent,
                                 const CRect& rect, bool visible, void* hostView) override;
    void DestroyNative(IBackendWindow* native) override;
    void DrainEvents() override;
    void WaitForEvents(int timeoutMs) override;
    uint64_t NowMs() const override
    {
        using namespace std::chrono;
        return (uint64_t)duration_cast<milliseconds>(steady_clock::now().time_since_epoch())
            .count();
    }
    CSize ScreenSize() const override
    {
        if (!Usable())
            return CSize(1920, 1080);
        int s = DefaultScreen(m_pDisplay);
        return CSize(DisplayWidth(m_pDisplay, s), DisplayHeight(m_pDisplay, s));
    }
    void AllWindowsGone() override { CloseDisplay(); }
    double DesktopScale() override;
    bool CanDeliverInput() const override { return Usable(); }
    int EventFd() const override { return Usable() ? ConnectionNumber(m_pDisplay) : -1; }

    bool Usable() const { return m_pDisplay && !m_bDead; }
    Display* Dpy() const { return m_pDisplay; }
    void Forget(X11Window* w) { m_Windows.erase(w->m_Window); }
    void HoldKeyboard(X11Window* w, bool hold);
    bool DisplayOpen() const { return m_pDisplay != nullptr; }

private:
    bool EnsureDisplay();
    void CloseDisplay();
    void Dispatch(XEvent& ev);
    X11Window* Find(Window w) const
    {
        auto it = m_Windows.find(w);
        return it == m_Windows.end() ? nullptr : it->second;
    }
    static void OnConnectionLost(Display*, void* self)
    {
        static_cast<X11Backend*>(self)->m_bDead = true;
    }
    Window TopLevelOf(Window w) const;

    Display* m_pDisplay = nullptr;
    bool m_bDead = false;
    XIM m_Im = nullptr;
    Atom m_WmProtocols = 0;
    Atom m_WmDelete = 0;
    Atom m_WmType = 0;
    Atom m_WmTypeDialog = 0;
    std::unordered_map<Window, X11Window*> m_Windows;
    // The window holding the keyboard focus for the toolkit, and the focus
    // (with its revert mode) to give back when it lets go.
    X11Window* m_pKeyboard = nullptr;
    Window m_ReturnFocus = None;
    int m_ReturnRevert = RevertToParent;
    // Double-click detection.
    Window m_LastClickWindow = 0;
    Time m_LastClickTime = 0;
    CPoint m_LastClickPoint;
    bool m_LastWasDouble = false;
};

// X11Window -----------------------------------------------------------------

X11Window::~X11Window()
{
    if (m_pSurface)
        cairo_surface_destroy(m_pSurface);
    if (m_Ic)
        XDestroyIC(m_Ic);
}

void X11Window::ReleaseDrawing(bool connected)
{
    if (m_pSurface)
        cairo_surface_destroy(m_pSurface);
    m_pSurface = nullptr;
    if (m_Ic && connected)
        XDestroyIC(m_Ic);
    m_Ic = nullptr;
}

void X11Window::SetBounds(const CRect& rect)
{
    if (!m_pBackend->Usable() || m_Kind == AFX_KIND_HOST)
        return;
    XGuard guard;
    int w = rect.Width() > 0 ? rect.Width() : 1;
    int h = rect.Height() > 0 ? rect.Height() : 1;
    XMoveResizeWindow(m_pBackend->Dpy(), m_Window, rect.left, rect.top, (unsigned)w, (unsigned)h);
    m_Size = CSize(w, h);
    if (m_pSurface)
        cairo_xlib_surface_set_size(m_pSurface, w, h);
    XFlush(m_pBackend->Dpy());
}

void X11Window::Show(bool visible)
{
    if (!m_pBackend->Usable() || m_Kind == AFX_KIND_HOST)
        return;
    XGuard guard;
    if (visible)
        XMapRaised(m_pBackend->Dpy(), m_Window);
    else
        XUnmapWindow(m_pBackend->Dpy(), m_Window);
    XFlush(m_pBackend->Dpy());
}

void X11Window::Present(HBITMAP backBuffer, const CRect& area)
{
    if (!m_pBackend->Usable() || m_Kind == AFX_KIND_HOST || !backBuffer)
        return;
    XGuard guard;
    if (!m_pSurface)
        m_pSurface =
            cairo_xlib_surface_create(m_pBackend->Dpy(), m_Window, m_pVisual, m_Size.cx, m_Size.cy);
    // The window takes the back buffer's scale, so its pixels copy 1:1.
    double k = 1.0, ky = 1.0;
    cairo_surface_get_device_scale(backBuffer, &k, &ky);
    cairo_surface_set_device_scale(m_pSurface, k, k);
    cairo_t* cr = cairo_create(m_pSurface);
    cairo_set_source_surface(cr, backBuffer, 0, 0);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_rectangle(cr, area.left / k, area.top / k, area.Width() / k, area.Height() / k);
    cairo_fill(cr);
    cairo_destroy(cr);
    cairo_surface_flush(m_pSurface);
    XFlush(m_pBackend->Dpy());
}

void X11Window::SetFocus()
{
    if (!m_pBackend->Usable() || m_Kind == AFX_KIND_HOST)
        return;
    XGuard guard;
    // Inside a host's view the keyboard stays with the host unless a window
    // holds it (HoldKeyboard): the toolkit routes keys to its own focus.
    // Pop-ups take keys through their grab; focused, they would leave the
    // focus on the root window when they close.
    HWND top = m_hWnd;
    while (top && top->parent)
        top = top->parent;
    XWindowAttributes a;
    if (m_Kind != AFX_KIND_POPUP && (!top || top->kind != AFX_KIND_HOST) &&
        XGetWindowAttributes(m_pBackend->Dpy(), m_Window, &a) && a.map_state == IsViewable)
        XSetInputFocus(m_pBackend->Dpy(), m_Window, RevertToParent, CurrentTime);
    if (m_Ic)
        XSetICFocus(m_Ic);
    XFlush(m_pBackend->Dpy());
}

void X11Window::HoldKeyboard(bool hold)
{
    m_pBackend->HoldKeyboard(this, hold);
}

void X11Window::GrabPointer(bool grab)
{
    if (!m_pBackend->Usable())
        return;
    XGuard guard;
    Display* d = m_pBackend->Dpy();
    if (grab && !m_Grabbed)
    {
        XGrabPointer(d, m_Window, False, ButtonPressMask | ButtonReleaseMask | PointerMotionMask,
                     GrabModeAsync, GrabModeAsync, None, None, CurrentTime);
        XGrabKeyboard(d, m_Window, False, GrabModeAsync, GrabModeAsync, CurrentTime);
        m_Grabbed = true;
    }
    else if (!grab && m_Grabbed)
    {
        XUngrabPointer(d, CurrentTime);
        XUngrabKeyboard(d, CurrentTime);
        m_Grabbed = false;
    }
    XFlush(d);
}

void X11Window::SetTitle(const char* utf8)
{
    if (!m_pBackend->Usable() || m_Kind != AFX_KIND_DIALOG || !utf8)
        return;
    XGuard guard;
    Display* d = m_pBackend->Dpy();
    XStoreName(d, m_Window, utf8);
    Atom netName = XInternAtom(d, "_NET_WM_NAME", False);
    Atom utf8Type = XInternAtom(d, "UTF8_STRING", False);
    XChangeProperty(d, m_Window, netName, utf8Type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(utf8), (int)std::string(utf8).size());
    XFlush(d);
}

CPoint X11Window::ScreenOrigin() const
{
    if (!m_pBackend->Usable())
        return CPoint();
    XGuard guard;
    Display* d = m_pBackend->Dpy();
    int x = 0, y = 0;
    Window child;
    if (!XTranslateCoordinates(d, m_Window, DefaultRootWindow(d), 0, 0, &x, &y, &child))
        return CPoint();
    return CPoint(x, y);
}

CSize X11Window::NativeSize() const
{
    if (!m_pBackend->Usable())
        return m_Size;
    XGuard guard;
    XWindowAttributes a;
    if (!XGetWindowAttributes(m_pBackend->Dpy(), m_Window, &a))
        return m_Size;
    return CSize(a.width, a.height);
}

// X11Backend ----------------------------------------------------------------

bool X11Backend::EnsureDisplay()
{
    if (m_pDisplay)
        return !m_bDead;
    XGuard guard;
    m_pDisplay = XOpenDisplay(nullptr);
    if (!m_pDisplay)
        return false;
    g_OurDisplay = m_pDisplay;
    m_bDead = false;
    XSetIOErrorExitHandler(m_pDisplay, &X11Backend::OnConnectionLost, this);
    m_WmProtocols = XInternAtom(m_pDisplay, "WM_PROTOCOLS", False);
    m_WmDelete = XInternAtom(m_pDisplay, "WM_DELETE_WINDOW", False);
    m_WmType = XInternAtom(m_pDisplay, "_NET_WM_WINDOW_TYPE", False);
    m_WmTypeDialog = XInternAtom(m_pDisplay, "_NET_WM_WINDOW_TYPE_DIALOG", False);
    // The input method gives UTF-8 text entry; without one, key symbols are
    // mapped to characters directly.
    m_Im = XOpenIM(m_pDisplay, nullptr, nullptr, nullptr);
    return true;
}

void X11Backend::HoldKeyboard(X11Window* w, bool hold)
{
    if (!hold && m_pKeyboard != w)
        return;
    if (!Usable())
    {
        m_pKeyboard = nullptr;
        return;
    }
    XGuard guard;
    Window focus = None;
    int revert = RevertToParent;
    XGetInputFocus(m_pDisplay, &focus, &revert);
    X11Window* current = Find(focus);
    if (hold)
    {
        // Remember the host's focus, not one of ours (when the holder changes).
        if (!m_pKeyboard && (!current || current->m_Kind == AFX_KIND_HOST))
        {
            m_ReturnFocus = focus;
            m_ReturnRevert = revert;
        }
        m_pKeyboard = w;
        XSetInputFocus(m_pDisplay, w->m_Window, RevertToParent, CurrentTime);
    }
    else
    {
        m_pKeyboard = nullptr;
        // Given back only while we still have it: a click into the host
        // since then has moved it already.
        if (current || focus == None)
            XSetInputFocus(m_pDisplay, m_ReturnFocus, m_ReturnRevert, CurrentTime);
    }
    XFlush(m_pDisplay);
}

void X11Backend::CloseDisplay()
{
    if (!m_pDisplay)
        return;
    if (m_pKeyboard)
        HoldKeyboard(m_pKeyboard, false);
    XGuard guard;
    for (auto& entry : m_Windows)
        entry.second->ReleaseDrawing(true);
    if (m_Im)
        XCloseIM(m_Im);
    m_Im = nullptr;
    XCloseDisplay(m_pDisplay);
    m_pDisplay = nullptr;
    g_OurDisplay = nullptr;
    m_bDead = false;
}

namespace
{
// Xft.dpi from the resource database as the root window holds it now (xrdb
// may have changed it since the connection opened); 0 when absent.
double ReadXftDpi(Display* d)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    if (XGetWindowProperty(d, DefaultRootWindow(d), XA_RESOURCE_MANAGER, 0, 1 << 20, False,
                           XA_STRING, &type, &format, &count, &after, &data) != Success ||
        !data)
        return 0.0;
    double dpi = 0.0;
    XrmInitialize();
    XrmDatabase db = XrmGetStringDatabase(reinterpret_cast<const char*>(data));
    char* kind = nullptr;
    XrmValue value;
    if (db && XrmGetResource(db, "Xft.dpi", "Xft.Dpi", &kind, &value) && value.addr)
        dpi = std::atof(value.addr);
    if (db)
        XrmDestroyDatabase(db);
    XFree(data);
    return dpi > 0.0 ? dpi : 0.0;
}
} // namespace

double X11Backend::DesktopScale()
{
    XGuard guard;
    if (Usable())
        return ReadXftDpi(m_pDisplay) / 96.0;
    // No window of ours yet (hosts ask for the size before opening): a
    // short-lived connection of its own.
    Display* d = XOpenDisplay(nullptr);
    if (!d)
        return 0.0;
    const double dpi = ReadXftDpi(d);
    XCloseDisplay(d);
    return dpi / 96.0;
}

Window X11Backend::TopLevelOf(Window w) const
{
    Window root = 0, parent = 0, *children = nullptr;
    unsigned n = 0;
    Window current = w;
    for (int depth = 0; depth < 64; ++depth)
    {
        if (!XQueryTree(m_pDisplay, current, &root, &parent, &children, &n))
            return 0;
        if (children)
            XFree(children);
        if (parent == root || parent == 0)
            return current;
        current = parent;
    }
    return 0;
}

IBackendWindow* X11Backend::CreateNative(HWND wnd, AfxWndKind kind, IBackendWindow* parent,
                                         const CRect& rect, bool visible, void* hostView)
{
    if (!EnsureDisplay())
        return nullptr;
    XGuard guard;
    Display* d = m_pDisplay;
    unsigned long before = g_ErrorCount;
    if (kind == AFX_KIND_HOST)
    {
        Window host = (Window)(uintptr_t)hostView;
        XWindowAttributes a;
        if (!host || !XGetWindowAttributes(d, host, &a))
            return nullptr;
        // Learn when the host resizes or destroys its view.
        XSelectInput(d, host, StructureNotifyMask);
        XSync(d, False);
        if (g_ErrorCount != before)
            return nullptr;
        X11Window* w = new X11Window(this, wnd, kind, host, a.visual, CSize(a.width, a.height));
        m_Windows[host] = w;
        return w;
    }

    long events = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask |
                  KeyPressMask | KeyReleaseMask | StructureNotifyMask | FocusChangeMask;
    XSetWindowAttributes attrs;
    attrs.background_pixmap = None; // no flashing: the back buffer covers it all
    attrs.event_mask = events;
    attrs.override_redirect = kind == AFX_KIND_POPUP ? True : False;
    attrs.save_under = kind == AFX_KIND_POPUP ? True : False;
    unsigned long mask = CWBackPixmap | CWEventMask | CWOverrideRedirect | CWSaveUnder;
    Window parentWindow = DefaultRootWindow(d);
    if (kind == AFX_KIND_CHILD)
    {
        X11Window* p = static_cast<X11Window*>(parent);
        if (!p)
            return nullptr;
        parentWindow = p->m_Window;
    }
    unsigned w = rect.Width() > 0 ? (unsigned)rect.Width() : 1u;
    unsigned h = rect.Height() > 0 ? (unsigned)rect.Height() : 1u;
    Window window;
    if (kind == AFX_KIND_CHILD)
        window = XCreateWindow(d, parentWindow, rect.left, rect.top, w, h, 0, CopyFromParent,
                               InputOutput, CopyFromParent, mask, &attrs);
    else
        window = XCreateWindow(d, parentWindow, rect.left, rect.top, w, h, 0,
                               DefaultDepth(d, DefaultScreen(d)), InputOutput,
                               DefaultVisual(d, DefaultScreen(d)), mask, &attrs);
    XSync(d, False);
    if (!window || g_ErrorCount != before)
        return nullptr;
    XWindowAttributes a;
    if (!XGetWindowAttributes(d, window, &a))
        return nullptr;

    if (kind == AFX_KIND_DIALOG)
    {
        XSetWMProtocols(d, window, &m_WmDelete, 1);
        XChangeProperty(d, window, m_WmType, XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(&m_WmTypeDialog), 1);
        if (parent)
        {
            Window top = TopLevelOf(static_cast<X11Window*>(parent)->m_Window);
            if (top)
                XSetTransientForHint(d, window, top);
        }
        XSizeHints* hints = XAllocSizeHints();
        if (hints)
        {
            hints->flags = PPosition | USPosition | PMinSize | PMaxSize;
            hints->x = rect.left;
            hints->y = rect.top;
            hints->min_width = hints->max_width = (int)w;
            hints->min_height = hints->max_height = (int)h;
            XSetWMNormalHints(d, window, hints);
            XFree(hints);
        }
    }
    X11Window* xw = new X11Window(this, wnd, kind, window, a.visual, CSize((int)w, (int)h));
    if (m_Im && kind != AFX_KIND_POPUP)
        xw->m_Ic = XCreateIC(m_Im, XNInputStyle, XIMPreeditNothing | XIMStatusNothing,
                             XNClientWindow, window, XNFocusWindow, window, nullptr);
    m_Windows[window] = xw;
    if (visible)
        XMapRaised(d, window);
    XFlush(d);
    return xw;
}

void X11Backend::DestroyNative(IBackendWindow* native)
{
    X11Window* w = static_cast<X11Window*>(native);
    if (!w)
        return;
    if (w == m_pKeyboard)
        HoldKeyboard(w, false);
    Forget(w);
    if (Usable())
    {
        XGuard guard;
        if (w->m_Grabbed)
            w->GrabPointer(false);
        w->ReleaseDrawing(true);
        if (w->m_Kind == AFX_KIND_HOST)
            XSelectInput(m_pDisplay, w->m_Window, NoEventMask);
        else
            XDestroyWindow(m_pDisplay, w->m_Window);
        XFlush(m_pDisplay);
        delete w;
    }
    else
    {
        // The connection is gone: only our own records remain to free.
        w->ReleaseDrawing(false);
        delete w;
    }
}

void X11Backend::WaitForEvents(int timeoutMs)
{
    if (!Usable())
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(timeoutMs > 0 ? timeoutMs : 1));
        return;
    }
    {
        XGuard guard;
        if (XPending(m_pDisplay) > 0)
            return;
    }
    pollfd fd{ConnectionNumber(m_pDisplay), POLLIN, 0};
    poll(&fd, 1, timeoutMs);
}

void X11Backend::DrainEvents()
{
    if (!Usable())
        return;
    XGuard guard;
    while (Usable() && XPending(m_pDisplay) > 0)
    {
        XEvent ev;
        XNextEvent(m_pDisplay, &ev);
        if (XFilterEvent(&ev, None))
            continue;
        Dispatch(ev);
    }
}

namespace
{
unsigned Modifiers(unsigned state)
{
    unsigned m = 0;
    if (state & ShiftMask)
        m |= KEYMOD_SHIFT;
    if (state & ControlMask)
        m |= KEYMOD_CONTROL;
    if (state & Mod4Mask)
        m |= KEYMOD_COMMAND;
    if (state & Mod1Mask)
        m |= KEYMOD_OPTION;
    return m;
}

UINT KeyCodeOf(KeySym sym)
{
    switch (sym)
    {
    case XK_Return:
    case XK_KP_Enter:
        return VK_RETURN_KEY;
    case XK_Escape:
        return VK_ESCAPE_KEY;
    case XK_Left:
    case XK_KP_Left:
        return VK_LEFT;
    case XK_Right:
    case XK_KP_Right:
        return VK_RIGHT;
    case XK_Up:
    case XK_KP_Up:
        return VK_UP;
    case XK_Down:
    case XK_KP_Down:
        return VK_DOWN;
    case XK_BackSpace:
        return VK_BACK;
    case XK_Tab:
    case XK_ISO_Left_Tab:
        return VK_TAB;
    case XK_Delete:
    case XK_KP_Delete:
        return VK_DELETE_KEY;
    case XK_Home:
    case XK_KP_Home:
        return VK_HOME_KEY;
    case XK_End:
    case XK_KP_End:
        return VK_END_KEY;
    case XK_Shift_L:
    case XK_Shift_R:
        return VK_SHIFT;
    case XK_Control_L:
    case XK_Control_R:
        return VK_CONTROL;
    default:
        // Printable keys arrive as WM_CHAR only: their ASCII codes would clash
        // with the key codes above ('5' is 53, the Escape key).
        return 0;
    }
}

unsigned ModifierBitOf(KeySym sym)
{
    switch (sym)
    {
    case XK_Shift_L:
    case XK_Shift_R:
        return KEYMOD_SHIFT;
    case XK_Control_L:
    case XK_Control_R:
        return KEYMOD_CONTROL;
    case XK_Super_L:
    case XK_Super_R:
        return KEYMOD_COMMAND;
    case XK_Alt_L:
    case XK_Alt_R:
        return KEYMOD_OPTION;
    default:
        return 0;
    }
}

// Decodes UTF-8 into code points.
std::u32string DecodeUtf8(const char* s, int n)
{
    std::u32string out;
    int i = 0;
    while (i < n)
    {
        unsigned char c = (unsigned char)s[i];
        char32_t cp;
        int len;
        if (c < 0x80)
            cp = c, len = 1;
        else if ((c & 0xE0) == 0xC0)
            cp = c & 0x1F, len = 2;
        else if ((c & 0xF0) == 0xE0)
            cp = c & 0x0F, len = 3;
        else if ((c & 0xF8) == 0xF0)
            cp = c & 0x07, len = 4;
        else
        {
            ++i;
            continue;
        }
        if (i + len > n)
            break;
        for (int k = 1; k < len; ++k)
            cp = (cp << 6) | ((unsigned char)s[i + k] & 0x3F);
        out.push_back(cp);
        i += len;
    }
    return out;
}
} // namespace

void X11Backend::Dispatch(XEvent& ev)
{
    X11Window* w = Find(ev.xany.window);
    if (!w)
        return;
    HWND wnd = w->m_hWnd;
    switch (ev.type)
    {
    case Expose:
        AfxImpl::DeliverExpose(wnd,
                               CRect(ev.xexpose.x, ev.xexpose.y, ev.xexpose.x + ev.xexpose.width,
                                     ev.xexpose.y + ev.xexpose.height));
        break;
    case ButtonPress:
    {
        unsigned mods = Modifiers(ev.xbutton.state);
        CPoint p(ev.xbutton.x, ev.xbutton.y);
        if (ev.xbutton.button == Button1)
        {
            bool dbl = !m_LastWasDouble && ev.xbutton.window == m_LastClickWindow &&
                       ev.xbutton.time - m_LastClickTime <= 400 &&
                       std::abs(p.x - m_LastClickPoint.x) <= 4 &&
                       std::abs(p.y - m_LastClickPoint.y) <= 4;
            m_LastWasDouble = dbl;
            m_LastClickWindow = ev.xbutton.window;
            m_LastClickTime = ev.xbutton.time;
            m_LastClickPoint = p;
            AfxImpl::DeliverMouse(wnd, WM_LBUTTONDOWN, p, mods, dbl);
        }
        else if (ev.xbutton.button == Button3)
        {
            AfxImpl::DeliverMouse(wnd, WM_RBUTTONDOWN, p, mods, false);
        }
        break;
    }
    case ButtonRelease:
        if (ev.xbutton.button == Button1)
            AfxImpl::DeliverMouse(wnd, WM_LBUTTONUP, CPoint(ev.xbutton.x, ev.xbutton.y),
                                  Modifiers(ev.xbutton.state), false);
        else if (ev.xbutton.button == Button3)
            AfxImpl::DeliverMouse(wnd, WM_RBUTTONUP, CPoint(ev.xbutton.x, ev.xbutton.y),
                                  Modifiers(ev.xbutton.state), false);
        break;
    case MotionNotify:
    {
        // Only the latest position of a burst matters; a burst ends at any
        // other event (a press between two moves keeps its place).
        while (XPending(m_pDisplay) > 0)
        {
            XEvent next;
            XPeekEvent(m_pDisplay, &next);
            if (next.type != MotionNotify || next.xmotion.window != ev.xmotion.window)
                break;
            XNextEvent(m_pDisplay, &ev);
        }
        AfxImpl::DeliverMouse(wnd, WM_MOUSEMOVE, CPoint(ev.xmotion.x, ev.xmotion.y),
                              Modifiers(ev.xmotion.state), false);
        break;
    }
    case KeyPress:
    case KeyRelease:
    {
        bool down = ev.type == KeyPress;
        char text[64];
        KeySym sym = NoSymbol;
        int n = 0;
        if (down && w->m_Ic)
        {
            Status status = 0;
            n = Xutf8LookupString(w->m_Ic, &ev.xkey, text, (int)sizeof(text) - 1, &sym, &status);
            if (status == XBufferOverflow || status == XLookupNone)
                n = 0;
            if (status == XLookupChars)
                sym = NoSymbol;
        }
        else
        {
            n = XLookupString(&ev.xkey, text, (int)sizeof(text) - 1, &sym, nullptr);
            if (down && n > 0)
            {
                // Latin-1 from XLookupString: re-encode as UTF-8.
                std::string utf8;
                for (int i = 0; i < n; ++i)
                {
                    unsigned char c = (unsigned char)text[i];
                    if (c < 0x80)
                        utf8 += (char)c;
                    else
                    {
                        utf8 += (char)(0xC0 | (c >> 6));
                        utf8 += (char)(0x80 | (c & 0x3F));
                    }
                }
                n = (int)std::min(utf8.size(), sizeof(text) - 1);
                utf8.copy(text, (size_t)n);
            }
            if (!down)
                n = 0;
        }
        unsigned mods = Modifiers(ev.xkey.state);
        unsigned bit = ModifierBitOf(sym);
        if (bit)
            mods = down ? (mods | bit) : (mods & ~bit);
        UINT code = KeyCodeOf(sym);
        if (code)
            AfxImpl::DeliverKey(wnd, code, mods, down);
        else
            SetKeyModifierState(mods);
        if (!down || !Usable() || !AfxImpl::IsAlive(wnd))
            break;
        // Characters: typed text, and the control characters of the editing keys.
        if (code == VK_RETURN_KEY)
            AfxImpl::DeliverChar(wnd, 13, mods);
        else if (code == VK_ESCAPE_KEY)
            AfxImpl::DeliverChar(wnd, 27, mods);
        else if (code == VK_BACK)
            AfxImpl::DeliverChar(wnd, 8, mods);
        else if (n > 0 && !(mods & KEYMOD_CONTROL))
        {
            for (char32_t cp : DecodeUtf8(text, n))
            {
                if (cp >= 0x20 && cp != 0x7F && AfxImpl::IsAlive(wnd))
                    AfxImpl::DeliverChar(wnd, (UINT)cp, mods);
            }
        }
        break;
    }
    case ClientMessage:
        if (ev.xclient.message_type == m_WmProtocols && (Atom)ev.xclient.data.l[0] == m_WmDelete)
            AfxImpl::DeliverClose(wnd);
        break;
    case DestroyNotify:
        // Our window (or the host's view) died without us destroying it.
        if (ev.xdestroywindow.window == w->m_Window)
            AfxImpl::DeliverNativeGone(wnd);
        break;
    case ConfigureNotify:
        if (w->m_Kind == AFX_KIND_HOST && ev.xconfigure.window == w->m_Window)
            AfxImpl::DeliverHostResize(wnd, CSize(ev.xconfigure.width, ev.xconfigure.height));
        break;
    case MapNotify:
        // A window manager maps a top-level window after it asked for the
        // keyboard (the focus cannot go to an unmapped window): now it can.
        if (w == m_pKeyboard && ev.xmap.window == w->m_Window)
            XSetInputFocus(m_pDisplay, w->m_Window, RevertToParent, CurrentTime);
        break;
    case MappingNotify:
        XRefreshKeyboardMapping(&ev.xmapping);
        break;
    default:
        break;
    }
}
} // namespace

IToolkitBackend* AfxCreateX11Backend()
{
    return new X11Backend;
}

bool AfxX11ErrorHandlerInstalled()
{
    XErrorHandler current = XSetErrorHandler(nullptr);
    XSetErrorHandler(current);
    return current == OurErrorHandler;
}

bool AfxX11DisplayOpen()
{
    return g_OurDisplay != nullptr;
}
