// Myifstream over CFile with a small read-ahead buffer; see Myifstream.h.
#include "Myifstream.h"

void Myifstream::open(const char* path, int mode)
{
    close();
    m_State = goodbit;
    if ((mode & out) || !m_File.Open(path, CFile::modeRead | CFile::typeBinary))
        m_State |= failbit;
}

void Myifstream::close()
{
    m_File.Close();
    m_Pos = m_Len = 0;
}

int Myifstream::get()
{
    if (m_Pos == m_Len)
    {
        if (!m_File.IsOpen())
            return -1;
        m_Len = m_File.Read(m_Buffer, sizeof(m_Buffer));
        m_Pos = 0;
        if (m_Len == 0)
            return -1;
    }
    return m_Buffer[m_Pos++];
}

Myifstream& Myifstream::getline(char* buffer, int n, char delimiter)
{
    if (!buffer)
        return *this;
    if (n < 0)
        n = 0;
    int count = 0;
    bool sawDelimiter = false;
    bool atEnd = false;
    while (count < n)
    {
        int c = get();
        if (c < 0)
        {
            atEnd = true;
            break;
        }
        if ((char)c == delimiter)
        {
            sawDelimiter = true;
            break;
        }
        buffer[count++] = (char)c;
    }
    if (sawDelimiter && delimiter == '\n' && count > 0 && buffer[count - 1] == '\r')
        --count;
    buffer[count] = '\0';
    if (atEnd)
    {
        m_State |= eofbit;
        if (count == 0)
            m_State |= failbit;
    }
    return *this;
}
