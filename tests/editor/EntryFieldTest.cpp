// Typed-value entry window on the headless toolkit: character rules, the
// integer image the owner reads, sizing from the font's metrics, and the
// hand-over to the owner on Return and Escape.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"
#include "CVRXFloatEditWnd.h"

namespace
{
// Stands in for the panel: parent and owner of the entry window. Records the
// messages it gets, and the field's integer image when Return arrived
// ("hidden" when the field was hidden by then).
class COwnerProbe : public CWnd
{
public:
    std::vector<UINT> received;
    std::string textAtReturn;
    CVRXFloatEditWnd* field = nullptr;

    LRESULT OnInputReturn(WPARAM, LPARAM)
    {
        received.push_back(WM_INPUTVAL_RETURN);
        CString text;
        field->GetText(text);
        textAtReturn = field->IsWindowVisible() ? text.GetString() : "hidden";
        return 0;
    }
    LRESULT OnInputEscape(WPARAM, LPARAM)
    {
        received.push_back(WM_INPUTVAL_ESCAPE);
        return 0;
    }

    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(COwnerProbe, CWnd)
ON_MESSAGE(WM_INPUTVAL_RETURN, OnInputReturn)
ON_MESSAGE(WM_INPUTVAL_ESCAPE, OnInputEscape)
END_MESSAGE_MAP()

// The entry window with font metrics chosen by the test.
class CFieldProbe : public CVRXFloatEditWnd
{
public:
    void SetMetrics(int charWidth, int charHeight, int spinWidth)
    {
        m_nCharWidth = charWidth;
        m_nCharHeight = charHeight;
        m_nSpinWidth = spinWidth;
    }
    CSize Metrics() const { return CSize(m_nCharWidth, m_nCharHeight); }
};

class EntryFieldTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use() || std::string(CToolkit::BackendName()) == "headless");
        m_Frame.SetNativeView((void*)0x1);
        LPCTSTR cls = AfxRegisterWndClass(CS_DBLCLKS);
        ASSERT_TRUE(m_Owner.Create(cls, "owner", WS_CHILD | WS_VISIBLE, CRect(0, 0, 400, 200),
                                   &m_Frame, 0));
        m_Font.CreatePointFont(12, "Osaka");
        CWindowAttr attr{VRX_DEFAULT_POSITION, 6, &m_Font, true};
        char title[] = "";
        ASSERT_TRUE(m_Field.MakeWindow(&m_Owner, &m_Owner, title, &attr, 6, &m_Font, true));
        m_Owner.field = &m_Field;
    }
    void TearDown() override
    {
        m_Field.DestroyWindow();
        m_Owner.DestroyWindow();
        m_Frame.SetNativeView(nullptr);
    }

    // What the panel does to open the field for a value.
    void Open(int value, int min, int max, bool sign, int width)
    {
        m_Field.SetNewValue(value, min, max);
        m_Field.SetSingnFlag(sign);
        m_Field.ChangeSize(width, sign);
        m_Field.ShowWindow(SW_SHOW);
        m_Field.GetEdit().SetFocus();
    }
    // Replaces the text by typing.
    void Retype(const char* utf8)
    {
        m_Field.GetEdit().SetSel(0, -1);
        CHeadless::Type(utf8);
    }
    std::string EditText()
    {
        CString text;
        m_Field.GetEdit().GetWindowText(text);
        return text.GetString();
    }
    std::string Image()
    {
        CString text;
        m_Field.GetText(text);
        return text.GetString();
    }

    CFrameWnd m_Frame;
    COwnerProbe m_Owner;
    CFieldProbe m_Field;
    CFont m_Font;
};

TEST_F(EntryFieldTest, CreatedHiddenSizedFromTheMetricsAndCallsBeforeCreationAreHarmless)
{
    EXPECT_FALSE(m_Field.IsWindowVisible());
    // Sized from the font's extent of "A".
    CDC dc;
    dc.CreateDC("DISPLAY", nullptr, nullptr, nullptr);
    dc.SelectObject(&m_Font);
    EXPECT_EQ(dc.GetTextExtent(CString("A")), m_Field.Metrics());
    // An "A" of 7 x 12, edge 2 and spin 15: 5 characters make 18 x 61.
    ASSERT_EQ(GetSystemMetrics(SM_CXEDGE), 2);
    m_Field.SetMetrics(7, 12, 15);
    m_Field.MoveWindow(40, 30, 10, 10);
    m_Field.ChangeSize(5, false);
    EXPECT_EQ(m_Field.GetMaxChars(), 6);
    EXPECT_EQ(m_Field.GetEdit().GetLimitText(), 6u);
    CRect outer, edit, spin;
    m_Field.GetWindowRect(&outer);
    m_Field.GetParent()->ScreenToClient(&outer);
    EXPECT_EQ(outer, CRect(40, 30, 101, 48)); // resized, not moved
    m_Field.GetEdit().GetWindowRect(&edit);
    m_Field.GetSpin().GetWindowRect(&spin);
    m_Field.ScreenToClient(&edit);
    m_Field.ScreenToClient(&spin);
    EXPECT_EQ(edit, CRect(0, 0, 46, 18));
    EXPECT_EQ(spin, CRect(46, 0, 61, 18));

    CVRXFloatEditWnd field; // never made
    field.SetNewValue(1, 0, 2);
    field.SetSingnFlag(true);
    field.ChangeSize(4, true);
    EXPECT_EQ(field.GetMaxChars(), 5);
    CString none;
    field.GetText(none);
    EXPECT_TRUE(none.IsEmpty());
    char title[] = "";
    EXPECT_FALSE(field.MakeWindow(nullptr, nullptr, title, nullptr, 6, nullptr, false));
}

