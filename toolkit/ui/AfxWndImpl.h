// Toolkit-internal window record (what an HWND points to) and the entry
// points through which backends deliver native events. Not for the editor.
#pragma once

#include <vector>

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

namespace AfxImpl
{
// Input from a backend. `wnd` is the native window the event arrived in and
// `point` is in its client coordinates. Routing (capture, modal filtering,
// pre-translation) happens here.
void DeliverMouse(AFX_WND* wnd, UINT message, CPoint point, unsigned modifiers, bool doubleClick);
void DeliverKey(AFX_WND* wnd, UINT keyCode, unsigned modifiers, bool down);
void DeliverChar(AFX_WND* wnd, UINT codePoint, unsigned modifiers);
void DeliverExpose(AFX_WND* wnd, const CRect& area);
void DeliverClose(AFX_WND* wnd);
void DeliverNativeGone(AFX_WND* wnd); // the window system destroyed the window
void DeliverHostResize(AFX_WND* wnd, CSize size);

// Windows by native handle, for backends.
const std::vector<AFX_WND*>& AllWindows();
bool IsAlive(const AFX_WND* wnd);

// Deepest visible, enabled window under a client point of `wnd`.
AFX_WND* HitTest(AFX_WND* wnd, CPoint point, CPoint* local);
CPoint ScreenOrigin(const AFX_WND* wnd);
// Presents the back buffer area to the screen.
void Present(AFX_WND* wnd, const CRect& area);
void MarkPainted(AFX_WND* wnd);

// Fills a rectangle of an image with a colour (0x00BBGGRR, opaque).
void FillImage(HBITMAP image, const CRect& rect, COLORREF color);

// Default GUI font for the toolkit's own controls.
CFont* DefaultFont();

// Headless modal hook (called each modal loop turn) and its owner flags.
bool CallModalHook(CWnd* modal);
} // namespace AfxImpl
