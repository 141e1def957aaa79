// Helpers for tests that touch files: a private scratch folder removed at the
// end, the settings folder of a whole run, whole-file reads and writes, an
// environment variable set for one scope, and a bank file built by hand.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

class TempDir
{
public:
    // Made in `base`, the system's temporary folder unless given.
    explicit TempDir(const std::string& base = std::string())
    {
        const std::filesystem::path where =
            base.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(base);
        std::string pattern = (where / "deesser-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            m_Path = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored; // none was made when the path is empty
        std::filesystem::remove_all(m_Path, ignored);
    }
    const std::string& path() const { return m_Path; }
    std::string operator/(const std::string& name) const { return m_Path + "/" + name; }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

private:
    std::string m_Path;
};

// Memory-backed /dev/shm where there is one, else "" (the temporary folder):
// for programs that write a file per input.
inline std::string ScratchBase()
{
    std::error_code ignored;
    return std::filesystem::is_directory("/dev/shm", ignored) ? "/dev/shm" : "";
}

// Points XDG_CONFIG_HOME at one empty folder for the rest of the run, so that
// no user bank is read or written; the folder goes when the program ends.
inline const TempDir& UseScratchSettings(const std::string& base = std::string())
{
    static const TempDir folder(base);
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    return folder;
}

inline void WriteBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), (std::streamsize)bytes.size());
}

inline std::string ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class ScopedEnv
{
public:
    ScopedEnv(const char* name, const char* value) : m_Name(name)
    {
        if (const char* old = std::getenv(name))
            m_Old = old;
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }
    ~ScopedEnv()
    {
        if (m_Old)
            setenv(m_Name.c_str(), m_Old->c_str(), 1);
        else
            unsetenv(m_Name.c_str());
    }

private:
    std::string m_Name;
    std::optional<std::string> m_Old;
};

// A bank file built by hand (independently of the writer under test); words
// are big-endian.
inline std::string BankFileBytes(const std::string& chunk, unsigned fxID = 0x49446545u,
                                 unsigned chunkSize = 0xFFFFFFFFu, const char* fxMagic = "FBCh")
{
    auto BE32 = [](unsigned v) {
        return std::string{(char)(v >> 24), (char)(v >> 16), (char)(v >> 8), (char)v};
    };
    if (chunkSize == 0xFFFFFFFFu)
        chunkSize = (unsigned)chunk.size();
    return std::string("CcnK") + BE32(0) + fxMagic + BE32(1) + BE32(fxID) + BE32(1) + BE32(32) +
           std::string(128, '\0') + BE32(chunkSize) + chunk;
}
