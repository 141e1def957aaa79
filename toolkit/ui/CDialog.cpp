// CDialog: template-driven modal dialogs, dialog data exchange and the
// dialog keyboard (Return, Escape, Tab).
#include "CDialog.h"

#include <algorithm>
#include <map>

#include "AfxWndImpl.h"
#include "CButton.h"
#include "CComboBox.h"
#include "CDC.h"
#include "CEdit.h"
#include "CStatic.h"
#include "CToolkit.h"

namespace
{
std::map<UINT, AfxDlgTemplate>& Templates()
{
    static std::map<UINT, AfxDlgTemplate> table;
    return table;
}

LPCTSTR ClassNameOf(AfxDlgItemKind kind)
{
    switch (kind)
    {
    case AFX_DLG_STATIC:
        return "STATIC";
    case AFX_DLG_EDIT:
        return "EDIT";
    case AFX_DLG_COMBOBOX:
        return "COMBOBOX";
    default:
        return "BUTTON";
    }
}

DWORD StyleOf(const AfxDlgItem& item)
{
    DWORD style = WS_CHILD | WS_VISIBLE | item.style;
    if (item.kind != AFX_DLG_STATIC)
        style |= WS_TABSTOP;
    if (item.kind == AFX_DLG_DEFBUTTON)
        style |= BS_DEFPUSHBUTTON;
    return style;
}

bool Focusable(CWnd* w)
{
    return w && w->m_hWnd && (w->GetStyle() & WS_TABSTOP) && w->IsWindowVisible() &&
           w->IsWindowEnabled();
}
} // namespace

void AfxRegisterDialogTemplate(UINT templateId, const AfxDlgTemplate& dlgTemplate)
{
    Templates()[templateId] = dlgTemplate;
}

const AfxDlgTemplate* AfxFindDialogTemplate(UINT templateId)
{
    auto it = Templates().find(templateId);
    return it == Templates().end() ? nullptr : &it->second;
}

void DDX_Control(CDataExchange* dx, int id, CWnd& control)
{
    if (!dx || control.m_hWnd)
        return;
    CDialog* dlg = dynamic_cast<CDialog*>(dx->m_pDlgWnd);
    if (!dlg || !dlg->m_hWnd)
        return;
    if (const AfxDlgItem* item = dlg->FindTemplateItem(id))
        dlg->CreateTemplateItem(*item, control);
}

void DDX_Text(CDataExchange* dx, int id, CString& value)
{
    if (!dx || !dx->m_pDlgWnd)
        return;
    if (dx->m_bSaveAndValidate)
        dx->m_pDlgWnd->GetDlgItemText(id, value);
    else
        dx->m_pDlgWnd->SetDlgItemText(id, value);
}

BEGIN_MESSAGE_MAP(CDialog, CWnd)
ON_COMMAND(IDOK, OnOKCommand)
ON_COMMAND(IDCANCEL, OnCancelCommand)
ON_WM_CLOSE()
ON_WM_PAINT()
END_MESSAGE_MAP()

CDialog::CDialog() = default;

CDialog::CDialog(UINT templateId, CWnd* parent) : m_nIDTemplate(templateId), m_pParentWnd(parent) {}

CDialog::~CDialog()
{
    if (m_hWnd)
        DestroyWindow();
    for (CWnd* w : m_OwnedControls)
        delete w;
}

const AfxDlgItem* CDialog::FindTemplateItem(int id) const
{
    const AfxDlgTemplate* t = AfxFindDialogTemplate(m_nIDTemplate);
    if (!t)
        return nullptr;
    for (const AfxDlgItem& item : t->items)
    {
        if (item.id == id)
            return &item;
    }
    return nullptr;
}

BOOL CDialog::CreateTemplateItem(const AfxDlgItem& item, CWnd& control)
{
    if (control.m_hWnd)
        return FALSE;
    return control.Create(ClassNameOf(item.kind), item.text ? item.text : "", StyleOf(item),
                          item.rect, this, (UINT)item.id);
}

void CDialog::CreateTemplateControls()
{
    const AfxDlgTemplate* t = AfxFindDialogTemplate(m_nIDTemplate);
    if (!t || !m_hWnd)
        return;
    for (const AfxDlgItem& item : t->items)
    {
        if (item.kind != AFX_DLG_STATIC && GetDlgItem(item.id))
            continue;
        if (item.kind == AFX_DLG_STATIC)
        {
            // Labels may share an id; create each once.
            bool exists = false;
            for (CWnd* w : m_OwnedControls)
                exists = exists || (w->m_hWnd && w->m_hWnd->rect == item.rect &&
                                    w->GetDlgCtrlID() == item.id);
            if (exists)
                continue;
        }
        CWnd* control = nullptr;
        switch (item.kind)
        {
        case AFX_DLG_STATIC:
            control = new CStatic;
            break;
        case AFX_DLG_EDIT:
            control = new CEdit;
            break;
        case AFX_DLG_COMBOBOX:
            control = new CComboBox;
            break;
        default:
            control = new CButton;
            break;
        }
        m_OwnedControls.push_back(control);
        CreateTemplateItem(item, *control);
    }
}

