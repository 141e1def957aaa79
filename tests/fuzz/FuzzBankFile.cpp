// libFuzzer target: the default bank file. The input is written as the
// user's DeEsserDef.fxb; the file reader and the whole loading of open() run
// over it, as do the factory bank lookup and a save afterwards.
#include "ADeEsser.h"
#include "BankFile.h"
#include "TestFiles.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

static VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Memory-backed when possible: the target writes a file per input.
    static const std::string folder = UseScratchSettings(ScratchBase()).path();
    const std::string path = folder + "/DeEsserDef.fxb";
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        std::abort();
    if (size)
        std::fwrite(data, 1, size, f);
    std::fclose(f);

    std::vector<unsigned char> chunk;
    BankFileResult result =
        ReadBankFile(path.c_str(), (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk);
    if (chunk.size() > (size_t)kBankChunkSize || chunk.size() > size ||
        (result != kBankFileLoaded && !chunk.empty()))
        std::abort();

    // A fresh effect per input (it finds the user folder when made), so that
    // every finding replays from its input.
    auto effect = std::make_unique<ADeEsser>(Host);
    effect->open();
    if (effect->getProgram() < 0 || effect->getProgram() >= kNumPrograms)
        std::abort();
    // Saving from the loaded state writes a well-formed file again.
    if (size && (data[0] & 1))
    {
        effect->SaveProgram(data[size - 1] & 31, "fuzz");
        if (ReadBankFile(path.c_str(), (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk) !=
                kBankFileLoaded ||
            chunk.size() != (size_t)kBankChunkSize)
            std::abort();
    }
    return 0;
}
