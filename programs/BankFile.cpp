#include "BankFile.h"
#include "CFile.h"
#include "DWordFile.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <unistd.h>

BankFileResult ReadBankFile(const char* path, uint32_t fxID, size_t maxChunkBytes,
                            std::vector<unsigned char>* chunk)
{
    chunk->clear();
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary))
        return kBankFileMissing;
    if (getDWordFile(&file) != kBankChunkMagic)
        return kBankFileForeign;
    getDWordFile(&file); // byte size: not used
    if (getDWordFile(&file) != kBankFxMagic)
        return kBankFileNoChunk;
    getDWordFile(&file); // version
    if (getDWordFile(&file) != fxID)
        return kBankFileOtherEffect;
    getDWordFile(&file); // fx version
    getDWordFile(&file); // number of programs
    file.Seek(kBankFutureBytes, CFile::current);
    uint32_t size = getDWordFile(&file);

    int64_t left = file.GetLength() - file.GetPosition();
    size_t n = std::min<size_t>(size, maxChunkBytes);
    if (left < 0)
        left = 0;
    n = std::min<size_t>(n, (size_t)left);
    chunk->resize(n);
    if (n)
        chunk->resize(file.Read(chunk->data(), (unsigned int)n));
    return kBankFileLoaded;
}

bool WriteBankFile(const char* path, uint32_t fxID, const void* chunk, uint32_t size)
{
    if (!path || !*path || (!chunk && size))
        return false;
    static std::atomic<unsigned> serial{0};
    std::string temp = std::string(path) + ".tmp" + std::to_string((long)getpid()) + "-" +
                       std::to_string(serial.fetch_add(1));
    CFile file;
    if (!file.Open(temp.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary))
        return false;
    // Header words one byte per write, as the reader takes them.
    putDWordFile(&file, kBankChunkMagic);
    putDWordFile(&file, 0);
    putDWordFile(&file, kBankFxMagic);
    putDWordFile(&file, kBankFileVersion);
    putDWordFile(&file, fxID);
    putDWordFile(&file, kBankFxVersion);
    putDWordFile(&file, kBankFileNumPrograms);
    unsigned char future[kBankFutureBytes] = {};
    file.Write(future, sizeof(future));
    putDWordFile(&file, size);
    file.Write(chunk, size);
    bool ok = file.Flush();
    ok = file.Close() && ok;
    if (ok)
        ok = CFile::Rename(temp.c_str(), path);
    if (!ok)
        CFile::Remove(temp.c_str());
    return ok;
}