TEST_F(EntryFieldTest, CharacterRulesAndSpinSteps)
{
    // The spin steps the scaled value up to the maximum.
    Open(50, 0, 51, false, 4);
    m_Field.GetSpin().Step(1);
    m_Field.GetSpin().Step(1);
    EXPECT_EQ(Image(), "51");

    Open(15, 0, 1000, false, 6);
    EXPECT_EQ(EditText(), "15"); // the text the owner gave is already scaled
    // Without the sign flag "-" is refused and the text re-formatted; letters
    // likewise.
    CHeadless::Char('-');
    EXPECT_EQ(EditText(), "15.0");
    EXPECT_EQ(Image(), "150");
    Retype("7.2x");
    EXPECT_EQ(EditText(), "7.2");
    Retype("7.25");
    EXPECT_EQ(EditText(), "7.25"); // accepted text stays as typed
    EXPECT_EQ(Image(), "73");      // 7.25 x 10 rounded
    CHeadless::Char(8);
    EXPECT_EQ(Image(), "72");

    // Return and Escape characters are swallowed: no edit, no notice; the
    // arrows (37, 39) move the caret rather than insert.
    CHeadless::Char(13);
    CHeadless::Char(27);
    EXPECT_TRUE(m_Owner.received.empty());
    m_Field.GetEdit().SetSel(3, 3);
    for (UINT c : {37u, 37u, (UINT)'9', 39u, 39u, (UINT)'5'})
        CHeadless::Char(c);
    EXPECT_EQ(EditText(), "79.25");

    // With the sign flag "-" is inserted where the caret is.
    m_Field.SetSingnFlag(true);
    m_Field.GetEdit().SetSel(0, 0);
    CHeadless::Char('-');
    EXPECT_EQ(EditText(), "-79.25");
    EXPECT_EQ(Image(), "-793");
}

TEST_F(EntryFieldTest, DecimalsSetTheFormatAndImagesStopAtTheIntegerRange)
{
    m_Field.SetFloatPoint(2);
    Open(123, 0, 10000, true, 30);
    Retype("1.23");
    char buffer[50];
    EXPECT_EQ(m_Field.GetText(buffer, sizeof(buffer)), 3);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(m_Field.GetText(buffer, 2), 1); // cut to the buffer
    EXPECT_STREQ(buffer, "1");
    Retype("4.5q"); // a refused key re-formats with two decimals
    EXPECT_EQ(EditText(), "4.50");
    EXPECT_EQ(Image(), "450");

    const char* typed[][2] = {
        {"99999999999", "2147483647"}, {"-99999999999", "-2147483648"}, {".", "0"}};
    for (auto& t : typed)
    {
        Retype(t[0]);
        EXPECT_EQ(Image(), t[1]) << t[0];
    }
}

TEST_F(EntryFieldTest, ReturnTellsTheOwnerThenHidesAndEscapeOnlyHides)
{
    // Untouched, the owner reads back the value it gave, while still shown.
    Open(-150, -600, 0, true, 5);
    EXPECT_EQ(CWnd::GetFocus(), &m_Field.GetEdit());
    CHeadless::Key(VK_RETURN_KEY);
    EXPECT_EQ(m_Owner.received, std::vector<UINT>{WM_INPUTVAL_RETURN});
    EXPECT_EQ(m_Owner.textAtReturn, "-150");
    EXPECT_FALSE(m_Field.IsWindowVisible());

    // Key code 35 commits as well; the owner reads the typed value.
    Open(0, -600, 0, true, 5);
    Retype("-12.5");
    CHeadless::Key(35);
    EXPECT_EQ(m_Owner.textAtReturn, "-125");
    EXPECT_FALSE(m_Field.IsWindowVisible());

    // Other keys stay with the edit field; Escape hides without a value.
    m_Owner.received.clear();
    Open(100, 0, 1000, false, 4);
    CHeadless::Key(VK_LEFT);
    CHeadless::Key(VK_RIGHT);
    EXPECT_TRUE(m_Field.IsWindowVisible());
    CHeadless::Key(VK_ESCAPE_KEY);
    EXPECT_EQ(m_Owner.received, std::vector<UINT>{WM_INPUTVAL_ESCAPE});
    EXPECT_FALSE(m_Field.IsWindowVisible());
    EXPECT_EQ(CWnd::GetFocus(), &m_Owner); // focus back to the parent
}
} // namespace
