// CWnd: window creation and destruction, message dispatch, invalidation,
// geometry, focus, capture and timers over the toolkit's window records.
#include "CWnd.h"

#include <algorithm>
#include <cairo.h>
#include <cstring>

#include "AfxWndImpl.h"
#include "CDC.h"
#include "CDialog.h"
#include "CToolkit.h"

using namespace AfxImpl;

// Gives the window system's keyboard focus back when its holder is `root` or
// inside it.
static void ReleaseKeyboardInside(AFX_WND* root)
{
    AfxState& s = State();
    AFX_WND* holder = s.keyboard;
    if (!holder || !IsInside(holder, root))
        return;
    s.keyboard = nullptr;
    if (holder->native && !holder->nativeGone)
        holder->native->HoldKeyboard(false);
}

BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
END_MESSAGE_MAP()

CWnd::CWnd() = default;

CWnd::~CWnd()
{
    if (m_hWnd)
        DestroyWindow();
}

BOOL CWnd::Create(LPCTSTR className, LPCTSTR windowName, DWORD style, const RECT& rect,
                  CWnd* parent, UINT id, void*)
{
    if (m_hWnd)
        return FALSE;
    AfxWndKind kind;
    AFX_WND* parentRec = parent ? parent->m_hWnd : nullptr;
    if (style & WS_CHILD)
    {
        if (!parentRec)
            return FALSE;
        kind = AFX_KIND_CHILD;
    }
    else
    {
        kind = (style & WS_POPUP) && !(style & WS_CAPTION) ? AFX_KIND_POPUP : AFX_KIND_DIALOG;
    }
    CRect r;
    r.CopyRectWin(&rect);
    if (r.right < r.left)
        r.right = r.left;
    if (r.bottom < r.top)
        r.bottom = r.top;
    m_hWnd = CreateRecord(this, kind, parentRec, r, style, id, FindClass(className), windowName,
                          nullptr);
    AFX_WND* self = m_hWnd;

    CREATESTRUCT cs;
    cs.hwndParent = parentRec;
    cs.id = id;
    cs.x = r.left;
    cs.y = r.top;
    cs.cx = r.Width();
    cs.cy = r.Height();
    cs.style = style;
    cs.lpszName = windowName;
    cs.lpszClass = className;
    if (SendMessage(WM_CREATE, 0, (LPARAM)&cs) == -1)
    {
        if (IsAlive(self))
            DestroyWindow();
        return FALSE;
    }
    if (!IsAlive(self))
        return FALSE;
    SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(r.Width(), r.Height()));
    if (IsAlive(self) && self->visible)
        Invalidate(TRUE);
    return IsAlive(self) ? TRUE : FALSE;
}

BOOL CWnd::DestroyWindow()
{
    AFX_WND* self = m_hWnd;
    if (!self || self->destroying)
        return FALSE;
    self->destroying = true;
    AfxState& s = State();
    if (s.capture && IsInside(s.capture, self))
        s.capture = nullptr;
    if (s.focus && IsInside(s.focus, self))
        s.focus = nullptr;
    ReleaseKeyboardInside(self);
    SendMessage(WM_DESTROY);
    // Children go after their parent has seen WM_DESTROY.
    while (!self->children.empty())
    {
        AFX_WND* child = self->children.back();
        if (child->destroying || !child->pWnd->DestroyWindow())
        {
            // Already on its way out: just detach it.
            child->parent = nullptr;
            self->children.pop_back();
        }
    }
    self->timers.clear();
    DestroyRecord(self);
    m_hWnd = nullptr;
    PostNcDestroy();
    return TRUE;
}

void* CWnd::GetNativeView() const
{
    if (!m_hWnd)
        return nullptr;
    if (m_hWnd->kind == AFX_KIND_HOST)
        return m_hWnd->hostView;
    return m_hWnd->native ? m_hWnd->native->NativeHandle() : nullptr;
}

// Messages ------------------------------------------------------------------

