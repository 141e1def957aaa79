#include "ParamRange.h"

#include <cmath>
#include <cstring>

namespace
{
// Symbols, units and defaults in display units (those of a fresh program);
// names, switches and ranges come from the parameter table.
const ParamRange* BuildRanges()
{
    // clang-format off
    static ParamRange ranges[kNumParams] = {
        {"power",          nullptr, "",   0.f, 0.f, 1.f,    false},
        {"output",         nullptr, "dB", 0.f, 0.f, 0.f,    false},
        {"input",          nullptr, "dB", 0.f, 0.f, 0.f,    false},
        {"threshold",      nullptr, "dB", 0.f, 0.f, 0.f,    false},
        {"ratio",          nullptr, "",   0.f, 0.f, 1.f,    false},
        {"attack",         nullptr, "ms", 0.f, 0.f, 0.f,    false},
        {"release",        nullptr, "s",  0.f, 0.f, 0.01f,  false},
        {"low_freq",       nullptr, "Hz", 0.f, 0.f, 4000.f, false},
        {"high_freq",      nullptr, "Hz", 0.f, 0.f, 8000.f, false},
        {"side_chain",     nullptr, "",   0.f, 0.f, 1.f,    false},
        {"auto_threshold", nullptr, "",   0.f, 0.f, 1.f,    false},
    };
    // clang-format on
    for (int i = 0; i < kNumParams; ++i)
    {
        ParamRange& r = ranges[i];
        r.name = GetParamName(i);
        r.toggled = AutomateParamMinMax_Tbl[i].isInteger != 0;
        // Gains in the table's 6 dB-per-doubling decibels; switches 0 and 1.
        GetParamMinMax(i, &r.minPlain, &r.maxPlain);
    }
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
