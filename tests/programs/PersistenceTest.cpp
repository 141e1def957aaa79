// Whole-effect tests of the host chunk, the default bank file and saving: an
// ADeEsser with the test host's recording callback and the test editor; the
// settings, plug-in and working folders are private temporary ones.
#include "ADeEsser.h"
#include "FakeEditor.h"
#include "HostHarness.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstring>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace
{
std::string ChunkOf(ADeEsser& effect, bool isPreset)
{
    void* data = nullptr;
    VstInt32 size = effect.getChunk(&data, isPreset);
    return std::string((const char*)data, (size_t)size);
}

const auto RecordBytes = [](const ADeEsserProgram& p)
{ return std::string((const char*)&p, sizeof p); };

// A bank image whose program i is named "Pi" with threshold -i dB.
std::string NamedBank(int current)
{
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    for (int i = 0; i < kNumPrograms; ++i)
    {
        std::snprintf(bank[i].name, sizeof bank[i].name, "P%d", i);
        bank[i].values[kParamThreshold] = ValToNormalizeValue(kParamThreshold, (float)-i);
        bank[i].values[kParamAutoThreshold] = 0.f;
    }
    bank[0].bankCurProgram = current;
    return std::string((const char*)bank.data(), kBankChunkSize);
}

class Persistence : public ::testing::Test
{
protected:
    Persistence() : m_Config("XDG_CONFIG_HOME", config.path().c_str())
    {
        HostHarness::directoryAnswer = nullptr;
        // The factory bank of an instance with a user file is looked up under
        // the bare name, in the working folder: make that one ours too.
        char here[PATH_MAX];
        m_OldCwd = getcwd(here, sizeof here) ? here : "/";
        EXPECT_EQ(chdir(cwd.path().c_str()), 0);
    }
    ~Persistence() override { (void)!chdir(m_OldCwd.c_str()); }

    std::unique_ptr<ADeEsser> OpenEffect()
    {
        auto effect = std::make_unique<ADeEsser>(HostHarness::Callback);
        effect->open();
        return effect;
    }
    std::string UserFile() const { return config / "DeEsserDef.fxb"; }
    // A bank file in the plug-in folder, which the host then names.
    void PluginFolderBank(const std::string& chunk)
    {
        WriteBytes(plugins / "DeEsserDef.fxb", BankFileBytes(chunk));
        HostHarness::directoryAnswer = m_SoPath.c_str();
    }

    TempDir config, plugins, cwd;
    ADeEsserProgram defaults;

private:
    ScopedEnv m_Config;
    std::string m_OldCwd, m_SoPath = plugins / "DeEsser.so";
};

TEST_F(Persistence, ChunkRoundTripsTakingAtMostTheDestination)
{
    auto a = OpenEffect();
    a->setProgram(7);
    a->setParameter(kParamRatio, 0.25f);
    a->setProgramName((char*)"Seven");
    // A bank is the 32 records, the current program's number at byte 68; a
    // program chunk is the current record.
    std::string bank = ChunkOf(*a, false), seven = ChunkOf(*a, true);
    ASSERT_EQ(bank.size(), 2304u);
    EXPECT_EQ(bank.substr(68, 4), std::string("\7\0\0\0", 4));
    EXPECT_EQ(seven, bank.substr(7 * 72, 72));

    // A whole bank restores the current program with it; of far more bytes
    // only the bank's are taken (the banks after it in memory stay).
    auto b = OpenEffect();
    const std::string others =
        RecordBytes(b->GetInitialProgram(0)) + RecordBytes(b->GetFactoryProgram(0));
    std::string huge = bank + std::string(sizeof(ADeEsser) + 4096, '\x55');
    EXPECT_EQ(b->setChunk(&huge[0], (VstInt32)huge.size(), false), 0);
    EXPECT_EQ(b->getProgram(), 7);
    EXPECT_EQ(ChunkOf(*b, false), bank);
    EXPECT_EQ(RecordBytes(b->GetInitialProgram(0)) + RecordBytes(b->GetFactoryProgram(0)), others);
    EXPECT_FLOAT_EQ(b->getParameter(kParamRatio), 0.25f);

    // A program chunk, even one of bank size, changes the current record only.
    auto c = OpenEffect();
    c->setProgram(3);
    std::string before = ChunkOf(*c, false);
    EXPECT_EQ(c->setChunk(&huge[7 * 72], kBankChunkSize, true), 0);
    EXPECT_EQ(c->getProgram(), 3);
    EXPECT_EQ(ChunkOf(*c, false), before.substr(0, 3 * 72) + seven + before.substr(4 * 72));
    EXPECT_FLOAT_EQ(c->getParameter(kParamRatio), 0.25f);
}

TEST_F(Persistence, BadChunkSizesAndIndicesAreBounded)
{
    auto effect = OpenEffect();
    std::string bank = NamedBank(9), other = NamedBank(0);
    effect->setChunk(&bank[0], kBankChunkSize, false);

    // Negative sizes and missing data copy nothing.
    effect->setChunk(&other[0], -1, false);
    effect->setChunk(&other[0], INT_MIN, true);
    effect->setChunk(nullptr, 2304, false);
    EXPECT_EQ(ChunkOf(*effect, false), bank);

    // A bank naming a current program outside 0..31 keeps the current one.
    for (int bad : {32, -1})
    {
        std::string named = NamedBank(bad);
        effect->setChunk(&named[0], kBankChunkSize, false);
        EXPECT_EQ(effect->getProgram(), 9) << bad;
        EXPECT_STREQ(effect->GetProgram(0).name, "P0");
    }
    // A short bank chunk: only the records it holds.
    std::string part = NamedBank(2).substr(0, 100);
    effect->setChunk(&part[0], 100, false);
    EXPECT_EQ(effect->getProgram(), 2);
}

// A damaged chunk may hold any value: the stored one is kept as it came; only
// the applied input gain is bounded, so that in either mode the output is no
// louder than the input (the split-band sum may ring a little above it).
TEST_F(Persistence, DamagedInputGainNeverAmplifies)
{
    for (float sideChain : {1.f, 0.f})
    {
        auto effect = OpenEffect();
        ADeEsserProgram loud;
        loud.values[kParamInput] = 1e30f;
        loud.values[kParamSideChain] = sideChain;
        effect->setChunk(&loud, sizeof loud, true);
        EXPECT_EQ(effect->getParameter(kParamInput), 1e30f);
        effect->setBlockSize(4096);
        std::vector<float> l(4096), r(4096), ol(4096), orr(4096);
        for (int i = 0; i < 4096; ++i) // 300 Hz and 7 kHz, peak 0.5
        {
            l[i] = 0.25f * (std::sin(0.0427f * i) + std::sin(0.9973f * i));
            r[i] = -l[i];
        }
        float* in[2] = {l.data(), r.data()};
        float* out[2] = {ol.data(), orr.data()};
        effect->processReplacing(in, out, 4096);
        for (int i = 0; i < 4096; ++i)
            ASSERT_LE(std::max(std::fabs(ol[i]), std::fabs(orr[i])), 0.75f)
                << sideChain << " " << i;
    }
}

TEST_F(Persistence, SaveWritesTheBankFileAndMakesTheSlotCurrent)
{
    WriteBytes(UserFile(), BankFileBytes(NamedBank(2)));
    auto effect = OpenEffect();
    ADeEsserProgram saved2 = effect->GetProgram(2);
    effect->setParameter(kParamRatio, 0.75f);
    HostHarness::calls.clear();
    effect->SaveProgram(5, "A much longer name than fits");
    EXPECT_TRUE(std::any_of(HostHarness::calls.begin(), HostHarness::calls.end(),
                            [](const HostCall& c)
                            { return c.opcode == audioMasterUpdateDisplay; }));

    // 160 header bytes (byte-size field zero) and the 2304-byte bank chunk.
    const std::string file = ReadBytes(UserFile());
    EXPECT_EQ(file, BankFileBytes(ChunkOf(*effect, false)));
    EXPECT_EQ(effect->getProgram(), 5);
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_EQ(effect->getParameter(kParamRatio), 0.75f);
    EXPECT_STREQ(effect->GetProgram(5).name, "A much longer name than"); // 23 bytes
    EXPECT_EQ(RecordBytes(effect->GetInitialProgram(5)), RecordBytes(effect->GetProgram(5)));
    // The edited program shows its previously saved values again.
    EXPECT_EQ(RecordBytes(effect->GetProgram(2)), RecordBytes(saved2));

    // A new instance finds the saved bank.
    auto again = OpenEffect();
    EXPECT_EQ(ChunkOf(*again, false), ChunkOf(*effect, false));
    EXPECT_EQ(again->getParameter(kParamRatio), 0.75f);

    // Out-of-range slots are ignored.
    effect->SaveProgram(32, "x");
    effect->SaveProgram(-1, "x");
    EXPECT_EQ(effect->getProgram(), 5);
    EXPECT_EQ(ReadBytes(UserFile()), file);
}

TEST_F(Persistence, LoadOrderUserThenPluginFolder)
{
    // Only the plug-in folder's file: it is the live bank and the factory bank.
    PluginFolderBank(NamedBank(6));
    {
        auto effect = OpenEffect();
        EXPECT_EQ(std::string(effect->GetPluginFolder()), plugins.path() + "/");
        EXPECT_EQ(effect->getProgram(), 6);
        EXPECT_STREQ(effect->GetProgram(6).name, "P6");
        EXPECT_STREQ(effect->GetFactoryProgram(31).name, "P31");
        EXPECT_FALSE(effect->IsProgramChanged());
        EXPECT_EQ(effect->getParameter(kParamThreshold), effect->GetProgram(6).values[3]);
    }
    // A user file wins; the plug-in folder stays unknown, and the factory
    // bank is looked up under the bare name (here: the working folder).
    std::string user = NamedBank(1);
    std::memcpy(&user[72 + 44], "User1", 6);
    WriteBytes(UserFile(), BankFileBytes(user));
    std::string cwdBank = NamedBank(0);
    std::memcpy(&cwdBank[44], "Here", 5);
    WriteBytes(cwd / "DeEsserDef.fxb", BankFileBytes(cwdBank));
    {
        auto effect = OpenEffect();
        EXPECT_STREQ(effect->GetPluginFolder(), "");
        EXPECT_EQ(effect->getProgram(), 1);
        EXPECT_STREQ(effect->GetProgram(1).name, "User1");
        EXPECT_STREQ(effect->GetInitialProgram(1).name, "User1");
        EXPECT_STREQ(effect->GetFactoryProgram(0).name, "Here");
    }
}

TEST_F(Persistence, ForeignFilesAreHarmless)
{
    PluginFolderBank(NamedBank(6));
    WriteBytes(cwd / "DeEsserDef.fxb", BankFileBytes(NamedBank(3)));
    // A user file that is not ours stops the loading: no live bank, no
    // factory bank (not even the plug-in folder's, which is never looked up).
    // (Each way of being foreign is classified by the bank file tests.)
    WriteBytes(UserFile(), BankFileBytes(NamedBank(2), 0x41424344u));
    auto refused = OpenEffect();
    EXPECT_EQ(refused->getProgram(), 0);
    for (int i = 0; i < kNumPrograms; ++i)
        ASSERT_EQ(RecordBytes(refused->GetProgram(i)) + RecordBytes(refused->GetFactoryProgram(i)),
                  RecordBytes(defaults) + RecordBytes(defaults))
            << i;
    // "CcnK" without an opaque chunk: nothing loaded, but the factory bank is
    // read (under the bare name, since a user file exists).
    WriteBytes(UserFile(), BankFileBytes(NamedBank(2), 0x49446545u, 2304, "FxBk"));
    auto effect = OpenEffect();
    EXPECT_STREQ(effect->GetProgram(2).name, "Empty");
    EXPECT_STREQ(effect->GetFactoryProgram(2).name, "P2");

    WriteBytes(cwd / "PROGRAM.LST", "VRX5.0 EFFECT PROGRAM LIST\n1\nSoft\n"); // a legacy list
    effect->ConvertFrom((cwd / "PROGRAM.LST").c_str(), "");
    EXPECT_STREQ(effect->GetProgram(0).name, "Soft");
}

TEST_F(Persistence, FailedSaveKeepsThePreviousFileAndSaysSo)
{
    WriteBytes(UserFile(), BankFileBytes(NamedBank(0)));
    auto effect = OpenEffect();
    std::string previous = ReadBytes(UserFile());
    FakeEditor* editor = FakeEditorOf(effect.get());
    ASSERT_NE(editor, nullptr);

    // Files may not grow past 1000 bytes: the write fails half-way.
    rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    void (*oldHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limited{1000, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    testing::internal::CaptureStderr();
    effect->SaveProgram(7, "Lost");
    const std::string err = testing::internal::GetCapturedStderr(); // no panel: stderr
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(ReadBytes(UserFile()), previous);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(config.path()), {}), 1)
        << "the temporary file is gone";
    ASSERT_EQ(editor->messages.size(), 1u);
    EXPECT_NE(editor->messages[0].find("could not be saved"), std::string::npos);
    EXPECT_NE(err.find(editor->messages[0]), std::string::npos);
    EXPECT_STREQ(effect->GetProgram(7).name, "Lost"); // memory is already updated
    EXPECT_EQ(effect->getProgram(), 7);
}

} // namespace
