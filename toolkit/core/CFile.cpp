// CFile over POSIX descriptors; see CFile.h.
#include "CFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

CFile::~CFile()
{
    Close();
}

bool CFile::Open(const char* fileName, unsigned int openFlags)
{
    Close();
    if (!fileName || !*fileName)
        return false;
    std::string path = ToSystemPath(fileName);
    int flags = O_CLOEXEC;
    if (openFlags & modeReadWrite)
        flags |= O_RDWR;
    else if (openFlags & modeWrite)
        flags |= O_WRONLY;
    else
        flags |= O_RDONLY;
    if (openFlags & modeCreate)
        flags |= O_CREAT | O_TRUNC;
    do
        m_Fd = ::open(path.c_str(), flags, 0666);
    while (m_Fd < 0 && errno == EINTR);
    if (m_Fd < 0)
        return false;
    struct stat st;
    if (::fstat(m_Fd, &st) != 0 || S_ISDIR(st.st_mode))
    {
        ::close(m_Fd);
        m_Fd = -1;
        return false;
    }
    m_WriteFailed = false;
    return true;
}

unsigned int CFile::Read(void* buffer, unsigned int count)
{
    if (m_Fd < 0 || !buffer)
        return 0;
    unsigned int done = 0;
    while (done < count)
    {
        ssize_t n = ::read(m_Fd, (char*)buffer + done, count - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += (unsigned int)n;
    }
    return done;
}

bool CFile::Write(const void* buffer, unsigned int count)
{
    if (m_Fd < 0 || (!buffer && count))
    {
        m_WriteFailed = true;
        return false;
    }
    unsigned int done = 0;
    while (done < count)
    {
        ssize_t n = ::write(m_Fd, (const char*)buffer + done, count - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            m_WriteFailed = true;
            return false;
        }
        done += (unsigned int)n;
    }
    return true;
}

int64_t CFile::Seek(int64_t offset, SeekPosition from)
{
    if (m_Fd < 0)
        return -1;
    int whence = from == begin ? SEEK_SET : from == current ? SEEK_CUR : SEEK_END;
    return (int64_t)::lseek(m_Fd, (off_t)offset, whence);
}

int64_t CFile::GetPosition() const
{
    return m_Fd < 0 ? -1 : (int64_t)::lseek(m_Fd, 0, SEEK_CUR);
}

int64_t CFile::GetLength() const
{
    struct stat st;
    if (m_Fd < 0 || ::fstat(m_Fd, &st) != 0)
        return -1;
    return (int64_t)st.st_size;
}

bool CFile::Flush()
{
    if (m_Fd < 0)
        return false;
    if (::fsync(m_Fd) != 0 && errno != EINVAL && errno != EROFS)
        m_WriteFailed = true;
    return !m_WriteFailed;
}

bool CFile::Close()
{
    if (m_Fd < 0)
        return true;
    bool ok = ::close(m_Fd) == 0 && !m_WriteFailed;
    m_Fd = -1;
    m_WriteFailed = false;
    return ok;
}

bool CFile::Exists(const char* fileName)
{
    if (!fileName || !*fileName)
        return false;
    struct stat st;
    return ::stat(ToSystemPath(fileName).c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

bool CFile::Remove(const char* fileName)
{
    return fileName && ::unlink(ToSystemPath(fileName).c_str()) == 0;
}

bool CFile::Rename(const char* oldName, const char* newName)
{
    return oldName && newName &&
           ::rename(ToSystemPath(oldName).c_str(), ToSystemPath(newName).c_str()) == 0;
}

std::string CFile::ToSystemPath(const char* fileName)
{
    if (!fileName)
        return std::string();
    static const char kScheme[] = "file://";
    if (std::strncmp(fileName, kScheme, sizeof(kScheme) - 1) != 0)
        return fileName;
    const char* rest = fileName + sizeof(kScheme) - 1;
    // "file://localhost/path" names the same file as "file:///path".
    static const char kLocal[] = "localhost/";
    if (std::strncmp(rest, kLocal, sizeof(kLocal) - 1) == 0)
        rest += sizeof(kLocal) - 2;
    return PercentDecode(rest);
}

static int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string CFile::PercentDecode(const char* text)
{
    std::string out;
    if (!text)
        return out;
    for (const char* p = text; *p; ++p)
    {
        int hi, lo;
        if (*p == '%' && (hi = hexDigit(p[1])) >= 0 && (lo = hexDigit(p[2])) >= 0)
        {
            out += (char)(hi * 16 + lo);
            p += 2;
        }
        else
        {
            out += *p;
        }
    }
    return out;
}

std::string CFile::PathToFileURL(const char* path)
{
    static const char kHex[] = "0123456789ABCDEF";
    std::string url = "file://";
    if (!path)
        return url;
    for (const unsigned char* p = (const unsigned char*)path; *p; ++p)
    {
        unsigned char c = *p;
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '.' || c == '_' || c == '~' || c == '/';
        if (plain)
        {
            url += (char)c;
        }
        else
        {
            url += '%';
            url += kHex[c >> 4];
            url += kHex[c & 15];
        }
    }
    return url;
}
