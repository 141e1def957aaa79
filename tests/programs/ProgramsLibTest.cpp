// Tests of the programs library on its own: header words, the bank file,
// the legacy text files and their reader, and the folders.
#include "BankFile.h"
#include "CFile.h"
#include "DWordFile.h"
#include "Myifstream.h"
#include "ParamTable.h"
#include "ProgramFile.h"
#include "TestFiles.h"
#include "UserFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>

namespace
{
constexpr unsigned kID = 0x49446545u; // 'IDeE'

TEST(StrTerminateTab, FieldsNextStartsAndBounds)
{
    char field[kTabFieldWorkSize];
    // Line, start, field, next start. "x\t\t7\t" holds four fields: x, an
    // empty one, 7 and an empty last one.
    const std::tuple<const char*, int, const char*, int> steps[] = {
        {"a\tb", 0, "a", 2},     {"a\tb", 2, "b", -1}, {"x\t\t7\t", 2, "", 3},
        {"x\t\t7\t", 5, "", -1}, {"a\tb", -1, "", -1}, {"a\tb", 40, "", -1}}; // past the end
    for (const auto& [text, start, want, next] : steps)
    {
        std::string line = text;
        std::strcpy(field, "stale");
        EXPECT_EQ(StrTerminateTab(&line[0], start, field), next) << text << start;
        EXPECT_STREQ(field, want) << text << start;
    }
    std::string line = "abcdef\tx";
    EXPECT_EQ(StrTerminateTab(&line[0], 0, field, 3), 7); // a 3-byte field: "ab"
    EXPECT_STREQ(field, "ab");
}

TEST(Myifstream, LinesWithLfAndCrLf)
{
    TempDir dir;
    std::string path = dir / "lines";
    WriteBytes(path, "one\r\ntwo\nthree\rx\nabcdefgh\nend");
    Myifstream in;
    in.open(path.c_str(), Myifstream::in | Myifstream::binary);
    ASSERT_EQ(in.rdstate() & 6, 0);
    char buffer[6];
    // "three": 5 bytes and no delimiter yet, NUL at index 5; a CR not before
    // the LF stays; a long line continues on the next call.
    for (const char* want : {"one", "two", "three", "\rx", "abcde", "fgh", "end"})
    {
        in.getline(buffer, 5, '\n');
        EXPECT_STREQ(buffer, want);
    }
    EXPECT_EQ(in.rdstate(), Myifstream::eofbit); // "end" reached the end
    in.getline(buffer, 5, '\n');
    EXPECT_EQ(in.rdstate(), Myifstream::eofbit | Myifstream::failbit); // nothing read
}

TEST(LoadPGMFileBody, ValueLineOnlyAfterTheMagic)
{
    TempDir dir;
    std::unique_ptr<char[]> line(new char[kPGMLineBufferSize]); // exact size for ASan
    std::strcpy(line.get(), "previous");
    std::string missing = dir / "missing.PGM", file = dir / "a.PGM";
    LoadPGMFileBody(&missing[0], line.get());
    EXPECT_STREQ(line.get(), "previous");

    // Overlong lines are cut at 500 bytes (value line) and 80 bytes (line 1).
    const std::pair<std::string, std::string> cases[] = {
        {"VRX5.0 EFFECT PRG FILE v2\r\n0\t-1310720\t0\t0\t262144\r\n", "0\t-1310720\t0\t0\t262144"},
        {"VRX5.0 EFFECT PRG FIL\n1\t2\n", "VRX5.0 EFFECT PRG FIL"},
        {std::string(kProgramFileMagic) + " x\n" + std::string(900, '7') + "\n",
         std::string(500, '7')},
        {std::string(200, 'm') + "\n1\t2\n", std::string(80, 'm')}};
    for (const auto& [bytes, want] : cases)
    {
        WriteBytes(file, bytes);
        LoadPGMFileBody(&file[0], line.get());
        EXPECT_EQ(std::string(line.get()), want);
    }
}

TEST(CFile, UrlsPathsAndHeaderWords)
{
    EXPECT_EQ(CFile::PercentDecode("a%20b%2F%2x%"), "a b/%2x%");
    EXPECT_EQ(CFile::ToSystemPath("file:///tmp/a%20b/c.fxb"), "/tmp/a b/c.fxb");
    EXPECT_EQ(CFile::ToSystemPath("file://localhost/tmp/x"), "/tmp/x");
    EXPECT_EQ(CFile::ToSystemPath("/plain/a%20b"), "/plain/a%20b"); // not a URL: unchanged
    EXPECT_EQ(CFile::PathToFileURL("/home/u s/100%/~x"), "file:///home/u%20s/100%25/~x");
    const char* odd = "/tmp/\xE3\x81\x82 #?%";
    EXPECT_EQ(CFile::ToSystemPath(CFile::PathToFileURL(odd).c_str()), odd);

    TempDir dir;
    std::string path = dir / "a b.bin";
    WriteBytes(path, "xyz");
    std::string url = CFile::PathToFileURL(path.c_str());
    EXPECT_TRUE(CFile::Exists(url.c_str()));
    EXPECT_FALSE(CFile::Exists(dir.path().c_str())); // a folder is not a file
    CFile file;
    EXPECT_FALSE(file.Open(dir.path().c_str(), CFile::modeRead));
    ASSERT_TRUE(file.Open(url.c_str(), CFile::modeRead));
    EXPECT_EQ(file.GetLength(), 3);
    // Header words, most significant byte first; a byte missing at the end
    // repeats the last one read in that word (0 when none was).
    EXPECT_EQ(getWordFile(&file), 0x7879u);
    EXPECT_EQ(getWordFile(&file), 0x7A7Au);
    file.Seek(1, CFile::begin);
    EXPECT_EQ(getDWordFile(&file), 0x797A7A7Au);
    EXPECT_EQ(getDWordFile(&file), 0u);
}

TEST(UserFolder, SettingsFolderAsUrlAndPluginFolderCut)
{
    ScopedEnv home("HOME", "/home/some one");
    // A relative XDG_CONFIG_HOME is ignored; a trailing "/" gets no second one.
    const std::pair<const char*, const char*> cases[] = {
        {"/tmp/conf/", "file:///tmp/conf/"}, {"relative/conf", "file:///home/some%20one/.config/"}};
    for (const auto& [xdgValue, want] : cases)
    {
        ScopedEnv xdg("XDG_CONFIG_HOME", xdgValue);
        szGlobalMyApplicationDataPathName[0] = '\0';
        GetMy_SHFOLDER_PathName();
        EXPECT_STREQ(szGlobalMyApplicationDataPathName, want);
    }
    // No folder known, or one too long: the buffer stays as it was.
    ScopedEnv noHome("HOME", nullptr);
    std::string huge = "/" + std::string(3000, 'a');
    for (const char* xdgValue : {(const char*)nullptr, huge.c_str()})
    {
        ScopedEnv xdg("XDG_CONFIG_HOME", xdgValue);
        std::strcpy(szGlobalMyApplicationDataPathName, "file:///kept/");
        GetMy_SHFOLDER_PathName();
        EXPECT_STREQ(szGlobalMyApplicationDataPathName, "file:///kept/");
    }
    szGlobalMyApplicationDataPathName[0] = '\0';

    // The plug-in's folder: its path cut after the last "/".
    const std::pair<const char*, const char*> cuts[] = {
        {"/usr/lib/vst/DeEsser.so", "/usr/lib/vst/"},
        {"/usr/lib/vst/", "/usr/lib/vst/"},
        {"a", "a"},
        {"", ""},
        {"DeEsser.so", ""}};
    for (const auto& [in, want] : cuts)
    {
        char buffer[64];
        std::strcpy(buffer, in);
        CutAfterLastSlash(buffer);
        EXPECT_STREQ(buffer, want) << in;
    }

    char module[4096];
    ASSERT_TRUE(GetModulePathName(module, sizeof(module)));
    EXPECT_TRUE(CFile::Exists(module)) << module;
    char tiny[4];
    EXPECT_FALSE(GetModulePathName(tiny, sizeof(tiny)));
}

TEST(BankFile, WrittenBytesExactly)
{
    TempDir dir;
    std::string path = dir / "DeEsserDef.fxb";
    std::string chunk(2304, '\0');
    for (size_t i = 0; i < chunk.size(); ++i)
        chunk[i] = (char)(i * 7 + 3);
    ASSERT_TRUE(WriteBankFile(path.c_str(), kID, chunk.data(), 2304));
    // The 160-byte header (byte-size field zero) and the chunk.
    EXPECT_EQ(ReadBytes(path), BankFileBytes(chunk));
    // Only the file itself is left in the folder: no temporary name remains.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);

    std::vector<unsigned char> read;
    ASSERT_EQ(ReadBankFile(CFile::PathToFileURL(path.c_str()).c_str(), kID, 2304, &read),
              kBankFileLoaded);
    EXPECT_EQ(std::string(read.begin(), read.end()), chunk);
}

TEST(BankFile, ForeignShortAndLyingFiles)
{
    TempDir dir;
    const std::string path = dir / "bank.fxb", chunk(2304, 'c');
    std::vector<unsigned char> read(5, 1);
    EXPECT_EQ(ReadBankFile((dir / "none").c_str(), kID, 2304, &read), kBankFileMissing);
    EXPECT_TRUE(read.empty());
    // The file, the answer and the chunk bytes read (at most 2304).
    const std::tuple<std::string, BankFileResult, std::string> cases[] = {
        {"", kBankFileForeign, ""},
        {"RIFF" + BankFileBytes(chunk).substr(4), kBankFileForeign, ""},
        {BankFileBytes(chunk, kID, 2304, "FxBk"), kBankFileNoChunk, ""},
        {BankFileBytes(chunk, 0x41424344u), kBankFileOtherEffect, ""},
        {std::string("CcnK\0\0\0\0FBCh", 12), kBankFileOtherEffect, ""}, // cut in the header
        // Truncated: the bytes present, no more.
        {BankFileBytes(chunk).substr(0, 1000), kBankFileLoaded, chunk.substr(0, 840)},
        // A size field of 4 GB on a short file allocates only what it holds.
        {BankFileBytes("abc", kID, 0xFFFFFFF0u), kBankFileLoaded, "abc"},
        {BankFileBytes(std::string(3000, 'd')), kBankFileLoaded, std::string(2304, 'd')},
        {BankFileBytes(chunk, kID, 72), kBankFileLoaded, chunk.substr(0, 72)}, // the field wins
    };
    for (const auto& [bytes, result, want] : cases)
    {
        WriteBytes(path, bytes);
        read.assign(5, 1);
        EXPECT_EQ(ReadBankFile(path.c_str(), kID, 2304, &read), result) << bytes.size();
        EXPECT_EQ(std::string(read.begin(), read.end()), want) << bytes.size();
    }
}

// The legacy import on files written here.
class LegacyImport : public ::testing::Test
{
protected:
    void WriteList(const std::string& body) { WriteBytes(dir / "PROGRAM.LST", body); }
    int Import()
    {
        return ImportProgramList((dir / "PROGRAM.LST").c_str(), (dir.path() + "/").c_str(), bank,
                                 kNumPrograms);
    }