LRESULT CWnd::SendMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (!m_hWnd && message != WM_CREATE)
        return 0;
    return WindowProc(message, wParam, lParam);
}

BOOL CWnd::PostMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    if (!m_hWnd)
        return FALSE;
    State().posted.push_back(AfxPosted{m_hWnd, message, wParam, lParam});
    return TRUE;
}

LRESULT CWnd::WindowProc(UINT message, WPARAM wParam, LPARAM lParam)
{
    LRESULT result = 0;
    if (OnWndMsg(message, wParam, lParam, &result))
        return result;
    return DefWindowProc(message, wParam, lParam);
}

LRESULT CWnd::DefWindowProc(UINT message, WPARAM, LPARAM lParam)
{
    switch (message)
    {
    case WM_PAINT:
    {
        CPaintDC dc(this); // validates
        return 0;
    }
    case WM_CLOSE:
        DestroyWindow();
        return 0;
    case WM_SETTEXT:
        if (m_hWnd)
        {
            m_hWnd->text = (LPCTSTR)lParam;
            Invalidate(TRUE);
        }
        return TRUE;
    default:
        return 0;
    }
}

BOOL CWnd::PreTranslateMessage(UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// Painting ------------------------------------------------------------------

void CWnd::InvalidateRect(LPCRECT rect, BOOL erase)
{
    if (!m_hWnd)
        return;
    CRect client(0, 0, m_hWnd->rect.Width(), m_hWnd->rect.Height());
    CRect r = client;
    if (rect)
    {
        CRect given;
        given.CopyRectWin(rect);
        if (!r.IntersectRect(given, client))
            return;
    }
    m_hWnd->dirty.UnionRect(m_hWnd->dirty, r);
    if (erase)
        m_hWnd->eraseDirty = true;
}

void CWnd::Invalidate(BOOL erase)
{
    InvalidateRect(nullptr, erase);
}

void CWnd::ValidateRect(LPCRECT rect)
{
    if (!m_hWnd)
        return;
    if (!rect)
    {
        m_hWnd->dirty.SetRectEmpty();
        m_hWnd->eraseDirty = false;
        return;
    }
    // A rectangle covering the whole invalid area validates it; partial
    // validation keeps the bounding box (painting a bit more is harmless).
    CRect r;
    r.CopyRectWin(rect);
    CRect both;
    both.UnionRect(r, m_hWnd->dirty);
    if (both == r)
    {
        m_hWnd->dirty.SetRectEmpty();
        m_hWnd->eraseDirty = false;
    }
}

void CWnd::UpdateWindow()
{
    if (m_hWnd && !m_hWnd->dirty.IsRectEmpty() && IsVisible(m_hWnd))
        PaintWindow(m_hWnd);
}

BOOL CWnd::GetUpdateRect(LPRECT rect) const
{
    if (!m_hWnd)
        return FALSE;
    if (rect)
        *rect = m_hWnd->dirty;
    return m_hWnd->dirty.IsRectEmpty() ? FALSE : TRUE;
}

// Geometry ------------------------------------------------------------------

void CWnd::GetClientRect(LPRECT rect) const
{
    if (rect)
        *rect = m_hWnd ? CRect(0, 0, m_hWnd->rect.Width(), m_hWnd->rect.Height()) : CRect();
}

void CWnd::GetWindowRect(LPRECT rect) const
{
    GetClientRect(rect);
    ClientToScreen(rect);
}

void CWnd::ClientToScreen(LPPOINT point) const
{
    if (!point || !m_hWnd)
        return;
    CPoint o = ScreenOrigin(m_hWnd);
    point->x += o.x;
    point->y += o.y;
}

void CWnd::ClientToScreen(LPRECT rect) const
{
    if (!rect || !m_hWnd)
        return;
    CPoint o = ScreenOrigin(m_hWnd);
    *rect = CRect(rect->left + o.x, rect->top + o.y, rect->right + o.x, rect->bottom + o.y);
}

void CWnd::ScreenToClient(LPPOINT point) const
{
    if (!point || !m_hWnd)
        return;
    CPoint o = ScreenOrigin(m_hWnd);
    point->x -= o.x;
    point->y -= o.y;
}

void CWnd::ScreenToClient(LPRECT rect) const
{
    if (!rect || !m_hWnd)
        return;
    CPoint o = ScreenOrigin(m_hWnd);
    *rect = CRect(rect->left - o.x, rect->top - o.y, rect->right - o.x, rect->bottom - o.y);
}

BOOL CWnd::ShowWindow(int cmdShow)
{
    if (!m_hWnd)
        return FALSE;
    bool was = m_hWnd->visible;
    bool show = cmdShow != SW_HIDE;
    if (was == show)
        return was;
    if (!show)
        ReleaseKeyboardInside(m_hWnd);
    m_hWnd->visible = show;
    if (show)
        m_hWnd->style |= WS_VISIBLE;
    else
        m_hWnd->style &= ~(DWORD)WS_VISIBLE;
    if (m_hWnd->native && !m_hWnd->nativeGone)
        m_hWnd->native->Show(show);
    if (show)
    {
        // Everything inside becomes visible again and needs painting.
        std::vector<AFX_WND*> stack{m_hWnd};
        while (!stack.empty())
        {
            AFX_WND* w = stack.back();
            stack.pop_back();
            if (w->visible)
            {
                w->pWnd->Invalidate(FALSE);
                for (AFX_WND* c : w->children)
                    if (c->kind == AFX_KIND_CHILD)
                        stack.push_back(c);
            }
        }
    }
    else
    {
        AfxState& s = State();
        if (s.focus && IsInside(s.focus, m_hWnd))
            s.focus = nullptr;
        if (s.capture && IsInside(s.capture, m_hWnd))
            s.capture = nullptr;
        if (m_hWnd->parent && m_hWnd->kind == AFX_KIND_CHILD)
        {
            // Headless parents show what was under the child on next paint.
            CRect r = m_hWnd->rect;
            m_hWnd->parent->pWnd->InvalidateRect(&r, TRUE);
        }
    }
    SendMessage(WM_SHOWWINDOW, show ? TRUE : FALSE, 0);
    return was;
}

BOOL CWnd::IsWindowVisible() const
{
    return m_hWnd && IsVisible(m_hWnd) ? TRUE : FALSE;
}

void CWnd::MoveWindow(int x, int y, int width, int height, BOOL repaint)
{
    SetWindowPos(nullptr, x, y, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE | (repaint ? 0 : SWP_NOREDRAW));
}

void CWnd::MoveWindow(LPCRECT rect, BOOL repaint)
{
    if (rect)
        MoveWindow(rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top,
                   repaint);
}

BOOL CWnd::SetWindowPos(const CWnd*, int x, int y, int cx, int cy, UINT flags)
{
    if (!m_hWnd)
        return FALSE;
    AFX_WND* w = m_hWnd;
    CRect old = w->rect;
    CRect r = old;
    if (!(flags & SWP_NOMOVE))
        r.SetRectWin(x, y, x + r.Width(), y + r.Height());
    if (!(flags & SWP_NOSIZE))
        r.right = r.left + std::max(cx, 0), r.bottom = r.top + std::max(cy, 0);
    bool moved = r.TopLeft() != old.TopLeft();
    bool sized = r.Size().cx != old.Width() || r.Size().cy != old.Height();
    if (moved || sized)
    {
        w->rect = r;
        if (sized)
            ResizeBackBuffer(w, r.Size());
        if (w->native && !w->nativeGone && w->kind != AFX_KIND_HOST)
            w->native->SetBounds(ToDevice(r));
        if (w->parent && w->kind == AFX_KIND_CHILD && !(flags & SWP_NOREDRAW))
            w->parent->pWnd->InvalidateRect(&old, TRUE);
        if (sized)
            SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(r.Width(), r.Height()));
        if (IsAlive(w) && !(flags & SWP_NOREDRAW))
            Invalidate(TRUE);
    }
    if (!IsAlive(w))
        return FALSE;
    if (flags & SWP_SHOWWINDOW)
        ShowWindow(SW_SHOW);
    else if (flags & SWP_HIDEWINDOW)
        ShowWindow(SW_HIDE);
    return TRUE;
}

