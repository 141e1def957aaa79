// The shipped factory bank, byte for byte: the built DeEsserDef.fxb against the
// checksum of the bank whose programs were checked, when it was taken, to show
// the table's values and to turn a sibilant 5-9 kHz band down by 2 to 10 dB
// while a voice stays within 0.5 dB. Any change to the table, the program
// record (empty slots included) or the bank writer shows here; the message
// gives the new checksum for a change that is meant.
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(FactoryBank, BuiltBankIsTheCheckedOne)
{
    const std::string bytes = ReadBytes(DEESSER_FACTORY_BANK);
    ASSERT_EQ(bytes.size(), 2464u);
    uint64_t fnv = 14695981039346656037ull; // FNV-1a, 64 bits
    for (unsigned char c : bytes)
        fnv = (fnv ^ c) * 1099511628211ull;
    EXPECT_EQ(fnv, 0xd029aee96ac7da1cull) << "new checksum 0x" << std::hex << fnv;
}
