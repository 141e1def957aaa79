// The eleven parameters in display units for the LV2 and CLAP wrappers:
// range, default, unit and symbol of each, and the conversions between a
// display value (dB, ratio, ms, s, Hz, switch) and the normalised value the
// effect stores. Every conversion goes through the parameter table's own
// mappings, so a setting gives the same samples in every format.
#pragma once

#include "ParamTable.h"

struct ParamRange
{
    const char* symbol; // typed by users: "threshold", "low_freq", ...
    const char* name;   // the effect's own parameter name ("Threshold", "HiFreq")
    const char* unit;   // "dB", "ms", "s", "Hz" or ""
    float minPlain;
    float maxPlain;
    float defaultPlain;
    bool toggled; // a switch: 0 off, 1 on
};

// Index 0..10; any other index gives the range of index 0.
const ParamRange& GetParamRange(int index);

// Index of a symbol, or -1.
int FindParamBySymbol(const char* symbol);

// Display value -> normalised, clamped to the range first. A switch is on
// for any value above 0. A non-finite value comes back unchanged (callers
// ignore it).
float PlainToNormalised(int index, float plain);

// Normalised -> display value, within the range. A switch shows on only
// for a stored value of 1 or more, as the effect's display does.
float NormalisedToPlain(int index, float normalised);

// The display value limited to the range (non-finite values unchanged).
float ClampPlain(int index, float plain);
