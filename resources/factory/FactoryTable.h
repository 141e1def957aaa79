// The factory program table (programs.txt): one program a line in display
// units, turned into program records through the parameter mappings.
#pragma once

#include "ADeEsserProgram.h"

#include <string>
#include <vector>

struct FactoryEntry
{
    std::string name;
    float thresholdDb;
    float ratio;
    float attackMs;
    float releaseS;
    float lowHz;
    float highHz;
    bool sideChain;
    bool autoThreshold;
    float inputDb;  // 6 dB per doubling
    float outputDb; // 6 dB per doubling
};

// Reads the table. Blank lines and lines starting with "#" are skipped. False
// with a message naming the line when a line is malformed, a value lies outside
// its parameter's range, a name is longer than 23 bytes or repeated, or there
// are more than 32 programs.
bool ReadFactoryTable(const char* path, std::vector<FactoryEntry>* entries, std::string* error);

// The record of one entry: "ON/OFF" on, every value normalised by the
// parameter table (gains as 2^(dB / 6)).
ADeEsserProgram MakeFactoryProgram(const FactoryEntry& entry);
