// What a render (or any command that reads sound files through the plug-in)
// was asked to do, and the parser of the options it shares with others.
#pragma once

#include "CArgs.h"

#include <string>
#include <vector>

// Output and report choices that every file command has.
struct OutputChoices
{
    bool quiet = false;   // -q: only errors and warnings
    bool json = false;    // one JSON object per file on stdout
    bool progress = true; // a progress bar when stderr is a terminal
};

// How the plug-in is loaded and set up.
struct PluginChoices
{
    std::string plugin;   // empty: DefaultPluginPath()
    std::string bank;     // .fxb loaded through effSetChunk first
    bool factory = false; // the factory bank instead of the user's default bank
    int program = -1;     // -1: leave the current program
    std::string programName;
    std::vector<std::string> sets; // "NAME=VALUE"
    int block = 512;
    bool dualMono = false;            // one instance per channel, each detecting on its own
    int channelA = -1, channelB = -1; // --channels A,B (from 0); -1: all as pairs
};

struct RenderOptions
{
    OutputChoices out;
    PluginChoices plug;
    std::vector<std::string> inputs; // files, folders, or "-" for standard input
    std::string output;              // the second positional of "render IN OUT"
    std::string outDir;              // --out-dir: several inputs, names kept
    std::string format;              // --format EXT: output container by name
    std::string bits;                // --bits 16|24|32|float
    double quality = -1;             // --quality 0..10 for lossy outputs; -1 default
    bool force = false;
    bool failOnClip = false;
    bool analysis = true;  // --no-analysis: no level measurements
    int jobs = 0;          // -j N: files at the same time; 0 all cores
    std::string plot;      // --plot FILE.png (single file only)
    std::string plotTitle; // empty: "De-essing IN"
    double target = -1;    // --target DB: sibilance reduction to reach; -1 none
};

// Reads one option shared by the file commands (quiet, JSON, progress) into
// out; false when item is not one of them.
bool ParseOutputOption(CArgs& a, const std::string& item, OutputChoices& out);
// The same for the plug-in's set-up (--plugin, --bank, --factory, --program,
// --program-name, --set, --block, --dual-mono, --channels).
bool ParsePluginOption(CArgs& a, const std::string& item, PluginChoices& plug);
// The same for a render's own options (output format, batch, analysis).
bool ParseRenderOption(CArgs& a, const std::string& item, RenderOptions& options);

// The whole render command line: positionals are IN OUT, or with --out-dir
// any number of inputs. Throws CHostError for a usage error.
RenderOptions ParseRenderCommand(const ArgList& args);
