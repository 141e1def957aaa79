// A text label drawn by the toolkit.
#pragma once

#include "CWnd.h"

class CStatic : public CWnd
{
public:
    CStatic() = default;

    BOOL Create(LPCTSTR text, DWORD style, const RECT& rect, CWnd* parent, UINT id = 0xffff);
    using CWnd::Create;

    LPCTSTR GetClassName() const override { return "CStatic"; }

    void OnPaint();

    DECLARE_MESSAGE_MAP()
};
