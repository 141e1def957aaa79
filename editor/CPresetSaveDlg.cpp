// CPresetSaveDlg: slot list, name field and the 23-byte Shift-JIS name rule
// of the preset save dialog.
#include "CPresetSaveDlg.h"

#include <algorithm>
#include <cstring>

#include "ADeEsser.h"

namespace
{
// Bytes of name text kept: the program record's name field less its NUL.
constexpr int kNameBytes = kProgramNameSize - 1; // 23
constexpr int kLabelListId = 5041;
constexpr int kLabelNameId = 5042;

// Pixels of the dialog layout around the measured text.
constexpr int kMargin = 10;
constexpr int kGap = 6;
constexpr int kDropArrowWidth = 24;
constexpr int kMinButtonWidth = 75;
constexpr int kMinListWidth = 200;

// Widest line the list can show: "32:" and the longest name, either 23
// single-byte or 11 double-byte characters.
const char kWidestAscii[] = "32:WWWWWWWWWWWWWWWWWWWWWWW";
const char kWidestDouble[] = "32:\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2"
                             "\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2"
                             "\xE6\xBC\xA2"; // "32:" + 11 x U+6F22
} // namespace

BEGIN_MESSAGE_MAP(CPresetSaveDlg, CDialog)
ON_CBN_SELCHANGE(IDC_PGMCOMBO, OnSelPGMCombo)
END_MESSAGE_MAP()

CPresetSaveDlg::CPresetSaveDlg(CWnd* parent, ADeEsser* effect)
    : CDialog(IDD_PRESETSAVE, parent), m_pEffect(effect)
{
    RegisterTemplate();
}

void CPresetSaveDlg::RegisterTemplate()
{
    // Text is measured in the face the toolkit's controls fall back to for
    // Japanese names, at the 12-pixel size they draw with.
    CFont font;
    font.CreatePointFont(12, "Osaka");
    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    dc.SelectObject(&font);
    CSize ascii = dc.GetTextExtent(CString(kWidestAscii));
    CSize wide = dc.GetTextExtent(CString(kWidestDouble));
    CSize cancel = dc.GetTextExtent(CString("Cancel"));
    dc.DeleteDC();

    int textHeight = std::max<int>({ascii.cy, wide.cy, 12});
    int labelHeight = textHeight + 4;
    int fieldHeight = textHeight + 10;
    int listWidth = std::max<int>({ascii.cx, wide.cx, kMinListWidth}) + kDropArrowWidth;
    int buttonWidth = std::max<int>(kMinButtonWidth, cancel.cx + 24);

    AfxDlgTemplate t;
    t.caption = "Save Program";
    t.width = kMargin + listWidth + kMargin;
    int y = kMargin;
    int right = kMargin + listWidth;
    t.items.push_back({AFX_DLG_STATIC, kLabelListId, CRect(kMargin, y, right, y + labelHeight),
                       "Save into program:", SS_LEFT});
    y += labelHeight + 2;
    t.items.push_back({AFX_DLG_COMBOBOX, IDC_PGMCOMBO, CRect(kMargin, y, right, y + fieldHeight),
                       "", CBS_DROPDOWNLIST | WS_TABSTOP});
    y += fieldHeight + kGap;
    t.items.push_back({AFX_DLG_STATIC, kLabelNameId, CRect(kMargin, y, right, y + labelHeight),
                       "Program name:", SS_LEFT});
    y += labelHeight + 2;
    t.items.push_back({AFX_DLG_EDIT, IDC_PRESETNAME, CRect(kMargin, y, right, y + fieldHeight), "",
                       ES_LEFT | ES_AUTOHSCROLL | WS_TABSTOP});
    y += fieldHeight + kGap * 2;
    int cancelLeft = right - buttonWidth;
    int okLeft = cancelLeft - kGap - buttonWidth;
    t.items.push_back({AFX_DLG_DEFBUTTON, IDOK,
                       CRect(okLeft, y, okLeft + buttonWidth, y + fieldHeight), "OK",
                       BS_DEFPUSHBUTTON | WS_TABSTOP});
    t.items.push_back({AFX_DLG_BUTTON, IDCANCEL,
                       CRect(cancelLeft, y, cancelLeft + buttonWidth, y + fieldHeight), "Cancel",
                       BS_PUSHBUTTON | WS_TABSTOP});
    y += fieldHeight + kMargin;
    t.height = y;
    AfxRegisterDialogTemplate(IDD_PRESETSAVE, t);
}

void CPresetSaveDlg::DoDataExchange(CDataExchange* dx)
{
    CDialog::DoDataExchange(dx);
    DDX_Control(dx, IDC_PGMCOMBO, m_PGMCombo);
}

CString CPresetSaveDlg::SlotName(int slot) const
{
    CString utf8;
    if (!m_pEffect || slot < 0 || slot >= kNumPrograms)
        return utf8;
    // Copy with a terminator of our own: a name from a chunk or a file may
    // fill its field to the last byte.
    char name[kProgramNameSize + 1];
    std::memcpy(name, m_pEffect->GetProgram(slot).name, kProgramNameSize);
    name[kProgramNameSize] = '\0';
    CheckSJISAndToUFT8(name, utf8);
    return utf8;
}

BOOL CPresetSaveDlg::OnInitDialog()
{
    CDialog::OnInitDialog();
    for (int i = 0; i < kNumPrograms; i++)
    {
        CString line;
        line.Format("%d:%s", i + 1, SlotName(i).GetString());
        m_PGMCombo.AddString(line);
    }
    int current = m_pEffect ? (int)m_pEffect->getProgram() : 0;
    m_PGMCombo.SetCurSel(current);
    SetDlgItemText(IDC_PRESETNAME, SlotName(current));
    return TRUE;
}

void CPresetSaveDlg::OnSelPGMCombo()
{
    SetDlgItemText(IDC_PRESETNAME, SlotName(m_PGMCombo.GetCurSel()));
}

CString CPresetSaveDlg::MakeProgramName(const char* utf8)
{
    CString sjis;
    UTF8ToSJSINS(utf8, sjis);
    char name[kProgramNameSize] = {};
    int n = std::min(sjis.GetLength(), kNameBytes);
    std::memcpy(name, sjis.GetString(), (size_t)n);
    name[kNameBytes] = '\0';
    if (IsDBCSLeadByte((unsigned char)name[kNameBytes - 1]))
        name[kNameBytes - 1] = '\0';
    return CString(name);
}

void CPresetSaveDlg::OnOK()
{
    m_nSelect = m_PGMCombo.GetCurSel();
    GetDlgItemText(IDC_PRESETNAME, m_strName);
    m_strName = MakeProgramName(m_strName);
    CDialog::OnOK();
}
