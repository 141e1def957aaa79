// CVRXControl: set-up, display invalidation and change reports.
#include "CVRXControl.h"

void CVRXControl::Setup(unsigned id, const CRect& rect, const CRect& displayRect, CWnd* parent,
                        VRXCONTROLCALLBACK callback, void* owner)
{
    m_nID = id;
    m_Rect = rect;
    m_DispRect = displayRect;
    m_pParent = parent;
    m_pCallback = callback;
    m_pOwner = owner;
}

void CVRXControl::InvalidateDisplay()
{
    if (!m_DispRect.IsRectEmpty() && m_pParent && m_pParent->GetSafeHwnd())
        m_pParent->InvalidateRect(&m_DispRect, TRUE);
}

void CVRXControl::Notify(float value)
{
    if (m_pCallback)
        m_pCallback((int)m_nID, value, m_pOwner);
}
