// CVRXFloatEditWnd: creation, sizing and the return/escape hand-over of the
// floating entry window.
#include "CVRXFloatEditWnd.h"

#include <cstring>

namespace
{
// Window style of the entry window: child that clips its siblings, hidden.
constexpr DWORD kWindowStyle = 0x44000000;
// Edit field: visible child, tab stop, right-aligned text.
constexpr DWORD kEditStyle = 0x50010002;
// Spin button: buddy integer, right-aligned, arrow keys, no thousands separators.
constexpr DWORD kSpinStyle = UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_NOTHOUSANDS;
// Caret position after SetNewValue (past any text the field shows).
constexpr int kCaretPos = 8;
// Character extent used when the font cannot be measured.
constexpr int kFallbackCharWidth = 7;
constexpr int kFallbackCharHeight = 12;
} // namespace

BEGIN_MESSAGE_MAP(CVRXFloatEditWnd, CWnd)
ON_WM_CREATE()
ON_MESSAGE(WM_INPUTVAL_RETURN, OnReturn)
ON_MESSAGE(WM_INPUTVAL_ESCAPE, OnEscape)
END_MESSAGE_MAP()

CVRXFloatEditWnd::CVRXFloatEditWnd() = default;

CVRXFloatEditWnd::~CVRXFloatEditWnd()
{
    if (m_hWnd)
        DestroyWindow();
}

BOOL CVRXFloatEditWnd::MakeWindow(CWnd* parent, CWnd* owner, char* title, CWindowAttr* attr,
                                  int maxChars, CFont* font, bool sign)
{
    if (m_hWnd || !parent || !parent->GetSafeHwnd())
        return FALSE;
    LPCTSTR className = AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                            (HBRUSH)GetStockObject(LTGRAY_BRUSH));
    m_pOwner = owner;
    m_nMaxChars = (maxChars > 0 ? maxChars : 0) + 1;
    m_bSign = sign;
    m_pFont = font;

    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    if (font)
        dc.SelectObject(font);
    CSize extent = dc.GetTextExtent(CString("A"));
    dc.DeleteDC();
    m_nCharWidth = extent.cx > 0 ? extent.cx : kFallbackCharWidth;
    m_nCharHeight = extent.cy > 0 ? extent.cy : kFallbackCharHeight;
    m_nSpinWidth = GetSystemMetrics(SM_CYHSCROLL);

    int x = 0;
    int y = 0;
    if (attr && attr->dwPosition != VRX_DEFAULT_POSITION)
    {
        x = (int)(SHORT)LOWORD(attr->dwPosition);
        y = (int)(SHORT)HIWORD(attr->dwPosition);
    }
    CRect rect(x, y, x, y); // OnCreate gives the size
    return Create(className, title ? title : "", kWindowStyle, rect, parent, 0);
}

int CVRXFloatEditWnd::OnCreate(LPCREATESTRUCT cs)
{
    if (CWnd::OnCreate(cs) == -1)
        return -1;
    CalcSize();
    SetWindowPos(nullptr, 0, 0, m_nWidth, m_nHeight, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);

    CRect editRect(0, 0, m_nWidth - m_nSpinWidth, m_nHeight);
    if (!m_Edit.Create(kEditStyle, editRect, this, IDC_VRXFLOATEDIT_EDIT, m_bSign))
        return -1;
    m_Edit.SetLimitText((UINT)m_nMaxChars);
    if (m_pFont)
        m_Edit.SetFont(m_pFont);
    m_Edit.ShowWindow(SW_SHOW);

    CRect spinRect(m_nWidth - m_nSpinWidth, 0, m_nWidth, m_nHeight);
    if (!m_Spin.Create(WS_CHILD | kSpinStyle, spinRect, this, IDC_VRXFLOATEDIT_SPIN))
        return -1;
    m_Spin.SetBase(10);
    m_Spin.SetBuddy(&m_Edit);
    m_Spin.ShowWindow(SW_SHOW);

    ShowWindow(SW_HIDE);
    return 0;
}

void CVRXFloatEditWnd::CalcSize()
{
    m_nHeight = m_nCharHeight + m_nCharHeight / 2;
    m_nWidth = m_nMaxChars * m_nCharWidth + 2 * GetSystemMetrics(SM_CXEDGE) + m_nSpinWidth;
}

void CVRXFloatEditWnd::SetNewValue(int value, int min, int max)
{
    if (!m_hWnd)
        return;
    m_Spin.SetRange32(min, max);
    m_Spin.SetPos32(value);
    m_Edit.SetFocus();
    CString text;
    text.Format("%d", value);
    m_Edit.SetWindowText(text);
    m_Edit.SetSel(kCaretPos, kCaretPos);
}

void CVRXFloatEditWnd::SetSingnFlag(bool sign)
{
    m_Edit.SetSingnFlag(sign);
    m_bSign = sign;
}

void CVRXFloatEditWnd::ChangeSize(int maxChars, bool sign)
{
    SetSingnFlag(sign);
    m_nMaxChars = (maxChars > 0 ? maxChars : 0) + 1;
    CalcSize();
    if (!m_hWnd)
        return;
    SetWindowPos(nullptr, 0, 0, m_nWidth, m_nHeight, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    m_Edit.SetWindowPos(nullptr, 0, 0, m_nWidth - m_nSpinWidth, m_nHeight,
                        SWP_NOZORDER | SWP_NOACTIVATE);
    m_Spin.SetWindowPos(nullptr, m_nWidth - m_nSpinWidth, 0, m_nSpinWidth, m_nHeight,
                        SWP_NOZORDER | SWP_NOACTIVATE);
    m_Edit.SetLimitText((UINT)m_nMaxChars);
}

void CVRXFloatEditWnd::GetText(CString& text) const
{
    text = m_Edit.GetIntText();
}

int CVRXFloatEditWnd::GetText(LPTSTR buffer, int maxCount) const
{
    if (!buffer || maxCount <= 0)
        return 0;
    const CString& image = m_Edit.GetIntText();
    int n = image.GetLength();
    if (n > maxCount - 1)
        n = maxCount - 1;
    std::memcpy(buffer, image.GetString(), (size_t)n);
    buffer[n] = '\0';
    return n;
}

LRESULT CVRXFloatEditWnd::OnReturn(WPARAM, LPARAM)
{
    if (m_pOwner)
        m_pOwner->SendMessage(WM_INPUTVAL_RETURN, 0, 0);
    if (m_hWnd)
        ShowWindow(SW_HIDE);
    return 0;
}

LRESULT CVRXFloatEditWnd::OnEscape(WPARAM, LPARAM)
{
    if (m_pOwner)
        m_pOwner->SendMessage(WM_INPUTVAL_ESCAPE, 0, 0);
    if (!m_hWnd)
        return 0;
    ShowWindow(SW_HIDE);
    CWnd* parent = GetParent();
    if (parent)
        parent->SetFocus();
    return 0;
}
