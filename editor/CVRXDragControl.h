// A control that follows the mouse while the button is held: the knob and
// the fader. A press it accepts captures the mouse to the parent and starts a
// drag; every move and the release map the point to a value and redraw.
// Thread: UI only.
#pragma once

#include "CVRXControl.h"

class CVRXDragControl : public CVRXControl
{
public:
    // A press inside the control (while it accepts presses): captures the
    // mouse to the parent and starts a drag. False, and nothing done, else.
    bool BeginDrag(CPoint point);
    // While dragging: the point becomes the value, and the control is drawn.
    void OnMouseMove(CPoint point, CDC* dc);
    // Ends the drag: releases the capture, applies the point once more.
    void OnLButtonUp(CPoint point, CDC* dc);
    bool IsDragging() const { return m_bDragging; }

protected:
    virtual bool AcceptsPress() const { return true; }
    // Maps a parent point to the control's value (and reports it).
    virtual void DragTo(CPoint point) = 0;
    // After the release's point was applied, before the redraw.
    virtual void OnDragEnd() {}

    // The control's set-up with its value range; ends any drag.
    void Setup(unsigned id, const CRect& rect, const CRect& displayRect, CWnd* parent,
               VRXCONTROLCALLBACK callback, void* owner, float min, float max, bool logarithmic)
    {
        CVRXControl::Setup(id, rect, displayRect, parent, callback, owner);
        m_fMin = min;
        m_fMax = max;
        m_bLog = logarithmic;
        m_bDragging = false;
    }
    float ClampToRange(float value) const
    {
        if (value < m_fMin)
            value = m_fMin;
        return value > m_fMax ? m_fMax : value;
    }

    bool m_bDragging = false;
    float m_fMin = 0.f;
    float m_fMax = 1.f;
    bool m_bLog = false;
};
