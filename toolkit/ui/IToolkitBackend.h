// The interface between the toolkit and a window system. The toolkit keeps
// all window state (tree, geometry, back buffers, timers, focus, capture);
// a backend only mirrors windows natively, shows back buffers, and reports
// input through the CToolkit::Deliver* hooks of AfxWndImpl.h. Everything a
// backend sees or reports is in device pixels (the toolkit scales).
#pragma once

#include <cstdint>

#include "AfxDefs.h"

// What a window is to the window system.
enum AfxWndKind
{
    AFX_KIND_CHILD,  // child of its parent window
    AFX_KIND_DIALOG, // top-level window managed by the window manager
    AFX_KIND_POPUP,  // top-level, override-redirect (menus, drop-down lists)
    AFX_KIND_HOST    // a native view owned by the host (CFrameWnd)
};

class IBackendWindow
{
public:
    virtual ~IBackendWindow() = default;
    // rect: in the parent's client coordinates (screen for top-level kinds).
    virtual void SetBounds(const CRect& rect) = 0;
    virtual void Show(bool visible) = 0;
    // Copies `area` (client device pixels) of the back buffer to the screen;
    // the back buffer carries its scale as its cairo device scale.
    virtual void Present(HBITMAP backBuffer, const CRect& area) = 0;
    virtual void SetFocus() = 0;
    // Window-system keyboard focus for a window inside a host's view (hosts
    // may forward no keys): taken while held, then given back to the window
    // that had it before.
    virtual void HoldKeyboard(bool hold) { (void)hold; }
    // Pointer grab for pop-ups: clicks outside them still reach them.
    virtual void GrabPointer(bool grab) = 0;
    virtual void SetTitle(const char* utf8) = 0;
    // Top-left corner of the client area in screen coordinates.
    virtual CPoint ScreenOrigin() const = 0;
    // Size of the native window (host views: as the host made it).
    virtual CSize NativeSize() const = 0;
    virtual void* NativeHandle() const = 0;
};

class IToolkitBackend
{
public:
    virtual ~IToolkitBackend() = default;
    virtual const char* Name() const = 0;
    // Creates the native mirror of `wnd` (null on failure, e.g. no display).
    // For AFX_KIND_HOST, hostView is the host's native view.
    virtual IBackendWindow* CreateNative(HWND wnd, AfxWndKind kind, IBackendWindow* parent,
                                         const CRect& rect, bool visible, void* hostView) = 0;
    // Destroys a native window (the host's view itself is never destroyed).
    virtual void DestroyNative(IBackendWindow* native) = 0;
    // Reads and dispatches every pending native event; never blocks.
    virtual void DrainEvents() = 0;
    // Blocks until a native event may be pending or timeoutMs passes.
    virtual void WaitForEvents(int timeoutMs) = 0;
    virtual uint64_t NowMs() const = 0;
    virtual CSize ScreenSize() const = 0;
    // Device pixels per window pixel the desktop asks for (X11: Xft.dpi / 96
    // from the resource database), 0 when it says nothing.
    virtual double DesktopScale() { return 0.0; }
    // Called when the last toolkit window is gone (x11 closes its display).
    virtual void AllWindowsGone() {}
    // False when no window system can deliver input (no display, or the
    // connection was lost): modal loops then end at once instead of waiting.
    virtual bool CanDeliverInput() const { return true; }
    // The descriptor that becomes readable when native events arrive (the X
    // connection), for hosts that watch it; -1 when there is none.
    virtual int EventFd() const { return -1; }
};
