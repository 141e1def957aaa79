// Helpers for the host tests: running the deesser binary, and making and
// reading sound files with libsndfile. Scratch folders and whole-file reads
// and writes come from the shared TestFiles.h.
#pragma once

#include "TestFiles.h"
#include "TestSignal.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

extern char** environ;

// The plug-in reads its user default bank from $XDG_CONFIG_HOME: an empty
// folder of our own keeps the tests apart from the user's settings.
inline const TempDir& g_Settings = UseScratchSettings();

struct RunResult
{
    int status = -1;      // exit status, or -1 when ended by a signal
    std::string out, err; // what it printed
};

// Starts argv[0], stdin from /dev/null, stdout and stderr going to the named
// files; -1 on failure.
inline pid_t Spawn(std::vector<std::string> argv, const std::string& out, const std::string& err)
{
    std::vector<char*> args;
    for (std::string& a : argv)
        args.push_back(a.data());
    args.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0644);
    pid_t pid = -1;
    if (posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

inline RunResult Run(const std::vector<std::string>& argv)
{
    TempDir capture;
    RunResult r;
    pid_t pid = Spawn(argv, capture / "stdout", capture / "stderr");
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        r.status = WEXITSTATUS(status);
    r.out = ReadBytes(capture / "stdout");
    r.err = ReadBytes(capture / "stderr");
    return r;
}

inline RunResult RunDeEsser(std::vector<std::string> args)
{
    args.insert(args.begin(), DEESSER_BIN);
    return Run(args);
}

// Runs a shell script with $DEESSER naming the binary (for pipes and redirections).
inline RunResult RunShell(const std::string& script)
{
    return Run({"/bin/sh", "-c", "DEESSER='" DEESSER_BIN "'\n" + script});
}

// The kit's vocal signal with sibilant bursts, interleaved.
inline std::vector<float> TestSignal(int channels, int sampleRate, long long frames)
{
    return testsignal::Vocal((int)frames, sampleRate).Interleaved(channels);
}

// Writes interleaved samples in the given libsndfile format; tag, if given,
// adds metadata to the open file before the samples.
inline void WriteSound(const std::string& path, int format, int channels, int sampleRate,
                       const std::vector<float>& samples,
                       const std::function<void(SNDFILE*)>& tag = nullptr)
{
    SF_INFO info{0, sampleRate, channels, format, 0, 0};
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
    if (tag)
        tag(f);
    sf_writef_float(f, samples.data(), (sf_count_t)(samples.size() / channels));
    sf_close(f);
}

// Reads a whole file as interleaved floats; info, if given, receives the file's layout.
inline std::vector<float> ReadSound(const std::string& path, SF_INFO* info = nullptr)
{
    SF_INFO own;
    info = info ? info : &own;
    *info = SF_INFO{};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, info);
    if (!f)
        return {};
    std::vector<float> s((size_t)(info->frames * info->channels));
    sf_readf_float(f, s.data(), info->frames);
    sf_close(f);
    return s;
}

// How often what occurs in text.
inline size_t Count(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// Names in a folder, sorted.
inline std::vector<std::string> Names(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// The stand-in plug-ins: 0 no entry, 1 null entry, 2 bad magic, 3 a foreign
// stereo effect whose one parameter "Gain" scales by 4 × value − 2 (0.75
// passes the audio, 0.25 inverts it, 1 doubles it).
inline std::string FakePlugin(int kind)
{
    return std::string(FAKE_PLUGIN_DIR) + "/fake_plugin_" + std::to_string(kind) + ".so";
}
