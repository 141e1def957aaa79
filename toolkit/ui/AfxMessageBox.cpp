// Message boxes: a small dialog laid out from the text, with OK, OK/Cancel
// or Yes/No buttons.
#include <algorithm>
#include <string>
#include <vector>

#include "AfxWndImpl.h"
#include "CDC.h"
#include "CDialog.h"
#include "CToolkit.h"

namespace
{
const UINT kMessageBoxTemplate = 0x7FFF0001u;

class CAfxMessageBox : public CDialog
{
public:
    CAfxMessageBox(CWnd* parent, UINT type) : CDialog(kMessageBoxTemplate, parent), m_nType(type) {}
    LPCTSTR GetClassName() const override { return "CAfxMessageBox"; }
    void OnCancel() override
    {
        // Closing a box that only has OK answers OK.
        EndDialog((m_nType & 0xF) == MB_OK ? IDOK
                                           : ((m_nType & 0xF) == MB_YESNO ? IDNO : IDCANCEL));
    }
    void OnYes() { EndDialog(IDYES); }
    void OnNo() { EndDialog(IDNO); }

private:
    UINT m_nType;
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CAfxMessageBox, CDialog)
ON_COMMAND(IDYES, OnYes)
ON_COMMAND(IDNO, OnNo)
END_MESSAGE_MAP()

int RunMessageBox(CWnd* parent, LPCTSTR text, LPCTSTR caption, UINT type)
{
    // Split the text into lines and size the box around them.
    std::vector<std::string> lines;
    std::string all = text ? text : "";
    size_t start = 0;
    while (true)
    {
        size_t nl = all.find('\n', start);
        lines.push_back(
            all.substr(start, nl == std::string::npos ? std::string::npos : nl - start));
        if (nl == std::string::npos)
            break;
        start = nl + 1;
    }
    CDC measure;
    measure.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    measure.SelectObject(AfxImpl::DefaultFont());
    int lineHeight = measure.GetTextExtent("Ag", 2).cy + 4;
    int textWidth = 0;
    for (const std::string& l : lines)
        textWidth = std::max(textWidth, measure.GetTextExtent(l.c_str(), (int)l.size()).cx);
    int width = std::max(260, textWidth + 40);
    int height = 20 + (int)lines.size() * lineHeight + 50;

    AfxDlgTemplate t;
    t.caption = caption ? caption : "";
    t.width = width;
    t.height = height;
    std::vector<std::string> keep = lines; // texts must outlive the template use
    for (size_t i = 0; i < keep.size(); ++i)
    {
        int y = 16 + (int)i * lineHeight;
        t.items.push_back(AfxDlgItem{AFX_DLG_STATIC, 0xFFFF,
                                     CRect(20, y, width - 20, y + lineHeight), keep[i].c_str(), 0});
    }
    int by = height - 36;
    UINT kind = type & 0xF;
    if (kind == MB_OKCANCEL || kind == MB_YESNO)
    {
        bool yesNo = kind == MB_YESNO;
        t.items.push_back(AfxDlgItem{AFX_DLG_DEFBUTTON, yesNo ? IDYES : IDOK,
                                     CRect(width - 180, by, width - 100, by + 24),
                                     yesNo ? "Yes" : "OK", 0});
        t.items.push_back(AfxDlgItem{AFX_DLG_BUTTON, yesNo ? IDNO : IDCANCEL,
                                     CRect(width - 90, by, width - 10, by + 24),
                                     yesNo ? "No" : "Cancel", 0});
    }
    else
    {
        t.items.push_back(AfxDlgItem{AFX_DLG_DEFBUTTON, IDOK,
                                     CRect(width - 90, by, width - 10, by + 24), "OK", 0});
    }
    AfxRegisterDialogTemplate(kMessageBoxTemplate, t);
    CAfxMessageBox box(parent, type);
    INT_PTR r = box.DoModal();
    AfxRegisterDialogTemplate(kMessageBoxTemplate, AfxDlgTemplate{}); // drop the texts
    if (r < 0)
        return kind == MB_OK ? IDOK : IDCANCEL;
    return (int)r;
}
} // namespace

int CWnd::MessageBox(LPCTSTR text, LPCTSTR caption, UINT type)
{
    return RunMessageBox(this, text, caption, type);
}

int AfxMessageBox(LPCTSTR text, UINT type, UINT)
{
    return RunMessageBox(CToolkit::GetModalWindow(), text, "", type);
}
