// The entry field as the panel opens it over a value display: its size, the
// characters it takes, the integer image the panel reads, Return and Escape.
#include "EditorTestSupport.h"

#include <string>

namespace
{
class EntryFieldTest : public EditorFixture
{
protected:
    CVRXFloatEditWnd& Field() { return Panel()->EntryField(); }
    // Replaces the field's text by typing.
    void Retype(const char* utf8)
    {
        Field().GetEdit().SetSel(0, -1);
        CHeadless::Type(utf8);
    }
    std::string EditText()
    {
        CString text;
        Field().GetEdit().GetWindowText(text);
        return text.GetString();
    }
    std::string Image()
    {
        char text[32] = {};
        return Field().GetText(text, sizeof(text)), text;
    }
};
} // namespace

// The Threshold field (5 digits and a sign: room for 6 characters) from the
// font's "A": 6 widths, two 2-pixel edges and the spin wide; 1.5 heights tall.
TEST_F(EntryFieldTest, SizedFromTheFont)
{
    OpenDisplay(kParamThreshold);
    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    dc.SelectObject(Field().GetEdit().GetFont());
    const CSize a = dc.GetTextExtent(CString("A"));
    const int spin = GetSystemMetrics(SM_CYHSCROLL), w = 6 * a.cx + 4 + spin, h = a.cy + a.cy / 2;
    CRect outer, spinRect;
    Field().GetClientRect(&outer);
    EXPECT_EQ(CRect(0, 0, w, h), outer);
    Field().GetSpin().GetWindowRect(&spinRect);
    Field().ScreenToClient(&spinRect);
    EXPECT_EQ(CRect(w - spin, 0, w, h), spinRect);
    EXPECT_EQ(6u, Field().GetEdit().GetLimitText());
}

TEST_F(EntryFieldTest, CharacterRulesAndSpinSteps)
{
    // The Attack field: unsigned, one decimal. "-" is refused and the text
    // re-formatted; letters likewise.
    OpenDisplay(kParamAttack);
    Retype("15-");
    EXPECT_EQ(EditText(), "15.0");
    EXPECT_EQ(Image(), "150");
    Retype("7.2x");
    EXPECT_EQ(EditText(), "7.2");
    Retype("7.25");
    EXPECT_EQ(EditText(), "7.25"); // accepted text stays as typed
    EXPECT_EQ(Image(), "73");      // 7.25 x 10 rounded
    CHeadless::Char(8);
    EXPECT_EQ(Image(), "72");
    // Return and Escape characters are swallowed; the arrows (37, 39) move
    // the caret rather than insert.
    CHeadless::Char(13);
    CHeadless::Char(27);
    EXPECT_TRUE(Field().IsWindowVisible());
    Field().GetEdit().SetSel(3, 3);
    for (UINT c : {37u, 37u, (UINT)'9', 39u, 39u, (UINT)'5'})
        CHeadless::Char(c);
    EXPECT_EQ(EditText(), "79.25");

    // The Threshold field steps up to its maximum, 0, and takes a "-" where
    // the caret is.
    effect->setParameter(kParamThreshold, 0.999f); // -0.1 dB
    OpenDisplay(kParamThreshold);
    EXPECT_EQ(-1, Field().GetSpin().GetPos32()); // the spin starts at the value
    for (int step = 0; step < 2; ++step)
        Field().GetSpin().Step(1);
    EXPECT_EQ(Image(), "0");
    Retype("79.25");
    Field().GetEdit().SetSel(0, 0);
    CHeadless::Char('-');
    EXPECT_EQ(EditText(), "-79.25");
    EXPECT_EQ(Image(), "-793");

    // The Release field shows two decimals: its image is the value times 100,
    // cut to the buffer and stopped at the integer range.
    OpenDisplay(kParamRelease);
    Retype("1.23");
    char buffer[50];
    EXPECT_EQ(Field().GetText(buffer, sizeof(buffer)), 3);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(Field().GetText(buffer, 2), 1);
    EXPECT_STREQ(buffer, "1");
    Retype("4.5q"); // a refused key re-formats with two decimals
    EXPECT_EQ(EditText(), "4.50");
    EXPECT_EQ(Image(), "450");

    const char* texts[][2] = {
        {"99999999999", "2147483647"}, {"-99999999999", "-2147483648"}, {".", "0"}};
    for (auto& t : texts)
    {
        Field().GetEdit().SetWindowText(t[0]);
        EXPECT_EQ(Image(), t[1]) << t[0];
    }
}

TEST_F(EntryFieldTest, ReturnAndKey35CommitWhileOtherKeysStayAndEscapeOnlyHides)
{
    OpenDisplay(kParamThreshold);
    EXPECT_EQ(CWnd::GetFocus(), &Field().GetEdit());
    Retype("-12.5");
    CHeadless::Key(35);
    EXPECT_FLOAT_EQ(-12.505f, effect->GetInternalValue(kParamThreshold));
    EXPECT_FALSE(Field().IsWindowVisible());
    OpenDisplay(kParamThreshold);
    Retype("-20");
    CHeadless::Key(VK_RETURN_KEY);
    EXPECT_FLOAT_EQ(-20.005f, effect->GetInternalValue(kParamThreshold));

    OpenDisplay(kParamThreshold);
    Retype("-55");
    CHeadless::Key(VK_LEFT);
    CHeadless::Key(VK_RIGHT);
    EXPECT_TRUE(Field().IsWindowVisible());
    CHeadless::Key(VK_ESCAPE_KEY);
    EXPECT_FALSE(Field().IsWindowVisible());
    EXPECT_FLOAT_EQ(-20.005f, effect->GetInternalValue(kParamThreshold));
    EXPECT_EQ(CWnd::GetFocus(), Panel()); // focus back to the panel
}

// The owner hears of Return while the field still shows (it reads the text
// then), and of Escape. A field never made takes no value.
TEST_F(EntryFieldTest, TellsItsOwnerOfReturnBeforeHidingAndOfEscape)
{
    struct Owner : CWnd
    {
        CVRXFloatEditWnd field;
        std::vector<UINT> told; // while the field shows
        LRESULT WindowProc(UINT message, WPARAM w, LPARAM l) override
        {
            if (field.IsWindowVisible())
                told.push_back(message);
            return CWnd::WindowProc(message, w, l);
        }
    } owner;
    owner.field.SetNewValue(5, 0, 9);
    EXPECT_EQ(0, owner.field.GetSpin().GetPos32());
    ASSERT_TRUE(owner.Create(nullptr, "", WS_CHILD, CRect(), Panel(), 1));
    ASSERT_TRUE(owner.field.MakeWindow(Panel(), &owner, nullptr, nullptr, 3, nullptr, false));
    owner.field.ShowWindow(SW_SHOW);
    owner.field.SendMessage(WM_INPUTVAL_RETURN);
    owner.field.ShowWindow(SW_SHOW);
    owner.field.SendMessage(WM_INPUTVAL_ESCAPE);
    EXPECT_EQ((std::vector<UINT>{WM_INPUTVAL_RETURN, WM_INPUTVAL_ESCAPE}), owner.told);
}
