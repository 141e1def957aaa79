// A single-line text field drawn by the toolkit. Text is UTF-8; positions
// (selection, caret, limit) count characters. Keys: Left/Right move the
// caret, Home/End jump, Delete removes after the caret; characters: printable
// ones are inserted (replacing the selection), backspace (8) deletes before
// the caret. Every change sends WM_COMMAND (EN_CHANGE, id) to the parent.
#pragma once

#include "CAfxControl.h"

class CEdit : public CAfxControl
{
public:
    CEdit() : CAfxControl("EDIT") {}

    // Maximum number of characters; 0 means no limit.
    void SetLimitText(UINT maxChars);
    void LimitText(UINT maxChars) { SetLimitText(maxChars); }
    UINT GetLimitText() const { return m_nLimit; }
    // Character positions; -1 for end selects to the end of the text.
    void SetSel(int start, int end, BOOL noScroll = FALSE);
    void GetSel(int& start, int& end) const;
    void ReplaceSel(LPCTSTR text, BOOL canUndo = FALSE);
    int GetCaretPos() const { return m_nSelEnd; }

    LPCTSTR GetClassName() const override { return "CEdit"; }

    int OnCreate(LPCREATESTRUCT cs);
    void OnPaint();
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);
    void OnChar(UINT ch, UINT repeat, UINT flags);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnSetFocus(CWnd* oldWnd);
    void OnKillFocus(CWnd* newWnd);
    LRESULT OnSetText(WPARAM wParam, LPARAM lParam);

private:
    void Changed();
    int CharCount() const;
    UINT m_nLimit = 0;
    int m_nSelStart = 0;
    int m_nSelEnd = 0;
    bool m_bFocused = false;

    DECLARE_MESSAGE_MAP()
};
