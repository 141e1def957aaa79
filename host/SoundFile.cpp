// libsndfile reader and writer, atomic output files and their signal clean-up.
#include "SoundFile.h"
#include "HostError.h"

#include <cctype>
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
// Temporary files that a signal handler must remove. Fixed storage, written
// only with signals blocked, read by the handler (async-signal-safe unlink).
const int kMaxPending = 4;
char g_PendingPath[kMaxPending][PATH_MAX];
volatile sig_atomic_t g_PendingUsed[kMaxPending];

void onSignal(int sig)
{
    for (int i = 0; i < kMaxPending; ++i)
        if (g_PendingUsed[i])
            unlink(g_PendingPath[i]);
    signal(sig, SIG_DFL);
    raise(sig);
}

// Blocks the clean-up signals for the lifetime of the object.
class CSignalBlock
{
public:
    CSignalBlock()
    {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGINT);
        sigaddset(&set, SIGTERM);
        sigaddset(&set, SIGHUP);
        sigprocmask(SIG_BLOCK, &set, &m_Old);
    }
    ~CSignalBlock() { sigprocmask(SIG_SETMASK, &m_Old, nullptr); }

private:
    sigset_t m_Old;
};

std::string lowerExtension(const std::string& path)
{
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return std::string();
    std::string ext = path.substr(dot + 1);
    for (char& c : ext)
        c = (char)std::tolower((unsigned char)c);
    return ext;
}

int containerForExtension(const std::string& ext)
{
    if (ext == "wav")
        return SF_FORMAT_WAV;
    if (ext == "flac")
        return SF_FORMAT_FLAC;
    if (ext == "aif" || ext == "aiff" || ext == "aifc")
        return SF_FORMAT_AIFF;
    if (ext == "ogg" || ext == "oga")
        return SF_FORMAT_OGG;
    if (ext == "caf")
        return SF_FORMAT_CAF;
    if (ext == "w64")
        return SF_FORMAT_W64;
    return 0;
}
} // namespace

std::string FormatName(int format)
{
    std::string container;
    switch (format & SF_FORMAT_TYPEMASK)
    {
    case SF_FORMAT_WAV:
        container = "WAV";
        break;
    case SF_FORMAT_AIFF:
        container = "AIFF";
        break;
    case SF_FORMAT_FLAC:
        container = "FLAC";
        break;
    case SF_FORMAT_OGG:
        container = "Ogg";
        break;
    case SF_FORMAT_CAF:
        container = "CAF";
        break;
    case SF_FORMAT_W64:
        container = "W64";
        break;
    case SF_FORMAT_RF64:
        container = "RF64";
        break;
    default:
    {
        SF_FORMAT_INFO info;
        info.format = format & SF_FORMAT_TYPEMASK;
        container = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info)) == 0
                        ? info.name
                        : "unknown container";
    }
    }
    std::string subtype;
    switch (format & SF_FORMAT_SUBMASK)
    {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        subtype = "8-bit";
        break;
    case SF_FORMAT_PCM_16:
        subtype = "16-bit";
        break;
    case SF_FORMAT_PCM_24:
        subtype = "24-bit";
        break;
    case SF_FORMAT_PCM_32:
        subtype = "32-bit";
        break;
    case SF_FORMAT_FLOAT:
        subtype = "float";
        break;
    case SF_FORMAT_DOUBLE:
        subtype = "double";
        break;
    case SF_FORMAT_VORBIS:
        subtype = "Vorbis";
        break;
    case SF_FORMAT_OPUS:
        subtype = "Opus";
        break;
    default:
    {
        SF_FORMAT_INFO info;
        info.format = format & SF_FORMAT_SUBMASK;
        subtype = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info)) == 0
                      ? info.name
                      : "unknown encoding";
    }
    }
    return container + " " + subtype;
}

