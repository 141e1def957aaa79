// Whole-effect tests of the host chunk, the default bank file and saving: an
// ADeEsser with a recording host callback and the test editor; the settings,
// plug-in and working folders are private temporary ones.
#include "ADeEsser.h"
#include "BankFile.h"
#include "FakeEditor.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstring>
#include <memory>
#include <random>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace
{
// What the host answers to audioMasterGetDirectory (null: no answer), and the
// opcodes it was sent.
const char* g_HostDirectory = nullptr;
std::vector<VstInt32> g_HostOpcodes;

VstIntPtr HostCallback(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    g_HostOpcodes.push_back(opcode);
    if (opcode == audioMasterVersion)
        return 2400;
    if (opcode == audioMasterGetDirectory)
        return (VstIntPtr)g_HostDirectory;
    return 0;
}

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
        g_HostDirectory = nullptr;
        g_HostOpcodes.clear();
        // The factory bank of an instance with a user file is looked up under
        // the bare name, in the working folder: make that one ours too.
        char here[PATH_MAX];
        m_OldCwd = getcwd(here, sizeof here) ? here : "/";
        EXPECT_EQ(chdir(cwd.path().c_str()), 0);
    }
    ~Persistence() override { (void)!chdir(m_OldCwd.c_str()); }

    std::unique_ptr<ADeEsser> OpenEffect()
    {
        auto effect = std::make_unique<ADeEsser>(HostCallback);
        effect->open();
        return effect;
    }
    std::string UserFile() const { return config / "DeEsserDef.fxb"; }
    // A bank file in the plug-in folder, which the host then names.
    void PluginFolderBank(const std::string& chunk)
    {
        WriteBytes(plugins / "DeEsserDef.fxb", BankFileBytes(chunk));
        g_HostDirectory = m_SoPath.c_str();
    }
    std::unique_ptr<ADeEsser> OpenWithUserBank(int current)
    {
        WriteBytes(UserFile(), BankFileBytes(NamedBank(current)));
        return OpenEffect();
    }

    TempDir config, plugins, cwd;
    ADeEsserProgram defaults;

private:
    ScopedEnv m_Config;
    std::string m_OldCwd, m_SoPath = plugins / "DeEsser.so";
};

TEST_F(Persistence, ChunkRoundTrips)
{
    auto a = OpenEffect();
    a->setProgram(7);
    a->setParameter(kParamRatio, 0.25f);
    a->setProgramName((char*)"Seven");
    // A bank is the 32 records, the current program's number at byte 68; a
    // program chunk is the current record.
    std::string bank = ChunkOf(*a, false), seven = ChunkOf(*a, true);
    ASSERT_EQ(bank.size(), 2304u);
    int32_t stored;
    std::memcpy(&stored, bank.data() + 68, 4);
    EXPECT_EQ(stored, 7);
    EXPECT_EQ(seven, bank.substr(7 * 72, 72));

    // A whole bank restores the current program with it.
    auto b = OpenEffect();
    EXPECT_EQ(b->setChunk(&bank[0], (VstInt32)bank.size(), false), 0);
    EXPECT_EQ(b->getProgram(), 7);
    EXPECT_EQ(ChunkOf(*b, false), bank);
    EXPECT_FLOAT_EQ(b->getParameter(kParamRatio), 0.25f);

    // A program chunk changes the current record only.
    auto c = OpenEffect();
    c->setProgram(3);
    std::string before = ChunkOf(*c, false);
    EXPECT_EQ(c->setChunk(&seven[0], 72, true), 0);
    EXPECT_EQ(c->getProgram(), 3);
    EXPECT_EQ(ChunkOf(*c, false), before.substr(0, 3 * 72) + seven + before.substr(4 * 72));
    EXPECT_FLOAT_EQ(c->getParameter(kParamRatio), 0.25f);
}

