// Menus, modal dialogs, message boxes and the edit, spin and combo controls,
// driven by synthetic input on the headless backend.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

namespace
{
class COwnerWnd : public CWnd
{
public:
    std::vector<UINT> m_Commands; // command ids; 0 for a click
    void OnCopy(UINT id) { m_Commands.push_back(id); }
    void OnLButtonDown(UINT, CPoint) { m_Commands.push_back(0); }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(COwnerWnd, CWnd)
ON_COMMAND_RANGE(1010, 1110, OnCopy)
ON_WM_LBUTTONDOWN()
END_MESSAGE_MAP()

class ToolkitControls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use());
        ASSERT_TRUE(m_Owner.Create(AfxRegisterWndClass(CS_DBLCLKS), "panel", WS_POPUP | WS_VISIBLE,
                                   CRect(50, 40, 500, 250), nullptr, 0));
    }
    void TearDown() override
    {
        CHeadless::SetModalHook(nullptr);
        m_Owner.DestroyWindow();
        EXPECT_EQ(CToolkit::WindowCount(), 0);
        EXPECT_EQ(CToolkit::GetModalWindow(), nullptr);
    }
    static CString Text(CWnd& w)
    {
        CString text;
        w.GetWindowText(text);
        return text;
    }
    COwnerWnd m_Owner;
};
} // namespace

TEST_F(ToolkitControls, MenuChoiceArrivesAsCommand)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    for (int i = 0; i < 4; ++i) // the third one is the current program
        ASSERT_TRUE(menu.AppendMenu(i == 2 ? MF_STRING | MF_CHECKED | MF_DISABLED : MF_STRING,
                                    1010 + i, (std::to_string(i + 1) + ": program").c_str()));
    CPoint at(89, 13);
    m_Owner.ClientToScreen(&at);

    CHeadless::PickMenuItem(1011);
    EXPECT_TRUE(menu.TrackPopupMenu(TPM_LEFTALIGN | TPM_RIGHTBUTTON, at.x, at.y, &m_Owner));
    EXPECT_TRUE(m_Owner.m_Commands.empty()); // posted, not sent
    CToolkit::Pump();
    EXPECT_EQ(m_Owner.m_Commands, std::vector<UINT>{1011});

    // The checked, disabled entry cannot be chosen.
    CHeadless::PickMenuItem(1012);
    EXPECT_FALSE(menu.TrackPopupMenu(TPM_RIGHTBUTTON, at.x, at.y, &m_Owner));
    // Nobody choosing dismisses the menu.
    EXPECT_FALSE(menu.TrackPopupMenu(TPM_RIGHTBUTTON, at.x, at.y, &m_Owner));
    CToolkit::Pump();
    EXPECT_EQ(m_Owner.m_Commands.size(), 1u);

    // Keyboard: down twice, Return chooses.
    CHeadless::SetModalHook(
        [](CWnd* modal)
        {
            ASSERT_TRUE(CHeadless::IsMenuWindow(modal));
            CHeadless::Key(VK_DOWN);
            CHeadless::Key(VK_DOWN);
            CHeadless::Key(VK_RETURN_KEY);
        });
    EXPECT_EQ(menu.TrackPopupMenu(TPM_RETURNCMD, at.x, at.y, &m_Owner), 1011);
    // A press outside dismisses.
    CHeadless::SetModalHook([](CWnd* modal) { CHeadless::MouseDown(modal, CPoint(-20, -20)); });
    EXPECT_FALSE(menu.TrackPopupMenu(TPM_RETURNCMD, at.x, at.y, &m_Owner));
    CHeadless::SetModalHook(nullptr);
    CToolkit::Pump();
    EXPECT_EQ(m_Owner.m_Commands.size(), 1u);

    EXPECT_EQ(menu.CheckMenuItem(9999, MF_CHECKED), (UINT)-1);
    CMenu empty;
    EXPECT_FALSE(empty.TrackPopupMenu(0, 0, 0, &m_Owner));
}

namespace
{
const UINT kSaveDlg = 5040;
const int kCombo = 1120;
const int kName = 5000;

void RegisterSaveTemplate()
{
    AfxDlgTemplate t;
    t.caption = "Save Program";
    t.width = 300;
    t.height = 120;
    t.items = {
        {AFX_DLG_STATIC, 0xFFFF, CRect(10, 12, 60, 30), "Slot", 0},
        {AFX_DLG_COMBOBOX, kCombo, CRect(70, 10, 290, 32), "", CBS_DROPDOWNLIST},
        {AFX_DLG_STATIC, 0xFFFF, CRect(10, 44, 60, 62), "Name", 0},
        {AFX_DLG_EDIT, kName, CRect(70, 42, 290, 64), "", 0},
        {AFX_DLG_DEFBUTTON, IDOK, CRect(120, 80, 200, 104), "OK", 0},
        {AFX_DLG_BUTTON, IDCANCEL, CRect(210, 80, 290, 104), "Cancel", 0},
    };
    AfxRegisterDialogTemplate(kSaveDlg, t);
}

class CSaveDlg : public CDialog
{
public:
    explicit CSaveDlg(CWnd* parent) : CDialog(kSaveDlg, parent) {}
    CComboBox m_Combo;
    int m_nSelect = -1;
    CString m_strName;
    int m_nSelChanges = 0;

