// Preset save dialog on the headless toolkit, driven as a user would through
// the modal hook: the slot list and name it opens with, the 23-byte
// Shift-JIS name rule, slot changes and Cancel.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "ADeEsser.h"
#include "AfxWin.h"
#include "CHeadless.h"
#include "CPresetSaveDlg.h"

namespace
{
VstIntPtr SilentHost(AEffect*, VstInt32, VstInt32, VstIntPtr, void*, float)
{
    return 0;
}

// Shift-JIS bytes of UTF-8 text, by iconv through the toolkit.
std::string Sjis(const char* utf8)
{
    CString out;
    EXPECT_TRUE(UTF8ToSJSINS(utf8, out));
    return out.GetString();
}

// "ボーカル" and twelve kanji (24 Shift-JIS bytes).
const char kVocalUtf8[] = "\xE3\x83\x9C\xE3\x83\xBC\xE3\x82\xAB\xE3\x83\xAB";
const char kTwelveKanji[] = "\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2\xE5"
                            "\xAD\x97\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC\xA2\xE5\xAD\x97\xE6\xBC"
                            "\xA2\xE5\xAD\x97"; // 漢字 x 6

class SaveDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use() || std::string(CToolkit::BackendName()) == "headless");
        m_Effect = new ADeEsser(SilentHost);
        SetName(5, "Vocal S");
        SetName(9, Sjis(kVocalUtf8).c_str());
        m_Effect->setProgram(5);
        m_Frame.SetNativeView((void*)0x1);
        LPCTSTR cls = AfxRegisterWndClass(CS_DBLCLKS);
        ASSERT_TRUE(m_Panel.Create(cls, "panel", WS_CHILD | WS_VISIBLE, CRect(0, 0, 450, 210),
                                   &m_Frame, 0));
    }
    void TearDown() override
    {
        CHeadless::SetModalHook(nullptr);
        m_Panel.DestroyWindow();
        m_Frame.SetNativeView(nullptr);
        delete m_Effect;
    }

    void SetName(int slot, const char* sjis)
    {
        m_Effect->setProgram(slot);
        char name[kProgramNameSize] = {};
        std::strncpy(name, sjis, kProgramNameSize - 1);
        m_Effect->setProgramName(name);
    }

    // Runs the dialog; `act` is called with it on the first turn of its
    // modal loop (and must close it). Returns DoModal's result.
    INT_PTR Run(CPresetSaveDlg& dlg, std::function<void(CPresetSaveDlg&)> act)
    {
        CHeadless::SetModalHook([&](CWnd*) { act(dlg); });
        return dlg.DoModal();
    }

    static std::string ItemText(CWnd& dlg, int id)
    {
        CString text;
        dlg.GetDlgItemText(id, text);
        return text.GetString();
    }
    static void Press(CWnd& dlg, int id)
    {
        CWnd* button = dlg.GetDlgItem(id);
        ASSERT_NE(button, nullptr);
        CHeadless::Click(button, CPoint(4, 4));
    }
    // Replaces the name field's text by typing.
    static void TypeName(CWnd& dlg, const char* utf8)
    {
        CEdit* edit = static_cast<CEdit*>(dlg.GetDlgItem(IDC_PRESETNAME));
        edit->SetFocus();
        edit->SetSel(0, -1);
        CHeadless::Type(utf8);
    }

    ADeEsser* m_Effect = nullptr;
    CFrameWnd m_Frame;
    CWnd m_Panel;
};

TEST_F(SaveDialogTest, OpensAtTheCurrentProgramAndAChosenSlotReplacesTheName)
{
    CPresetSaveDlg dlg(&m_Panel, m_Effect);
    EXPECT_EQ(IDCANCEL, Run(dlg,
                            [](CPresetSaveDlg& d)
                            {
                                ASSERT_EQ(d.m_PGMCombo.GetCount(), 32);
                                EXPECT_EQ(d.m_PGMCombo.GetCurSel(), 5);
                                CString line;
                                d.m_PGMCombo.GetLBText(5, line);
                                EXPECT_STREQ(line, "6:Vocal S");
                                d.m_PGMCombo.GetLBText(9, line);
                                EXPECT_EQ(std::string(line.GetString()),
                                          std::string("10:") + kVocalUtf8);
                                EXPECT_EQ(ItemText(d, IDC_PRESETNAME), "Vocal S");
                                Press(d, IDCANCEL);
                            }));
    EXPECT_EQ(m_Effect->getProgram(), 5); // the dialog changes nothing

    // Choosing a slot replaces the typed name.
    CPresetSaveDlg chosen(&m_Panel, m_Effect);
    EXPECT_EQ(IDOK, Run(chosen,
                        [](CPresetSaveDlg& d)
                        {
                            TypeName(d, "typed over");
                            d.m_PGMCombo.SelectByUser(9);
                            EXPECT_EQ(ItemText(d, IDC_PRESETNAME), kVocalUtf8);
                            Press(d, IDOK);
                        }));
    EXPECT_EQ(chosen.m_nSelect, 9);
    EXPECT_EQ(std::string(chosen.m_strName.GetString()), Sjis(kVocalUtf8));
}

TEST_F(SaveDialogTest, DoubleByteNameNeverEndsInHalfACharacter)
{
    ASSERT_EQ(Sjis(kTwelveKanji).size(), 24u);
    CPresetSaveDlg dlg(&m_Panel, m_Effect);
    EXPECT_EQ(IDOK, Run(dlg,
                        [](CPresetSaveDlg& d)
                        {
                            TypeName(d, kTwelveKanji);
                            Press(d, IDOK);
                        }));
    // Byte 22 is the lead byte of the twelfth character: eleven remain.
    EXPECT_EQ(std::string(dlg.m_strName.GetString()), Sjis(kTwelveKanji).substr(0, 22));

    // The rule on its own: 23 bytes ending in a single-byte character stay.
    std::string mixed = std::string(kTwelveKanji, 33) + "ab";
    EXPECT_EQ(std::string(CPresetSaveDlg::MakeProgramName(mixed.c_str()).GetString()),
              Sjis(mixed.c_str()).substr(0, 23));
    EXPECT_STREQ(CPresetSaveDlg::MakeProgramName(""), "");
}

TEST_F(SaveDialogTest, NameFillingTheWholeFieldIsReadSafely)
{
    // A name with no terminator in its 24 bytes (e.g. from a foreign chunk).
    ADeEsserProgram full;
    std::memset(full.name, 'N', sizeof(full.name));
    ADeEsserProgram bank[kNumPrograms];
    for (auto& p : bank)
        p = full;
    bank[0].bankCurProgram = 3;
    m_Effect->setChunk(bank, (VstInt32)sizeof(bank), false);
    CPresetSaveDlg dlg(&m_Panel, m_Effect);
    EXPECT_EQ(IDOK, Run(dlg,
                        [](CPresetSaveDlg& d)
                        {
                            std::string shown = ItemText(d, IDC_PRESETNAME);
                            EXPECT_LE(shown.size(), 24u);
                            EXPECT_EQ(shown.find_first_not_of('N'), std::string::npos);
                            Press(d, IDOK);
                        }));
    EXPECT_LE(dlg.m_strName.GetLength(), 23);
}
} // namespace
