// CMenu: a list of entries shown through the toolkit's pop-up list.
#include "CMenu.h"

#include "AfxPopupList.h"

CMenu::~CMenu()
{
    DestroyMenu();
}

BOOL CMenu::CreatePopupMenu()
{
    m_Items.clear();
    m_hMenu = this;
    return TRUE;
}

BOOL CMenu::DestroyMenu()
{
    bool had = m_hMenu != nullptr;
    m_Items.clear();
    m_hMenu = nullptr;
    return had ? TRUE : FALSE;
}

BOOL CMenu::AppendMenu(UINT flags, UINT_PTR id, LPCTSTR text)
{
    if (!m_hMenu)
        return FALSE;
    m_Items.push_back(Item{flags, id, CString(text ? text : "")});
    return TRUE;
}

int CMenu::FindItem(UINT item, UINT flags) const
{
    if (flags & MF_BYPOSITION)
        return item < m_Items.size() ? (int)item : -1;
    for (size_t i = 0; i < m_Items.size(); ++i)
    {
        if (m_Items[i].id == item && !(m_Items[i].flags & MF_SEPARATOR))
            return (int)i;
    }
    return -1;
}

UINT CMenu::GetMenuItemID(int position) const
{
    if (position < 0 || position >= (int)m_Items.size())
        return (UINT)-1;
    return (UINT)m_Items[position].id;
}

UINT CMenu::CheckMenuItem(UINT item, UINT check)
{
    int i = FindItem(item, check);
    if (i < 0)
        return (UINT)-1;
    UINT old = m_Items[i].flags & MF_CHECKED;
    m_Items[i].flags = (m_Items[i].flags & ~(UINT)MF_CHECKED) | (check & MF_CHECKED);
    return old;
}

UINT CMenu::EnableMenuItem(UINT item, UINT enable)
{
    int i = FindItem(item, enable);
    if (i < 0)
        return (UINT)-1;
    const UINT mask = MF_GRAYED | MF_DISABLED;
    UINT old = m_Items[i].flags & mask;
    m_Items[i].flags = (m_Items[i].flags & ~mask) | (enable & mask);
    return old;
}

UINT CMenu::GetMenuState(UINT item, UINT flags) const
{
    int i = FindItem(item, flags);
    return i < 0 ? (UINT)-1 : m_Items[i].flags;
}

BOOL CMenu::TrackPopupMenu(UINT flags, int x, int y, CWnd* owner, LPCRECT)
{
    if (!m_hMenu || m_Items.empty())
        return FALSE;
    std::vector<CAfxPopupList::Entry> entries;
    for (const Item& item : m_Items)
    {
        bool separator = (item.flags & MF_SEPARATOR) != 0;
        bool enabled = !(item.flags & (MF_GRAYED | MF_DISABLED));
        entries.push_back(CAfxPopupList::Entry{item.text, (item.flags & MF_CHECKED) != 0, enabled,
                                               separator, item.id});
    }
    CAfxPopupList list(true);
    int chosen = list.Run(entries, CPoint(x, y), 80, -1, owner);
    if (chosen < 0)
        return FALSE;
    UINT id = (UINT)m_Items[chosen].id;
    if (flags & TPM_RETURNCMD)
        return (BOOL)id;
    if (owner)
        owner->PostMessage(WM_COMMAND, MAKEWPARAM(id, 0), 0);
    return TRUE;
}
