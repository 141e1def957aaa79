// Several files through one command: the list of jobs from the inputs
// (files, folders, "-"), running them on several threads, and the printing of
// each file's outcome and the total. One file's failure does not stop the
// others.
#pragma once

#include "RenderOptions.h"

#include <functional>
#include <string>
#include <vector>

struct FileJob
{
    std::string input;  // a path, or "-" for standard input
    std::string output; // a path, "-" for standard output, or empty (no output)
    int inputFd = -1;   // for "-": a readable, seekable copy of standard input
};

// What one job answers. Text is printed by RunJobs, never by the job itself,
// so that parallel jobs do not mix their lines.
struct FileResult
{
    bool ok = false;
    std::string error;                 // when !ok
    std::vector<std::string> warnings; // printed on stderr, also when ok
    std::string summary;               // the full text report (single file)
    std::string line;                  // the one-line report (batch)
    std::string json;                  // one JSON object, no newline
};

// The jobs of a command: with outDir each input (a folder gives its sound
// files, sorted) goes to outDir under its own name, the extension changed to
// format's when one is given; without it the single input goes to output.
// Throws CHostError for a usage error (missing folder, two inputs with one
// output name, "-" with outDir). Standard input is read into a spool file here.
std::vector<FileJob> PlanJobs(const std::vector<std::string>& inputs, const std::string& output,
                              const std::string& outDir, const std::string& format);

// Runs work on every job, up to threads at a time (0: all cores), printing
// each outcome as it ends: the summary for a single job, else one line per file
// and a total. Text goes to stdout, or to stderr when a job writes its sound to
// stdout. Exit status: 0 all done, 1 a single job failed, 2 some of a batch
// failed.
int RunJobs(const std::vector<FileJob>& jobs, int threads, const OutputChoices& out,
            const std::function<FileResult(const FileJob&)>& work);

// A seekable descriptor holding everything on standard input: standard input
// itself when it is a regular file, else an unlinked temporary copy.
int SpoolStandardInput();

// True for a file name whose extension is one of the sound formats this host
// reads by name in a folder (wav, flac, aiff, ogg, mp3...).
bool IsSoundFileName(const std::string& name);
