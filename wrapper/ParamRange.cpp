#include "ParamRange.h"

#include <cmath>
#include <cstring>

namespace
{
// Defaults in display units: those of a fresh program.
const ParamRange* BuildRanges()
{
    static ParamRange ranges[kNumParams] = {
        {"power", "ON/OFF", "", 0.f, 1.f, 1.f, true},
        {"output", "Output", "dB", 0.f, 0.f, 0.f, false},
        {"input", "Input", "dB", 0.f, 0.f, 0.f, false},
        {"threshold", "Threshold", "dB", 0.f, 0.f, 0.f, false},
        {"ratio", "Ratio", "", 0.f, 0.f, 1.f, false},
        {"attack", "AttackTime", "ms", 0.f, 0.f, 0.f, false},
        {"release", "ReleaseTime", "s", 0.f, 0.f, 0.01f, false},
        {"low_freq", "LowFreq", "Hz", 0.f, 0.f, 4000.f, false},
        {"high_freq", "HiFreq", "Hz", 0.f, 0.f, 8000.f, false},
        {"side_chain", "SideChain", "", 0.f, 1.f, 1.f, true},
        {"auto_threshold", "AutoThreshold", "", 0.f, 1.f, 1.f, true},
    };
    // Gains are shown in the table's 6 dB-per-doubling decibels.
    for (int i = 0; i < kNumParams; ++i)
        if (!ranges[i].toggled)
            GetParamMinMax(i, &ranges[i].minPlain, &ranges[i].maxPlain);
    return ranges;
}

const ParamRange* Ranges()
{
    static const ParamRange* ranges = BuildRanges();
    return ranges;
}

bool IsGain(int index)
{
    return index == kParamOutput || index == kParamInput;
}
} // namespace

const ParamRange& GetParamRange(int index)
{
    if (index < 0 || index >= kNumParams)
        index = 0;
    return Ranges()[index];
}

int FindParamBySymbol(const char* symbol)
{
    if (!symbol)
        return -1;
    for (int i = 0; i < kNumParams; ++i)
        if (std::strcmp(Ranges()[i].symbol, symbol) == 0)
            return i;
    return -1;
}

float ClampPlain(int index, float plain)
{
    const ParamRange& r = GetParamRange(index);
    if (plain < r.minPlain)
        return r.minPlain;
    if (plain > r.maxPlain)
        return r.maxPlain;
    return plain;
}

float PlainToNormalised(int index, float plain)
{
    if (!std::isfinite(plain))
        return plain;
    const ParamRange& r = GetParamRange(index);
    if (r.toggled)
        return plain > 0.f ? ValToNormalizeValue(index, 1.f) : 0.f;
    plain = ClampPlain(index, plain);
    if (IsGain(index))
        return ValToNormalizeValue(index, (float)Db6ToGain(plain));
    return ValToNormalizeValue(index, plain);
}

float NormalisedToPlain(int index, float normalised)
{
    const ParamRange& r = GetParamRange(index);
    if (r.toggled)
        return normalised >= 1.f ? 1.f : 0.f;
    return ClampPlain(index, NormalizeValToInternalVal(index, normalised));
}
