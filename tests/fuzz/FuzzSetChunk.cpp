// libFuzzer target: host chunks of any size and content. The input's first
// byte picks program or bank chunk and the current program; the rest is the
// chunk. After it the effect must still answer, and render finite audio when
// the program's values are in range.
#include "ADeEsser.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

static VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool once = []
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-fuzz", 1);
        return true;
    }();
    (void)once;
    // A fresh effect per input, so that every finding replays from its input.
    auto effect = std::make_unique<ADeEsser>(Host);
    effect->setSampleRate(44100.f);
    effect->setBlockSize(64);
    if (size < 1)
        return 0;
    const bool isPreset = data[0] & 1;
    effect->setProgram((data[0] >> 1) & 31);
    // An exact-size copy, so that any read past the chunk is caught.
    std::vector<uint8_t> chunk(data + 1, data + size);
    effect->setChunk(chunk.empty() ? nullptr : chunk.data(), (VstInt32)chunk.size(), isPreset);
    if (data[0] & 0x80)
        effect->setChunk(chunk.data(), -(VstInt32)chunk.size() - 1, isPreset);

    if (effect->getProgram() < 0 || effect->getProgram() >= kNumPrograms)
        std::abort();
    void* out = nullptr;
    if (effect->getChunk(&out, false) != kBankChunkSize || !out)
        std::abort();

    static float inL[64], inR[64], outL[64], outR[64];
    for (int i = 0; i < 64; ++i)
        inL[i] = inR[i] = 0.5f * std::sin(0.7f * (float)i);
    float* ins[2] = {inL, inR};
    float* outs[2] = {outL, outR};
    effect->processReplacing(ins, outs, 64);
    // Values outside 0..1 are taken as they come (a raw input gain of 1e30
    // is the host's wish); with every finite value in range, and non-finite
    // ones ignored, the output must stay finite.
    const ADeEsserProgram& p = effect->GetProgram(effect->getProgram());
    bool inRange = true;
    for (float v : p.values)
        if (std::isfinite(v) && (v < 0.f || v > 1.f))
            inRange = false;
    for (int i = 0; i < 64 && inRange; ++i)
    {
        if (!std::isfinite(outL[i]) || !std::isfinite(outR[i]))
        {
            std::fprintf(stderr, "non-finite output at %d; program %d values:", i,
                         (int)effect->getProgram());
            for (float v : p.values)
                std::fprintf(stderr, " %g", v);
            std::fprintf(stderr, "\n");
            std::abort();
        }
    }
    char text[64];
    for (int p = 0; p < kNumParams; ++p)
        effect->getParameterDisplay(p, text);
    effect->getProgramName(text);
    return 0;
}
