// VST bank files holding one opaque chunk ("CcnK" ... "FBCh"): every header
// integer big-endian, then the chunk bytes as the plug-in gave them.
//
//   0 "CcnK"  4 byte size  8 "FBCh"  12 version  16 fx ID  20 fx version
//  24 number of programs  28 future (128 zero bytes)  156 chunk size  160 chunk
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct FxbBank
{
    uint32_t version = 1;
    int32_t fxId = 0;
    int32_t fxVersion = 1;
    int32_t numPrograms = 0;
    std::vector<uint8_t> chunk;
};

constexpr size_t kFxbHeaderSize = 160;

// Parses a whole bank file image; name is used in messages. Throws CHostError
// for a wrong magic, a regular (non-chunk) bank, or a chunk size that does not
// fit in the file.
FxbBank ParseFxbBank(const std::vector<uint8_t>& bytes, const std::string& name);

// Reads and parses a bank file (at most 64 MiB).
FxbBank ReadFxbBank(const std::string& path);

// The file image of a bank: 160 header bytes with a zero byte-size field,
// then the chunk.
std::vector<uint8_t> BuildFxbBank(const FxbBank& bank);
