// Test helpers: scratch folders, child processes, sound files.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{
void removeTree(const std::string& path)
{
    if (DIR* d = opendir(path.c_str()))
    {
        while (dirent* e = readdir(d))
        {
            std::string name = e->d_name;
            if (name == "." || name == "..")
                continue;
            std::string child = path + "/" + name;
            struct stat st;
            if (lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
                removeTree(child);
            else
                unlink(child.c_str());
        }
        closedir(d);
    }
    rmdir(path.c_str());
}

// The plug-in reads its user default bank from $XDG_CONFIG_HOME; an empty
// folder of our own keeps the tests apart from the user's settings.
class ConfigEnvironment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        char name[] = "/tmp/deesser-config-XXXXXX";
        if (mkdtemp(name))
        {
            m_Path = name;
            setenv("XDG_CONFIG_HOME", name, 1);
        }
    }
    void TearDown() override
    {
        if (!m_Path.empty())
            removeTree(m_Path);
    }

private:
    std::string m_Path;
};

const ::testing::Environment* const g_Config =
    ::testing::AddGlobalTestEnvironment(new ConfigEnvironment);
} // namespace

TempDir::TempDir()
{
    char name[] = "/tmp/deesser-test-XXXXXX";
    if (!mkdtemp(name))
        throw std::runtime_error("mkdtemp failed");
    m_Path = name;
}

TempDir::~TempDir()
{
    removeTree(m_Path);
}

std::vector<std::string> TempDir::Names() const
{
    std::vector<std::string> names;
    if (DIR* d = opendir(m_Path.c_str()))
    {
        while (dirent* e = readdir(d))
            if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, ".."))
                names.push_back(e->d_name);
        closedir(d);
    }
    return names;
}

RunResult RunDeEsser(const std::vector<std::string>& args)
{
    TempDir capture;
    std::string outPath = capture / "stdout", errPath = capture / "stderr";
    std::vector<std::string> all = {DEESSER_BIN};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT, 0644);
    pid_t pid;
    RunResult r;
    if (posix_spawn(&pid, DEESSER_BIN, &actions, nullptr, argv.data(), environ) == 0)
    {
        int status = 0;
        waitpid(pid, &status, 0);
        if (WIFEXITED(status))
            r.status = WEXITSTATUS(status);
        else if (WIFSIGNALED(status))
            r.signal = WTERMSIG(status);
    }
    posix_spawn_file_actions_destroy(&actions);
    r.out = ReadBytes(outPath);
    r.err = ReadBytes(errPath);
    return r;
}

std::vector<float> TestSignal(int channels, int sampleRate, long long frames)
{
    std::vector<float> s((size_t)(frames * channels));
    const double pi = 3.14159265358979323846;
    for (long long i = 0; i < frames; ++i)
    {
        double t = (double)i / sampleRate;
        bool burst = std::fmod(t, 0.5) >= 0.25;
        double v =
            0.3 * std::sin(2 * pi * 220 * t) +
            (burst ? 0.4 * std::sin(2 * pi * 6500 * t + 0.3 * std::sin(2 * pi * 31 * t)) : 0.0);
        for (int c = 0; c < channels; ++c)
            s[i * channels + c] = (float)(v * (1.0 - 0.25 * c));
    }
    return s;
}

void WriteSound(const std::string& path, int format, int channels, int sampleRate,
                const std::vector<float>& samples)
{
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
    sf_writef_float(f, samples.data(), (sf_count_t)(samples.size() / channels));
    sf_close(f);
}

std::vector<float> ReadSound(const std::string& path, SF_INFO* info)
{
    std::memset(info, 0, sizeof(*info));
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, info);
    if (!f)
        return {};
    std::vector<float> s((size_t)(info->frames * info->channels));
    sf_readf_float(f, s.data(), info->frames);
    sf_close(f);
    return s;
}

std::string ReadBytes(const std::string& path)
{
    std::string data;
    if (FILE* f = std::fopen(path.c_str(), "rb"))
    {
        char buffer[65536];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0)
            data.append(buffer, n);
        std::fclose(f);
    }
    return data;
}

bool Exists(const std::string& path)
{
    struct stat st;
    return lstat(path.c_str(), &st) == 0;
}

std::string DeEsserPath()
{
    return DEESSER_SO;
}

bool DeEsserBuilt()
{
    return Exists(DEESSER_SO);
}

std::string FakePlugin(int kind)
{
    return std::string(FAKE_PLUGIN_DIR) + "/fake_plugin_" + std::to_string(kind) + ".so";
}
