// make_factory_bank TABLE OUTPUT: writes the factory bank file from the
// program table. Slots the table does not fill keep the defaults ("Empty").
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "FactoryTable.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: make_factory_bank programs.txt DeEsserDef.fxb\n");
        return 2;
    }
    std::vector<FactoryEntry> entries;
    std::string error;
    if (!ReadFactoryTable(argv[1], &entries, &error))
    {
        std::fprintf(stderr, "make_factory_bank: %s\n", error.c_str());
        return 1;
    }
    ADeEsserProgram bank[kNumPrograms];
    for (size_t i = 0; i < entries.size(); ++i)
        bank[i] = MakeFactoryProgram(entries[i]);
    bank[0].bankCurProgram = 0;
    const uint32_t uniqueID = FourCC('I', 'D', 'e', 'E');
    if (!WriteBankFile(argv[2], uniqueID, bank, kBankChunkSize))
    {
        std::fprintf(stderr, "make_factory_bank: cannot write %s\n", argv[2]);
        return 1;
    }
    std::printf("%s: %d programs\n", argv[2], (int)entries.size());
    return 0;
}
