// CSpinButtonCtrl: up/down arrows that step a position shown in a buddy.
#include "CSpinButtonCtrl.h"

#include <cstdlib>

#include "CDC.h"

BEGIN_MESSAGE_MAP(CSpinButtonCtrl, CAfxControl)
ON_WM_PAINT()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
END_MESSAGE_MAP()

void CSpinButtonCtrl::SetRange32(int lower, int upper)
{
    m_nLower = lower;
    m_nUpper = upper;
}

void CSpinButtonCtrl::GetRange32(int& lower, int& upper) const
{
    lower = m_nLower;
    upper = m_nUpper;
}

int CSpinButtonCtrl::SetPos32(int pos)
{
    int old = m_nPos;
    int lo = m_nLower < m_nUpper ? m_nLower : m_nUpper;
    int hi = m_nLower < m_nUpper ? m_nUpper : m_nLower;
    m_nPos = pos < lo ? lo : (pos > hi ? hi : pos);
    SyncToBuddy();
    return old;
}

int CSpinButtonCtrl::GetPos32(BOOL* error) const
{
    if (error)
        *error = FALSE;
    return m_nPos;
}

CWnd* CSpinButtonCtrl::SetBuddy(CWnd* buddy)
{
    CWnd* old = m_pBuddy;
    m_pBuddy = buddy;
    return old;
}

int CSpinButtonCtrl::SetBase(int base)
{
    int old = m_nBase;
    if (base == 10 || base == 16)
        m_nBase = base;
    return old;
}

void CSpinButtonCtrl::SyncFromBuddy()
{
    if (!m_pBuddy || !(GetStyle() & UDS_SETBUDDYINT))
        return;
    CString text;
    m_pBuddy->GetWindowText(text);
    char* end = nullptr;
    long v = std::strtol(text, &end, m_nBase);
    if (end != text.GetString())
        m_nPos = (int)v;
}

void CSpinButtonCtrl::SyncToBuddy()
{
    if (!m_pBuddy || !(GetStyle() & UDS_SETBUDDYINT))
        return;
    CString text;
    text.Format(m_nBase == 16 ? "0x%X" : "%d", m_nPos);
    m_pBuddy->SetWindowText(text);
}

void CSpinButtonCtrl::Step(int delta)
{
    SyncFromBuddy();
    int lo = m_nLower < m_nUpper ? m_nLower : m_nUpper;
    int hi = m_nLower < m_nUpper ? m_nUpper : m_nLower;
    // A range given high-to-low steps the other way round.
    int d = m_nLower <= m_nUpper ? delta : -delta;
    long next = (long)m_nPos + d;
    if (next > hi)
        next = (GetStyle() & UDS_WRAP) ? lo : hi;
    if (next < lo)
        next = (GetStyle() & UDS_WRAP) ? hi : lo;
    m_nPos = (int)next;
    SyncToBuddy();
    if (CWnd* parent = GetParent())
        parent->SendMessage(WM_VSCROLL, MAKEWPARAM(4 /* SB_THUMBPOSITION */, m_nPos),
                            (LPARAM)m_hWnd);
}

void CSpinButtonCtrl::OnLButtonDown(UINT, CPoint point)
{
    CRect r;
    GetClientRect(&r);
    m_nPressed = point.y < r.Height() / 2 ? 1 : -1;
    Step(m_nPressed);
    Invalidate(FALSE);
}

void CSpinButtonCtrl::OnLButtonUp(UINT, CPoint)
{
    m_nPressed = 0;
    Invalidate(FALSE);
}

void CSpinButtonCtrl::OnPaint()
{
    CPaintDC dc(this);
    CRect r;
    GetClientRect(&r);
    int half = r.Height() / 2;
    CRect up(0, 0, r.right, half);
    CRect down(0, half, r.right, r.bottom);
    dc.FillSolidRect(&up, m_nPressed == 1 ? RGB(190, 190, 190) : RGB(225, 225, 225));
    dc.FillSolidRect(&down, m_nPressed == -1 ? RGB(190, 190, 190) : RGB(225, 225, 225));
    dc.Draw3dRect(&up, RGB(250, 250, 250), RGB(120, 120, 120));
    dc.Draw3dRect(&down, RGB(250, 250, 250), RGB(120, 120, 120));
    int cx = r.Width() / 2;
    for (int i = 0; i < 3; ++i)
    {
        dc.FillSolidRect(cx - i, half / 2 - 1 + i, 2 * i + 1, 1, RGB(0, 0, 0));
        dc.FillSolidRect(cx - i, half + (r.Height() - half) / 2 + 1 - i, 2 * i + 1, 1,
                         RGB(0, 0, 0));
    }
}
