// CStatic: a text label drawn by the toolkit.
#include "CStatic.h"

#include "AfxWndImpl.h"
#include "CDC.h"

BEGIN_MESSAGE_MAP(CStatic, CWnd)
ON_WM_PAINT()
END_MESSAGE_MAP()

BOOL CStatic::Create(LPCTSTR text, DWORD style, const RECT& rect, CWnd* parent, UINT id)
{
    return CWnd::Create("STATIC", text, style | WS_CHILD, rect, parent, id);
}

void CStatic::OnPaint()
{
    CPaintDC dc(this);
    if (!m_hWnd)
        return;
    CRect r = AfxImpl::PaintFace(dc, this, RGB(236, 236, 236));
    AfxImpl::UseControlText(dc, this, RGB(0, 0, 0));
    CSize ext = dc.GetTextExtent(m_hWnd->text);
    dc.ExtTextOut(0, (r.Height() - ext.cy) / 2, ETO_CLIPPED, &r, m_hWnd->text, nullptr);
}
