// make_fuzz_seeds DIR: writes the seed corpora of the fuzz targets into
// DIR/setchunk, DIR/bankfile and DIR/legacy.
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "ParamTable.h"
#include "TestFiles.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

static void Seed(const std::string& dir, const std::string& name, const std::string& bytes)
{
    std::filesystem::create_directories(dir);
    std::ofstream(dir + "/" + name, std::ios::binary)
        .write(bytes.data(), (std::streamsize)bytes.size());
}

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: make_fuzz_seeds DIR\n");
        return 2;
    }
    const std::string root = argv[1];
    ADeEsserProgram bank[kNumPrograms];
    for (int i = 0; i < kNumPrograms; ++i)
    {
        std::snprintf(bank[i].name, sizeof bank[i].name, "Seed %d", i);
        bank[i].values[kParamThreshold] = ValToNormalizeValue(kParamThreshold, -30.f);
        bank[i].values[kParamRatio] = ValToNormalizeValue(kParamRatio, 4.f);
    }
    bank[0].bankCurProgram = 3;
    const std::string image((const char*)bank, sizeof bank);

    // Chunks: first byte = flags (bit 0 program chunk, bits 1-5 current program).
    Seed(root + "/setchunk", "bank", std::string(1, '\x00') + image);
    Seed(root + "/setchunk", "program", std::string(1, '\x05') + image.substr(0, 72));
    Seed(root + "/setchunk", "short", std::string(1, '\x02') + image.substr(0, 30));

    // Bank files: a real one, a truncated one, a foreign one, no chunk.
    Seed(root + "/bankfile", "good", BankFileBytes(image));
    Seed(root + "/bankfile", "truncated", BankFileBytes(image).substr(0, 160 + 500));
    Seed(root + "/bankfile", "huge", BankFileBytes(image.substr(0, 80), 0x49446545u, 0xFFFFFFF0u));
    Seed(root + "/bankfile", "fxbk", BankFileBytes(image, 0x49446545u, 2304, "FxBk"));

    // Legacy: list \x01 A.PGM \x01 B.PGM.
    Seed(root + "/legacy", "two",
         "VRX5.0 EFFECT PROGRAM LIST\r\n2\r\nA\r\nB\r\n\x01"
         "VRX5.0 EFFECT PRG FILE\r\n0\t-1310720\t131072\t6554\t262144\r\n\x01"
         "VRX5.0 EFFECT PRG FILE\nx\t\t196608\t\n");
    Seed(root + "/legacy", "many",
         "VRX5.0 EFFECT PROGRAM LIST\n40\nA\nB\nA\nB\nA\n\x01"
         "VRX5.0 EFFECT PRG FILE\n1\t2\t3\t4\t5\t6\n\x01"
         "bad magic\n");
    return 0;
}
