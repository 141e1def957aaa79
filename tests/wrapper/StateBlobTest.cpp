// The wrappers' state blob: a round trip of bank and current program, and
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
TEST(StateBlob, RoundTripsAndRefusesForeignAndDamagedInputWithoutTouchingTheEffect)
{
    TempDir config;
    ScopedEnv env("XDG_CONFIG_HOME", config.path().c_str());
    // Program 7 current and edited, program 2 changed.
    ADeEsser source(nullptr);
    source.open();
    source.setProgram(2);
    source.setParameter(kParamRatio, 0.25f);
    source.setProgram(7);
    source.setParameter(kParamThreshold, 0.7f);
    char name[24] = "Seven";
    source.setProgramName(name);
    const std::vector<uint8_t> good = SaveState(source);
    ASSERT_EQ(good.size(), kStateHeaderSize + kBankChunkSize);
    EXPECT_EQ(std::string(good.begin(), good.begin() + 4), "DEsS");

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
        const std::vector<uint8_t> before = SaveBankChunk(target);

        std::vector<uint8_t> blob = good;
        c.damage(blob);
        EXPECT_FALSE(LoadState(target, blob.data(), blob.size())) << c.what;
        EXPECT_EQ(target.getProgram(), 4) << c.what;
        EXPECT_EQ(SaveBankChunk(target), before) << c.what;
        EXPECT_EQ(target.getParameter(kParamAttack), 0.3f) << c.what;
    }

    ADeEsser target(nullptr);
    target.open();
    ASSERT_TRUE(LoadState(target, good.data(), good.size()));
    EXPECT_EQ(target.getProgram(), 7);
    EXPECT_EQ(SaveBankChunk(target), SaveBankChunk(source));
    EXPECT_EQ(target.getParameter(kParamThreshold), 0.7f);
}
} // namespace
