// Myifstream: the toolkit's file-backed text reader with the state bits and
// open modes of the classic stream library (the legacy program files are read
// with it). Reads whole lines into caller buffers; never throws.
#pragma once

#include "CFile.h"

class Myifstream
{
public:
    // Open modes.
    enum : int
    {
        in = 0x01,
        out = 0x02,
        binary = 0x20
    };
    // State bits; callers test (rdstate() & (failbit | badbit)), that is mask 6.
    enum : int
    {
        goodbit = 0,
        eofbit = 1,
        failbit = 2,
        badbit = 4
    };

    Myifstream() = default;
    Myifstream(const char* path, int mode) { open(path, mode); }

    // Sets failbit when the file cannot be opened for reading.
    void open(const char* path, int mode = in | binary);
    bool is_open() const { return m_File.IsOpen(); }
    void close();

    int rdstate() const { return m_State; }
    bool fail() const { return (m_State & (failbit | badbit)) != 0; }
    bool bad() const { return (m_State & badbit) != 0; }
    bool eof() const { return (m_State & eofbit) != 0; }
    void clear(int state = goodbit) { m_State = state; }

    // Reads bytes until `delimiter` or until `n` bytes were taken. The
    // delimiter is consumed and not stored; with delimiter LF a CR right
    // before it is dropped too. The text is NUL-terminated, at index n when no
    // delimiter came, so `buffer` must hold n + 1 bytes. At the end of the file
    // sets eofbit, and failbit when nothing was read.
    Myifstream& getline(char* buffer, int n, char delimiter = '\n');

    // One byte, or -1 at the end of the file.
    int get();

private:
    CFile m_File;
    int m_State = goodbit;
    unsigned char m_Buffer[4096];
    unsigned int m_Pos = 0;
    unsigned int m_Len = 0;
};
