// Menus, modal dialogs, message boxes and the edit, spin and combo controls,
// driven by synthetic input on the headless backend.
#include "ToolkitFixture.h"

TEST_F(ToolkitTest, MenuChoiceArrivesAsPostedCommand)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    for (int i = 0; i < 4; ++i) // the third one is the current program
        ASSERT_TRUE(menu.AppendMenu(i == 2 ? MF_STRING | MF_CHECKED | MF_DISABLED : MF_STRING,
                                    1010 + i, (std::to_string(i + 1) + ": program").c_str()));
    CHeadless::PickMenuItem(1011);
    EXPECT_TRUE(menu.TrackPopupMenu(TPM_LEFTALIGN | TPM_RIGHTBUTTON, 89, 13, &m_Top));
    EXPECT_TRUE(g_Log.empty()); // posted, not sent
    CToolkit::Pump();
    EXPECT_EQ(g_Log, std::vector<std::string>{"top:cmd 1011"});

    // Keyboard: down twice, Return chooses.
    CHeadless::SetModalHook(
        [](CWnd* modal)
        {
            ASSERT_TRUE(CHeadless::IsMenuWindow(modal));
            CHeadless::Key(VK_DOWN);
            CHeadless::Key(VK_DOWN);
            CHeadless::Key(VK_RETURN_KEY);
        });
    EXPECT_EQ(menu.TrackPopupMenu(TPM_RETURNCMD, 89, 13, &m_Top), 1011);
    EXPECT_EQ(menu.CheckMenuItem(9999, MF_CHECKED), (UINT)-1);
    CMenu empty;
    EXPECT_FALSE(empty.TrackPopupMenu(0, 0, 0, &m_Top));
}

TEST_F(ToolkitTest, MessageBoxAnswers)
{
    CHeadless::SetModalHook([](CWnd* modal)
                            { CHeadless::Click(modal->GetDlgItem(IDNO), CPoint(4, 4)); });
    EXPECT_EQ(m_Top.MessageBox("Really?", "DeEsser", MB_YESNO), IDNO);
    CHeadless::SetModalHook([](CWnd*) { CHeadless::Key(VK_ESCAPE_KEY); });
    EXPECT_EQ(AfxMessageBox("Overwrite?\nSecond line", MB_OKCANCEL), IDCANCEL);
    CHeadless::SetModalHook(nullptr);
    EXPECT_EQ(AfxMessageBox("Nobody reads this", MB_OK), IDOK);
}

namespace
{
const UINT kDlg = 5040;
const int kName = 5000;

void RegisterDialog()
{
    AfxDlgTemplate t;
    t.caption = "Save Program";
    t.width = 300;
    t.height = 120;
    t.items = {
        {AFX_DLG_EDIT, kName, CRect(70, 42, 290, 64), "", 0},
        {AFX_DLG_DEFBUTTON, IDOK, CRect(120, 80, 200, 104), "OK", 0},
        {AFX_DLG_BUTTON, IDCANCEL, CRect(210, 80, 290, 104), "Cancel", 0},
    };
    AfxRegisterDialogTemplate(kDlg, t);
}
} // namespace

// Escape in the focused field cancels at once; nobody answering cancels too;
// an unknown template makes no dialog.
TEST_F(ToolkitTest, DialogEscapeAndCancelPaths)
{
    RegisterDialog();
    CDialog dlg(kDlg, &m_Top);
    int turns = 0;
    CHeadless::SetModalHook(
        [&](CWnd*)
        {
            ++turns;
            ASSERT_EQ(CWnd::GetFocus(), dlg.GetDlgItem(kName));
            CHeadless::Key(VK_ESCAPE_KEY);
        });
    EXPECT_EQ(dlg.DoModal(), IDCANCEL);
    EXPECT_EQ(turns, 1);
    CHeadless::SetModalHook(nullptr);
    EXPECT_EQ(dlg.DoModal(), IDCANCEL);
    EXPECT_EQ(CDialog(4242, &m_Top).DoModal(), -1);
}

TEST_F(ToolkitTest, ModalLoopsIgnoreInputOutsideTheModalWindow)
{
    RegisterDialog();
    CDialog dlg(kDlg, &m_Top);
    CHeadless::SetModalHook(
        [&](CWnd*)
        {
            // A click on the panel behind the dialog goes nowhere; a command
            // posted to it is still delivered.
            CHeadless::Click(&m_Top, CPoint(10, 10));
            m_Top.PostMessage(WM_COMMAND, MAKEWPARAM(1020, 0));
            CHeadless::Pump();
            EXPECT_EQ(g_Log, std::vector<std::string>{"top:cmd 1020"});
            dlg.EndDialog(77);
        });
    EXPECT_EQ(dlg.DoModal(), 77);
}

