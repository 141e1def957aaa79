// Reading and writing chunk bank files.
#include "FxbFile.h"
#include "HostError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{
uint32_t getBE(const uint8_t* p)
{
    return ((uint32_t)p[0] << 24) | ((uint32_t)p[1] << 16) | ((uint32_t)p[2] << 8) | p[3];
}

void putBE(std::vector<uint8_t>& out, uint32_t v)
{
    out.push_back((uint8_t)(v >> 24));
    out.push_back((uint8_t)(v >> 16));
    out.push_back((uint8_t)(v >> 8));
    out.push_back((uint8_t)v);
}

void putTag(std::vector<uint8_t>& out, const char* tag)
{
    for (int i = 0; i < 4; ++i)
        out.push_back((uint8_t)tag[i]);
}

const size_t kMaxBankFile = 64u << 20;
} // namespace

FxbBank ParseFxbBank(const std::vector<uint8_t>& bytes, const std::string& name)
{
    if (bytes.size() < 12 || std::memcmp(bytes.data(), "CcnK", 4) != 0)
        throw CHostError("not a VST bank file: " + name + " (no \"CcnK\" at the start)");
    const uint8_t* p = bytes.data();
    if (std::memcmp(p + 8, "FxBk", 4) == 0)
        throw CHostError("bank file " + name +
                         " holds parameter lists (\"FxBk\"), not a chunk; only chunk banks "
                         "(\"FBCh\") are supported");
    if (std::memcmp(p + 8, "FBCh", 4) != 0)
        throw CHostError("not a VST bank file: " + name + " (no \"FBCh\" after the header)");
    if (bytes.size() < kFxbHeaderSize)
        throw CHostError("bank file " + name + " is cut short (" + std::to_string(bytes.size()) +
                         " bytes; the header alone has 160)");
    FxbBank bank;
    bank.version = getBE(p + 12);
    bank.fxId = (int32_t)getBE(p + 16);
    bank.fxVersion = (int32_t)getBE(p + 20);
    bank.numPrograms = (int32_t)getBE(p + 24);
    uint32_t size = getBE(p + 156);
    if (size == 0)
        throw CHostError("bank file " + name + " holds an empty chunk");
    if (size > bytes.size() - kFxbHeaderSize)
        throw CHostError("bank file " + name + " is cut short: its chunk has " +
                         std::to_string(size) + " bytes, the file holds " +
                         std::to_string(bytes.size() - kFxbHeaderSize) + " after the header");
    bank.chunk.assign(p + kFxbHeaderSize, p + kFxbHeaderSize + size);
    return bank;
}

FxbBank ReadFxbBank(const std::string& path)
{
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        throw CHostError("cannot read bank " + path + ": " + std::strerror(errno));
    std::vector<uint8_t> bytes;
    uint8_t buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0)
    {
        bytes.insert(bytes.end(), buffer, buffer + n);
        if (bytes.size() > kMaxBankFile)
        {
            std::fclose(f);
            throw CHostError("bank file " + path + " is too large to be a bank");
        }
    }
    bool failed = std::ferror(f);
    std::fclose(f);
    if (failed)
        throw CHostError("cannot read bank " + path);
    return ParseFxbBank(bytes, path);
}

std::vector<uint8_t> BuildFxbBank(const FxbBank& bank)
{
    std::vector<uint8_t> out;
    out.reserve(kFxbHeaderSize + bank.chunk.size());
    putTag(out, "CcnK");
    putBE(out, 0); // byte size: written as zero, readers skip it
    putTag(out, "FBCh");
    putBE(out, bank.version);
    putBE(out, (uint32_t)bank.fxId);
    putBE(out, (uint32_t)bank.fxVersion);
    putBE(out, (uint32_t)bank.numPrograms);
    out.insert(out.end(), 128, 0);
    putBE(out, (uint32_t)bank.chunk.size());
    out.insert(out.end(), bank.chunk.begin(), bank.chunk.end());
    return out;
}
