// libsndfile reader and writer, and the metadata carried from one to the other.
#include "SoundFile.h"
#include "HostError.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
struct FormatWord
{
    int format;
    const char* name;
};

// clang-format off
constexpr FormatWord kContainers[] = {
    {SF_FORMAT_WAV, "WAV"},   {SF_FORMAT_AIFF, "AIFF"}, {SF_FORMAT_FLAC, "FLAC"}, {SF_FORMAT_OGG, "Ogg"},
    {SF_FORMAT_CAF, "CAF"},   {SF_FORMAT_W64, "W64"},   {SF_FORMAT_RF64, "RF64"},
};
constexpr FormatWord kEncodings[] = {
    {SF_FORMAT_PCM_S8, "8-bit"},  {SF_FORMAT_PCM_U8, "8-bit"},  {SF_FORMAT_PCM_16, "16-bit"},
    {SF_FORMAT_PCM_24, "24-bit"}, {SF_FORMAT_PCM_32, "32-bit"}, {SF_FORMAT_FLOAT, "float"},
    {SF_FORMAT_DOUBLE, "double"}, {SF_FORMAT_VORBIS, "Vorbis"}, {SF_FORMAT_OPUS, "Opus"},
};
// clang-format on

// Our word for a container or encoding; libsndfile's own name for the rest.
template <size_t N>
std::string FormatWordOf(int format, const FormatWord (&words)[N], const char* unknown)
{
    for (const FormatWord& w : words)
        if (w.format == format)
            return w.name;
    SF_FORMAT_INFO info;
    info.format = format;
    return sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info)) == 0 ? info.name : unknown;
}
} // namespace

std::string FormatName(int format)
{
    return FormatWordOf(format & SF_FORMAT_TYPEMASK, kContainers, "unknown container") + " " +
           FormatWordOf(format & SF_FORMAT_SUBMASK, kEncodings, "unknown encoding");
}

namespace
{
SNDFILE* openPath(const std::string& path, SF_INFO* info)
{
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        throw CHostError("cannot read " + path + ": " + std::strerror(errno));
    if (S_ISDIR(st.st_mode))
        throw CHostError("cannot read " + path + ": it is a folder");
    if (access(path.c_str(), R_OK) != 0)
        throw CHostError("cannot read " + path + ": " + std::strerror(errno));
    return sf_open(path.c_str(), SFM_READ, info);
}
} // namespace

CSoundReader::CSoundReader(const std::string& path, int fd) : m_Path(path)
{
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    if (fd >= 0)
    {
        int own = dup(fd);
        lseek(own, 0, SEEK_SET);
        m_File = own < 0 ? nullptr : sf_open_fd(own, SFM_READ, &info, SF_TRUE);
        if (!m_File && own >= 0)
            close(own);
    }
    else
        m_File = openPath(path, &info);
    if (!m_File)
        throw CHostError("unsupported or damaged sound file: " + path + " (" +
                         sf_strerror(nullptr) + ")");
    m_Info.frames = info.frames;
    m_Info.channels = info.channels;
    m_Info.sampleRate = info.samplerate;
    m_Info.format = info.format;
    if (info.channels < 1 || info.samplerate < 1)
    {
        sf_close(m_File);
        m_File = nullptr;
        throw CHostError("sound file without channels or sample rate: " + path);
    }
}

CSoundReader::~CSoundReader()
{
    if (m_File)
        sf_close(m_File);
}

long long CSoundReader::Read(float* interleaved, long long frames)
{
    sf_count_t got = sf_readf_float(m_File, interleaved, frames);
    if (got < 0 || (got == 0 && sf_error(m_File) != SF_ERR_NO_ERROR))
        throw CHostError("read error in " + m_Path + ": " + sf_strerror(m_File));
    return got;
}

CSoundWriter::CSoundWriter(COutputFile& file, const SoundInfo& info, double quality)
{
    SF_INFO sfinfo;
    std::memset(&sfinfo, 0, sizeof(sfinfo));
    sfinfo.channels = info.channels;
    sfinfo.samplerate = info.sampleRate;
    sfinfo.format = info.format;
    m_Channels = info.channels;
    if (!sf_format_check(&sfinfo))
        throw CHostError("cannot write " + FormatName(info.format) + " with " +
                         std::to_string(info.channels) + " channel(s) at " +
                         std::to_string(info.sampleRate) + " Hz");
    int fd = file.DupFd();
    m_File = sf_open_fd(fd, SFM_WRITE, &sfinfo, SF_TRUE);
    if (!m_File)
    {
        close(fd);
        throw CHostError(std::string("cannot write output: ") + sf_strerror(nullptr));
    }
    // Float results above full scale are clipped, not wrapped, in integer formats.
    sf_command(m_File, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    if (quality >= 0)
    {
        double q = quality / 10.0; // libsndfile's 0..1, 1 the best
        sf_command(m_File, SFC_SET_VBR_ENCODING_QUALITY, &q, sizeof(q));
    }
}

CSoundWriter::~CSoundWriter()
{
    if (m_File)
        sf_close(m_File);
}

void CSoundWriter::Write(const float* interleaved, long long frames)
{
    if (sf_writef_float(m_File, interleaved, frames) != frames)
        throw CHostError(std::string("write error: ") + sf_strerror(m_File));
}

void CSoundWriter::CopyMetadataFrom(SNDFILE* source)
{
    // Text tags: RIFF INFO in WAV, Vorbis comments in FLAC and Ogg, and so on;
    // libsndfile writes those the output container has.
    const int kinds[] = {SF_STR_TITLE,       SF_STR_COPYRIGHT, SF_STR_SOFTWARE, SF_STR_ARTIST,
                         SF_STR_COMMENT,     SF_STR_DATE,      SF_STR_ALBUM,    SF_STR_LICENSE,
                         SF_STR_TRACKNUMBER, SF_STR_GENRE};
    for (int kind : kinds)
        if (const char* text = sf_get_string(source, kind))
            sf_set_string(m_File, kind, text);
    // The speaker positions of the channels (WAVEX, CAF...).
    std::vector<int> map((size_t)m_Channels);
    if (m_Channels > 0 && sf_command(source, SFC_GET_CHANNEL_MAP_INFO, map.data(),
                                     (int)(map.size() * sizeof(int))) == SF_TRUE)
        sf_command(m_File, SFC_SET_CHANNEL_MAP_INFO, map.data(), (int)(map.size() * sizeof(int)));
    // The broadcast extension (description, originator, time reference,
    // coding history) of WAV, W64 and RF64.
    // libsndfile takes at most its 16K form, and only the size in use.
    SF_BROADCAST_INFO_VAR(16000) bext;
    std::memset(&bext, 0, sizeof(bext));
    if (sf_command(source, SFC_GET_BROADCAST_INFO, &bext, sizeof(bext)) == SF_TRUE)
    {
        size_t used = offsetof(SF_BROADCAST_INFO, coding_history) +
                      std::min<size_t>(bext.coding_history_size, sizeof(bext.coding_history));
        sf_command(m_File, SFC_SET_BROADCAST_INFO, &bext, (int)used);
    }
}

void CSoundWriter::Close()
{
    if (!m_File)
        return;
    sf_write_sync(m_File);
    int err = sf_close(m_File);
    m_File = nullptr;
    if (err != 0)
        throw CHostError(std::string("cannot finish the output: ") + sf_error_number(err));
}
