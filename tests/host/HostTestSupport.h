// Helpers for the host tests: running the deesser binary, and making and
// reading sound files with libsndfile. Scratch folders and whole-file reads
// and writes come from the shared TestFiles.h.
#pragma once

#include "TestFiles.h"

#include <sndfile.h>

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

struct RunResult
{
    int status = -1;      // exit status, or -1 when ended by a signal
    std::string out, err; // what it printed
};

// Runs the deesser binary with args, stdin from /dev/null, and waits for it.
RunResult RunDeEsser(const std::vector<std::string>& args);
// Runs a shell script with $DEESSER naming the binary (for pipes and redirections).
RunResult RunShell(const std::string& script);
// Starts argv[0] with stdout and stderr going to the named files; -1 on failure.
pid_t Spawn(std::vector<std::string> argv, const std::string& out, const std::string& err);

// The kit's vocal signal with sibilant bursts, interleaved.
std::vector<float> TestSignal(int channels, int sampleRate, long long frames);

// Writes interleaved samples in the given libsndfile format; tag, if given,
// adds metadata to the open file before the samples.
void WriteSound(const std::string& path, int format, int channels, int sampleRate,
                const std::vector<float>& samples,
                const std::function<void(SNDFILE*)>& tag = nullptr);

// Reads a whole file as interleaved floats; info, if given, receives the file's layout.
std::vector<float> ReadSound(const std::string& path, SF_INFO* info = nullptr);

// How often what occurs in text.
inline size_t Count(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// Names in a folder, sorted.
std::vector<std::string> Names(const std::string& folder);

inline bool Exists(const std::string& path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

// The stand-in plug-ins: 0 no entry, 1 null entry, 2 bad magic, 3 a foreign
// stereo effect whose one parameter "Gain" scales by 4 × value − 2 (0.75
// passes the audio, 0.25 inverts it, 1 doubles it).
inline std::string FakePlugin(int kind)
{
    return std::string(FAKE_PLUGIN_DIR) + "/fake_plugin_" + std::to_string(kind) + ".so";
}
