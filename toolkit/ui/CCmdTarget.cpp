// Message-map search: the class's own table first, then its bases' tables.
#include "CCmdTarget.h"

namespace
{
bool Matches(const AFX_MSGMAP_ENTRY& e, UINT message, WPARAM wParam)
{
    if (e.nMessage != message)
        return false;
    if (message != WM_COMMAND)
        return true;
    UINT id = LOWORD(wParam);
    UINT code = HIWORD(wParam);
    return e.nCode == code && id >= e.nID && id <= e.nLastID;
}
} // namespace

const AFX_MSGMAP* CCmdTarget::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY entries[] = {{0, 0, 0, 0, AfxSig_end, nullptr}};
    static const AFX_MSGMAP map = {nullptr, &entries[0]};
    return &map;
}

const AFX_MSGMAP* CCmdTarget::GetMessageMap() const
{
    return GetThisMessageMap();
}

const AFX_MSGMAP_ENTRY* CCmdTarget::FindMessageEntry(UINT message, WPARAM wParam) const
{
    for (const AFX_MSGMAP* map = GetMessageMap(); map;
         map = map->pfnGetBaseMap ? map->pfnGetBaseMap() : nullptr)
    {
        for (const AFX_MSGMAP_ENTRY* e = map->lpEntries; e->nSig != AfxSig_end; ++e)
        {
            if (Matches(*e, message, wParam))
                return e;
        }
    }
    return nullptr;
}

bool CCmdTarget::OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result)
{
    const AFX_MSGMAP_ENTRY* e = FindMessageEntry(message, wParam);
    if (!e || !e->pfn)
        return false;
    LRESULT r = e->pfn(this, wParam, lParam);
    if (result)
        *result = r;
    return true;
}
