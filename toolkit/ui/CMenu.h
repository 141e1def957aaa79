// A pop-up menu drawn by the toolkit. TrackPopupMenu shows it, runs a modal
// loop until an entry is chosen or the menu is dismissed, and delivers the
// chosen entry's id to the owner as WM_COMMAND (posted; with TPM_RETURNCMD
// the id is returned instead). Checked, grayed and disabled entries are
// drawn as such; grayed and disabled entries cannot be chosen.
#pragma once

#include <vector>

#include "CWnd.h"

class CMenu
{
public:
    CMenu() = default;
    ~CMenu();
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;

    struct Item
    {
        UINT flags;
        UINT_PTR id;
        CString text;
    };

    BOOL CreatePopupMenu();
    BOOL DestroyMenu();
    BOOL AppendMenu(UINT flags, UINT_PTR id = 0, LPCTSTR text = nullptr);
    // x, y: top-left corner in screen coordinates. Returns the chosen id
    // with TPM_RETURNCMD, otherwise TRUE when an entry was chosen.
    BOOL TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT rect = nullptr);

    UINT GetMenuItemCount() const { return (UINT)m_Items.size(); }
    UINT GetMenuItemID(int position) const;
    // MF_BYCOMMAND or MF_BYPOSITION; returns the previous state or (UINT)-1.
    UINT CheckMenuItem(UINT item, UINT check);
    UINT EnableMenuItem(UINT item, UINT enable);
    UINT GetMenuState(UINT item, UINT flags) const;
    const std::vector<Item>& GetItems() const { return m_Items; }
    HMENU m_hMenu = nullptr;

private:
    int FindItem(UINT item, UINT flags) const;
    std::vector<Item> m_Items;
};
