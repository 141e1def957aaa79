// The default bank file "DeEsserDef.fxb": a VST bank in its opaque-chunk form.
//
//   offset  size  field                 written
//     0      4    chunk magic           "CcnK"
//     4      4    byte size             0 (never read)
//     8      4    fx magic              "FBCh"
//    12      4    version               1
//    16      4    fx ID                 the effect's unique ID
//    20      4    fx version            1
//    24      4    number of programs    32
//    28    128    future                zero bytes
//   156      4    chunk size            2304
//   160   2304    chunk                 the bank image (machine byte order)
//
// Header words are big-endian (DWordFile.h).
#pragma once

#include "ADeEsserProgram.h"

#include <cstddef>
#include <cstdint>
#include <vector>

constexpr uint32_t FourCC(char a, char b, char c, char d)
{
    return ((uint32_t)(unsigned char)a << 24) | ((uint32_t)(unsigned char)b << 16) |
           ((uint32_t)(unsigned char)c << 8) | (uint32_t)(unsigned char)d;
}

constexpr uint32_t kBankChunkMagic = FourCC('C', 'c', 'n', 'K');
constexpr uint32_t kBankFxMagic = FourCC('F', 'B', 'C', 'h');
constexpr uint32_t kBankFileVersion = 1;
constexpr uint32_t kBankFxVersion = 1;
constexpr uint32_t kBankFileNumPrograms = kNumPrograms;
constexpr int kBankFutureBytes = 128;
constexpr int kBankHeaderSize = 160;
constexpr uint32_t kBankFileChunkSize = kBankChunkSize;                  // the bank image
constexpr int kBankFileSize = kBankHeaderSize + (int)kBankFileChunkSize; // 2464

enum BankFileResult
{
    kBankFileMissing,     // could not be opened
    kBankFileForeign,     // not "CcnK": ignored
    kBankFileNoChunk,     // "CcnK" but not "FBCh": nothing to load, not an error
    kBankFileOtherEffect, // another effect's fx ID: ignored
    kBankFileLoaded       // `chunk` holds the chunk bytes
};

// Walks the header of `path` (a path or a "file://" URL). On kBankFileLoaded
// `chunk` holds the chunk: as many bytes as the chunk size field says, but
// never more than the file still holds nor more than `maxChunkBytes` (a huge or
// lying size field allocates nothing beyond that). A truncated file thus
// yields the bytes it has. `chunk` is emptied on every other result.
BankFileResult ReadBankFile(const char* path, uint32_t fxID, size_t maxChunkBytes,
                            std::vector<unsigned char>* chunk);

// Writes the file image under a temporary name in the same folder, flushes it
// and renames it over `path`, so a failed save leaves any previous file as it
// was. False on any failure (the temporary file is removed).
bool WriteBankFile(const char* path, uint32_t fxID, const void* chunk, uint32_t size);
