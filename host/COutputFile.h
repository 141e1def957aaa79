// An output file written safely. The path is checked before any work: "-" is
// standard output; a symbolic link is followed and its target written (the
// link stays); a folder, a device, a pipe or a socket is refused, and so is
// the input itself and an existing file without force. The content goes to a
// temporary file ".NAME.XXXXXX" in the target's folder, which Commit() renames
// over the target with the old file's permissions kept. Destroying it
// uncommitted, or a SIGINT / SIGTERM / SIGHUP meanwhile, removes the temporary
// file and leaves the target as it was.
#pragma once

#include <string>

class COutputFile
{
public:
    // inputPath / inputFd: the input, which the output must not be (a path,
    // or a descriptor for standard input; "" and -1 when there is none).
    // Throws CHostError with the reason for refusing.
    COutputFile(const std::string& path, bool force, const std::string& inputPath = std::string(),
                int inputFd = -1);
    ~COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;

    // A new descriptor of the file being written, for a writer that closes it.
    int DupFd() const; // throws CHostError
    // The file written in the end: the link's target, or "-".
    const std::string& Target() const { return m_Target; }
    // The temporary file's name, for a writer that replaces it by name (it
    // gets the kept permissions at Commit). Empty for standard output.
    const std::string& TempPath() const { return m_TempPath; }
    bool IsStdout() const { return m_Path == "-"; }
    void Commit(); // throws CHostError when the file cannot be put in place
    void Abort();

private:
    std::string m_Path;
    std::string m_Target;
    std::string m_TempPath; // empty when the temporary file has no name
    int m_Fd = -1;
    bool m_Force = false;
    bool m_Direct = false; // standard output is a regular file: written in place
    bool m_Done = false;
    int m_Slot = -1;
    bool m_KeepMode = false;
    unsigned m_Mode = 0;
    unsigned m_Uid = 0, m_Gid = 0;
};

// Copies everything readable from one descriptor to another (EINTR retried);
// false on a read or write error, with errno set.
bool CopyDescriptor(int from, int to);

// Installs the handlers that remove pending temporary files on SIGINT,
// SIGTERM and SIGHUP, then end the process by the same signal.
void InstallCleanupHandlers();
