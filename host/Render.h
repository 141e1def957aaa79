// Rendering a sound file through a VST 2.4 plug-in, with the host's before /
// after measurements and the summary printed at the end.
#pragma once

#include "Measure.h"
#include "SoundFile.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

class CVstHost;

struct RenderOptions
{
    std::string input;
    std::string output;
    std::string plugin; // empty: DefaultPluginPath()
    std::string bank;   // .fxb to load through effSetChunk first
    int program = -1;   // -1: leave the current program
    std::string programName;
    std::vector<std::string> sets; // "NAME=VALUE"
    int block = 512;
    bool force = false;
    bool progress = true; // drawn only when stderr is a terminal
};

struct RenderReport
{
    SoundInfo input;
    SoundInfo output;
    std::string pluginName;
    std::string programText;           // e.g. "program 3 \"Vocal\""
    std::vector<std::string> settings; // "Threshold = -30.0 dB" as the plug-in shows them
    std::vector<int> setIndices;       // parameters named by --set, in order
    double audioSeconds = 0;
    double processSeconds = 0; // time spent inside processReplacing
    double wallSeconds = 0;    // the whole render, file I/O included
    long long nonFinite = 0;   // output samples that were NaN or infinite (written as 0)
    std::unique_ptr<CSignalStats> before, after;
    std::vector<double> bandGain; // dB per window, NaN where the input band is quiet
    std::vector<double> wideGain;
};

// Loads the bank, chooses the program and applies the settings on an opened
// plug-in; returns the program text and the applied settings for the report.
void ConfigurePlugin(CVstHost& host, const RenderOptions& options, RenderReport& report);

// Whole render. Throws CHostError; the output appears only when complete.
RenderReport RenderFile(const RenderOptions& options);

// Prints the summary block (stdout in the commands).
void PrintSummary(FILE* out, const RenderReport& report);

// Largest reduction in a gain curve (positive dB) and the window it is in;
// 0 and -1 when the curve has no measured window.
double LargestReduction(const std::vector<double>& curve, int* window);
