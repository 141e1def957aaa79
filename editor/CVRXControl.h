// What the panel's three bitmap controls share: an id, a rectangle in the
// parent window, a value display rectangle that every change invalidates, and
// the callback (id, value, owner) through which they report changes. Not a
// window: the owner forwards the mouse and paints them on a context.
// Thread: UI only.
#pragma once

#include "AfxWin.h"
#include "VRXControlCallback.h"

class CVRXControl
{
public:
    virtual ~CVRXControl() = default;

    // Draws the control's current state on dc (nothing when dc is null).
    virtual void Paint(CDC* dc) = 0;

    unsigned GetID() const { return m_nID; }
    // A disabled control ignores the mouse (the fader and the switch use it).
    void Enable(bool enable) { m_bEnable = enable; }
    bool IsEnabled() const { return m_bEnable; }
    void GetRect(CRect* rect) const { *rect = m_Rect; }
    void SetNewRect(CRect& rect, CRect& displayRect)
    {
        m_Rect = rect;
        m_DispRect = displayRect;
    }

protected:
    void Setup(unsigned id, const CRect& rect, const CRect& displayRect, CWnd* parent,
               VRXCONTROLCALLBACK callback, void* owner);
    // Invalidates the value display (with erase) when there is one.
    void InvalidateDisplay();
    // Draws on dc (when given) and invalidates the value display.
    void Redraw(CDC* dc)
    {
        Paint(dc);
        InvalidateDisplay();
    }
    void Notify(float value);

    unsigned m_nID = 0;
    CRect m_Rect;
    CRect m_DispRect; // value display, invalidated on every change
    CWnd* m_pParent = nullptr;
    VRXCONTROLCALLBACK m_pCallback = nullptr;
    void* m_pOwner = nullptr;
    bool m_bEnable = true;
};
