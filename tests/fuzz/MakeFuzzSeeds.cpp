// make_fuzz_seeds DIR: writes the seed corpora of the fuzz targets into
// DIR/setchunk, DIR/bankfile and DIR/legacy.
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "ParamTable.h"
#include "TestFiles.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: make_fuzz_seeds DIR\n");
        return 2;
    }
    const std::string root = argv[1];
    for (const char* corpus : {"/setchunk", "/bankfile", "/legacy"})
        std::filesystem::create_directories(root + corpus);
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
    WriteBytes(root + "/setchunk/bank", std::string(1, '\x00') + image);
    WriteBytes(root + "/setchunk/program", std::string(1, '\x05') + image.substr(0, 72));
    WriteBytes(root + "/setchunk/short", std::string(1, '\x02') + image.substr(0, 30));

    // Bank files: a real one, a truncated one, a foreign one, no chunk.
    WriteBytes(root + "/bankfile/good", BankFileBytes(image));
    WriteBytes(root + "/bankfile/truncated", BankFileBytes(image).substr(0, 160 + 500));
    WriteBytes(root + "/bankfile/huge",
               BankFileBytes(image.substr(0, 80), 0x49446545u, 0xFFFFFFF0u));
    WriteBytes(root + "/bankfile/fxbk", BankFileBytes(image, 0x49446545u, 2304, "FxBk"));

    // Legacy: list \x01 A.PGM \x01 B.PGM.
    WriteBytes(root + "/legacy/two",
               "VRX5.0 EFFECT PROGRAM LIST\r\n2\r\nA\r\nB\r\n\x01"
               "VRX5.0 EFFECT PRG FILE\r\n0\t-1310720\t131072\t6554\t262144\r\n\x01"
               "VRX5.0 EFFECT PRG FILE\nx\t\t196608\t\n");
    WriteBytes(root + "/legacy/many", "VRX5.0 EFFECT PROGRAM LIST\n40\nA\nB\nA\nB\nA\n\x01"
                                      "VRX5.0 EFFECT PRG FILE\n1\t2\t3\t4\t5\t6\n\x01"
                                      "bad magic\n");
    return 0;
}