TEST_F(Persistence, ChunkSizesAndIndicesAreBounded)
{
    auto effect = OpenEffect();
    effect->setProgram(5);
    std::string initial = RecordBytes(effect->GetInitialProgram(0));
    std::string factory = RecordBytes(effect->GetFactoryProgram(0));

    // Far more bytes than the bank: only 2304 are taken.
    std::string huge = NamedBank(9) + std::string(sizeof(ADeEsser) + 4096, '\x55');
    effect->setChunk(&huge[0], (VstInt32)huge.size(), false);
    EXPECT_EQ(ChunkOf(*effect, false), NamedBank(9));
    EXPECT_EQ(RecordBytes(effect->GetInitialProgram(0)), initial);
    EXPECT_EQ(RecordBytes(effect->GetFactoryProgram(0)), factory);

    // A program chunk of bank size changes the current record only.
    std::string other = NamedBank(0);
    effect->setChunk(&other[0], kBankChunkSize, true);
    EXPECT_STREQ(effect->GetProgram(9).name, "P0");
    EXPECT_STREQ(effect->GetProgram(10).name, "P10");

    // Negative sizes and missing data copy nothing.
    std::string kept = ChunkOf(*effect, false);
    effect->setChunk(&other[0], -1, false);
    effect->setChunk(&other[0], INT_MIN, true);
    effect->setChunk(nullptr, 2304, false);
    EXPECT_EQ(ChunkOf(*effect, false).substr(72), kept.substr(72));
    EXPECT_EQ(effect->getProgram(), 9);

    // A bank naming a current program outside 0..31 keeps the current one.
    for (int bad : {32, -1})
    {
        std::string bank = NamedBank(bad);
        effect->setChunk(&bank[0], kBankChunkSize, false);
        EXPECT_EQ(effect->getProgram(), 9) << bad;
        EXPECT_STREQ(effect->GetProgram(0).name, "P0");
    }
    // A short bank chunk: only the records it holds.
    std::string part = NamedBank(2).substr(0, 100);
    effect->setChunk(&part[0], 100, false);
    EXPECT_EQ(effect->getProgram(), 2);
}

// Random bytes as the host chunk (a bank file is applied as one too): whatever
// the stored values, the output stays finite and no louder than the input
// times the Output gain (the split-band sum may ring a little above it, never
// by much).
TEST_F(Persistence, DamagedStateNeverAmplifies)
{
    auto check = [](ADeEsser& effect, const std::string& what)
    {
        effect.setSampleRate(44100.f);
        effect.setBlockSize(256);
        std::vector<float> inL(256), inR(256), outL(256), outR(256);
        float* in[2] = {inL.data(), inR.data()};
        float* out[2] = {outL.data(), outR.data()};
        for (int block = 0; block < 16; ++block)
        {
            for (int i = 0, t = block * 256; i < 256; ++i, ++t) // peak 0.5
            {
                inL[i] = 0.25f * (std::sin(0.0427f * t) + std::sin(0.9973f * t));
                inR[i] = -inL[i];
            }
            effect.processReplacing(in, out, 256);
            for (int i = 0; i < 256; ++i)
            {
                ASSERT_TRUE(std::isfinite(outL[i]) && std::isfinite(outR[i])) << what;
                ASSERT_LE(std::max(std::fabs(outL[i]), std::fabs(outR[i])),
                          1.5f * 0.5f * effect.GetOutputGain())
                    << what << " block " << block << " sample " << i;
            }
        }
    };
    // The stored value is kept as it came; only the applied gain is bounded.
    auto effect = OpenEffect();
    ADeEsserProgram loud;
    loud.values[kParamInput] = 1e30f;
    effect->setChunk(&loud, sizeof loud, true);
    EXPECT_EQ(effect->getParameter(kParamInput), 1e30f);
    EXPECT_EQ(effect->GetProgram(0).values[kParamInput], 1e30f);
    check(*effect, "input 1e30");

    std::mt19937 rng(2304);
    for (size_t size : {71, 72, 2303, 2304, 100000})
        for (bool isPreset : {true, false})
            for (int seed = 0; seed < 12; ++seed)
            {
                auto effect = OpenEffect();
                std::string bytes(size, '\0');
                for (char& c : bytes)
                    c = (char)(rng() & 0xFF);
                effect->setChunk(&bytes[0], (VstInt32)size, isPreset);
                check(*effect, "chunk of " + std::to_string(size) + (isPreset ? " (program)" : ""));
            }
}