INT_PTR CDialog::DoModal()
{
    const AfxDlgTemplate* t = AfxFindDialogTemplate(m_nIDTemplate);
    if (!t || m_hWnd)
        return -1;
    // Centred over the parent (or the screen).
    CRect over;
    if (m_pParentWnd && m_pParentWnd->m_hWnd)
        m_pParentWnd->GetWindowRect(&over);
    else
    {
        CSize s = CToolkit::ScreenSize();
        over = CRect(0, 0, s.cx, s.cy);
    }
    int x = over.left + (over.Width() - t->width) / 2;
    int y = over.top + (over.Height() - t->height) / 2;
    m_bEnded = false;
    m_nResult = IDCANCEL;
    if (!Create(nullptr, t->caption ? t->caption : "", WS_POPUP | WS_CAPTION | WS_VISIBLE,
                CRect(x, y, x + t->width, y + t->height), m_pParentWnd, 0))
        return -1;
    SetWindowText(t->caption ? t->caption : "");
    // Hosts may forward no keys to a plug-in's windows: the dialog holds the
    // keyboard while it is open (keys go to its focused control); destroying
    // it gives the keyboard back.
    HoldKeyboard(true);
    CWnd* oldFocus = CWnd::GetFocus();
    OnInitDialog();
    CreateTemplateControls();
    if (m_hWnd && !m_bEnded)
    {
        // Focus the first control that takes it.
        CWnd* focus = CWnd::GetFocus();
        if (!focus || !AfxImpl::IsInside(focus->m_hWnd, m_hWnd))
        {
            for (AFX_WND* c : m_hWnd->children)
            {
                if (Focusable(c->pWnd) && c->wndClass == nullptr &&
                    std::string(c->pWnd->GetClassName()) != "CButton")
                {
                    c->pWnd->SetFocus();
                    break;
                }
            }
        }
        CToolkit::RunModalLoop(this, m_bEnded);
    }
    DestroyWindow();
    for (CWnd* w : m_OwnedControls)
        delete w;
    m_OwnedControls.clear();
    if (oldFocus && oldFocus->m_hWnd)
        oldFocus->SetFocus();
    return m_nResult;
}

BOOL CDialog::OnInitDialog()
{
    UpdateData(FALSE);
    CreateTemplateControls();
    return TRUE;
}

void CDialog::OnOK()
{
    UpdateData(TRUE);
    EndDialog(IDOK);
}

void CDialog::OnCancel()
{
    EndDialog(IDCANCEL);
}

void CDialog::EndDialog(int result)
{
    m_nResult = result;
    m_bEnded = true;
}

void CDialog::OnClose()
{
    OnCancel();
}

void CDialog::OnPaint()
{
    CPaintDC dc(this);
    AfxImpl::PaintFace(dc, this, RGB(236, 236, 236));
}

BOOL CDialog::PreTranslateMessage(UINT message, WPARAM wParam, LPARAM)
{
    if (message != WM_KEYDOWN || !m_hWnd)
        return FALSE;
    CWnd* focus = CWnd::GetFocus();
    if (wParam == VK_RETURN_KEY)
    {
        int id = IDOK;
        if (focus && AfxImpl::IsInside(focus->m_hWnd, m_hWnd) &&
            std::string(focus->GetClassName()) == "CButton")
            id = focus->GetDlgCtrlID();
        SendMessage(WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), 0);
        return TRUE;
    }
    if (wParam == VK_ESCAPE_KEY)
    {
        SendMessage(WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
        return TRUE;
    }
    if (wParam == VK_TAB)
    {
        std::vector<CWnd*> order;
        for (AFX_WND* c : m_hWnd->children)
        {
            if (c->kind == AFX_KIND_CHILD && Focusable(c->pWnd))
                order.push_back(c->pWnd);
        }
        if (order.empty())
            return TRUE;
        auto it = std::find(order.begin(), order.end(), focus);
        bool back = (GetKeyModifierState() & KEYMOD_SHIFT) != 0;
        size_t i = it == order.end() ? 0 : (size_t)(it - order.begin());
        size_t n = order.size();
        size_t next = it == order.end() ? 0 : (back ? (i + n - 1) % n : (i + 1) % n);
        order[next]->SetFocus();
        return TRUE;
    }
    return FALSE;
}
