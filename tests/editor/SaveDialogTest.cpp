// The preset save dialog as SAVE opens it, driven through the modal hook: slot
// list, name, OK and Cancel, the 23-byte Shift-JIS rule, a field-filling name.
#include "EditorTestSupport.h"

#include <cstring>
#include <functional>
#include <string>

#include "CPresetSaveDlg.h"

namespace
{
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

class SaveDialogTest : public EditorFixture
{
protected:
    // Clicks SAVE; `act` gets the dialog in its modal loop and closes it.
    void Save(const std::function<void(CPresetSaveDlg&)>& act)
    {
        OnModal<CPresetSaveDlg>(act);
        CHeadless::Click(Panel(), CPoint(216, 18));
        CHeadless::SetModalHook({});
    }
    static std::string ItemText(CWnd& dlg, int id)
    {
        CString text;
        dlg.GetDlgItemText(id, text);
        return text.GetString();
    }
    static void Press(CWnd& dlg, int id) { CHeadless::Click(dlg.GetDlgItem(id), CPoint(4, 4)); }
    // Replaces the name field's text by typing.
    static void TypeName(CWnd& dlg, const char* utf8)
    {
        CEdit* edit = static_cast<CEdit*>(dlg.GetDlgItem(IDC_PRESETNAME));
        edit->SetFocus();
        edit->SetSel(0, -1);
        CHeadless::Type(utf8);
    }
};
} // namespace

TEST_F(SaveDialogTest, OpensAtTheCurrentProgramAndOKStoresIntoTheChosenSlot)
{
    std::string vocal = Sjis(kVocalUtf8), vocalS = "Vocal S";
    effect->setProgram(9);
    effect->setProgramName(vocal.data());
    effect->setProgram(5);
    effect->setProgramName(vocalS.data());
    effect->setParameter(kParamThreshold, 0.4375f);
    Save(
        [](CPresetSaveDlg& d)
        {
            EXPECT_EQ(d.m_PGMCombo.GetCount(), 32);
            EXPECT_EQ(d.m_PGMCombo.GetCurSel(), 5);
            CString line;
            d.m_PGMCombo.GetLBText(5, line);
            EXPECT_STREQ(line, "6:Vocal S");
            d.m_PGMCombo.GetLBText(9, line);
            EXPECT_EQ(std::string(line.GetString()), std::string("10:") + kVocalUtf8);
            EXPECT_EQ(ItemText(d, IDC_PRESETNAME), "Vocal S");
            // Choosing a slot replaces the typed name.
            TypeName(d, "typed over");
            d.m_PGMCombo.SelectByUser(9);
            EXPECT_EQ(ItemText(d, IDC_PRESETNAME), kVocalUtf8);
            TypeName(d, "Sibilant");
            Press(d, IDOK);
        });
    EXPECT_STREQ("Sibilant", effect->GetProgram(9).name);
    EXPECT_FLOAT_EQ(0.4375f, effect->GetProgram(9).values[kParamThreshold]);
    EXPECT_EQ(9, effect->getProgram()); // saving selects the slot saved into

    // Cancel stores nothing.
    const ADeEsserProgram before = effect->GetProgram(10);
    effect->setParameter(kParamThreshold, 0.0625f);
    Save(
        [](CPresetSaveDlg& d)
        {
            d.m_PGMCombo.SelectByUser(10);
            Press(d, IDCANCEL);
        });
    EXPECT_EQ(0, std::memcmp(&before, &effect->GetProgram(10), sizeof(before)));
    EXPECT_EQ(9, effect->getProgram());
}

TEST_F(SaveDialogTest, NamesStayWithinTheFieldAndNeverEndInHalfACharacter)
{
    ASSERT_EQ(Sjis(kTwelveKanji).size(), 24u);
    Save(
        [](CPresetSaveDlg& d)
        {
            TypeName(d, kTwelveKanji);
            Press(d, IDOK);
        });
    // Byte 22 is the lead byte of the twelfth character: eleven remain.
    EXPECT_EQ(std::string(effect->GetProgram(effect->getProgram()).name),
              Sjis(kTwelveKanji).substr(0, 22));

    // The rule on its own: 23 bytes ending in a single-byte character stay.
    std::string mixed = std::string(kTwelveKanji, 33) + "ab";
    EXPECT_EQ(std::string(CPresetSaveDlg::MakeProgramName(mixed.c_str()).GetString()),
              Sjis(mixed.c_str()).substr(0, 23));
    EXPECT_STREQ(CPresetSaveDlg::MakeProgramName(""), "");

    // A name without a terminator in its 24 bytes (a foreign chunk) is read safely.
    ADeEsserProgram bank[kNumPrograms];
    for (auto& p : bank)
        std::memset(p.name, 'N', sizeof(p.name));
    bank[0].bankCurProgram = 3;
    effect->setChunk(bank, (VstInt32)sizeof(bank), false);
    Save(
        [](CPresetSaveDlg& d)
        {
            const std::string shown = ItemText(d, IDC_PRESETNAME);
            EXPECT_LE(shown.size(), 24u);
            EXPECT_EQ(shown.find_first_not_of('N'), std::string::npos);
            Press(d, IDOK);
        });
    EXPECT_LE(strnlen(effect->GetProgram(3).name, kProgramNameSize), 23u);
}
