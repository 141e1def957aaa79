// Safe output files: link targets, refusals, temporary files and their
// removal on signals.
#include "COutputFile.h"
#include "HostError.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
// Temporary files that a signal handler must remove. Fixed storage, written
// only with signals blocked, read by the handler (async-signal-safe unlink).
const int kMaxPending = 256;
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
        pthread_sigmask(SIG_BLOCK, &set, &m_Old);
    }
    ~CSignalBlock() { pthread_sigmask(SIG_SETMASK, &m_Old, nullptr); }

private:
    sigset_t m_Old;
};

std::string folderOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The file a path finally names: symbolic links followed one by one, so that
// a dangling link names the file it would create.
std::string followLinks(const std::string& path)
{
    std::string p = path;
    for (int hop = 0; hop < 40; ++hop)
    {
        struct stat st;
        if (lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode))
            return p;
        std::vector<char> target(PATH_MAX + 1);
        ssize_t n = readlink(p.c_str(), target.data(), PATH_MAX);
        if (n <= 0)
            throw CHostError("cannot read the link " + p + ": " + std::strerror(errno));
        std::string t(target.data(), (size_t)n);
        p = t[0] == '/' ? t : folderOf(p) + t;
    }
    throw CHostError("output " + path + ": too many levels of symbolic links");
}

const char* kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a folder";
    if (S_ISFIFO(mode))
        return "a pipe";
    if (S_ISSOCK(mode))
        return "a socket";
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return "a device";
    return "not a regular file";
}

int makeTemporary(const std::string& pattern, std::string* name)
{
    if (pattern.size() >= PATH_MAX)
        throw CHostError("output path too long: " + pattern);
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back(0);
    int fd = mkstemp(buf.data());
    if (fd >= 0)
        *name = buf.data();
    return fd;
}
} // namespace

