// Parameter values typed in display units ("Threshold=-30", "SideChain=OFF")
// turned into the normalised 0..1 values that the VST interface carries,
// through the plug-in's own parameter table (params/).
#pragma once

#include <string>

class CVstHost;

// Parses a typed value for de-esser parameter index: a number in display
// units, optionally followed by the parameter's unit ("dB", "ms", "sec", "Hz";
// "s" for seconds too), or ON/OFF/1/0 for switches, mapped through the
// parameter table (gains from 6 dB-per-doubling decibels). Throws CHostError
// with what is wrong (unparsable, out of range).
float ParseDeEsserValue(int index, const std::string& name, const std::string& text);

// Parses a normalised value 0..1 (the only form accepted for other plug-ins).
float ParseNormalisedValue(const std::string& name, const std::string& text);

struct AppliedSetting
{
    int index;
    float normalised;
    std::string display; // what the plug-in shows afterwards
};

// Applies "NAME=VALUE" to the loaded plug-in: the name is matched without
// regard to case against effGetParamName; for the de-esser the value is in
// display units and is read back through effGetParamDisplay to confirm it.
AppliedSetting ApplySetting(CVstHost& host, const std::string& assignment);
