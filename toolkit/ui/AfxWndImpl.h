// Toolkit-internal window record (what an HWND points to), the shared state
// of the toolkit, and the entry points through which backends deliver native
// events. Not for the editor.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "CDC.h"
#include "CWnd.h"
#include "IToolkitBackend.h"

struct AfxTimer
{
    UINT_PTR id;
    UINT periodMs;
    uint64_t dueMs;
    TIMERPROC callback;
};

struct AfxWndClass
{
    CString name;
    UINT style = 0;
    HBRUSH brush = nullptr;
};

struct AFX_WND
{
    CWnd* pWnd = nullptr;
    AFX_WND* parent = nullptr;
    std::vector<AFX_WND*> children;
    AfxWndKind kind = AFX_KIND_CHILD;
    CRect rect; // parent client coordinates; screen for top-level kinds
    bool visible = false;
    bool enabled = true;
    bool destroying = false;
    bool nativeGone = false; // the window system destroyed it under us
    DWORD style = 0;
    UINT id = 0;
    const AfxWndClass* wndClass = nullptr;
    CString text;
    CFont* font = nullptr;
    HBITMAP back = nullptr; // client-sized ARGB32 image
    CRect dirty;            // invalid area, client coordinates (empty: none)
    bool eraseDirty = false;
    int paintCount = 0;
    std::vector<AfxTimer> timers;
    IBackendWindow* native = nullptr;
    void* hostView = nullptr;
};

struct AfxPosted
{
    AFX_WND* wnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};

struct AfxState
{
    std::unique_ptr<IToolkitBackend> backend;
    std::vector<AFX_WND*> windows;
    std::deque<AfxPosted> posted;
    std::deque<AfxWndClass> classes;
    std::vector<AFX_WND*> modalStack;
    AFX_WND* focus = nullptr;
    AFX_WND* capture = nullptr;
    AFX_WND* keyboard = nullptr; // holds the window system's keyboard focus
    bool buttonDown = false;
    std::function<void(CWnd*)> modalHook;
    UINT pickMenuId = 0;
    bool pickMenuArmed = false;
    // Device pixels per window pixel for every window (CToolkit::SetScale).
    double scale = 1.0;
};

namespace AfxImpl
{
AfxState& State();
IToolkitBackend* Backend(); // chooses one on first use

// Window records.
AFX_WND* CreateRecord(CWnd* wnd, AfxWndKind kind, AFX_WND* parent, const CRect& rect, DWORD style,
                      UINT id, const AfxWndClass* wndClass, LPCTSTR text, void* hostView);
void DestroyRecord(AFX_WND* wnd);
bool IsAlive(const AFX_WND* wnd);
bool IsVisible(const AFX_WND* wnd); // itself and all ancestors
bool IsInside(const AFX_WND* wnd, const AFX_WND* ancestor);
// Makes sure a host record has its native window (re-created after the
// display was closed).
IBackendWindow* EnsureNative(AFX_WND* wnd);
void ResizeBackBuffer(AFX_WND* wnd, CSize size);
const AfxWndClass* FindClass(LPCTSTR name);

// Input from a backend. `wnd` is the native window the event arrived in;
// points, areas and sizes are in its device pixels (divided by the scale
// here). Routing (capture, modal filtering, pre-translation) happens here.
void DeliverMouse(AFX_WND* wnd, UINT message, CPoint point, unsigned modifiers, bool doubleClick);
void DeliverKey(AFX_WND* wnd, UINT keyCode, unsigned modifiers, bool down);
void DeliverChar(AFX_WND* wnd, UINT codePoint, unsigned modifiers);
void DeliverExpose(AFX_WND* wnd, const CRect& area);
void DeliverClose(AFX_WND* wnd);
void DeliverNativeGone(AFX_WND* wnd); // the window system destroyed the window
void DeliverHostResize(AFX_WND* wnd, CSize size);

// Deepest visible window under a client point of `wnd` (null if the point is
// outside); `local` receives the point in its coordinates.
AFX_WND* HitTest(AFX_WND* wnd, CPoint point, CPoint* local);
CPoint ScreenOrigin(const AFX_WND* wnd);
// Copies the back buffer area to the screen.
void Present(AFX_WND* wnd, const CRect& area);
void PaintWindow(AFX_WND* wnd);

// Window pixels <-> device pixels at the toolkit's scale. Edges round to the
// nearest device pixel; the outward forms cover every device pixel a window
// rectangle touches (for invalid areas and clips).
CRect ToDevice(const CRect& rect);
CRect ToDeviceOut(const CRect& rect);
CSize ToDevice(CSize size);
CPoint ToWindow(CPoint devicePoint);
CRect ToWindowOut(const CRect& deviceRect);
CSize ToWindow(CSize deviceSize);

// Fills a rectangle of an image with an opaque colour (0x00BBGGRR).
void FillImage(HBITMAP image, const CRect& rect, COLORREF color);
COLORREF BrushColor(HBRUSH brush, bool* isNull);

// Default GUI font for the toolkit's own controls (12 px sans).
CFont* DefaultFont();
// Painting of the toolkit's own controls: the client rectangle of `wnd`
// filled, then framed light/dark (returns the rectangle), and text in `color`
// with the window's font (the default font when it has none).
CRect PaintFace(CDC& dc, CWnd* wnd, COLORREF fill);
CRect PaintFace(CDC& dc, CWnd* wnd, COLORREF fill, COLORREF topLeft, COLORREF bottomRight);
void UseControlText(CDC& dc, CWnd* wnd, COLORREF color);

// Headless modal hook; false when no hook is set.
bool CallModalHook(CWnd* modal);
} // namespace AfxImpl