COutputFile::COutputFile(const std::string& path, bool force, const std::string& inputPath,
                         int inputFd)
    : m_Path(path), m_Force(force)
{
    struct stat in;
    bool haveInput = inputFd >= 0 ? fstat(inputFd, &in) == 0
                                  : !inputPath.empty() && stat(inputPath.c_str(), &in) == 0;
    if (path == "-")
    {
        m_Target = "-";
        struct stat out;
        if (fstat(STDOUT_FILENO, &out) != 0)
            throw CHostError("standard output is closed");
        if (haveInput && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
            throw CHostError("standard output is the input file");
        // A regular file at its start is written in place; anything else
        // (a pipe, a terminal) gets the finished file copied to it.
        m_Direct = S_ISREG(out.st_mode) && lseek(STDOUT_FILENO, 0, SEEK_CUR) == 0;
        if (m_Direct)
        {
            m_Fd = dup(STDOUT_FILENO);
            return;
        }
        const char* tmp = std::getenv("TMPDIR");
        std::string name;
        m_Fd =
            makeTemporary(std::string(tmp && *tmp ? tmp : "/tmp") + "/deesser-out.XXXXXX", &name);
        if (m_Fd < 0)
            throw CHostError(std::string("cannot make a temporary file for standard output: ") +
                             std::strerror(errno));
        unlink(name.c_str());
        return;
    }

    m_Target = followLinks(path);
    std::string shown = m_Target == path ? path : path + " (a link to " + m_Target + ")";
    struct stat out;
    if (stat(m_Target.c_str(), &out) == 0)
    {
        if (haveInput && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
            throw CHostError("output " + shown + " is the input file; choose another name");
        if (!S_ISREG(out.st_mode))
            throw CHostError("output " + shown + " is " + kindOf(out.st_mode) +
                             "; only regular files are written (use - for standard output)");
        if (!force)
            throw CHostError("output " + shown + " exists (use --force to overwrite)");
        m_KeepMode = true;
        m_Mode = out.st_mode & 07777;
        m_Uid = out.st_uid;
        m_Gid = out.st_gid;
    }
    else if (errno != ENOENT)
        throw CHostError("cannot use output " + shown + ": " + std::strerror(errno));

    std::string dir = folderOf(m_Target);
    std::string base = m_Target.substr(dir.size());
    if (base.empty())
        throw CHostError("output " + path + " names no file");
    CSignalBlock block;
    m_Fd = makeTemporary(dir + "." + base + ".XXXXXX", &m_TempPath);
    if (m_Fd < 0)
        throw CHostError("cannot create a file in " + (dir.empty() ? std::string(".") : dir) +
                         ": " + std::strerror(errno));
    if (m_KeepMode)
    {
        // Only root may hand the file back to its old owner; others become its owner.
        if (m_Uid != geteuid() || m_Gid != getegid())
            (void)!fchown(m_Fd, m_Uid, m_Gid);
        fchmod(m_Fd, m_Mode);
    }
    else
    {
        // mkstemp makes 0600; give the file the permissions a plain create would.
        mode_t mask = umask(0);
        umask(mask);
        fchmod(m_Fd, 0666 & ~mask);
    }
    for (int i = 0; i < kMaxPending; ++i)
        if (!g_PendingUsed[i])
        {
            std::snprintf(g_PendingPath[i], PATH_MAX, "%s", m_TempPath.c_str());
            g_PendingUsed[i] = 1;
            m_Slot = i;
            break;
        }
}

COutputFile::~COutputFile()
{
    if (!m_Done)
        Abort();
}

int COutputFile::DupFd() const
{
    int fd = dup(m_Fd);
    if (fd < 0)
        throw CHostError(std::string("cannot write the output: ") + std::strerror(errno));
    return fd;
}

void COutputFile::Commit()
{
    if (m_Path == "-")
    {
        if (!m_Direct) // the finished file copied to standard output
        {
            lseek(m_Fd, 0, SEEK_SET);
            if (!CopyDescriptor(m_Fd, STDOUT_FILENO))
            {
                int err = errno;
                Abort();
                throw CHostError(std::string("cannot write standard output: ") +
                                 std::strerror(err));
            }
        }
        Abort(); // closes the descriptor; nothing to remove
        return;
    }
    close(m_Fd);
    m_Fd = -1;
    if (m_KeepMode) // also when a writer replaced the temporary file by name
        chmod(m_TempPath.c_str(), m_Mode);
    CSignalBlock block;
    // A file that appeared meanwhile is not overwritten without --force.
    struct stat st;
    if (!m_Force && lstat(m_Target.c_str(), &st) == 0)
    {
        Abort();
        throw CHostError("output " + m_Target + " exists (use --force to overwrite)");
    }
    if (rename(m_TempPath.c_str(), m_Target.c_str()) != 0)
    {
        int err = errno;
        Abort();
        throw CHostError("cannot write " + m_Target + ": " + std::strerror(err));
    }
    if (m_Slot >= 0)
        g_PendingUsed[m_Slot] = 0;
    m_Done = true;
}

void COutputFile::Abort()
{
    if (m_Fd >= 0)
        close(m_Fd);
    m_Fd = -1;
    CSignalBlock block;
    if (!m_Done && !m_TempPath.empty())
        unlink(m_TempPath.c_str());
    if (m_Slot >= 0)
        g_PendingUsed[m_Slot] = 0;
    m_Slot = -1;
    m_Done = true;
}

bool CopyDescriptor(int from, int to)
{
    std::vector<char> buffer(1 << 20);
    for (;;)
    {
        ssize_t n = read(from, buffer.data(), buffer.size());
        if (n == 0)
            return true;
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        for (ssize_t done = 0; done < n;)
        {
            ssize_t w = write(to, buffer.data() + done, (size_t)(n - done));
            if (w < 0 && errno == EINTR)
                continue;
            if (w <= 0)
                return false;
            done += w;
        }
    }
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
