// A rotary knob drawn from a vertical film strip of equally tall frames.
// Not a window: the owner forwards the mouse and paints it on a context.
// Angles are degrees measured clockwise from straight down around the
// rectangle's centre; the travel runs from the start to the end angle and the
// gap between them at the bottom is a dead zone.
// Thread: UI only.
#pragma once

#include "CVRXBitmap.h"
#include "CVRXDragControl.h"

class CVRXNewBitmapTumamiDC : public CVRXDragControl
{
public:
    CVRXNewBitmapTumamiDC() = default;

    // `option` has no effect.
    void Make(CRect& rect, CRect& displayRect, CWnd* parent, CVRXBitmap* strip, float min,
              float max, unsigned id, int frames, float startAngle, float endAngle, int option,
              bool logarithmic, VRXCONTROLCALLBACK callback, void* owner);

    // Clamps to [min, max]; an unchanged value does nothing at all. Draws on
    // dc when given; calls back only when notify is set.
    void SetValue(float value, CDC* dc, bool notify);
    // Drag: maps a parent point to an angle and a value; calls back always.
    void SetValue(CPoint point);
    void Draw(CDC* dc);
    void Paint(CDC* dc) override { Draw(dc); }

    float GetValue() const { return m_fValue; }
    int GetIndexValue() const;
    // Accepts a press inside the knob: captures the mouse, starts a drag.
    bool PtInTumami(CPoint point) { return BeginDrag(point); }

    double GetAngle() const { return m_dAngle; }
    // Frame of the strip that Draw shows for the current value.
    int GetFrameIndex() const;

private:
    void DragTo(CPoint point) override { SetValue(point); }
    void OnDragEnd() override { m_fLastDragValue = -1.f; }

    CVRXBitmap* m_pStrip = nullptr;
    float m_fValue = 65535.f; // 65535: not set yet
    float m_fStartAngle = 0.f;
    float m_fEndAngle = 360.f;
    double m_dAngle = 0.0;
    // Last value set or dragged to; -1 after a release. Keeps a knob that
    // reached an end from jumping across the dead zone to the other end.
    float m_fLastDragValue = 65535.f;
    float m_fStep = 1.f; // value per frame
};
