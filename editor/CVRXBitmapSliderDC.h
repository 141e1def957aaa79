// A fader drawn from a track image and a cap image. The cap travels between
// a start point (the minimum) and an end point (the maximum), both relative
// to the control rectangle. In logarithmic mode the travel position t (0..1)
// and the value v of a 0..1 range meet as v = (10^t - 1) / 9.
// Not a window: the owner forwards the mouse and paints it on a context.
// Thread: UI only.
#pragma once

#include "CVRXBitmap.h"
#include "CVRXDragControl.h"

class CVRXBitmapSliderDC : public CVRXDragControl
{
public:
    CVRXBitmapSliderDC() = default;

    // orientation: non-zero = vertical; `third` is not drawn.
    void Make(CRect& rect, CRect& displayRect, CWnd* parent, CVRXBitmap* track, CVRXBitmap* third,
              CVRXBitmap* cap, float min, float max, CPoint start, CPoint end, unsigned id,
              int orientation, bool logarithmic, bool reversed, bool hideCap, bool snapToEnds,
              VRXCONTROLCALLBACK callback, void* owner);

    // Clamps; stores and calls back (when notify) only on a change; draws on
    // dc when given.
    void SetValue(float value, CDC* dc, bool notify);
    void DrawSlider(CDC* dc);
    void Paint(CDC* dc) override { DrawSlider(dc); }
    // Accepts a press inside the fader while enabled: captures the mouse and
    // starts a drag.
    bool PtInSwitch(CPoint point) { return BeginDrag(point); }
    // Maps a parent point to a value; calls back when it changed.
    void SetValueByPoint(CPoint point);
    float GetValue() const { return m_fValue; }

    // Travel coordinate of the cap's centre for the current value (y for a
    // vertical fader), relative to the control rectangle.
    double GetCapCentre() const;

private:
    bool AcceptsPress() const override { return m_bEnable; }
    void DragTo(CPoint point) override { SetValueByPoint(point); }

    int m_nOrientation = 1;
    int m_nTravelStart = 0; // minimum end of the travel (y when vertical, else x)
    int m_nTravelEnd = 0;   // maximum end
    CVRXBitmap* m_pTrack = nullptr;
    CVRXBitmap* m_pCap = nullptr;
    float m_fValue = 0.f;
    bool m_bHideCap = false;
    bool m_bReverse = false;
    bool m_bSnap = false;
    int m_nTrackWidth = 0;
    int m_nTrackHeight = 0;
};
