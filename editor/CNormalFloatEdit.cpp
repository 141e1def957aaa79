// CNormalFloatEdit: key and character rules of the floating entry field.
#include "CNormalFloatEdit.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "CVRXFloatEditWnd.h"

namespace
{
// Key codes that commit or abandon the entry (36 is Return, 53 Escape).
constexpr UINT kKeyReturnAlt = 35;
constexpr UINT kKeyReturn = VK_RETURN_KEY;
constexpr UINT kKeyEscape = VK_ESCAPE_KEY;
// Characters swallowed without any processing.
constexpr UINT kCharReturn = 13;
constexpr UINT kCharEscape = 27;
// Longest text read back from the field.
constexpr int kMaxTextRead = 318;
} // namespace

BEGIN_MESSAGE_MAP(CNormalFloatEdit, CFormatEdit)
ON_WM_KEYDOWN()
ON_WM_CHAR()
END_MESSAGE_MAP()

CNormalFloatEdit::CNormalFloatEdit() : m_dMin(-DBL_MAX), m_dMax(DBL_MAX)
{
    SetFloatPoint(1);
}

void CNormalFloatEdit::SetFloatPoint(int decimals)
{
    // More than 15 decimals carries nothing a double can hold.
    if (decimals < 0)
        decimals = 0;
    if (decimals > 15)
        decimals = 15;
    m_nDecimals = decimals;
    m_dScale = std::pow(10.0, decimals);
    std::snprintf(m_szFormat, sizeof(m_szFormat), "%%.%df", decimals);
}

void CNormalFloatEdit::ProcRet()
{
    CWnd* parent = GetParent();
    if (parent)
        parent->SendMessage(WM_INPUTVAL_RETURN, (WPARAM)GetDlgCtrlID(), 0);
}

void CNormalFloatEdit::ProcEsc()
{
    CWnd* parent = GetParent();
    if (parent)
        parent->SendMessage(WM_INPUTVAL_ESCAPE, (WPARAM)GetDlgCtrlID(), 0);
}

void CNormalFloatEdit::OnKeyDown(UINT keyCode, UINT repeat, UINT flags)
{
    if (keyCode == kKeyReturnAlt || keyCode == kKeyReturn)
    {
        ProcRet();
        return;
    }
    if (keyCode == kKeyEscape)
    {
        ProcEsc();
        return;
    }
    CEdit::OnKeyDown(keyCode, repeat, flags);
}

void CNormalFloatEdit::OnChar(UINT ch, UINT repeat, UINT flags)
{
    if (ch == kCharReturn || ch == kCharEscape)
        return;

    bool accepted = true;
    if ((ch >= '0' && ch <= '9') || ch == 8 || ch == '.' || (ch == '-' && m_bSign))
        CEdit::OnChar(ch, repeat, flags);
    else if (ch == VK_LEFT || ch == VK_RIGHT)
        CEdit::OnKeyDown(ch, repeat, flags); // the toolkit's arrows move the caret
    else
        accepted = false;

    if (!m_hWnd)
        return;
    UpdateValue(!accepted);
    NotifyParent();
}

void CNormalFloatEdit::UpdateValue(bool reformat)
{
    char text[kMaxTextRead + 1];
    GetWindowText(text, (int)sizeof(text));
    double value = std::atof(text);
    if (value < m_dMin)
        value = m_dMin;
    if (value > m_dMax)
        value = m_dMax;

    char formatted[400];
    std::snprintf(formatted, sizeof(formatted), m_szFormat, value);

    // The image is an int: values beyond its range stop at its ends.
    double scaled = std::round(value * m_dScale);
    int image;
    if (!(scaled == scaled))
        image = 0;
    else if (scaled >= (double)INT_MAX)
        image = INT_MAX;
    else if (scaled <= (double)INT_MIN)
        image = INT_MIN;
    else
        image = (int)scaled;

    if (reformat)
    {
        m_bFormatting = true;
        SetWindowText(formatted);
        m_bFormatting = false;
    }
    m_strIntValue.Format("%d", image);
}