BOOL CWnd::EnableWindow(BOOL enable)
{
    if (!m_hWnd)
        return FALSE;
    bool wasDisabled = !m_hWnd->enabled;
    m_hWnd->enabled = enable != FALSE;
    if (enable)
        m_hWnd->style &= ~(DWORD)WS_DISABLED;
    else
        m_hWnd->style |= WS_DISABLED;
    if (wasDisabled == (enable != FALSE))
    {
        SendMessage(WM_ENABLE, enable, 0);
        Invalidate(TRUE);
    }
    return wasDisabled ? TRUE : FALSE;
}

BOOL CWnd::IsWindowEnabled() const
{
    return m_hWnd && m_hWnd->enabled ? TRUE : FALSE;
}

// Focus, capture, timers ----------------------------------------------------

void CWnd::HoldKeyboard(bool hold)
{
    AfxState& s = State();
    if (!m_hWnd)
        return;
    if (!hold)
    {
        ReleaseKeyboardInside(m_hWnd);
        return;
    }
    if (!m_hWnd->native || m_hWnd->nativeGone || !IsVisible(m_hWnd))
        return;
    s.keyboard = m_hWnd;
    m_hWnd->native->HoldKeyboard(true);
}

CWnd* CWnd::SetFocus()
{
    AfxState& s = State();
    AFX_WND* old = IsAlive(s.focus) ? s.focus : nullptr;
    CWnd* oldWnd = old ? old->pWnd : nullptr;
    if (!m_hWnd || old == m_hWnd)
        return oldWnd;
    s.focus = m_hWnd;
    if (old)
        old->pWnd->SendMessage(WM_KILLFOCUS, (WPARAM)this);
    if (IsAlive(m_hWnd) && s.focus == m_hWnd)
    {
        if (m_hWnd->native && !m_hWnd->nativeGone && IsVisible(m_hWnd))
            m_hWnd->native->SetFocus();
        SendMessage(WM_SETFOCUS, (WPARAM)oldWnd);
    }
    return oldWnd;
}

