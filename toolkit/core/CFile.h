// CFile: a binary file with the open flags of the desktop framework, over a
// POSIX file descriptor. Names may be plain paths or "file://" URL strings
// (as the user folder is kept); URLs are percent-decoded before opening.
//
// No exceptions: Open answers false, Read answers the count actually read,
// Write answers false and remembers the failure until Close.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class CFile
{
public:
    // Open flags (combinable with |).
    enum OpenFlags : unsigned int
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        modeCreate = 0x1000, // create, or truncate an existing file
        typeBinary = 0x8000, // accepted for compatibility; every file is binary
    };
    enum SeekPosition
    {
        begin = 0,
        current = 1,
        end = 2
    };

    CFile() = default;
    ~CFile(); // closes
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    bool Open(const char* fileName, unsigned int openFlags);
    bool IsOpen() const { return m_Fd >= 0; }
    // Bytes read, 0 at the end or on error.
    unsigned int Read(void* buffer, unsigned int count);
    // False when not every byte was written; the failure sticks until Close.
    bool Write(const void* buffer, unsigned int count);
    // New position, or -1 on error.
    int64_t Seek(int64_t offset, SeekPosition from);
    int64_t GetPosition() const;
    int64_t GetLength() const; // -1 when not open
    // Writes the data through to the disk.
    bool Flush();
    // False when any write failed or the close itself failed.
    bool Close();

    static bool Exists(const char* fileName);
    static bool Remove(const char* fileName);
    static bool Rename(const char* oldName, const char* newName);

    // "file://..." to a POSIX path (percent-decoded); any other name unchanged.
    static std::string ToSystemPath(const char* fileName);
    // An absolute POSIX path to "file://" + the path, percent-encoding every
    // byte outside letters, digits, "-._~/".
    static std::string PathToFileURL(const char* path);
    // "%41" -> "A"; a "%" not followed by two hex digits stays as it is.
    static std::string PercentDecode(const char* text);

private:
    int m_Fd = -1;
    bool m_WriteFailed = false;
};
