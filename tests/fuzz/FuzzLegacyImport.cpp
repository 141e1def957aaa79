// libFuzzer target: the legacy program list and program files. The input is
// cut at "\x01" bytes into the list, "A.PGM" and "B.PGM"; the import runs over
// them into a bank, and the field splitter over the last part.
#include "ADeEsserProgram.h"
#include "ProgramFile.h"
#include "TestFiles.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>

// Memory-backed when possible: the target writes files per input.
static const TempDir g_Folder(ScratchBase());

static void WriteFile(const std::string& name, const std::string& bytes)
{
    FILE* f = std::fopen((g_Folder / name).c_str(), "wb");
    if (!f)
        std::abort();
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string input((const char*)data, size);
    std::string parts[3];
    size_t at = 0;
    for (int i = 0; i < 3; ++i)
    {
        size_t cut = i < 2 ? input.find('\x01', at) : std::string::npos;
        parts[i] = input.substr(at, cut == std::string::npos ? std::string::npos : cut - at);
        if (cut == std::string::npos)
        {
            at = input.size();
            continue;
        }
        at = cut + 1;
    }
    WriteFile("PROGRAM.LST", parts[0]);
    WriteFile("A.PGM", parts[1]);
    WriteFile("B.PGM", parts[2]);

    ADeEsserProgram bank[kNumPrograms];
    int count = ImportProgramList((g_Folder / "PROGRAM.LST").c_str(), g_Folder.path().c_str(), bank,
                                  kNumPrograms);
    if (count < 0 || count > kNumPrograms)
        std::abort();
    for (const ADeEsserProgram& p : bank)
        if (strnlen(p.name, sizeof p.name) >= sizeof p.name)
            std::abort();

    // Exact-size heap buffers: any overrun is caught.
    std::string path = g_Folder / "A.PGM";
    std::unique_ptr<char[]> line(new char[kPGMLineBufferSize]);
    line[0] = '\0';
    LoadPGMFileBody(&path[0], line.get());
    std::unique_ptr<char[]> text(new char[parts[2].size() + 1]);
    std::memcpy(text.get(), parts[2].c_str(), parts[2].size() + 1);
    const int n = (int)std::strlen(text.get());
    std::unique_ptr<char[]> field(new char[n + 1]);
    // Field by field, as the import walks, then a few odd starts.
    for (int start = 0, fields = 0; start >= 0 && fields <= n; ++fields)
        start = StrTerminateTab(text.get(), start, field.get(), n + 1);
    for (int start : {-1, n / 2, n, n + 1})
        StrTerminateTab(text.get(), start, field.get(), n + 1);
    return 0;
}
