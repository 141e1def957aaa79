// A two-state push switch drawn from two images, one for value 0 and one for
// a non-zero value; each holds the released look in its upper half and the
// pressed look in its lower half. An optional disable image is a mask the
// switch is drawn through, so the background shows where the mask is white.
// Not a window: the owner forwards the mouse and paints it on a context.
// Thread: UI only.
#pragma once

#include "CVRXBitmap.h"
#include "CVRXControl.h"

class CVRXBitmapSwitch2DC : public CVRXControl
{
public:
    CVRXBitmapSwitch2DC() = default;

    void Make(CRect& rect, CWnd* parent, CVRXBitmap* image0, CVRXBitmap* image1, unsigned id,
              CRect& displayRect, bool latched, CVRXBitmap* disableImage,
              VRXCONTROLCALLBACK callback, void* owner);
    void SetDisableBmp(CVRXBitmap* disableImage) { m_pDisableBmp = disableImage; }
    void DrawSwitch(CDC* dc);
    void Paint(CDC* dc) override { DrawSwitch(dc); }
    void SetSelect(bool select) { m_bSelect = select; }
    bool IsSelected() const { return m_bSelect; }
    // Ignored while disabled, and by a latched switch that is on; calls back
    // (when notify) only on a change.
    void SetValue(int value, bool notify);
    int GetValue() const { return m_nValue; }
    bool PtInSwitch(CPoint point) const { return m_Rect.PtInRect(point); }

    // Self-contained push handling for panels that want it: a press inside
    // sets the pressed look, the release inside toggles the value.
    bool LButtonDown(CPoint point);
    bool LButtonUp(CPoint point);
    bool LButtonDblClk(CPoint point) { return LButtonDown(point); }
    bool RButtonDown(CPoint) { return false; }
    bool RButtonUp(CPoint) { return false; }
    bool RButtonDblClk(CPoint) { return false; }
    bool IsDown() const { return m_bDown; }

private:
    bool m_bDown = false;  // pressed look
    bool m_bLatch = false; // once on, stays on
    CVRXBitmap* m_pBmp0 = nullptr;
    CVRXBitmap* m_pBmp1 = nullptr;
    CVRXBitmap* m_pDisableBmp = nullptr;
    int m_nValue = 0;
    bool m_bSelect = false;
};