    void DoDataExchange(CDataExchange* dx) override
    {
        CDialog::DoDataExchange(dx);
        DDX_Control(dx, kCombo, m_Combo);
    }
    BOOL OnInitDialog() override
    {
        CDialog::OnInitDialog();
        for (const char* name : {"1:Init", "2:Vocal", "3:Drums"})
            m_Combo.AddString(name);
        m_Combo.SetCurSel(1);
        SetDlgItemText(kName, "Vocal");
        return TRUE;
    }
    void OnSelCombo()
    {
        ++m_nSelChanges;
        CString text;
        m_Combo.GetLBText(m_Combo.GetCurSel(), text);
        SetDlgItemText(kName, text);
    }
    void OnOK() override
    {
        m_nSelect = m_Combo.GetCurSel();
        GetDlgItemText(kName, m_strName);
        CDialog::OnOK();
    }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(CSaveDlg, CDialog)
ON_CBN_SELCHANGE(kCombo, OnSelCombo)
END_MESSAGE_MAP()

} // namespace

TEST_F(ToolkitControls, DialogSelectionChangeAndCancelPaths)
{
    RegisterSaveTemplate();
    {
        // Keyboard selection in the list notifies; Escape cancels at once.
        CSaveDlg dlg(&m_Owner);
        int turns = 0;
        CHeadless::SetModalHook(
            [&](CWnd*)
            {
                ++turns;
                dlg.m_Combo.SetFocus();
                CHeadless::Key(VK_DOWN);
                CString name;
                dlg.GetDlgItemText(kName, name);
                EXPECT_STREQ(name, "3:Drums");
                CHeadless::Key(VK_ESCAPE_KEY);
            });
        EXPECT_EQ(dlg.DoModal(), IDCANCEL);
        EXPECT_EQ(turns, 1);
        EXPECT_EQ(dlg.m_nSelChanges, 1);
        EXPECT_EQ(dlg.m_nSelect, -1); // OnOK never ran
    }
    {
        // The drop-down list: Down then Return picks the next entry; the
        // dialog's Return then means OK.
        CSaveDlg dlg(&m_Owner);
        CHeadless::SetModalHook(
            [&](CWnd* modal)
            {
                if (CHeadless::IsDropDownWindow(modal))
                {
                    CHeadless::Key(VK_DOWN);
                    CHeadless::Key(VK_RETURN_KEY);
                    return;
                }
                if (dlg.m_nSelChanges == 0)
                {
                    CHeadless::Click(&dlg.m_Combo, CPoint(5, 5)); // opens the list
                    return;
                }
                CHeadless::Key(VK_RETURN_KEY);
            });
        EXPECT_EQ(dlg.DoModal(), IDOK);
        EXPECT_EQ(dlg.m_nSelect, 0 + 2);
        EXPECT_STREQ(dlg.m_strName, "3:Drums");
    }
    {
        // Nobody answering closes the dialog as Cancel; the Cancel button too.
        CHeadless::SetModalHook(nullptr);
        CSaveDlg dlg(&m_Owner);
        EXPECT_EQ(dlg.DoModal(), IDCANCEL);
        CHeadless::SetModalHook([&](CWnd*)
                                { CHeadless::Click(dlg.GetDlgItem(IDCANCEL), CPoint(3, 3)); });
        EXPECT_EQ(dlg.DoModal(), IDCANCEL);
    }
    // An unknown template makes no dialog.
    CDialog missing(4242, &m_Owner);
    EXPECT_EQ(missing.DoModal(), -1);
}

TEST_F(ToolkitControls, ModalLoopsIgnoreInputOutsideTheModalWindow)
{
    RegisterSaveTemplate();
    CSaveDlg dlg(&m_Owner);
    CHeadless::SetModalHook(
        [&](CWnd*)
        {
            // A click on the panel behind the dialog goes nowhere; a command
            // posted to it is still delivered.
            CHeadless::Click(&m_Owner, CPoint(10, 10));
            m_Owner.PostMessage(WM_COMMAND, MAKEWPARAM(1020, 0));
            CHeadless::Pump();
            EXPECT_EQ(m_Owner.m_Commands, std::vector<UINT>{1020});
            dlg.EndDialog(77);
        });
    EXPECT_EQ(dlg.DoModal(), 77);
}

TEST_F(ToolkitControls, MessageBoxAnswers)
{
    CHeadless::SetModalHook([](CWnd* modal)
                            { CHeadless::Click(modal->GetDlgItem(IDOK), CPoint(4, 4)); });
    EXPECT_EQ(m_Owner.MessageBox("Could not save the bank.", "DeEsser", MB_OK), IDOK);
    CHeadless::SetModalHook([](CWnd*) { CHeadless::Key(VK_ESCAPE_KEY); });
    EXPECT_EQ(AfxMessageBox("Overwrite?\nSecond line", MB_OKCANCEL), IDCANCEL);
    CHeadless::SetModalHook([](CWnd* modal)
                            { CHeadless::Click(modal->GetDlgItem(IDNO), CPoint(4, 4)); });
    EXPECT_EQ(AfxMessageBox("Really?", MB_YESNO), IDNO);
    CHeadless::SetModalHook(nullptr);
    EXPECT_EQ(AfxMessageBox("Nobody reads this", MB_OK), IDOK);
}

TEST_F(ToolkitControls, EditTextLimitSelectionAndKeys)
{
    CFont font;
    ASSERT_TRUE(font.CreatePointFont(12, "Osaka"));
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_VISIBLE | ES_RIGHT, CRect(0, 0, 80, 18), &m_Owner, 18001));
    edit.SetFont(&font);
    edit.SetLimitText(6);
    edit.SetWindowText("-15");
    edit.SetSel(8, 8); // beyond the end: the caret goes to the end
    int a = -1, b = -1;
    edit.GetSel(a, b);
    EXPECT_EQ(std::make_pair(a, b), std::make_pair(3, 3));
    edit.SetFocus();
    CHeadless::Type("2.50");
    EXPECT_STREQ(Text(edit), "-152.5"); // limited to 6 characters
    CHeadless::Key(VK_LEFT);
    CHeadless::Key(VK_LEFT);
    CHeadless::Char(8);
    CHeadless::Key(VK_DELETE_KEY);
    EXPECT_STREQ(Text(edit), "-155");
    CHeadless::Char(13); // Return and Escape are not text
    CHeadless::Char(27);
    CHeadless::Key(VK_HOME_KEY);
    CHeadless::Type("\xC3\xA9"); // é, one character
    EXPECT_STREQ(Text(edit), "\xC3\xA9-155");
    edit.SetSel(0, -1);
    edit.ReplaceSel("7");
    EXPECT_EQ(edit.GetWindowTextLength(), 1);
    // The field paints itself (white background, dark text).
    CToolkit::Pump();
    EXPECT_EQ(CHeadless::GetPixel(&edit, 3, 3), RGB(255, 255, 255));
    EXPECT_GE(CHeadless::PaintCount(&edit), 1);
    edit.DestroyWindow();
}