CWnd* CWnd::GetFocus()
{
    AfxState& s = State();
    return IsAlive(s.focus) ? s.focus->pWnd : nullptr;
}

CWnd* CWnd::SetCapture()
{
    AfxState& s = State();
    CWnd* old = IsAlive(s.capture) ? s.capture->pWnd : nullptr;
    if (m_hWnd)
        s.capture = m_hWnd;
    return old;
}

CWnd* CWnd::GetCapture()
{
    AfxState& s = State();
    return IsAlive(s.capture) ? s.capture->pWnd : nullptr;
}

void CWnd::ReleaseCapture()
{
    ::ReleaseCapture();
}

BOOL ReleaseCapture()
{
    State().capture = nullptr;
    return TRUE;
}

UINT_PTR CWnd::SetTimer(UINT_PTR id, UINT elapseMs, TIMERPROC callback)
{
    if (!m_hWnd)
        return 0;
    if (id == 0)
        id = 0x7FFF0000u + m_hWnd->timers.size();
    UINT period = std::max<UINT>(elapseMs, 1);
    uint64_t due = CToolkit::NowMs() + period;
    for (AfxTimer& t : m_hWnd->timers)
    {
        if (t.id == id)
        {
            t.periodMs = period;
            t.dueMs = due;
            t.callback = callback;
            return id;
        }
    }
    m_hWnd->timers.push_back(AfxTimer{id, period, due, callback});
    return id;
}

BOOL CWnd::KillTimer(UINT_PTR id)
{
    if (!m_hWnd)
        return FALSE;
    auto& t = m_hWnd->timers;
    auto it = std::remove_if(t.begin(), t.end(), [id](const AfxTimer& x) { return x.id == id; });
    if (it == t.end())
        return FALSE;
    t.erase(it, t.end());
    return TRUE;
}

