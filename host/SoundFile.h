// Sound files through libsndfile: a reader, a writer, and an output that is
// written under a temporary name in its own folder and renamed into place only
// when complete, so an interrupted run never leaves a half-written file.
#pragma once

#include <sndfile.h>

#include <string>

struct SoundInfo
{
    long long frames = 0;
    int channels = 0;
    int sampleRate = 0;
    int format = 0; // libsndfile's SF_FORMAT_* word: container | subtype | endianness
};

// Short human text for a format word, e.g. "WAV float" or "FLAC 24-bit".
std::string FormatName(int format);

class CSoundReader
{
public:
    explicit CSoundReader(const std::string& path); // throws CHostError
    ~CSoundReader();
    CSoundReader(const CSoundReader&) = delete;
    CSoundReader& operator=(const CSoundReader&) = delete;

    const SoundInfo& Info() const { return m_Info; }
    // Reads up to frames interleaved frames as floats (-1..1 for integer
    // formats); returns the number read, 0 at the end. Throws on a read error.
    long long Read(float* interleaved, long long frames);
    SNDFILE* Handle() const { return m_File; }

private:
    std::string m_Path;
    SNDFILE* m_File = nullptr;
    SoundInfo m_Info;
};

// The final output path with the checks every command applies before writing:
// it must not be the input (same file by device and inode, not by name), and
// it must not exist unless force is set.
void CheckOutputPath(const std::string& output, const std::string& input, bool force);

// An output file under construction: created as ".NAME.XXXXXX" beside the
// final name; Commit() renames it into place. Destroying it uncommitted, or a
// SIGINT / SIGTERM / SIGHUP meanwhile, removes the temporary file.
class CPendingFile
{
public:
    CPendingFile(const std::string& finalPath, bool force); // throws CHostError
    ~CPendingFile();
    CPendingFile(const CPendingFile&) = delete;
    CPendingFile& operator=(const CPendingFile&) = delete;

    int Fd() const { return m_Fd; }
    const std::string& TempPath() const { return m_TempPath; }
    // Hands the descriptor over to someone who closes it (libsndfile).
    int ReleaseFd();
    void CloseFd();
    void Commit(); // throws CHostError when the rename fails
    void Abort();

private:
    std::string m_FinalPath;
    std::string m_TempPath;
    int m_Fd = -1;
    bool m_Force = false;
    bool m_Done = false;
    int m_Slot = -1;
};

class CSoundWriter
{
public:
    // Writes to pending's temporary file with the given layout.
    CSoundWriter(CPendingFile& pending, const SoundInfo& info); // throws CHostError
    ~CSoundWriter();
    CSoundWriter(const CSoundWriter&) = delete;
    CSoundWriter& operator=(const CSoundWriter&) = delete;

    void Write(const float* interleaved, long long frames); // throws CHostError
    void CopyStringsFrom(SNDFILE* source);                  // title, artist...
    void Close();                                           // throws on a flush error

private:
    SNDFILE* m_File = nullptr;
    std::string m_Name;
};

// The format for an output file: the input's when the output's extension names
// the same container (or none that is known); otherwise the container that the
// extension names, keeping the input's sample type when that container takes it.
int ChooseOutputFormat(int inputFormat, const std::string& outputPath, int channels,
                       int sampleRate);

// Installs the handlers that remove pending temporary files on SIGINT,
// SIGTERM and SIGHUP, then end the process by the same signal.
void InstallCleanupHandlers();