CSoundReader::CSoundReader(const std::string& path) : m_Path(path)
{
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        throw CHostError("cannot read " + path + ": " + std::strerror(errno));
    if (S_ISDIR(st.st_mode))
        throw CHostError("cannot read " + path + ": it is a folder");
    if (access(path.c_str(), R_OK) != 0)
        throw CHostError("cannot read " + path + ": " + std::strerror(errno));

    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    m_File = sf_open(path.c_str(), SFM_READ, &info);
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

void CheckOutputPath(const std::string& output, const std::string& input, bool force)
{
    struct stat out;
    if (stat(output.c_str(), &out) != 0)
    {
        if (errno != ENOENT)
            throw CHostError("cannot use output " + output + ": " + std::strerror(errno));
        return;
    }
    struct stat in;
    if (!input.empty() && stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev &&
        in.st_ino == out.st_ino)
        throw CHostError("output " + output + " is the input file; choose another name");
    if (S_ISDIR(out.st_mode))
        throw CHostError("output " + output + " is a folder");
    // The output is renamed into place: never over a device, pipe or socket.
    if (!S_ISREG(out.st_mode))
        throw CHostError("output " + output + " exists and is not a regular file");
    if (!force)
        throw CHostError("output " + output + " exists (use --force to overwrite)");
}

CPendingFile::CPendingFile(const std::string& finalPath, bool force)
    : m_FinalPath(finalPath), m_Force(force)
{
    size_t slash = finalPath.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : finalPath.substr(0, slash + 1);
    std::string base = slash == std::string::npos ? finalPath : finalPath.substr(slash + 1);
    if (base.empty())
        throw CHostError("output " + finalPath + " names no file");
    std::string pattern = dir + "." + base + ".XXXXXX";
    if (pattern.size() >= PATH_MAX)
        throw CHostError("output path too long: " + finalPath);
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back(0);

    CSignalBlock block;
    m_Fd = mkstemp(name.data());
    if (m_Fd < 0)
        throw CHostError("cannot create a file in " + (dir.empty() ? std::string(".") : dir) +
                         ": " + std::strerror(errno));
    m_TempPath = name.data();
    // mkstemp makes 0600; give the file the permissions a plain create would.
    mode_t mask = umask(0);
    umask(mask);
    fchmod(m_Fd, 0666 & ~mask);
    for (int i = 0; i < kMaxPending; ++i)
        if (!g_PendingUsed[i])
        {
            std::snprintf(g_PendingPath[i], PATH_MAX, "%s", m_TempPath.c_str());
            g_PendingUsed[i] = 1;
            m_Slot = i;
            break;
        }
}

CPendingFile::~CPendingFile()
{
    if (!m_Done)
        Abort();
}

int CPendingFile::ReleaseFd()
{
    int fd = m_Fd;
    m_Fd = -1;
    return fd;
}

void CPendingFile::CloseFd()
{
    if (m_Fd >= 0)
        close(m_Fd);
    m_Fd = -1;
}

void CPendingFile::Commit()
{
    CloseFd();
    CSignalBlock block;
    // A file that appeared meanwhile is not overwritten without --force.
    struct stat st;
    if (!m_Force && stat(m_FinalPath.c_str(), &st) == 0)
    {
        Abort();
        throw CHostError("output " + m_FinalPath + " exists (use --force to overwrite)");
    }
    if (rename(m_TempPath.c_str(), m_FinalPath.c_str()) != 0)
    {
        int err = errno;
        Abort();
        throw CHostError("cannot write " + m_FinalPath + ": " + std::strerror(err));
    }
    if (m_Slot >= 0)
        g_PendingUsed[m_Slot] = 0;
    m_Done = true;
}

void CPendingFile::Abort()
{
    CloseFd();
    CSignalBlock block;
    if (!m_Done)
        unlink(m_TempPath.c_str());
    if (m_Slot >= 0)
        g_PendingUsed[m_Slot] = 0;
    m_Done = true;
}

CSoundWriter::CSoundWriter(CPendingFile& pending, const SoundInfo& info)
    : m_Name(pending.TempPath())
{
    SF_INFO sfinfo;
    std::memset(&sfinfo, 0, sizeof(sfinfo));
    sfinfo.channels = info.channels;
    sfinfo.samplerate = info.sampleRate;
    sfinfo.format = info.format;
    if (!sf_format_check(&sfinfo))
        throw CHostError("cannot write " + FormatName(info.format) + " with " +
                         std::to_string(info.channels) + " channel(s) at " +
                         std::to_string(info.sampleRate) + " Hz");
    m_File = sf_open_fd(pending.Fd(), SFM_WRITE, &sfinfo, SF_TRUE);
    if (!m_File)
        throw CHostError(std::string("cannot write output: ") + sf_strerror(nullptr));
    pending.ReleaseFd(); // libsndfile closes it now
    // Float results above full scale are clipped, not wrapped, in integer formats.
    sf_command(m_File, SFC_SET_CLIPPING, nullptr, SF_TRUE);
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

void CSoundWriter::CopyStringsFrom(SNDFILE* source)
{
    const int kinds[] = {SF_STR_TITLE,       SF_STR_COPYRIGHT, SF_STR_SOFTWARE, SF_STR_ARTIST,
                         SF_STR_COMMENT,     SF_STR_DATE,      SF_STR_ALBUM,    SF_STR_LICENSE,
                         SF_STR_TRACKNUMBER, SF_STR_GENRE};
    for (int kind : kinds)
        if (const char* text = sf_get_string(source, kind))
            sf_set_string(m_File, kind, text);
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

int ChooseOutputFormat(int inputFormat, const std::string& outputPath, int channels, int sampleRate)
{
    int container = containerForExtension(lowerExtension(outputPath));
    if (container == 0 || container == (inputFormat & SF_FORMAT_TYPEMASK))
        return inputFormat;
    const int subtypes[] = {inputFormat & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_24, SF_FORMAT_PCM_16,
                            SF_FORMAT_VORBIS, SF_FORMAT_FLOAT};
    for (int subtype : subtypes)
    {
        SF_INFO info;
        std::memset(&info, 0, sizeof(info));
        info.channels = channels;
        info.samplerate = sampleRate;
        info.format = container | subtype;
        if (sf_format_check(&info))
            return info.format;
    }
    return container | (inputFormat & SF_FORMAT_SUBMASK);
}

void InstallCleanupHandlers()
{
    struct sigaction sa;
    std::memset(&sa, 0, sizeof(sa));
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGHUP, &sa, nullptr);
}
