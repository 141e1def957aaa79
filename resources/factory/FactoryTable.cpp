#include "FactoryTable.h"
#include "ParamTable.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

static std::string trim(const std::string& s)
{
    size_t b = s.find_first_not_of(" \t\r");
    size_t e = s.find_last_not_of(" \t\r");
    return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

static bool toFloat(const std::string& text, float* value)
{
    char* end = nullptr;
    *value = std::strtof(text.c_str(), &end);
    return !text.empty() && end && *end == '\0' && std::isfinite(*value);
}

static bool toSwitch(const std::string& text, bool* value)
{
    if (text == "on")
        *value = true;
    else if (text == "off")
        *value = false;
    else
        return false;
    return true;
}

static bool inRange(int index, float value)
{
    float min, max;
    GetParamMinMax(index, &min, &max);
    // Gains are checked in dB against the mapped range, with its rounding.
    const float slack = (index == kParamOutput || index == kParamInput) ? 0.01f : 0.f;
    return value >= min - slack && value <= max + slack;
}

bool ReadFactoryTable(const char* path, std::vector<FactoryEntry>* entries, std::string* error)
{
    entries->clear();
    std::ifstream in(path);
    if (!in)
    {
        *error = std::string("cannot open ") + path;
        return false;
    }
    std::string line;
    int number = 0;
    while (std::getline(in, line))
    {
        ++number;
        std::string text = trim(line);
        if (text.empty() || text[0] == '#')
            continue;
        std::vector<std::string> cells;
        std::stringstream row(text);
        std::string cell;
        while (std::getline(row, cell, '|'))
            cells.push_back(trim(cell));
        auto fail = [&](const std::string& why)
        {
            *error = std::string(path) + ":" + std::to_string(number) + ": " + why;
            return false;
        };
        if (cells.size() != 11)
            return fail("expected 11 columns");
        FactoryEntry e;
        e.name = cells[0];
        if (e.name.empty() || e.name.size() >= (size_t)kProgramNameSize)
            return fail("name must be 1 to 23 bytes");
        for (const FactoryEntry& other : *entries)
            if (other.name == e.name)
                return fail("name used twice");
        struct
        {
            int column;
            float* value;
            int param;
        } numbers[] = {
            {1, &e.thresholdDb, kParamThreshold}, {2, &e.ratio, kParamRatio},
            {3, &e.attackMs, kParamAttack},       {4, &e.releaseS, kParamRelease},
            {5, &e.lowHz, kParamLowFreq},         {6, &e.highHz, kParamHiFreq},
            {9, &e.inputDb, kParamInput},         {10, &e.outputDb, kParamOutput},
        };
        for (auto& n : numbers)
        {
            if (!toFloat(cells[n.column], n.value))
                return fail("not a number: " + cells[n.column]);
            if (!inRange(n.param, *n.value))
                return fail(std::string(GetParamName(n.param)) +
                            " out of range: " + cells[n.column]);
        }
        if (!toSwitch(cells[7], &e.sideChain) || !toSwitch(cells[8], &e.autoThreshold))
            return fail("switches are on or off");
        if (entries->size() == (size_t)kNumPrograms)
            return fail("more than 32 programs");
        entries->push_back(e);
    }
    return true;
}

ADeEsserProgram MakeFactoryProgram(const FactoryEntry& entry)
{
    ADeEsserProgram p;
    p.values[kParamOnOff] = 1.f;
    p.values[kParamOutput] = ValToNormalizeValue(kParamOutput, (float)Db6ToGain(entry.outputDb));
    p.values[kParamInput] = ValToNormalizeValue(kParamInput, (float)Db6ToGain(entry.inputDb));
    p.values[kParamThreshold] = ValToNormalizeValue(kParamThreshold, entry.thresholdDb);
    p.values[kParamRatio] = ValToNormalizeValue(kParamRatio, entry.ratio);
    p.values[kParamAttack] = ValToNormalizeValue(kParamAttack, entry.attackMs);
    p.values[kParamRelease] = ValToNormalizeValue(kParamRelease, entry.releaseS);
    p.values[kParamLowFreq] = ValToNormalizeValue(kParamLowFreq, entry.lowHz);
    p.values[kParamHiFreq] = ValToNormalizeValue(kParamHiFreq, entry.highHz);
    p.values[kParamSideChain] = ValToNormalizeValue(kParamSideChain, entry.sideChain ? 1.f : 0.f);
    p.values[kParamAutoThreshold] =
        ValToNormalizeValue(kParamAutoThreshold, entry.autoThreshold ? 1.f : 0.f);
    std::memset(p.name, 0, sizeof(p.name));
    std::memcpy(p.name, entry.name.data(), entry.name.size());
    p.bankCurProgram = 0;
    return p;
}