TEST_F(Persistence, SaveWritesTheBankFileAndMakesTheSlotCurrent)
{
    auto effect = OpenWithUserBank(2);
    ADeEsserProgram saved2 = effect->GetProgram(2);
    effect->setParameter(kParamRatio, 0.75f);
    g_HostOpcodes.clear();
    effect->SaveProgram(5, "A much longer name than fits");
    EXPECT_NE(std::find(g_HostOpcodes.begin(), g_HostOpcodes.end(), audioMasterUpdateDisplay),
              g_HostOpcodes.end());

    // 160 header bytes (byte-size field zero) and the 2304-byte bank chunk.
    const std::string file = ReadBytes(UserFile());
    EXPECT_EQ(file, BankFileBytes(ChunkOf(*effect, false)));
    EXPECT_EQ(effect->getProgram(), 5);
    EXPECT_FALSE(effect->IsProgramChanged());
    EXPECT_EQ(effect->getParameter(kParamRatio), 0.75f);
    EXPECT_EQ(effect->GetProgram(5).values[kParamRatio], 0.75f);
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

TEST_F(Persistence, LoadOrderUserThenPluginFolderThenDefaults)
{
    // Neither file: constructor defaults, all unchanged.
    {
        auto effect = OpenEffect();
        for (int i = 0; i < kNumPrograms; ++i)
        {
            EXPECT_STREQ(effect->GetProgram(i).name, "Empty");
            EXPECT_EQ(RecordBytes(effect->GetFactoryProgram(i)), RecordBytes(defaults));
        }
        EXPECT_FALSE(effect->IsProgramChanged());
    }
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
    for (std::string bytes : {std::string("garbage"), BankFileBytes(NamedBank(2), 0x41424344u)})
    {
        WriteBytes(UserFile(), bytes);
        auto effect = OpenEffect();
        EXPECT_EQ(effect->getProgram(), 0);
        for (int i = 0; i < kNumPrograms; ++i)
            ASSERT_EQ(RecordBytes(effect->GetProgram(i)) +
                          RecordBytes(effect->GetFactoryProgram(i)),
                      RecordBytes(defaults) + RecordBytes(defaults))
                << bytes.size() << " " << i;
    }
    // "CcnK" without an opaque chunk: nothing loaded, but the factory bank is
    // read (under the bare name, since a user file exists).
    WriteBytes(UserFile(), BankFileBytes(NamedBank(2), 0x49446545u, 2304, "FxBk"));
    auto effect = OpenEffect();
    EXPECT_STREQ(effect->GetProgram(2).name, "Empty");
    EXPECT_STREQ(effect->GetFactoryProgram(2).name, "P2");
}

TEST_F(Persistence, FailedSaveKeepsThePreviousFileAndSaysSo)
{
    auto effect = OpenWithUserBank(0);
    std::string previous = ReadBytes(UserFile());
    FakeEditor* editor = FakeEditorOf(effect.get());
    ASSERT_NE(editor, nullptr);
    editor->open(nullptr);

    // Files may not grow past 1000 bytes: the write fails half-way.
    struct rlimit old;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    void (*oldHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limited = old;
    limited.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    effect->SaveProgram(7, "Lost");
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(ReadBytes(UserFile()), previous);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(config.path()), {}), 1)
        << "the temporary file is gone";
    ASSERT_EQ(editor->messages.size(), 1u);
    EXPECT_NE(editor->messages[0].find("could not be saved"), std::string::npos);
    EXPECT_STREQ(effect->GetProgram(7).name, "Lost"); // memory is already updated
    EXPECT_EQ(effect->getProgram(), 7);

    // Without an open editor the message goes to stderr.
    editor->close();
    std::filesystem::remove_all(config.path());
    testing::internal::CaptureStderr();
    effect->SaveProgram(8, "Nowhere");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("could not be saved"), std::string::npos);
}

TEST_F(Persistence, LegacyImportThroughTheEffect)
{
    auto effect = OpenEffect();
    std::string before = ChunkOf(*effect, false);
    effect->Convert(); // the fixed folder of the older system is absent here
    EXPECT_EQ(ChunkOf(*effect, false), before);

    WriteBytes(cwd / "PROGRAM.LST", "VRX5.0 EFFECT PROGRAM LIST\r\n1\r\nSoft\r\n");
    WriteBytes(cwd / "Soft.PGM", "VRX5.0 EFFECT PRG FILE\r\n0\t-1966080\t0\t65536\t131072\r\n");
    effect->ConvertFrom((cwd / "PROGRAM.LST").c_str(), cwd.path().c_str());
    EXPECT_STREQ(effect->GetProgram(0).name, "Soft");
    // No program change and no new reference: the import shows as a change.
    EXPECT_TRUE(effect->IsProgramChanged());
    EXPECT_STREQ(effect->GetInitialProgram(0).name, "Empty");
}
} // namespace
