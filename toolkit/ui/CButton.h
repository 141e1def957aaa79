// A push button drawn by the toolkit; a click (press and release inside)
// sends WM_COMMAND (BN_CLICKED, id) to the parent. Space or Return while
// focused clicks it too.
#pragma once

#include "CWnd.h"

class CButton : public CWnd
{
public:
    CButton() = default;

    BOOL Create(LPCTSTR caption, DWORD style, const RECT& rect, CWnd* parent, UINT id);
    using CWnd::Create;

    LPCTSTR GetClassName() const override { return "CButton"; }

    void OnPaint();
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);

private:
    bool m_bPressed = false;

    DECLARE_MESSAGE_MAP()
};
