// Toolkit-internal pop-up list: the window behind CMenu::TrackPopupMenu and
// the drop-down of CComboBox. Runs as a modal loop; a release over an enabled
// entry chooses it, a press outside (or Escape) dismisses the list.
#pragma once

#include <vector>

#include "CWnd.h"

class CAfxPopupList : public CWnd
{
public:
    struct Entry
    {
        CString text;
        bool checked;
        bool enabled;
        bool separator;
        UINT_PTR id = 0; // menu command id
    };

    explicit CAfxPopupList(bool isMenu) : m_bMenu(isMenu) {}

    // Shows the list with its top-left corner at a screen point (moved to
    // stay on screen); returns the chosen index or -1.
    int Run(const std::vector<Entry>& entries, CPoint screen, int minWidth, int selected,
            CWnd* owner);

    bool IsMenu() const { return m_bMenu; }
    CRect EntryRect(int index) const;
    int EntryCount() const { return (int)m_Entries.size(); }
    int IndexOfId(UINT_PTR id) const
    {
        for (int i = 0; i < (int)m_Entries.size(); ++i)
            if (!m_Entries[i].separator && m_Entries[i].id == id)
                return i;
        return -1;
    }
    LPCTSTR GetClassName() const override { return m_bMenu ? "CAfxMenu" : "CAfxDropDown"; }

    void OnPaint();
    void OnMouseMove(UINT flags, CPoint point);
    void OnLButtonDown(UINT flags, CPoint point);
    void OnLButtonUp(UINT flags, CPoint point);
    void OnKeyDown(UINT keyCode, UINT repeat, UINT flags);
    void OnClose();

private:
    int IndexAt(CPoint point) const;
    void Finish(int index);
    bool m_bMenu;
    std::vector<Entry> m_Entries;
    int m_nRowHeight = 18;
    int m_nHot = -1;
    int m_nResult = -1;
    bool m_bDone = false;

    DECLARE_MESSAGE_MAP()
};
