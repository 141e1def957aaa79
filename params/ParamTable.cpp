#include "ParamTable.h"

#include <cmath>
#include <algorithm>
#include <cstdio>
#include <cstring>

const double g_Log2 = 0.6931471805599453;

// clang-format off
const AutomateParamMinMax AutomateParamMinMax_Tbl[kNumParamRows] = {
    //  min      max       step   isInteger
    {   0.0f,    1.0f,     1.0f,  1 }, // 0  ON/OFF
    {   0.001f,  10.0f,    1.0f,  0 }, // 1  Output (linear gain)
    {   0.001f,  1.0f,     1.0f,  0 }, // 2  Input (linear gain)
    { -100.0f,   0.0f,     0.0f,  0 }, // 3  Threshold, dB
    {   1.0f,    64.0f,    1.0f,  0 }, // 4  Ratio
    {   0.0f,    20.0f,    0.0f,  0 }, // 5  AttackTime, ms
    {   0.01f,   4.0f,     0.01f, 0 }, // 6  ReleaseTime, s
    {   2000.0f, 20000.0f, 0.01f, 0 }, // 7  LowFreq, Hz
    {   2000.0f, 20000.0f, 0.01f, 0 }, // 8  HiFreq, Hz
    {   0.0f,    1.0f,     1.0f,  1 }, // 9  SideChain
    {   0.0f,    1.0f,     1.0f,  1 }, // 10 AutoThreshold
    {   0.0f,    0.0f,     0.0f,  0 }, // 11 unused
};

static const char* const kNames[kNumParams] = {
    "ON/OFF", "Output", "Input", "Threshold", "Ratio", "AttackTime",
    "ReleaseTime", "LowFreq", "HiFreq", "SideChain", "AutoThreshold",
};

static const char* const kLabels[kNumParams] = {
    "", "dB", "dB", "dB", "", "ms", "sec", "Hz", "Hz", "", "",
};
// clang-format on

static bool inTable(int index)
{
    return index >= 0 && index < kNumParamRows;
}

double GainToDb6(double gain)
{
    return 6.0 * std::log(gain) / g_Log2;
}

double Db6ToGain(double db)
{
    return std::exp2(db / 6.0);
}

// The gain rows in decibels, held to -100 dB below and to 20 dB (Output) or
// 0 dB (Input) above.
static double gainRowDb(int index, double gain)
{
    const double top = index == kParamOutput ? 20.0 : 0.0;
    return std::min(std::max(GainToDb6(gain), -100.0), top);
}

static bool isGainRow(int index)
{
    return index == kParamOutput || index == kParamInput;
}

// Converts as the x86 truncating instruction does: NaN and out-of-range values
// become INT32_MIN. Keeps the fixed-point wrap well defined.
static int32_t truncToInt32(double x)
{
    return (x > -2147483649.0 && x < 2147483648.0) ? (int32_t)x : INT32_MIN;
}

// Switch rows: the nearest whole step, compared with max as unsigned numbers,
// so a value below -0.5 wraps to a large number and yields max.
static uint32_t switchStep(const AutomateParamMinMax& row, float norm)
{
    double step = 1.0 / ((double)row.max - (double)row.min);
    double k = std::floor((double)norm / step + 0.5);
    uint32_t ku = (uint32_t)truncToInt32(k);
    uint32_t mu = (uint32_t)(int32_t)row.max;
    return ku < mu ? ku : mu;
}

float ValToNormalizeValue(int index, float value)
{
    if (!inTable(index))
        return 0.f;
    const AutomateParamMinMax& row = AutomateParamMinMax_Tbl[index];
    if (row.isInteger)
        return (float)((double)value * (1.0 / ((double)row.max - (double)row.min)));
    float n = (value - row.min) / (row.max - row.min);
    if (n < 0.f)
        n = 0.f;
    if (n > 1.f)
        n = 1.f;
    return n;
}

static float linearInternal(const AutomateParamMinMax& row, float norm)
{
    float x = (row.max - row.min) * norm + row.min;
    if (x < row.min)
        x = row.min;
    if (x > row.max)
        x = row.max;
    return x;
}

float NormalizeValToInternalVal(int index, float norm)
{
    if (!inTable(index))
        return 0.f;
    const AutomateParamMinMax& row = AutomateParamMinMax_Tbl[index];
    if (row.isInteger)
        return (float)switchStep(row, norm);
    float x = linearInternal(row, norm);
    return isGainRow(index) ? (float)gainRowDb(index, x) : x;
}

uint32_t NormalizeValToDWValue(int index, float norm)
{
    if (!inTable(index))
        return 0;
    const AutomateParamMinMax& row = AutomateParamMinMax_Tbl[index];
    if (row.isInteger)
        return switchStep(row, norm);
    double x = linearInternal(row, norm);
    if (isGainRow(index))
        x = gainRowDb(index, x);
    return (uint32_t)truncToInt32(x * 65536.0);
}

void GetParamMinMax(int index, float* min, float* max)
{
    if (!inTable(index))
    {
        *min = *max = 0.f;
        return;
    }
    const AutomateParamMinMax& row = AutomateParamMinMax_Tbl[index];
    *min = isGainRow(index) ? (float)gainRowDb(index, row.min) : row.min;
    *max = isGainRow(index) ? (float)gainRowDb(index, row.max) : row.max;
}

const char* GetParamName(int index)
{
    return index >= 0 && index < kNumParams ? kNames[index] : "";
}

const char* GetParamLabel(int index)
{
    return index >= 0 && index < kNumParams ? kLabels[index] : "";
}

void FormatParamDisplay(int index, float value, char* text, size_t size)
{
    if (index < 0 || index >= kNumParams || !text || size == 0)
        return;
    if (AutomateParamMinMax_Tbl[index].isInteger)
        std::snprintf(text, size, "%s", value == 1.0f ? "ON" : "OFF");
    else
        std::snprintf(text, size, index == kParamRelease ? "%.2f" : "%.1f", value);
    if ((index == kParamOutput || index == kParamInput) && std::strcmp(text, "-0.0") == 0)
        std::snprintf(text, size, "0.0");
}
