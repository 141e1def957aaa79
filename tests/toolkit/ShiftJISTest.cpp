// Shift-JIS <-> UTF-8 round trips, bad input, the lead-byte test and the
// modifier key state.
#include <gtest/gtest.h>

#include "KeyState.h"
#include "ShiftJIS.h"

TEST(ShiftJIS, RoundTripsAsciiKanaAndKanji)
{
    struct Case
    {
        const char* sjis;
        const char* utf8;
    };
    // clang-format off
    const Case cases[] = {
        {"Init Program", "Init Program"},
        {"\x83\x76\x83\x8A\x83\x5A\x83\x62\x83\x67", "\xE3\x83\x97\xE3\x83\xAA\xE3\x82\xBB\xE3\x83\x83\xE3\x83\x88"}, // プリセット
        {"\xB1\xB2\xB3", "\xEF\xBD\xB1\xEF\xBD\xB2\xEF\xBD\xB3"},  // half-width ｱｲｳ
        {"\x8A\xBF\x8E\x9A", "\xE6\xBC\xA2\xE5\xAD\x97"},          // 漢字
        {"Vo \x82\xA0 1", "Vo \xE3\x81\x82 1"},                    // mixed: あ
        {"", ""},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        CString utf8, back;
        EXPECT_TRUE(CheckSJISAndToUFT8(c.sjis, utf8)) << c.utf8;
        EXPECT_STREQ(utf8, c.utf8);
        EXPECT_TRUE(UTF8ToSJSINS(utf8, back)) << c.utf8;
        EXPECT_STREQ(back, c.sjis);
    }
}

// Bad bytes become U+FFFD, text without a Shift-JIS form "?", the rest survives.
TEST(ShiftJIS, InvalidInputGivesMarkedTextAndFalse)
{
    const struct
    {
        bool (*convert)(const char*, CString&);
        const char *in, *out;
    } cases[] = {
        {CheckSJISAndToUFT8, "AB\x82", "AB\xEF\xBF\xBD"},       // lead byte without its trail byte
        {CheckSJISAndToUFT8, "a\xFF\x62", "a\xEF\xBF\xBD\x62"}, // 0xFF is no Shift-JIS byte
        {CheckSJISAndToUFT8, nullptr, ""},
        {UTF8ToSJSINS, "x\xC3(y", "x?(y"},         // broken UTF-8
        {UTF8ToSJSINS, "\xF0\x9F\x98\x80!", "?!"}, // an emoji
        {UTF8ToSJSINS, nullptr, ""},
    };
    for (const auto& c : cases)
    {
        CString out("unchanged");
        EXPECT_FALSE(c.convert(c.in, out)) << c.out;
        EXPECT_STREQ(out, c.out);
    }
}

TEST(ShiftJIS, LeadBytes)
{
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(IsDBCSLeadByte((unsigned char)b),
                  (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC))
            << b;
}

TEST(KeyState, ReadsRecordedModifiers)
{
    SetKeyModifierState(0);
    for (int vk : {16, 17, 18, 19, 20, 65, 0, -1})
        EXPECT_EQ(GetKeyState(vk), 0) << vk;
    // Modifier set -> which of the keys 16..19 read as down (high bit set).
    const struct
    {
        unsigned mods;
        bool down[4];
    } cases[] = {{KEYMOD_SHIFT, {true, false, false, false}},
                 {KEYMOD_CONTROL | KEYMOD_OPTION, {false, true, false, true}},
                 {KEYMOD_COMMAND, {false, false, true, false}}};
    for (auto& c : cases)
    {
        SetKeyModifierState(c.mods);
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ((uint16_t)GetKeyState(16 + k), c.down[k] ? 0x8000 : 0) << c.mods << " " << k;
        EXPECT_EQ(GetKeyState(65), 0);
    }
    SetKeyModifierState(0);
}
