// libFuzzer targets, one per FUZZ_TARGET:
//   FUZZ_SETCHUNK host chunks of any size and content;
//   FUZZ_BANKFILE the user's default bank file, as open() loads it;
//   FUZZ_LEGACY   the legacy program list and program files.
// A fresh effect per input, so that every finding replays from its input;
// exact-size buffers, so that any read past a chunk or a line is caught.
#include "ADeEsser.h"
#include "BankFile.h"
#include "ProgramFile.h"
#include "TestFiles.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

// No user bank but the target's own; memory-backed when possible, since the
// file targets write a file per input.
static const std::string g_Folder = UseScratchSettings(ScratchBase()).path();

[[maybe_unused]] static VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}

#if FUZZ_SETCHUNK
// The first byte picks program or bank chunk and the current program; the rest
// is the chunk. After it the effect must still answer, and render finite audio
// when the program's values are in range.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    auto effect = std::make_unique<ADeEsser>(Host);
    effect->setSampleRate(44100.f);
    effect->setBlockSize(64);
    const bool isPreset = data[0] & 1;
    effect->setProgram((data[0] >> 1) & 31);
    std::vector<uint8_t> chunk(data + 1, data + size);
    effect->setChunk(chunk.empty() ? nullptr : chunk.data(), (VstInt32)chunk.size(), isPreset);
    if (data[0] & 0x80)
        effect->setChunk(chunk.data(), -(VstInt32)chunk.size() - 1, isPreset);

    void* out = nullptr;
    if (effect->getProgram() < 0 || effect->getProgram() >= kNumPrograms ||
        effect->getChunk(&out, false) != kBankChunkSize || !out)
        std::abort();

    float in[64], outL[64], outR[64];
    for (int i = 0; i < 64; ++i)
        in[i] = 0.5f * std::sin(0.7f * (float)i);
    float* ins[2] = {in, in};
    float* outs[2] = {outL, outR};
    effect->processReplacing(ins, outs, 64);
    // Values outside 0..1 are taken as they come (a raw input gain of 1e30
    // is the host's wish); with every finite value in range, and non-finite
    // ones ignored, the output must stay finite.
    bool inRange = true;
    for (float v : effect->GetProgram(effect->getProgram()).values)
        inRange = inRange && !(std::isfinite(v) && (v < 0.f || v > 1.f));
    for (int i = 0; i < 64 && inRange; ++i)
        if (!std::isfinite(outL[i]) || !std::isfinite(outR[i]))
            std::abort();
    char text[64];
    for (int p = 0; p < kNumParams; ++p)
        effect->getParameterDisplay(p, text);
    effect->getProgramName(text);
    return 0;
}
#elif FUZZ_BANKFILE
// The file reader, the whole loading of open() (with the factory bank lookup)
// and a save afterwards.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = g_Folder + "/DeEsserDef.fxb";
    WriteBytes(path, std::string((const char*)data, size));
    std::vector<unsigned char> chunk;
    BankFileResult result =
        ReadBankFile(path.c_str(), (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk);
    if (chunk.size() > (size_t)kBankChunkSize || chunk.size() > size ||
        (result != kBankFileLoaded && !chunk.empty()))
        std::abort();

    auto effect = std::make_unique<ADeEsser>(Host); // finds the user folder when made
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
#elif FUZZ_LEGACY
// The input is cut at "\x01" bytes into the list, "A.PGM" and "B.PGM"; the
// import runs over them into a bank, and the field splitter over the last part.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input((const char*)data, size);
    std::string parts[3];
    for (size_t i = 0, at = 0; i < 3 && at <= input.size(); ++i)
    {
        const size_t cut = i < 2 ? input.find('\x01', at) : std::string::npos;
        parts[i] = input.substr(at, cut == std::string::npos ? std::string::npos : cut - at);
        at = cut == std::string::npos ? input.size() + 1 : cut + 1;
    }
    const std::string list = g_Folder + "/PROGRAM.LST", a = g_Folder + "/A.PGM";
    WriteBytes(list, parts[0]);
    WriteBytes(a, parts[1]);
    WriteBytes(g_Folder + "/B.PGM", parts[2]);

    ADeEsserProgram bank[kNumPrograms];
    int count = ImportProgramList(list.c_str(), g_Folder.c_str(), bank, kNumPrograms);
    if (count < 0 || count > kNumPrograms)
        std::abort();
    for (const ADeEsserProgram& p : bank)
        if (strnlen(p.name, sizeof p.name) >= sizeof p.name)
            std::abort();

    std::string path = a;
    std::unique_ptr<char[]> line(new char[kPGMLineBufferSize]);
    line[0] = '\0';
    LoadPGMFileBody(&path[0], line.get());
    const int n = (int)std::strlen(parts[2].c_str());
    std::unique_ptr<char[]> text(new char[n + 1]), field(new char[n + 1]);
    std::memcpy(text.get(), parts[2].c_str(), n + 1);
    // Field by field, as the import walks, then a few odd starts.
    for (int start = 0, fields = 0; start >= 0 && fields <= n; ++fields)
        start = StrTerminateTab(text.get(), start, field.get(), n + 1);
    for (int start : {-1, n / 2, n, n + 1})
        StrTerminateTab(text.get(), start, field.get(), n + 1);
    return 0;
}
#endif
