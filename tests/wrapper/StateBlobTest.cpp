// The wrappers' state: versioned blob and bare bank chunk, round trips and
// refusals that leave the effect as it was.
#include "ADeEsser.h"
#include "StateBlob.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace
{
class StateBlobTest : public ::testing::Test
{
protected:
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};

    static std::vector<uint8_t> Bank(ADeEsser& fx) { return SaveBankChunk(fx); }

    // An effect on program 7 with edits, a renamed program and a changed
    // program 2.
    static void Edit(ADeEsser& fx)
    {
        fx.setProgram(2);
        fx.setParameter(kParamRatio, 0.25f);
        fx.setProgram(7);
        fx.setParameter(kParamThreshold, 0.7f);
        fx.setParameter(kParamSideChain, 0.f);
        char name[24] = "Seven";
        fx.setProgramName(name);
    }
};

TEST_F(StateBlobTest, RoundTripsBankAndCurrentProgram)
{
    ADeEsser source(nullptr), target(nullptr);
    source.open();
    target.open();
    Edit(source);

    const std::vector<uint8_t> blob = SaveState(source);
    ASSERT_EQ(blob.size(), kStateHeaderSize + kBankChunkSize);
    EXPECT_EQ(std::string(blob.begin(), blob.begin() + 4), "DEsS");
    ASSERT_TRUE(LoadState(target, blob.data(), blob.size()));
    EXPECT_EQ(target.getProgram(), 7);
    EXPECT_EQ(Bank(target), Bank(source));
    EXPECT_EQ(target.getParameter(kParamThreshold), 0.7f);
    EXPECT_EQ(target.getParameter(kParamSideChain), 0.f);
}

TEST_F(StateBlobTest, RefusesForeignAndDamagedInputWithoutTouchingTheEffect)
{
    ADeEsser source(nullptr);
    source.open();
    Edit(source);
    const std::vector<uint8_t> good = SaveState(source);

    auto put32 = [](std::vector<uint8_t>& b, size_t at, uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            b[at + i] = (uint8_t)(v >> (24 - 8 * i));
    };
    auto putFloat = [](std::vector<uint8_t>& b, size_t at, float v)
    { std::memcpy(b.data() + at, &v, 4); };
    const size_t bank = kStateHeaderSize;
    const struct
    {
        const char* what;
        std::function<void(std::vector<uint8_t>&)> damage;
    } cases[] = {
        {"empty", [](auto& b) { b.clear(); }},
        {"header only", [](auto& b) { b.resize(kStateHeaderSize); }},
        {"one byte short", [](auto& b) { b.pop_back(); }},
        {"one byte long", [](auto& b) { b.push_back(0); }},
        {"other magic", [](auto& b) { b[0] = 'X'; }},
        {"newer version", [&](auto& b) { put32(b, 4, 2); }},
        {"program 32", [&](auto& b) { put32(b, 8, 32); }},
        {"program -1", [&](auto& b) { put32(b, 8, 0xFFFFFFFFu); }},
        {"bank size of a program", [&](auto& b) { put32(b, 12, 72); }},
        {"NaN value", [&](auto& b) { putFloat(b, bank + 72 * 5 + 4 * 3, NAN); }},
        {"value above 1", [&](auto& b) { putFloat(b, bank + 72 * 31, 1.5f); }},
        {"negative value", [&](auto& b) { putFloat(b, bank + 4, -0.1f); }},
        {"name without NUL", [&](auto& b) { std::memset(b.data() + bank + 72 * 3 + 44, 'A', 24); }},
    };
    for (const auto& c : cases)
    {
        ADeEsser target(nullptr);
        target.open();
        target.setProgram(4);
        target.setParameter(kParamAttack, 0.3f);
        const std::vector<uint8_t> before = Bank(target);

        std::vector<uint8_t> blob = good;
        c.damage(blob);
        EXPECT_FALSE(LoadState(target, blob.data(), blob.size())) << c.what;
        EXPECT_EQ(target.getProgram(), 4) << c.what;
        EXPECT_EQ(Bank(target), before) << c.what;
        EXPECT_EQ(target.getParameter(kParamAttack), 0.3f) << c.what;
    }
}
} // namespace