// Family, text, font --------------------------------------------------------

CWnd* CWnd::GetParent() const
{
    return m_hWnd && m_hWnd->parent ? m_hWnd->parent->pWnd : nullptr;
}

CWnd* CWnd::GetDlgItem(int id) const
{
    if (!m_hWnd)
        return nullptr;
    for (AFX_WND* c : m_hWnd->children)
    {
        if ((int)c->id == id && c->kind == AFX_KIND_CHILD)
            return c->pWnd;
    }
    return nullptr;
}

int CWnd::GetDlgCtrlID() const
{
    return m_hWnd ? (int)m_hWnd->id : 0;
}

DWORD CWnd::GetStyle() const
{
    return m_hWnd ? m_hWnd->style : 0;
}

void CWnd::SetWindowText(LPCTSTR text)
{
    if (!m_hWnd)
        return;
    SendMessage(WM_SETTEXT, 0, (LPARAM)(text ? text : ""));
    if (m_hWnd && m_hWnd->native && !m_hWnd->nativeGone && m_hWnd->kind == AFX_KIND_DIALOG)
        m_hWnd->native->SetTitle(m_hWnd->text);
}

int CWnd::GetWindowText(LPTSTR buffer, int maxCount) const
{
    if (!buffer || maxCount <= 0)
        return 0;
    const char* text = m_hWnd ? m_hWnd->text.GetString() : "";
    int n = (int)std::strlen(text);
    if (n > maxCount - 1)
        n = maxCount - 1;
    std::memcpy(buffer, text, (size_t)n);
    buffer[n] = '\0';
    return n;
}

void CWnd::GetWindowText(CString& text) const
{
    text = m_hWnd ? m_hWnd->text.GetString() : "";
}

int CWnd::GetWindowTextLength() const
{
    return m_hWnd ? m_hWnd->text.GetLength() : 0;
}

void CWnd::SetDlgItemText(int id, LPCTSTR text)
{
    if (CWnd* item = GetDlgItem(id))
        item->SetWindowText(text);
}

int CWnd::GetDlgItemText(int id, CString& text) const
{
    CWnd* item = GetDlgItem(id);
    if (!item)
    {
        text.Empty();
        return 0;
    }
    item->GetWindowText(text);
    return text.GetLength();
}

void CWnd::SetFont(CFont* font, BOOL redraw)
{
    if (!m_hWnd)
        return;
    m_hWnd->font = font;
    if (redraw)
        Invalidate(TRUE);
}

CFont* CWnd::GetFont() const
{
    return m_hWnd ? m_hWnd->font : nullptr;
}

void CWnd::DoDataExchange(CDataExchange*) {}

BOOL CWnd::UpdateData(BOOL saveAndValidate)
{
    CDataExchange dx(this, saveAndValidate);
    DoDataExchange(&dx);
    return TRUE;
}

// Default handlers ----------------------------------------------------------

int CWnd::OnCreate(LPCREATESTRUCT)
{
    return 0;
}
void CWnd::OnDestroy() {}
void CWnd::OnPaint()
{
    DefWindowProc(WM_PAINT, 0, 0);
}
void CWnd::OnClose()
{
    DefWindowProc(WM_CLOSE, 0, 0);
}
void CWnd::OnSize(UINT, int, int) {}
void CWnd::OnTimer(UINT_PTR) {}
void CWnd::OnKeyDown(UINT, UINT, UINT) {}
void CWnd::OnKeyUp(UINT, UINT, UINT) {}
void CWnd::OnChar(UINT, UINT, UINT) {}
void CWnd::OnMouseMove(UINT, CPoint) {}
void CWnd::OnLButtonDown(UINT, CPoint) {}
void CWnd::OnLButtonUp(UINT, CPoint) {}
void CWnd::OnLButtonDblClk(UINT, CPoint) {}
void CWnd::OnSetFocus(CWnd*) {}
void CWnd::OnKillFocus(CWnd*) {}
