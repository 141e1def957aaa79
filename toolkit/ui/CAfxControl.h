// Base of the toolkit's own controls that are created with no text: the
// combo box, the edit field and the spin button. Each names its window class
// once, in its constructor.
#pragma once

#include "CWnd.h"

class CAfxControl : public CWnd
{
public:
    BOOL Create(DWORD style, const RECT& rect, CWnd* parent, UINT id)
    {
        return CWnd::Create(m_WndClass, "", style | WS_CHILD, rect, parent, id);
    }
    using CWnd::Create;

protected:
    explicit CAfxControl(LPCTSTR wndClass) : m_WndClass(wndClass) {}

private:
    LPCTSTR m_WndClass;
};
