// Sound files through libsndfile: a reader (of a path, or of a descriptor for
// standard input) and a writer into a COutputFile.
#pragma once

#include "COutputFile.h"

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
    // Reads path, or fd when one is given (path then names it in messages).
    explicit CSoundReader(const std::string& path, int fd = -1); // throws CHostError
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

class CSoundWriter
{
public:
    // Writes into file with the given layout; quality 0..10 for lossy
    // encodings, -1 for libsndfile's default.
    CSoundWriter(COutputFile& file, const SoundInfo& info, double quality = -1); // throws
    ~CSoundWriter();
    CSoundWriter(const CSoundWriter&) = delete;
    CSoundWriter& operator=(const CSoundWriter&) = delete;

    void Write(const float* interleaved, long long frames); // throws CHostError
    // Text tags, the channel map and the broadcast extension, where the
    // output container holds them. Before the first Write.
    void CopyMetadataFrom(SNDFILE* source);
    void Close(); // throws on a flush error

private:
    SNDFILE* m_File = nullptr;
    int m_Channels = 0;
};
