// Up/down arrows beside a buddy edit field. A press on the upper half adds
// one, on the lower half subtracts one (within the range, wrapping with
// UDS_WRAP); with UDS_SETBUDDYINT the buddy's text shows the position.
// The position is read back from the buddy's text before each step.
#pragma once

#include "CAfxControl.h"

class CSpinButtonCtrl : public CAfxControl
{
public:
    CSpinButtonCtrl() : CAfxControl("msctls_updown32") {}

    void SetRange32(int lower, int upper);
    void SetRange(short lower, short upper) { SetRange32(lower, upper); }
    void GetRange32(int& lower, int& upper) const;
    int SetPos32(int pos);
    int SetPos(int pos) { return SetPos32(pos); }
    int GetPos32(BOOL* error = nullptr) const;
    int GetPos() const { return GetPos32(); }
    CWnd* SetBuddy(CWnd* buddy);
    CWnd* GetBuddy() const { return m_pBuddy; }
    int SetBase(int base);

    LPCTSTR GetClassName() const override { return "CSpinButtonCtrl"; }

    void OnPaint();
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);

    // Steps by delta as a press on an arrow does.
    void Step(int delta);

private:
    void SyncFromBuddy();
    void SyncToBuddy();
    int m_nLower = 0;
    int m_nUpper = 100;
    int m_nPos = 0;
    int m_nBase = 10;
    int m_nPressed = 0; // +1 upper arrow held, -1 lower, 0 none
    CWnd* m_pBuddy = nullptr;

    DECLARE_MESSAGE_MAP()
};
