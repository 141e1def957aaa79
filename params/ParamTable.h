// The parameter table: ranges, names and labels of the eleven parameters, and
// the mappings between normalised host values (0..1), internal values (dB, ms,
// s, Hz, ratio, switch) and 16.16 fixed point.
//
// Gains are in "6 dB per doubling" decibels: 6 * ln(g) / ln 2, and 2^(dB / 6)
// back. Every stored program and display depends on that factor.
#pragma once

#include <cstddef>
#include <cstdint>

enum DeEsserParam
{
    kParamOnOff = 0,
    kParamOutput,
    kParamInput,
    kParamThreshold,
    kParamRatio,
    kParamAttack,
    kParamRelease,
    kParamLowFreq,
    kParamHiFreq,
    kParamSideChain,
    kParamAutoThreshold,
    kNumParams
};

// Parameters 0..8 are read back by the host as their normalised value; the two
// switches after them as their internal value.
constexpr int kNumNormParams = kParamHiFreq + 1;
// Rows of the range table: one per parameter plus an unused last row that hosts
// may still ask about.
constexpr int kNumParamRows = kNumParams + 1;

struct AutomateParamMinMax
{
    float min;
    float max;
    float step; // display step; carried, not used by the mappings
    int32_t isInteger;
};

extern const AutomateParamMinMax AutomateParamMinMax_Tbl[kNumParamRows];

// ln 2, the divisor of every 6 dB-per-doubling conversion.
extern const double g_Log2;

float ValToNormalizeValue(int index, float value);
float NormalizeValToInternalVal(int index, float norm);
uint32_t NormalizeValToDWValue(int index, float norm);
void GetParamMinMax(int index, float* min, float* max);

// Name and label as the host receives them; "" for an index outside 0..10.
const char* GetParamName(int index);
const char* GetParamLabel(int index);

// The display text of a parameter (without its label) into text[size]:
// "ON"/"OFF" for the switches, which are on only at exactly 1; "%.1f" (gains
// never "-0.0"), "%.2f" for ReleaseTime. value: the normalised value for
// ON/OFF, the internal value for every other index. Nothing is written for an
// index outside 0..10.
void FormatParamDisplay(int index, float value, char* text, size_t size);

// The gain mapping of the parameters, the panel's meters and the command-line
// host: 6 * ln(gain) / ln 2 decibels, and 2^(dB / 6) back.
double GainToDb6(double gain);
double Db6ToGain(double db);
