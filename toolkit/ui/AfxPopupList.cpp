// CAfxPopupList: the toolkit-drawn list of menus and drop-down lists.
#include "AfxPopupList.h"

#include <algorithm>

#include "AfxWndImpl.h"
#include "CDC.h"
#include "CToolkit.h"

BEGIN_MESSAGE_MAP(CAfxPopupList, CWnd)
ON_WM_PAINT()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_KEYDOWN()
ON_WM_CLOSE()
END_MESSAGE_MAP()

namespace
{
const int kPadX = 20; // room for the check mark
const int kSeparatorHeight = 7;
} // namespace

CRect CAfxPopupList::EntryRect(int index) const
{
    int y = 2;
    CRect client;
    GetClientRect(&client);
    for (int i = 0; i < (int)m_Entries.size(); ++i)
    {
        int h = m_Entries[i].separator ? kSeparatorHeight : m_nRowHeight;
        if (i == index)
            return CRect(2, y, client.right - 2, y + h);
        y += h;
    }
    return CRect();
}

int CAfxPopupList::IndexAt(CPoint point) const
{
    for (int i = 0; i < (int)m_Entries.size(); ++i)
    {
        if (EntryRect(i).PtInRect(point))
            return i;
    }
    return -1;
}

int CAfxPopupList::Run(const std::vector<Entry>& entries, CPoint screen, int minWidth, int selected,
                       CWnd*)
{
    m_Entries = entries;
    m_nHot = selected;
    m_nResult = -1;
    m_bDone = false;
    CDC measure;
    measure.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    measure.SelectObject(AfxImpl::DefaultFont());
    m_nRowHeight = measure.GetTextExtent("Ag", 2).cy + 6;
    int width = minWidth;
    int height = 4;
    for (const Entry& e : m_Entries)
    {
        width = std::max(width, measure.GetTextExtent(e.text).cx + kPadX + 16);
        height += e.separator ? kSeparatorHeight : m_nRowHeight;
    }
    CSize screenSize = CToolkit::ScreenSize();
    int x = std::max(0, std::min(screen.x, screenSize.cx - width));
    int y = std::max(0, std::min(screen.y, screenSize.cy - height));
    if (!Create(nullptr, "", WS_POPUP | WS_VISIBLE, CRect(x, y, x + width, y + height), nullptr, 0))
        return -1;
    if (m_hWnd->native)
        m_hWnd->native->GrabPointer(true);
    CWnd* oldFocus = CWnd::GetFocus();
    SetFocus();
    CToolkit::RunModalLoop(this, m_bDone);
    if (m_hWnd && m_hWnd->native)
        m_hWnd->native->GrabPointer(false);
    DestroyWindow();
    if (oldFocus && oldFocus->m_hWnd)
        oldFocus->SetFocus();
    return m_nResult;
}

void CAfxPopupList::Finish(int index)
{
    m_nResult = index;
    m_bDone = true;
}

void CAfxPopupList::OnClose()
{
    Finish(-1);
}

void CAfxPopupList::OnPaint()
{
    CPaintDC dc(this);
    AfxImpl::PaintFace(dc, this, RGB(246, 246, 246), RGB(160, 160, 160), RGB(96, 96, 96));
    dc.SelectObject(AfxImpl::DefaultFont());
    dc.SetBkMode(TRANSPARENT);
    for (int i = 0; i < (int)m_Entries.size(); ++i)
    {
        const Entry& e = m_Entries[i];
        CRect er = EntryRect(i);
        if (e.separator)
        {
            dc.FillSolidRect(er.left + 4, er.top + kSeparatorHeight / 2, er.Width() - 8, 1,
                             RGB(180, 180, 180));
            continue;
        }
        bool hot = i == m_nHot && e.enabled;
        if (hot)
            dc.FillSolidRect(&er, RGB(51, 120, 215));
        dc.SetTextColor(!e.enabled ? RGB(150, 150, 150)
                                   : (hot ? RGB(255, 255, 255) : RGB(0, 0, 0)));
        int ty = er.top + (er.Height() - dc.GetTextExtent("Ag", 2).cy) / 2;
        if (e.checked)
            dc.ExtTextOut(er.left + 5, ty, 0, nullptr, CString("\xE2\x9C\x93"), nullptr);
        dc.ExtTextOut(er.left + kPadX, ty, ETO_CLIPPED, &er, e.text, nullptr);
    }
}

void CAfxPopupList::OnMouseMove(UINT, CPoint point)
{
    int i = IndexAt(point);
    if (i != m_nHot)
    {
        m_nHot = i;
        Invalidate(FALSE);
    }
}

void CAfxPopupList::OnLButtonDown(UINT, CPoint point)
{
    CRect client;
    GetClientRect(&client);
    if (!client.PtInRect(point))
        Finish(-1); // a press outside dismisses
}

void CAfxPopupList::OnLButtonUp(UINT, CPoint point)
{
    int i = IndexAt(point);
    if (i < 0)
        return; // a release outside (the press that opened us) keeps the list open
    const Entry& e = m_Entries[i];
    if (e.separator || !e.enabled)
    {
        if (m_bMenu)
            Finish(-1); // a click on a disabled menu entry closes the menu unchosen
        return;
    }
    Finish(i);
}

void CAfxPopupList::OnKeyDown(UINT keyCode, UINT, UINT)
{
    int n = (int)m_Entries.size();
    if (keyCode == VK_ESCAPE_KEY)
    {
        Finish(-1);
        return;
    }
    if (keyCode == VK_RETURN_KEY)
    {
        if (m_nHot >= 0 && m_nHot < n && m_Entries[m_nHot].enabled && !m_Entries[m_nHot].separator)
            Finish(m_nHot);
        return;
    }
    int step = keyCode == VK_DOWN ? 1 : (keyCode == VK_UP ? -1 : 0);
    if (!step || n == 0)
        return;
    int i = m_nHot;
    for (int k = 0; k < n; ++k)
    {
        i = (i + step + n) % n;
        if (m_Entries[i].enabled && !m_Entries[i].separator)
            break;
    }
    m_nHot = i;
    Invalidate(FALSE);
}
