// CFrameWnd: a window record standing for the host's view.
#include "CFrameWnd.h"

#include "AfxWndImpl.h"

using namespace AfxImpl;

BEGIN_MESSAGE_MAP(CFrameWnd, CWnd)
END_MESSAGE_MAP()

CFrameWnd::~CFrameWnd()
{
    if (m_hWnd)
        DestroyWindow();
}

void CFrameWnd::SetNativeView(void* view)
{
    if (view == m_pHostView && (m_hWnd || !view))
        return;
    if (m_hWnd)
        DestroyWindow();
    m_pHostView = view;
    if (!view)
        return;
    m_hWnd = CreateRecord(this, AFX_KIND_HOST, nullptr, CRect(), WS_VISIBLE, 0, nullptr, "", view);
    CREATESTRUCT cs;
    cs.style = WS_VISIBLE;
    cs.cx = m_hWnd->rect.Width();
    cs.cy = m_hWnd->rect.Height();
    SendMessage(WM_CREATE, 0, (LPARAM)&cs);
}

BOOL CFrameWnd::DestroyWindow()
{
    BOOL r = CWnd::DestroyWindow();
    m_pHostView = nullptr;
    return r;
}
