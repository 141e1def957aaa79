// Helpers for the host tests: running the deesser binary, and making and
// reading sound files with libsndfile. Scratch folders and whole-file reads
// and writes come from the shared TestFiles.h.
#pragma once

#include "TestFiles.h"

#include <sndfile.h>

#include <filesystem>
#include <functional>
#include <sys/types.h>
#include <string>
#include <vector>

struct RunResult
{
    int status = -1;      // exit status, or -1 when ended by a signal
    int signal = 0;       // the signal that ended it, else 0
    std::string out, err; // what it printed
};

// Runs the deesser binary with args and waits for it.
RunResult RunDeEsser(const std::vector<std::string>& args);
// Runs a shell script with $DEESSER naming the binary (for pipes and
// redirections), stdin from /dev/null.
RunResult RunShell(const std::string& script);
// Starts it with stdout and stderr going to the named files; -1 on failure.
pid_t SpawnDeEsser(const std::vector<std::string>& args, const std::string& out,
                   const std::string& err);

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

// The built plug-in, and the stand-ins (0 no entry, 1 null entry, 2 bad magic,
// 3 foreign gain effect).
inline std::string DeEsserPath()
{
    return DEESSER_SO;
}
inline std::string FakePlugin(int kind)
{
    return std::string(FAKE_PLUGIN_DIR) + "/fake_plugin_" + std::to_string(kind) + ".so";
}

// Skips a test that needs the built de-esser when it is not there.
#define REQUIRE_DEESSER()                                                                          \
    if (!Exists(DeEsserPath()))                                                                    \
    GTEST_SKIP() << "DeEsser.so is not built at " << DeEsserPath()
