// Rendering a sound file through a VST 2.4 plug-in: the file read, processed
// and written on three threads, with the host's before / after measurements
// on a fourth, and the reports of the outcome (summary, line, JSON).
#pragma once

#include "Batch.h"
#include "Measure.h"
#include "Plot.h"
#include "RenderOptions.h"
#include "SoundFile.h"
#include "ThresholdSearch.h"

#include <memory>
#include <string>
#include <vector>

class CVstHost;

struct RenderReport
{
    SoundInfo input;
    SoundInfo output;
    std::string outputPath; // what was written ("-" for standard output)
    std::string pluginName;
    std::string programText;           // e.g. "program 3 \"Vocal\""
    std::string lanesText;             // how channels met plug-in instances
    std::vector<std::string> settings; // "Threshold = -30.0 dB" as the plug-in shows them
    std::vector<std::pair<std::string, std::string>> parameters; // name, display text
    std::vector<std::string> warnings;
    double audioSeconds = 0;
    double processSeconds = 0; // time spent inside processReplacing
    double wallSeconds = 0;    // the whole render, file I/O included
    long long nonFinite = 0;   // output samples that were NaN or infinite (written as 0)
    long long clipped = 0;     // output samples beyond full scale (clipped in integer files)
    bool floatOutput = false;  // overs are kept, not clipped
    std::unique_ptr<CSignalStats> before, after; // null with --no-analysis
    std::vector<double> bandGain;                // dB per window, NaN where the input band is quiet
    std::vector<double> wideGain;
    std::unique_ptr<CWaveEnvelope> inputWave, outputWave; // with --plot only
    std::unique_ptr<TargetChoice> target;                 // with --target only
};

// Opens a plug-in instance ready for processing: loaded, opened, prepared at
// rate and block, the bank or factory bank loaded, the program chosen and the
// settings applied; report receives the program text and settings. Warnings
// (a damaged user bank) go to report.warnings.
std::unique_ptr<CVstHost> OpenConfiguredPlugin(const PluginChoices& plug, double sampleRate,
                                               RenderReport& report);

// One whole render of job.input to job.output. Throws CHostError; the output
// appears only when complete.
RenderReport RenderFile(const RenderOptions& options, const FileJob& job);

// The reports of a finished render: the full summary, one line for a batch,
// one JSON object.
std::string SummaryText(const RenderReport& report);
std::string ReportLine(const FileJob& job, const RenderReport& report);
std::string ReportJson(const FileJob& job, const RenderReport& report);

// Largest reduction in a gain curve (positive dB) and the window it is in;
// 0 and -1 when the curve has no measured window.
double LargestReduction(const std::vector<double>& curve, int* window);

// The render command: options, jobs, reports; returns the exit status.
int RunRender(const RenderOptions& options);