TEST_F(ToolkitControls, SpinButtonStepsItsBuddy)
{
    CEdit buddy;
    CSpinButtonCtrl spin;
    ASSERT_TRUE(buddy.Create(WS_VISIBLE, CRect(0, 0, 60, 18), &m_Owner, 18001));
    ASSERT_TRUE(spin.Create(WS_VISIBLE | 0xA6, CRect(60, 0, 75, 18), &m_Owner, 18000));
    spin.SetBase(10);
    spin.SetBuddy(&buddy);
    spin.SetRange32(-50, 50);
    spin.SetPos32(49);
    EXPECT_STREQ(Text(buddy), "49");
    CHeadless::Click(&spin, CPoint(7, 2)); // upper half
    CHeadless::Click(&spin, CPoint(7, 2));
    EXPECT_EQ(spin.GetPos32(), 50); // clamped at the top
    EXPECT_STREQ(Text(buddy), "50");
    buddy.SetWindowText("-50"); // typed into the buddy, then a step down
    CHeadless::Click(&spin, CPoint(7, 15));
    EXPECT_EQ(spin.GetPos32(), -50);
    spin.SetPos32(1000);
    EXPECT_EQ(spin.GetPos32(), 50);
}

TEST_F(ToolkitControls, ComboBoxSelection)
{
    CComboBox combo;
    ASSERT_TRUE(combo.Create(WS_VISIBLE | CBS_DROPDOWNLIST, CRect(0, 0, 100, 20), &m_Owner, 1120));
    EXPECT_EQ(combo.GetCurSel(), CB_ERR);
    EXPECT_EQ(combo.AddString("a"), 0);
    EXPECT_EQ(combo.AddString("b"), 1);
    EXPECT_EQ(combo.SetCurSel(1), 1);
    EXPECT_EQ(combo.SetCurSel(5), CB_ERR);
    EXPECT_EQ(combo.GetCurSel(), CB_ERR);
    CString s;
    EXPECT_EQ(combo.GetLBText(7, s), CB_ERR);
    EXPECT_TRUE(s.IsEmpty());
    combo.ResetContent();
    EXPECT_EQ(combo.GetCount(), 0);
    EXPECT_EQ(combo.ShowDropDown(), CB_ERR); // nothing to show
}
