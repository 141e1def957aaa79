// A drop-down list drawn by the toolkit. A click opens the list (a pop-up
// window run as a modal loop); choosing an entry, or Up/Down while focused,
// changes the selection and sends WM_COMMAND (CBN_SELCHANGE, id) to the
// parent. SetCurSel changes it without a notification.
#pragma once

#include <vector>

#include "CAfxControl.h"

class CComboBox : public CAfxControl
{
public:
    CComboBox() : CAfxControl("COMBOBOX") {}

    int AddString(LPCTSTR text); // index of the new entry
    int GetCount() const { return (int)m_Items.size(); }
    int SetCurSel(int index);                // CB_ERR when out of range (selection cleared)
    int GetCurSel() const { return m_nSel; } // CB_ERR when nothing is selected
    int GetLBText(int index, CString& text) const;
    void ResetContent();

    LPCTSTR GetClassName() const override { return "CComboBox"; }

    void OnPaint();
    void OnLButtonDown(UINT flags, CPoint point);
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);

    // Opens the list as the user's click does; returns the chosen index or
    // CB_ERR when dismissed.
    int ShowDropDown();
    // Selects as the user does (notifies the parent when it changes).
    void SelectByUser(int index);

private:
    std::vector<CString> m_Items;
    int m_nSel = CB_ERR;

    DECLARE_MESSAGE_MAP()
};
