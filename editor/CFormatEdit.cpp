// CFormatEdit: sign flag, integer image and the character classes shared by
// the numeric entry fields.
#include "CFormatEdit.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

BEGIN_MESSAGE_MAP(CFormatEdit, CEdit)
ON_MESSAGE(WM_SETTEXT, OnSetText)
END_MESSAGE_MAP()

BOOL CFormatEdit::Create(DWORD style, const RECT& rect, CWnd* parent, UINT id, bool sign)
{
    m_bSign = sign;
    return CEdit::Create(style, rect, parent, id);
}

int CFormatEdit::OnNotifyChar(UINT ch)
{
    if (ch >= '0' && ch <= '9')
        return (int)(ch - '0');
    if (ch == 8 || ch == 37 || ch == 39 || ch == '.')
        return (int)ch;
    NotifyParent();
    return -1;
}

LRESULT CFormatEdit::OnSetText(WPARAM wParam, LPARAM lParam)
{
    LRESULT result = CEdit::OnSetText(wParam, lParam);
    if (!m_bFormatting)
    {
        // The text comes as the scaled integer ("%d"); keep what parses.
        const char* text = lParam ? (const char*)lParam : "";
        errno = 0;
        long value = std::strtol(text, nullptr, 10);
        if (errno == ERANGE || value > INT_MAX || value < INT_MIN)
            value = value < 0 ? INT_MIN : INT_MAX;
        m_strIntValue.Format("%d", (int)value);
    }
    return result;
}

void CFormatEdit::NotifyParent()
{
    CWnd* parent = GetParent();
    if (parent)
        parent->SendMessage(WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(), 0), 0);
}
