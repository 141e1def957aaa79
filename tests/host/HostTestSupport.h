// Helpers for the host tests: a scratch folder, running the deesser binary,
// and making and reading sound files with libsndfile.
#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

// A fresh folder under /tmp, removed with its content at the end.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    const std::string& Path() const { return m_Path; }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }
    std::vector<std::string> Names() const; // entries, without . and ..

private:
    std::string m_Path;
};

struct RunResult
{
    int status = -1;      // exit status, or -1 when ended by a signal
    int signal = 0;       // the signal that ended it, else 0
    std::string out, err; // what it printed
};

// Runs the deesser binary with args and waits for it.
RunResult RunDeEsser(const std::vector<std::string>& args);

// Test signal: a 220 Hz tone with 6.5 kHz bursts, deterministic; channel c is
// scaled by 1 - 0.25 c so that the channels differ.
std::vector<float> TestSignal(int channels, int sampleRate, long long frames);

// Writes interleaved samples in the given libsndfile format.
void WriteSound(const std::string& path, int format, int channels, int sampleRate,
                const std::vector<float>& samples);

// Reads a whole file as interleaved floats; info receives the file's layout.
std::vector<float> ReadSound(const std::string& path, SF_INFO* info);

std::string ReadBytes(const std::string& path);
bool Exists(const std::string& path);

// The built plug-in, and the stand-ins (0 no entry, 1 null entry, 2 bad magic,
// 3 foreign gain effect).
std::string DeEsserPath();
bool DeEsserBuilt();
std::string FakePlugin(int kind);
