#include "ClapParamText.h"

#include "ParamRange.h"
#include "ParamTable.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <strings.h>

namespace
{
bool IsIndex(int index)
{
    return index >= 0 && index < kNumParams;
}

const char* SkipSpace(const char* s)
{
    while (*s && std::isspace((unsigned char)*s))
        ++s;
    return s;
}

// The rest of a text after its number: nothing, the label or the unit.
bool IsUnitOrNothing(int index, const char* rest)
{
    rest = SkipSpace(rest);
    if (!*rest)
        return true;
    const char* words[] = {GetParamLabel(index), GetParamRange(index).unit};
    for (const char* w : words)
    {
        const size_t n = std::strlen(w);
        if (n && strncasecmp(rest, w, n) == 0 && !*SkipSpace(rest + n))
            return true;
    }
    return false;
}
} // namespace

bool ClapValueToText(int index, double value, char* text, uint32_t capacity)
{
    if (!IsIndex(index) || !std::isfinite(value) || !text || capacity == 0)
        return false;
    // The value the effect would store for this setting, shown as it shows it.
    const float normalised = PlainToNormalised(index, (float)value);
    const float shown =
        GetParamRange(index).toggled ? normalised : NormalizeValToInternalVal(index, normalised);
    char display[32] = "";
    FormatParamDisplay(index, shown, display, sizeof(display));
    const char* label = GetParamLabel(index);
    const int n = std::snprintf(text, capacity, *label ? "%s %s" : "%s", display, label);
    return n >= 0 && (uint32_t)n < capacity;
}

bool ClapTextToValue(int index, const char* text, double* value)
{
    if (!IsIndex(index) || !text || !value)
        return false;
    const char* s = SkipSpace(text);
    if (GetParamRange(index).toggled)
        for (const char* word : {"ON", "OFF"})
            if (strncasecmp(s, word, std::strlen(word)) == 0 && !*SkipSpace(s + std::strlen(word)))
            {
                *value = word[1] == 'N' ? 1.0 : 0.0;
                return true;
            }
    char* end = nullptr;
    const double v = std::strtod(s, &end);
    if (end == s || !std::isfinite(v) || !IsUnitOrNothing(index, end))
        return false;
    *value = GetParamRange(index).toggled ? (v > 0.0 ? 1.0 : 0.0) : ClampPlain(index, (float)v);
    return true;
}
