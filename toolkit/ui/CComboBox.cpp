// CComboBox: a drop-down list drawn by the toolkit.
#include "CComboBox.h"

#include "AfxPopupList.h"
#include "AfxWndImpl.h"
#include "CDC.h"

BEGIN_MESSAGE_MAP(CComboBox, CAfxControl)
ON_WM_PAINT()
ON_WM_LBUTTONDOWN()
ON_WM_KEYDOWN()
END_MESSAGE_MAP()

int CComboBox::AddString(LPCTSTR text)
{
    m_Items.push_back(CString(text ? text : ""));
    Invalidate(FALSE);
    return (int)m_Items.size() - 1;
}

int CComboBox::SetCurSel(int index)
{
    if (index < 0 || index >= (int)m_Items.size())
    {
        m_nSel = CB_ERR;
        Invalidate(FALSE);
        return CB_ERR;
    }
    m_nSel = index;
    Invalidate(FALSE);
    return index;
}

int CComboBox::GetLBText(int index, CString& text) const
{
    if (index < 0 || index >= (int)m_Items.size())
    {
        text.Empty();
        return CB_ERR;
    }
    text = m_Items[index];
    return text.GetLength();
}

void CComboBox::ResetContent()
{
    m_Items.clear();
    m_nSel = CB_ERR;
    Invalidate(FALSE);
}

void CComboBox::SelectByUser(int index)
{
    if (index < 0 || index >= (int)m_Items.size() || index == m_nSel)
        return;
    m_nSel = index;
    Invalidate(FALSE);
    if (CWnd* parent = GetParent())
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), CBN_SELCHANGE), (LPARAM)m_hWnd);
}

int CComboBox::ShowDropDown()
{
    if (!m_hWnd || m_Items.empty())
        return CB_ERR;
    std::vector<CAfxPopupList::Entry> entries;
    for (const CString& s : m_Items)
        entries.push_back(CAfxPopupList::Entry{s, false, true, false});
    CRect r;
    GetWindowRect(&r);
    CAfxPopupList list(false);
    int chosen = list.Run(entries, CPoint(r.left, r.bottom), r.Width(), m_nSel, this);
    if (chosen >= 0)
        SelectByUser(chosen);
    return chosen >= 0 ? chosen : CB_ERR;
}

void CComboBox::OnLButtonDown(UINT, CPoint)
{
    SetFocus();
    ShowDropDown();
}

void CComboBox::OnKeyDown(UINT keyCode, UINT, UINT)
{
    if (keyCode == VK_DOWN)
        SelectByUser(m_nSel < 0 ? 0 : m_nSel + 1);
    else if (keyCode == VK_UP && m_nSel > 0)
        SelectByUser(m_nSel - 1);
}

void CComboBox::OnPaint()
{
    CPaintDC dc(this);
    CRect r =
        AfxImpl::PaintFace(dc, this, RGB(255, 255, 255), RGB(128, 128, 128), RGB(224, 224, 224));
    int arrowW = GetSystemMetrics(SM_CXVSCROLL);
    CRect arrow(r.right - arrowW - 1, 1, r.right - 1, r.bottom - 1);
    dc.FillSolidRect(&arrow, RGB(220, 220, 220));
    int cx = arrow.left + arrow.Width() / 2;
    int cy = arrow.top + arrow.Height() / 2 - 2;
    for (int i = 0; i < 4; ++i)
        dc.FillSolidRect(cx - 3 + i, cy + i, 7 - 2 * i, 1, RGB(0, 0, 0));
    if (m_nSel >= 0 && m_nSel < (int)m_Items.size())
    {
        AfxImpl::UseControlText(dc, this, RGB(0, 0, 0));
        CRect text(3, 1, arrow.left - 1, r.bottom - 1);
        int ty = (r.Height() - dc.GetTextExtent("Ag", 2).cy) / 2;
        dc.ExtTextOut(4, ty, ETO_CLIPPED, &text, m_Items[m_nSel], nullptr);
    }
}