    TempDir dir;
    ADeEsserProgram bank[kNumPrograms];
    ADeEsserProgram defaults;
};

TEST_F(LegacyImport, ValuesNamesAndLineEnds)
{
    WriteList("VRX5.0 EFFECT PROGRAM LIST and more text\r\n3\r\nVocal\r\nDrums\r\n"
              "A name far longer than twenty-three bytes\r\n");
    WriteBytes(dir / "Vocal.PGM",
               "VRX5.0 EFFECT PRG FILE\r\n0\t-1310720\t131072\t6554\t262144\t99\r\n");
    // Field 0 "x", 1 empty, 2 = 3.0 ms, 3 empty: only the attack time changes.
    WriteBytes(dir / "Drums.PGM", "VRX5.0 EFFECT PRG FILE\nx\t\t196608\t\n");
    // The third program file is missing: its values come from the previous line.
    EXPECT_EQ(Import(), 3);

    // The defaults with what each line sets.
    ADeEsserProgram vocal = defaults, drums = defaults;
    vocal.values[kParamThreshold] = 0.8f;                                     // -20 dB of -100..0
    vocal.values[kParamAttack] = 2.f / 20.f;                                  // ms, 0..20
    vocal.values[kParamRelease] = (6554.f / 65536.f - 0.01f) / (4.f - 0.01f); // about 0.1 s
    vocal.values[kParamRatio] = 3.f / 63.f;                                   // 4 of 1..64
    drums.values[kParamAttack] = 3.f / 20.f;
    const std::pair<const ADeEsserProgram*, const char*> want[] = {
        {&vocal, "Vocal"},
        {&drums, "Drums"},
        {&drums, "A name far longer than "},
        {&defaults, "Empty"}};
    for (int p = 0; p < 4; ++p)
    {
        EXPECT_STREQ(bank[p].name, want[p].second);
        for (int i = 0; i < kProgramValues; ++i)
            EXPECT_FLOAT_EQ(bank[p].values[i], want[p].first->values[i]) << p << " " << i;
    }
}

TEST_F(LegacyImport, BadListsChangeNothingAndLongListsStopAt32)
{
    auto unchanged = [this]
    {
        for (auto& p : bank)
            if (std::memcmp(&p, &defaults, sizeof p) != 0)
                return false;
        return true;
    };
    EXPECT_EQ(Import(), 0); // no list
    for (const char* list :
         {"VRX5.0 EFFECT PROGRAM LIS\n1\nA\n", "VRX5.0 EFFECT PROGRAM LIST\n0\nA\n"})
    {
        WriteList(list);
        EXPECT_EQ(Import(), 0) << list;
    }
    EXPECT_TRUE(unchanged());

    std::string list = "VRX5.0 EFFECT PROGRAM LIST\n40\n";
    for (int i = 0; i < 40; ++i)
        list += "P" + std::to_string(i) + "\n";
    WriteList(list);
    WriteBytes(dir / "P31.PGM", "VRX5.0 EFFECT PRG FILE\n0\t-655360\n"); // -10 dB
    EXPECT_EQ(Import(), kNumPrograms);
    EXPECT_STREQ(bank[31].name, "P31");
    EXPECT_FLOAT_EQ(bank[31].values[kParamThreshold], 0.9f);

    // A count larger than the names present: the rest get empty names.
    ADeEsserProgram small[4];
    WriteList("VRX5.0 EFFECT PROGRAM LIST\n4\nOnly\n");
    EXPECT_EQ(ImportProgramList((dir / "PROGRAM.LST").c_str(), dir.path().c_str(), small, 4), 4);
    EXPECT_STREQ(small[0].name, "Only");
    EXPECT_STREQ(small[3].name, "");
}
} // namespace
