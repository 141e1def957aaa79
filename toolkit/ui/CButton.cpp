// CButton: a push button drawn by the toolkit.
#include "CButton.h"

#include "AfxWndImpl.h"
#include "CDC.h"

BEGIN_MESSAGE_MAP(CButton, CWnd)
ON_WM_PAINT()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_KEYDOWN()
END_MESSAGE_MAP()

BOOL CButton::Create(LPCTSTR caption, DWORD style, const RECT& rect, CWnd* parent, UINT id)
{
    return CWnd::Create("BUTTON", caption, style | WS_CHILD, rect, parent, id);
}

namespace
{
void Notify(CWnd* button)
{
    if (CWnd* parent = button->GetParent())
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(button->GetDlgCtrlID(), BN_CLICKED),
                            (LPARAM)button->m_hWnd);
}
} // namespace

void CButton::OnLButtonDown(UINT, CPoint)
{
    m_bPressed = true;
    SetCapture();
    Invalidate(FALSE);
}

void CButton::OnLButtonUp(UINT, CPoint point)
{
    bool was = m_bPressed;
    m_bPressed = false;
    if (GetCapture() == this)
        ReleaseCapture();
    Invalidate(FALSE);
    CRect r;
    GetClientRect(&r);
    if (was && r.PtInRect(point))
        Notify(this);
}

void CButton::OnKeyDown(UINT keyCode, UINT, UINT)
{
    if (keyCode == ' ')
        Notify(this);
}

void CButton::OnPaint()
{
    CPaintDC dc(this);
    if (!m_hWnd)
        return;
    bool isDefault = (GetStyle() & BS_DEFPUSHBUTTON) != 0;
    CRect r = AfxImpl::PaintFace(dc, this, m_bPressed ? RGB(200, 200, 200) : RGB(230, 230, 230),
                                 isDefault ? RGB(0, 0, 0) : RGB(150, 150, 150), RGB(90, 90, 90));
    AfxImpl::UseControlText(dc, this, IsWindowEnabled() ? RGB(0, 0, 0) : RGB(140, 140, 140));
    CSize ext = dc.GetTextExtent(m_hWnd->text);
    dc.ExtTextOut((r.Width() - ext.cx) / 2, (r.Height() - ext.cy) / 2, ETO_CLIPPED, &r,
                  m_hWnd->text, nullptr);
}
