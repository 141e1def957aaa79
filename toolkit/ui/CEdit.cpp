// CEdit: a single-line UTF-8 text field with caret, selection, limit and the
// usual editing keys, drawn by the toolkit.
#include "CEdit.h"

#include <algorithm>
#include <string>

#include "AfxWndImpl.h"
#include "CDC.h"

namespace
{
// Byte offset of character `index` in UTF-8 text (clamped to the end).
size_t ByteOffset(const std::string& s, int index)
{
    size_t i = 0;
    int n = 0;
    while (i < s.size() && n < index)
    {
        ++i;
        while (i < s.size() && ((unsigned char)s[i] & 0xC0) == 0x80)
            ++i;
        ++n;
    }
    return i;
}

int CountChars(const std::string& s)
{
    int n = 0;
    for (unsigned char c : s)
    {
        if ((c & 0xC0) != 0x80)
            ++n;
    }
    return n;
}

std::string EncodeUtf8(UINT cp)
{
    std::string out;
    if (cp < 0x80)
        out += (char)cp;
    else if (cp < 0x800)
    {
        out += (char)(0xC0 | (cp >> 6));
        out += (char)(0x80 | (cp & 0x3F));
    }
    else if (cp < 0x10000)
    {
        out += (char)(0xE0 | (cp >> 12));
        out += (char)(0x80 | ((cp >> 6) & 0x3F));
        out += (char)(0x80 | (cp & 0x3F));
    }
    else if (cp < 0x110000)
    {
        out += (char)(0xF0 | (cp >> 18));
        out += (char)(0x80 | ((cp >> 12) & 0x3F));
        out += (char)(0x80 | ((cp >> 6) & 0x3F));
        out += (char)(0x80 | (cp & 0x3F));
    }
    return out;
}
} // namespace

BEGIN_MESSAGE_MAP(CEdit, CAfxControl)
ON_WM_CREATE()
ON_WM_PAINT()
ON_WM_KEYDOWN()
ON_WM_CHAR()
ON_WM_LBUTTONDOWN()
ON_WM_SETFOCUS()
ON_WM_KILLFOCUS()
ON_MESSAGE(WM_SETTEXT, OnSetText)
END_MESSAGE_MAP()

int CEdit::OnCreate(LPCREATESTRUCT cs)
{
    return CWnd::OnCreate(cs);
}

int CEdit::CharCount() const
{
    return m_hWnd ? CountChars(m_hWnd->text.str()) : 0;
}

void CEdit::SetLimitText(UINT maxChars)
{
    m_nLimit = maxChars;
}

void CEdit::SetSel(int start, int end, BOOL)
{
    int n = CharCount();
    if (start < 0)
    {
        // (-1, ...) removes the selection, leaving the caret where it was.
        m_nSelStart = m_nSelEnd;
        Invalidate(FALSE);
        return;
    }
    if (end < 0 || end > n)
        end = n;
    start = std::min(start, n);
    m_nSelStart = start;
    m_nSelEnd = end;
    Invalidate(FALSE);
}

void CEdit::GetSel(int& start, int& end) const
{
    start = std::min(m_nSelStart, m_nSelEnd);
    end = std::max(m_nSelStart, m_nSelEnd);
}

void CEdit::ReplaceSel(LPCTSTR text, BOOL)
{
    if (!m_hWnd)
        return;
    std::string s = m_hWnd->text.str();
    int a, b;
    GetSel(a, b);
    size_t ba = ByteOffset(s, a);
    size_t bb = ByteOffset(s, b);
    std::string insert = text ? text : "";
    int room = m_nLimit ? (int)m_nLimit - (CountChars(s) - (b - a)) : 1 << 30;
    if (room < 0)
        room = 0;
    if (CountChars(insert) > room)
        insert.resize(ByteOffset(insert, room));
    s.replace(ba, bb - ba, insert);
    m_hWnd->text = s;
    m_nSelStart = m_nSelEnd = a + CountChars(insert);
    Changed();
}

void CEdit::Changed()
{
    Invalidate(FALSE);
    if (CWnd* parent = GetParent())
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), EN_CHANGE), (LPARAM)m_hWnd);
}

LRESULT CEdit::OnSetText(WPARAM, LPARAM lParam)
{
    if (!m_hWnd)
        return FALSE;
    m_hWnd->text = (LPCTSTR)lParam;
    int n = CharCount();
    m_nSelStart = std::min(m_nSelStart, n);
    m_nSelEnd = std::min(m_nSelEnd, n);
    Invalidate(FALSE);
    return TRUE;
}