TEST_F(ToolkitTest, EditTextLimitSelectionAndKeys)
{
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_VISIBLE | ES_RIGHT, CRect(0, 0, 80, 18), &m_Top, 18001));
    auto text = [&]
    {
        CString s;
        edit.GetWindowText(s);
        return std::string(s.GetString());
    };
    edit.SetLimitText(6);
    edit.SetWindowText("-15");
    edit.SetSel(8, 8); // beyond the end: the caret goes to the end
    int a = -1, b = -1;
    edit.GetSel(a, b);
    EXPECT_EQ(std::make_pair(a, b), std::make_pair(3, 3));
    edit.SetFocus();
    CHeadless::Type("2.50");
    EXPECT_EQ(text(), "-152.5"); // limited to 6 characters
    CHeadless::Key(VK_LEFT);
    CHeadless::Key(VK_LEFT);
    CHeadless::Char(8);
    CHeadless::Key(VK_DELETE_KEY);
    EXPECT_EQ(text(), "-155");
    CHeadless::Char(13); // Return and Escape are not text
    CHeadless::Char(27);
    CHeadless::Key(VK_HOME_KEY);
    CHeadless::Type("\xC3\xA9"); // é, one character
    EXPECT_EQ(text(), "\xC3\xA9-155");
    CHeadless::Type("xy"); // the limit counts characters, not bytes
    EXPECT_EQ(text(), "\xC3\xA9x-155");
    edit.SetSel(0, -1);
    edit.ReplaceSel("7");
    EXPECT_EQ(edit.GetWindowTextLength(), 1);
    CToolkit::Pump(); // the field paints itself white
    EXPECT_EQ(CHeadless::GetPixel(&edit, 3, 3), RGB(255, 255, 255));
}

TEST_F(ToolkitTest, SpinClampsAndStepsFromItsBuddysText)
{
    CEdit buddy;
    CSpinButtonCtrl spin;
    ASSERT_TRUE(buddy.Create(WS_VISIBLE, CRect(0, 0, 60, 18), &m_Top, 18001));
    ASSERT_TRUE(spin.Create(WS_VISIBLE | UDS_SETBUDDYINT, CRect(60, 0, 75, 18), &m_Top, 18000));
    spin.SetBuddy(&buddy);
    spin.SetRange32(-50, 50);
    spin.SetPos32(1000);
    EXPECT_EQ(spin.GetPos32(), 50);
    CString shown;
    buddy.GetWindowText(shown);
    EXPECT_STREQ(shown, "50");
    buddy.SetWindowText("-49"); // typed into the buddy, then a step down
    CHeadless::Click(&spin, CPoint(7, 15));
    buddy.GetWindowText(shown);
    EXPECT_STREQ(shown, "-50");
}

TEST_F(ToolkitTest, ComboSelectsByKeysAndItsListAndRefusesBadIndices)
{
    CComboBox combo;
    ASSERT_TRUE(combo.Create(WS_VISIBLE | CBS_DROPDOWNLIST, CRect(0, 0, 100, 20), &m_Top, 1120));
    EXPECT_EQ(combo.AddString("1:Init"), 0);
    EXPECT_EQ(combo.AddString("2:Vocal"), 1);
    combo.AddString("3:Drums");
    combo.SetFocus();
    CHeadless::Key(VK_DOWN);
    CHeadless::Key(VK_DOWN);
    EXPECT_EQ(combo.GetCurSel(), 1);
    // The drop-down list opens at the selection; Down then Return picks.
    CHeadless::SetModalHook(
        [](CWnd* modal)
        {
            ASSERT_TRUE(CHeadless::IsDropDownWindow(modal));
            CHeadless::Key(VK_DOWN);
            CHeadless::Key(VK_RETURN_KEY);
        });
    CHeadless::Click(&combo, CPoint(5, 5));
    EXPECT_EQ(combo.GetCurSel(), 2);

    EXPECT_EQ(combo.SetCurSel(5), CB_ERR);
    EXPECT_EQ(combo.GetCurSel(), CB_ERR);
    CString s("unchanged");
    EXPECT_EQ(combo.GetLBText(7, s), CB_ERR);
    EXPECT_TRUE(s.IsEmpty());
    combo.ResetContent();
    EXPECT_EQ(combo.GetCount(), 0);
    bool opened = false; // an empty combo opens no list
    CHeadless::SetModalHook(
        [&](CWnd*)
        {
            opened = true;
            CHeadless::Key(VK_ESCAPE_KEY);
        });
    EXPECT_EQ(combo.ShowDropDown(), CB_ERR);
    EXPECT_FALSE(opened);
    CHeadless::SetModalHook(nullptr);
}
