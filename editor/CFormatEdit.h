// CFormatEdit: the base of the numeric entry fields. Keeps whether a minus
// sign may be typed and the field's value as the text of a scaled integer
// (the "integer image"), which is what the owner of the field reads back.
//
// Thread: user-interface thread only.
#pragma once

#include "AfxWin.h"

class CFormatEdit : public CEdit
{
public:
    CFormatEdit() = default;

    // Creates the field; `sign` allows a typed minus sign.
    BOOL Create(DWORD style, const RECT& rect, CWnd* parent, UINT id, bool sign);
    using CEdit::Create;

    void SetSingnFlag(bool sign) { m_bSign = sign; }
    bool GetSingnFlag() const { return m_bSign; }

    // The value as the text of a scaled integer, e.g. "123" for 1.23 typed
    // into a field with two decimals.
    const CString& GetIntText() const { return m_strIntValue; }

    // Character classes of the numeric fields: a digit gives its value 0-9;
    // backspace (8), 37, 39 (the toolkit's left and right arrows) and "."
    // come back unchanged; any other character sends WM_COMMAND with the
    // control id to the parent and gives -1.
    int OnNotifyChar(UINT ch);

    LPCTSTR GetClassName() const override { return "CFormatEdit"; }

    // Text set from outside (the owner, the spin button) is already the
    // scaled integer: it becomes the integer image as it is.
    LRESULT OnSetText(WPARAM wParam, LPARAM lParam);

protected:
    // Tells the parent that the field changed: WM_COMMAND with the control id.
    void NotifyParent();

    bool m_bSign = false;
    CString m_strIntValue;      // integer image, "%d"
    bool m_bFormatting = false; // text being replaced by the field itself

    DECLARE_MESSAGE_MAP()
};
