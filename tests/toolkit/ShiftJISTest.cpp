// Shift-JIS <-> UTF-8 conversion of program names, the lead-byte test and the
// modifier key state.
#include <gtest/gtest.h>

#include "KeyState.h"
#include "ShiftJIS.h"

// Valid rows convert both ways; in bad rows each bad byte becomes U+FFFD and
// text without a Shift-JIS form "?", the rest survives and the result is false.
TEST(ShiftJIS, ConvertsBothWaysAndMarksBadInput)
{
    const struct
    {
        bool toUtf8, ok;
        const char *in, *out;
    } cases[] = {
        // clang-format off
        {true, true, "Init Program", "Init Program"},
        {true, true, "\x83\x76\x83\x8A\x83\x5A\x83\x62\x83\x67", "\xE3\x83\x97\xE3\x83\xAA\xE3\x82\xBB\xE3\x83\x83\xE3\x83\x88"}, // プリセット
        {true, true, "\xB1\xB2\xB3", "\xEF\xBD\xB1\xEF\xBD\xB2\xEF\xBD\xB3"}, // half-width ｱｲｳ
        {true, true, "Vo \x8A\xBF\x8E\x9A 1", "Vo \xE6\xBC\xA2\xE5\xAD\x97 1"}, // 漢字
        {true, true, "", ""},
        {true, false, "AB\x82", "AB\xEF\xBF\xBD"},       // lead byte without its trail byte
        {true, false, "a\xFF\x62", "a\xEF\xBF\xBD\x62"}, // 0xFF is no Shift-JIS byte
        {true, false, nullptr, ""},
        {false, false, "x\xC3(y", "x?(y"},         // broken UTF-8
        {false, false, "\xF0\x9F\x98\x80!", "?!"}, // an emoji
        {false, false, nullptr, ""},
        // clang-format on
    };
    for (const auto& c : cases)
    {
        CString out("unchanged"), back;
        EXPECT_EQ((c.toUtf8 ? CheckSJISAndToUFT8 : UTF8ToSJSINS)(c.in, out), c.ok) << c.out;
        EXPECT_STREQ(out, c.out);
        if (c.ok)
        {
            EXPECT_TRUE(UTF8ToSJSINS(out, back)) << c.out;
            EXPECT_STREQ(back, c.in);
        }
    }
}

TEST(ShiftJIS, LeadBytes)
{
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(IsDBCSLeadByte((unsigned char)b),
                  (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC))
            << b;
}

// Modifier set -> which of the keys 16..19 read as down; other keys never do.
TEST(KeyState, ReadsRecordedModifiers)
{
    const struct
    {
        unsigned mods;
        bool down[4];
    } cases[] = {{0, {}},
                 {KEYMOD_SHIFT, {true, false, false, false}},
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
