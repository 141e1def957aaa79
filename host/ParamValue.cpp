// Display-unit parsing and the de-esser's display-to-normalised mapping.
#include "ParamValue.h"
#include "HostError.h"
#include "VstHost.h"

#include "ParamTable.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <strings.h>

namespace
{
bool isSwitch(int index)
{
    return AutomateParamMinMax_Tbl[index].isInteger != 0;
}

bool isGain(int index)
{
    return index == kParamOutput || index == kParamInput;
}

// The unit typed after a number: the parameter's label, and "s" for "sec".
bool stripUnit(int index, std::string& text);

std::string trim(const std::string& s)
{
    size_t a = s.find_first_not_of(" \t");
    size_t b = s.find_last_not_of(" \t");
    return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
}

std::string formatValue(double v)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%g", v);
    return text;
}

// Strict number: the whole text (after an optional unit) must be consumed.
bool parseNumber(const std::string& text, double* value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (errno == ERANGE || end == text.c_str() || *end != 0 || !std::isfinite(v))
        return false;
    *value = v;
    return true;
}
} // namespace

namespace
{
bool stripUnit(int index, std::string& text)
{
    const std::string label = GetParamLabel(index);
    for (const std::string& unit : {label, label == "sec" ? std::string("s") : std::string()})
    {
        size_t n = unit.size();
        if (n && text.size() > n && strcasecmp(text.c_str() + text.size() - n, unit.c_str()) == 0)
        {
            text = trim(text.substr(0, text.size() - n));
            return true;
        }
    }
    return false;
}

// Display range of a de-esser parameter (dB for gains).
void displayRange(int index, double* lo, double* hi)
{
    float min, max;
    GetParamMinMax(index, &min, &max);
    *lo = min;
    *hi = max;
}

// A de-esser parameter's normalised value for a display value; a value
// outside the range is an error.
float displayToNormalised(int index, double value)
{
    double lo, hi;
    displayRange(index, &lo, &hi);
    // Half a display step of slack, so that the ends as displayed (-59.79 dB,
    // 19.93 dB) are accepted although the exact ends lie just beyond them.
    double slack = isGain(index) ? 0.005 : 1e-6 * (hi - lo);
    if (value < lo - slack || value > hi + slack)
        throw CHostError("value " + formatValue(value) + " outside " + formatValue(lo) + " .. " +
                         formatValue(hi));
    if (isSwitch(index))
        return value >= 0.5 ? 1.f : 0.f;
    return ValToNormalizeValue(index, (float)(isGain(index) ? Db6ToGain(value) : value));
}
} // namespace

float ParseDeEsserValue(int index, const std::string& name, const std::string& typed)
{
    std::string text = trim(typed);
    if (isSwitch(index))
    {
        if (strcasecmp(text.c_str(), "ON") == 0 || text == "1")
            return 1.f;
        if (strcasecmp(text.c_str(), "OFF") == 0 || text == "0")
            return 0.f;
        throw CHostError("bad value \"" + typed + "\" for " + name + ": use ON or OFF (1 or 0)");
    }
    stripUnit(index, text); // an optional unit after the number
    double value;
    if (!parseNumber(text, &value))
        throw CHostError("bad value \"" + typed + "\" for " + name + ": not a number");
    try
    {
        return displayToNormalised(index, value);
    }
    catch (const CHostError& e)
    {
        std::string unit = GetParamLabel(index);
        throw CHostError("bad value \"" + typed + "\" for " + name + ": " + e.what() +
                         (unit.empty() ? "" : " " + unit));
    }
}

float ParseNormalisedValue(const std::string& name, const std::string& typed)
{
    double value;
    if (!parseNumber(trim(typed), &value))
        throw CHostError("bad value \"" + typed + "\" for " + name +
                         ": not a number (this plug-in takes normalised values 0..1)");
    if (value < 0.0 || value > 1.0)
        throw CHostError("bad value \"" + typed + "\" for " + name +
                         ": outside 0 .. 1 (this plug-in takes normalised values)");
    return (float)value;
}

AppliedSetting ApplySetting(CVstHost& host, const std::string& assignment)
{
    size_t eq = assignment.find('=');
    if (eq == std::string::npos || eq == 0)
        throw CHostError("--set needs NAME=VALUE, got \"" + assignment + "\"");
    std::string name = trim(assignment.substr(0, eq));
    std::string text = assignment.substr(eq + 1);
    int index = host.FindParam(name);
    if (index < 0)
    {
        std::string known;
        for (int i = 0; i < host.NumParams(); ++i)
            known += (i ? ", " : "") + host.ParamName(i);
        throw CHostError("unknown parameter \"" + name + "\" (the plug-in has: " + known + ")");
    }
    std::string realName = host.ParamName(index);
    AppliedSetting applied;
    applied.index = index;
    if (!host.IsDeEsser())
    {
        applied.normalised = ParseNormalisedValue(realName, text);
        host.SetParameter(index, applied.normalised);
        applied.display = host.ParamDisplay(index);
        return applied;
    }

    applied.normalised = ParseDeEsserValue(index, realName, text);
    host.SetParameter(index, applied.normalised);
    applied.display = host.ParamDisplay(index);

    // Read the value back as the plug-in shows it: a mismatch means the
    // plug-in maps its parameters differently from what this host assumes.
    bool same;
    if (isSwitch(index))
        same = applied.display == (applied.normalised >= 0.5f ? "ON" : "OFF");
    else
    {
        double typed = 0, shown = 0;
        std::string number = trim(text);
        stripUnit(index, number);
        parseNumber(number, &typed);
        double lo, hi;
        displayRange(index, &lo, &hi);
        typed = std::min(hi, std::max(lo, typed));
        size_t dot = applied.display.find('.');
        int decimals = dot == std::string::npos ? 0 : (int)(applied.display.size() - dot - 1);
        double tolerance = 0.5 * std::pow(10.0, -decimals) + 1e-4 * std::max(1.0, std::fabs(typed));
        same = parseNumber(trim(applied.display), &shown) && std::fabs(shown - typed) <= tolerance;
    }
    if (!same)
        throw CHostError("the plug-in shows \"" + applied.display + "\" for " + realName +
                         " after setting \"" + trim(text) +
                         "\"; its mapping is not the expected one");
    return applied;
}