void CEdit::OnKeyDown(UINT keyCode, UINT, UINT)
{
    if (!m_hWnd)
        return;
    int n = CharCount();
    int a, b;
    GetSel(a, b);
    switch (keyCode)
    {
    case VK_LEFT:
        m_nSelStart = m_nSelEnd = (a != b) ? a : std::max(0, m_nSelEnd - 1);
        break;
    case VK_RIGHT:
        m_nSelStart = m_nSelEnd = (a != b) ? b : std::min(n, m_nSelEnd + 1);
        break;
    case VK_HOME_KEY:
        m_nSelStart = m_nSelEnd = 0;
        break;
    case VK_END_KEY:
        m_nSelStart = m_nSelEnd = n;
        break;
    case VK_DELETE_KEY:
        if (a == b && b < n)
            m_nSelEnd = b + 1, m_nSelStart = a;
        if (m_nSelStart != m_nSelEnd)
            ReplaceSel("");
        break;
    default:
        return;
    }
    Invalidate(FALSE);
}

void CEdit::OnChar(UINT ch, UINT, UINT)
{
    if (!m_hWnd)
        return;
    if (ch == 8)
    {
        int a, b;
        GetSel(a, b);
        if (a == b && a > 0)
            m_nSelStart = a - 1, m_nSelEnd = b;
        if (m_nSelStart != m_nSelEnd)
            ReplaceSel("");
        return;
    }
    if (ch < 0x20 || ch == 0x7F || ch > 0x10FFFF)
        return; // Return, Escape, Tab and other control characters
    ReplaceSel(EncodeUtf8(ch).c_str());
}

void CEdit::OnLButtonDown(UINT, CPoint point)
{
    SetFocus();
    if (!m_hWnd)
        return;
    // Caret to the character boundary nearest the click.
    CClientDC dc(this);
    dc.SelectObject(GetFont());
    const std::string& s = m_hWnd->text.str();
    int n = CountChars(s);
    CRect client;
    GetClientRect(&client);
    int textWidth = dc.GetTextExtent(s.c_str(), (int)s.size()).cx;
    int x0 = (GetStyle() & ES_RIGHT) ? client.right - 3 - textWidth : 3;
    int best = 0, bestDist = 1 << 30;
    for (int i = 0; i <= n; ++i)
    {
        int x = x0 + dc.GetTextExtent(s.c_str(), (int)ByteOffset(s, i)).cx;
        int dist = std::abs(x - point.x);
        if (dist < bestDist)
            bestDist = dist, best = i;
    }
    m_nSelStart = m_nSelEnd = best;
    Invalidate(FALSE);
}

void CEdit::OnSetFocus(CWnd*)
{
    m_bFocused = true;
    Invalidate(FALSE);
}

void CEdit::OnKillFocus(CWnd*)
{
    m_bFocused = false;
    Invalidate(FALSE);
}

void CEdit::OnPaint()
{
    CPaintDC dc(this);
    if (!m_hWnd)
        return;
    CRect r =
        AfxImpl::PaintFace(dc, this, RGB(255, 255, 255), RGB(128, 128, 128), RGB(224, 224, 224));
    dc.SelectObject(GetFont());
    const std::string& s = m_hWnd->text.str();
    CSize full = dc.GetTextExtent(s.c_str(), (int)s.size());
    int x0 = (GetStyle() & ES_RIGHT) ? r.right - 3 - full.cx : 3;
    int y0 = (r.Height() - full.cy) / 2;
    int a, b;
    GetSel(a, b);
    CRect clip(1, 1, r.right - 1, r.bottom - 1);
    if (a != b)
    {
        int xa = x0 + dc.GetTextExtent(s.c_str(), (int)ByteOffset(s, a)).cx;
        int xb = x0 + dc.GetTextExtent(s.c_str(), (int)ByteOffset(s, b)).cx;
        CRect sel(std::max(xa, 1), y0, std::min(xb, r.right - 1), y0 + full.cy);
        if (!sel.IsRectEmpty())
            dc.FillSolidRect(&sel, m_bFocused ? RGB(51, 153, 255) : RGB(200, 200, 200));
    }
    dc.SetBkMode(TRANSPARENT);
    dc.SetTextColor(IsWindowEnabled() ? RGB(0, 0, 0) : RGB(128, 128, 128));
    dc.ExtTextOut(x0, y0, ETO_CLIPPED, &clip, m_hWnd->text, nullptr);
    if (m_bFocused && a == b)
    {
        int xc = x0 + dc.GetTextExtent(s.c_str(), (int)ByteOffset(s, m_nSelEnd)).cx;
        dc.FillSolidRect(xc, y0, 1, full.cy, RGB(0, 0, 0));
    }
}
