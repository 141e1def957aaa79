// make_fuzz_seeds DIR: writes the seed corpora of the fuzz targets into
// DIR/setchunk, DIR/bankfile and DIR/legacy.
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "ParamTable.h"

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

static std::string BE32(unsigned v)
{
    return std::string{(char)(v >> 24), (char)(v >> 16), (char)(v >> 8), (char)v};
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
    const std::string header = std::string("CcnK") + BE32(0) + "FBCh" + BE32(1) + "IDeE" + BE32(1) +
                               BE32(32) + std::string(128, '\0');
    Seed(root + "/bankfile", "good", header + BE32(2304) + image);
    Seed(root + "/bankfile", "truncated", header + BE32(2304) + image.substr(0, 500));
    Seed(root + "/bankfile", "huge", header + BE32(0xFFFFFFF0u) + image.substr(0, 80));
    Seed(root + "/bankfile", "fxbk", std::string("CcnK") + BE32(0) + "FxBk" + image);

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
