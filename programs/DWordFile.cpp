#include "DWordFile.h"
#include "CFile.h"

void putDWordFile(CFile* file, unsigned int value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        unsigned char byte = (unsigned char)(value >> shift);
        file->Write(&byte, 1);
    }
}

unsigned int getDWordFile(CFile* file)
{
    unsigned char byte = 0; // keeps its last value across a failed read
    unsigned int value = 0;
    for (int i = 0; i < 4; ++i)
    {
        file->Read(&byte, 1);
        value = (value << 8) | byte;
    }
    return value;
}

unsigned short getWordFile(CFile* file)
{
    unsigned char byte = 0;
    unsigned int value = 0;
    for (int i = 0; i < 2; ++i)
    {
        file->Read(&byte, 1);
        value = (value << 8) | byte;
    }
    return (unsigned short)value;
}
