// Legacy compressor program lists: a list file ("VRX5.0 EFFECT PROGRAM LIST",
// a count, one name a line) naming NAME.PGM files in the same folder, each
// holding "VRX5.0 EFFECT PRG FILE" and a TAB-separated line of 16.16
// fixed-point values (field 1 threshold dB, 2 attack ms, 3 release s, 4 ratio).
#pragma once

#include <string>
#include <vector>

struct LegacyProgram
{
    std::string name; // as listed (up to 80 bytes)
    std::string path; // the program file that was read
    // Threshold (dB), attack (ms), release (s), ratio: fields 1-4 of the value
    // line; a field that is empty or starts with a space is absent.
    bool has[4] = {false, false, false, false};
    double value[4] = {0, 0, 0, 0};
};

// Field list of a value line: the pieces between TABs, in order.
std::vector<std::string> SplitTabs(const std::string& line);

// Reads fields 1-4 of a value line into program (16.16 fixed point).
void ParseValueLine(const std::string& line, LegacyProgram& program);

// Reads a text line the way the legacy files are read: up to LF, a CR before
// it dropped, at most maxBytes kept. False at the end of the data.
bool ReadLegacyLine(const std::string& data, size_t& pos, size_t maxBytes, std::string& line);

// Reads the list and every program file it names. Program files are looked
// up as NAME.PGM in the list's folder (a case-insensitive match of the file
// name is accepted too). Throws CHostError with the reason when the list or a
// program file is missing or malformed.
std::vector<LegacyProgram> ReadLegacyList(const std::string& listPath,
                                          std::vector<std::string>* warnings);
