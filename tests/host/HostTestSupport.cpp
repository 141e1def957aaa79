// Test helpers: child processes and sound files.
#include "HostTestSupport.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

// The plug-in reads its user default bank from $XDG_CONFIG_HOME: an empty
// folder of our own keeps the tests apart from the user's settings.
static const TempDir& g_Settings = UseScratchSettings();

std::vector<std::string> Names(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

pid_t Spawn(std::vector<std::string> argv, const std::string& out, const std::string& err)
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

static RunResult run(const std::vector<std::string>& argv)
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

RunResult RunDeEsser(const std::vector<std::string>& args)
{
    std::vector<std::string> argv = {DEESSER_BIN};
    argv.insert(argv.end(), args.begin(), args.end());
    return run(argv);
}

RunResult RunShell(const std::string& script)
{
    return run({"/bin/sh", "-c", "DEESSER='" DEESSER_BIN "'\n" + script});
}

std::vector<float> TestSignal(int channels, int sampleRate, long long frames)
{
    return testsignal::Vocal((int)frames, sampleRate).Interleaved(channels);
}

void WriteSound(const std::string& path, int format, int channels, int sampleRate,
                const std::vector<float>& samples, const std::function<void(SNDFILE*)>& tag)
{
    SF_INFO info{};
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
    if (tag)
        tag(f);
    sf_writef_float(f, samples.data(), (sf_count_t)(samples.size() / channels));
    sf_close(f);
}

std::vector<float> ReadSound(const std::string& path, SF_INFO* info)
{
    SF_INFO own;
    info = info ? info : &own;
    std::memset(info, 0, sizeof(*info));
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, info);
    if (!f)
        return {};
    std::vector<float> s((size_t)(info->frames * info->channels));
    sf_readf_float(f, s.data(), info->frames);
    sf_close(f);
    return s;
}
