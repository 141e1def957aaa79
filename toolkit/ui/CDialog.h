// Modal dialogs. A dialog's layout is a template registered under its id:
// a caption, a client size and a list of controls (kind, id, rectangle,
// text). DoModal creates the dialog window, runs OnInitDialog (which binds
// member controls through DoDataExchange / DDX_Control and creates the
// remaining controls), then pumps events until EndDialog.
// Return presses the default button (IDOK), Escape and the close box cancel.
#pragma once

#include <vector>

#include "CWnd.h"

enum AfxDlgItemKind
{
    AFX_DLG_STATIC,    // a text label
    AFX_DLG_EDIT,      // a single-line edit field
    AFX_DLG_BUTTON,    // a push button; sends WM_COMMAND (BN_CLICKED, id)
    AFX_DLG_DEFBUTTON, // the default push button
    AFX_DLG_COMBOBOX   // a drop-down list
};

struct AfxDlgItem
{
    AfxDlgItemKind kind;
    int id;
    CRect rect; // pixels, client coordinates of the dialog
    const char* text;
    DWORD style;
};

struct AfxDlgTemplate
{
    const char* caption;
    int width; // client size in pixels
    int height;
    std::vector<AfxDlgItem> items;
};

// Registers (or replaces) the template of a dialog id.
void AfxRegisterDialogTemplate(UINT templateId, const AfxDlgTemplate& dlgTemplate);
const AfxDlgTemplate* AfxFindDialogTemplate(UINT templateId);

class CDataExchange
{
public:
    CDataExchange(CWnd* dlg, BOOL saveAndValidate)
        : m_pDlgWnd(dlg), m_bSaveAndValidate(saveAndValidate)
    {
    }
    CWnd* m_pDlgWnd;
    BOOL m_bSaveAndValidate;
};

// Binds a member control to the template item `id`: creates it there on the
// first exchange. Does nothing if the template has no such item.
void DDX_Control(CDataExchange* dx, int id, CWnd& control);
// Moves text between a control and a string.
void DDX_Text(CDataExchange* dx, int id, CString& value);

class CDialog : public CWnd
{
public:
    CDialog();
    explicit CDialog(UINT templateId, CWnd* parent = nullptr);
    ~CDialog() override;

    // Shows the dialog and returns the EndDialog result, or -1 if the
    // dialog could not be created (unknown template).
    virtual INT_PTR DoModal();
    // Binds and creates the controls (UpdateData(FALSE)); returns TRUE.
    virtual BOOL OnInitDialog();
    // UpdateData(TRUE) then EndDialog(IDOK).
    virtual void OnOK();
    // EndDialog(IDCANCEL).
    virtual void OnCancel();
    void EndDialog(int result);

    BOOL PreTranslateMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    LPCTSTR GetClassName() const override { return "CDialog"; }

    UINT m_nIDTemplate = 0;
    CWnd* m_pParentWnd = nullptr;

    // Creates the template's controls not yet created by DDX_Control.
    void CreateTemplateControls();
    const AfxDlgItem* FindTemplateItem(int id) const;
    // Creates one template item into `control` (used by DDX_Control).
    BOOL CreateTemplateItem(const AfxDlgItem& item, CWnd& control);

    void OnClose();
    void OnPaint();

private:
    bool m_bEnded = false;
    int m_nResult = IDCANCEL;
    std::vector<CWnd*> m_OwnedControls;
    void OnOKCommand() { OnOK(); }
    void OnCancelCommand() { OnCancel(); }

    DECLARE_MESSAGE_MAP()
};
