// A window: a rectangle of its parent with its own message map, back buffer,
// timers and children. Every window is a native window of the chosen backend
// (an X11 child window, or an off-screen record in the headless backend).
// All members run on the user-interface thread only.
#pragma once

#include "CCmdTarget.h"

class CDC;
class CFont;
class CDataExchange;

class CWnd : public CCmdTarget
{
public:
    CWnd();
    ~CWnd() override; // destroys the window if it still exists

    // The window record; null before Create and after DestroyWindow.
    HWND m_hWnd = nullptr;
    HWND GetSafeHwnd() const { return m_hWnd; }

    // Creates a child window of `parent` (or a top-level one when parent is
    // null) at `rect` in the parent's client coordinates; visible when the
    // style has WS_VISIBLE. Sends WM_CREATE before returning; a handler that
    // returns -1 makes Create fail (the window is destroyed again).
    // className is a name from AfxRegisterWndClass, a control class
    // ("EDIT", "BUTTON", "COMBOBOX", "STATIC", "msctls_updown32") or null.
    virtual BOOL Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect,
                        CWnd* parent, UINT id, void* context = nullptr);
    // Sends WM_DESTROY (parent first, then children), destroys the native
    // window, clears m_hWnd, then calls PostNcDestroy.
    virtual BOOL DestroyWindow();
    virtual void PostNcDestroy() {}

    // The native view: for a window attached to a host view (CFrameWnd) the
    // view itself; otherwise the backend's native window (an X11 Window id
    // on x11, cast to a pointer), or null.
    void* GetNativeView() const;

    // Messages. SendMessage dispatches at once through the message map;
    // PostMessage queues the message for the next pump.
    LRESULT SendMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    BOOL PostMessage(UINT message, WPARAM wParam = 0, LPARAM lParam = 0);
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    virtual LRESULT DefWindowProc(UINT message, WPARAM wParam, LPARAM lParam);
    // Called for each input message before dispatch, on the target and then
    // its ancestors; return TRUE to consume the message.
    virtual BOOL PreTranslateMessage(UINT message, WPARAM wParam, LPARAM lParam);

    // Painting. The invalid area is painted at the next pump as WM_PAINT;
    // with erase set and a class brush, the area is filled with it first.
    void InvalidateRect(LPCRECT rect, BOOL erase = TRUE);
    void Invalidate(BOOL erase = TRUE);
    void ValidateRect(LPCRECT rect);
    void UpdateWindow(); // paints now if anything is invalid
    BOOL GetUpdateRect(LPRECT rect) const;

    // Geometry. Client rectangles start at (0, 0); window rectangles are in
    // screen coordinates.
    void GetClientRect(LPRECT rect) const;
    void GetWindowRect(LPRECT rect) const;
    void ClientToScreen(LPPOINT point) const;
    void ClientToScreen(LPRECT rect) const;
    void ScreenToClient(LPPOINT point) const;
    void ScreenToClient(LPRECT rect) const;

    virtual BOOL ShowWindow(int cmdShow);
    BOOL IsWindowVisible() const; // visible itself and all its ancestors
    virtual void MoveWindow(int x, int y, int width, int height, BOOL repaint = TRUE);
    void MoveWindow(LPCRECT rect, BOOL repaint = TRUE);
    virtual BOOL SetWindowPos(const CWnd* insertAfter, int x, int y, int cx, int cy, UINT flags);
    BOOL EnableWindow(BOOL enable = TRUE);
    BOOL IsWindowEnabled() const;

    // Keyboard focus and mouse capture. The capture receives every mouse
    // move and the release, in its own client coordinates, until released.
    CWnd* SetFocus();
    // Holds the window system's keyboard focus (for a window inside a host's
    // view, which the host may send no keys) until released, hidden or
    // destroyed; the focus then goes back where it was.
    void HoldKeyboard(bool hold);
    static CWnd* GetFocus();
    CWnd* SetCapture();
    static CWnd* GetCapture();
    void ReleaseCapture();

    // A repeating timer fired from the event pump: WM_TIMER with the id, or
    // the callback when one is given. Setting an id again restarts it.
    UINT_PTR SetTimer(UINT_PTR id, UINT elapseMs, TIMERPROC callback = nullptr);
    BOOL KillTimer(UINT_PTR id);

    // Family.
    CWnd* GetParent() const;
    CWnd* GetDlgItem(int id) const;
    int GetDlgCtrlID() const;
    DWORD GetStyle() const;

    // Text and font.
    void SetWindowText(LPCTSTR text);
    int GetWindowText(LPTSTR buffer, int maxCount) const;
    void GetWindowText(CString& text) const;
    int GetWindowTextLength() const;
    void SetDlgItemText(int id, LPCTSTR text);
    int GetDlgItemText(int id, CString& text) const;
    void SetFont(CFont* font, BOOL redraw = TRUE);
    CFont* GetFont() const;

    // Dialog data exchange (DDX_Control and friends).
    virtual void DoDataExchange(CDataExchange* dx);
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    // A modal box drawn by the toolkit; returns IDOK, IDCANCEL, IDYES or IDNO.
    int MessageBox(LPCTSTR text, LPCTSTR caption = nullptr, UINT type = MB_OK);

    // The class name reported for this window class.
    virtual LPCTSTR GetClassName() const { return "CWnd"; }

    // Default handlers, called by derived handlers first where they wish.
    int OnCreate(LPCREATESTRUCT cs);
    void OnDestroy();
    void OnPaint();
    void OnClose();
    void OnSize(UINT type, int cx, int cy);
    void OnTimer(UINT_PTR id);
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);
    void OnKeyUp(UINT keyCode, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);
    void OnMouseMove(UINT flags, CPoint point);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnLButtonDblClk(UINT flags, CPoint point);
    void OnSetFocus(CWnd* oldWnd);
    void OnKillFocus(CWnd* newWnd);

    DECLARE_MESSAGE_MAP()
};

// Registers a window class and returns its name (stable for the process).
// style: CS_DBLCLKS enables WM_LBUTTONDBLCLK; brush: erase colour, or the
// null brush (or 0) for none.
LPCTSTR AfxRegisterWndClass(UINT classStyle, HCURSOR cursor = nullptr, HBRUSH background = nullptr,
                            HICON icon = nullptr);

// Releases the mouse capture, whichever window holds it.
BOOL ReleaseCapture();

// A modal box over the active window; see CWnd::MessageBox.
int AfxMessageBox(LPCTSTR text, UINT type = MB_OK, UINT helpId = 0);
