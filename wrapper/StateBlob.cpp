#include "StateBlob.h"

#include "ADeEsser.h"

#include <cmath>
#include <cstring>

namespace
{
const uint8_t kMagic[4] = {'D', 'E', 's', 'S'};

void PutBE32(uint8_t* p, uint32_t v)
{
    p[0] = (uint8_t)(v >> 24);
    p[1] = (uint8_t)(v >> 16);
    p[2] = (uint8_t)(v >> 8);
    p[3] = (uint8_t)v;
}

uint32_t GetBE32(const uint8_t* p)
{
    return ((uint32_t)p[0] << 24) | ((uint32_t)p[1] << 16) | ((uint32_t)p[2] << 8) | p[3];
}

bool IsProgramNumber(int32_t n)
{
    return n >= 0 && n < kNumPrograms;
}

// A bank image the effect may take: finite values in 0..1, names ending in
// a NUL. The current program is checked by the caller.
bool IsSoundBank(const ADeEsserProgram* bank)
{
    for (int p = 0; p < kNumPrograms; ++p)
    {
        for (float v : bank[p].values)
            if (!std::isfinite(v) || v < 0.f || v > 1.f)
                return false;
        if (!std::memchr(bank[p].name, 0, sizeof(bank[p].name)))
            return false;
    }
    return true;
}

bool ApplyBank(ADeEsser& effect, const uint8_t* bytes, int32_t currentProgram)
{
    ADeEsserProgram bank[kNumPrograms];
    std::memcpy(bank, bytes, sizeof(bank));
    if (!IsProgramNumber(currentProgram) || !IsSoundBank(bank))
        return false;
    bank[0].bankCurProgram = currentProgram;
    effect.setChunk(bank, (VstInt32)sizeof(bank), false);
    return true;
}
} // namespace

std::vector<uint8_t> SaveBankChunk(ADeEsser& effect)
{
    void* data = nullptr;
    const VstInt32 size = effect.getChunk(&data, false);
    if (!data || size != kBankChunkSize)
        return {};
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}

bool LoadBankChunk(ADeEsser& effect, const void* data, size_t size)
{
    if (!data || size != (size_t)kBankChunkSize)
        return false;
    int32_t current = 0;
    std::memcpy(&current,
                static_cast<const uint8_t*>(data) + offsetof(ADeEsserProgram, bankCurProgram),
                sizeof(current));
    return ApplyBank(effect, static_cast<const uint8_t*>(data), current);
}

std::vector<uint8_t> SaveState(ADeEsser& effect)
{
    const std::vector<uint8_t> bank = SaveBankChunk(effect);
    if (bank.empty())
        return {};
    std::vector<uint8_t> out(kStateHeaderSize + bank.size());
    std::memcpy(out.data(), kMagic, 4);
    PutBE32(out.data() + 4, kStateVersion);
    PutBE32(out.data() + 8, (uint32_t)effect.getProgram());
    PutBE32(out.data() + 12, (uint32_t)bank.size());
    std::memcpy(out.data() + kStateHeaderSize, bank.data(), bank.size());
    return out;
}

bool LoadState(ADeEsser& effect, const void* data, size_t size)
{
    if (!data || size < kStateHeaderSize)
        return false;
    const uint8_t* p = static_cast<const uint8_t*>(data);
    if (std::memcmp(p, kMagic, 4) != 0 || GetBE32(p + 4) != kStateVersion ||
        GetBE32(p + 12) != (uint32_t)kBankChunkSize || size != kStateHeaderSize + kBankChunkSize)
        return false;
    return ApplyBank(effect, p + kStateHeaderSize, (int32_t)GetBE32(p + 8));
}
