// CVRXDragControl: the one drag path of the knob and the fader.
#include "CVRXDragControl.h"

bool CVRXDragControl::BeginDrag(CPoint point)
{
    if (!AcceptsPress() || !m_Rect.PtInRect(point))
        return false;
    if (m_pParent && m_pParent->GetSafeHwnd())
        m_pParent->SetCapture();
    m_bDragging = true;
    return true;
}

void CVRXDragControl::OnMouseMove(CPoint point, CDC* dc)
{
    if (!m_bDragging)
        return;
    DragTo(point);
    Paint(dc);
}

void CVRXDragControl::OnLButtonUp(CPoint point, CDC* dc)
{
    if (!m_bDragging)
        return;
    if (m_pParent && m_pParent->GetSafeHwnd())
        m_pParent->ReleaseCapture();
    m_bDragging = false;
    DragTo(point);
    OnDragEnd();
    Paint(dc);
}
