#include "ProgramFile.h"
#include "Myifstream.h"
#include "ParamTable.h"

#include <cstdlib>
#include <cstring>
#include <string>

const char kProgramListMagic[] = "VRX5.0 EFFECT PROGRAM LIST";
const char kProgramFileMagic[] = "VRX5.0 EFFECT PRG FILE";

static_assert(sizeof(kProgramListMagic) == kProgramListMagicSize + 1, "list magic size");
static_assert(sizeof(kProgramFileMagic) == kProgramFileMagicSize + 1, "file magic size");

// Stream open mode of the readers: read, binary.
constexpr int kReadBinary = Myifstream::in | Myifstream::binary;    // 33
constexpr int kFailMask = Myifstream::failbit | Myifstream::badbit; // 6

void LoadPGMFileBody(char* path, char* line)
{
    Myifstream file;
    file.open(path, kReadBinary);
    if (file.rdstate() & kFailMask)
        return;
    file.getline(line, kPGMMagicLineMax, '\n');
    if (std::strncmp(line, kProgramFileMagic, kProgramFileMagicSize) == 0)
        file.getline(line, kPGMValueLineMax, '\n');
    file.close();
}

int StrTerminateTab(char* line, int start, char* field, int fieldSize)
{
    char work[kTabFieldWorkSize];
    std::memset(work, 0, sizeof(work));
    if (fieldSize < 1)
        return -1;
    field[0] = '\0';
    if (start < 0)
        return -1;
    size_t length = std::strlen(line);
    if ((size_t)start > length)
        return -1;
    std::memcpy(work, line + start, strnlen(line + start, sizeof(work) - 1));

    char* tab = std::strchr(work, '\t');
    if (tab)
        *tab = '\0';
    size_t n = strnlen(work, (size_t)fieldSize - 1);
    std::memcpy(field, work, n);
    field[n] = '\0';
    if (!tab)
        return -1;
    return start + (int)(tab - work) + 1;
}

static void setFromDisplay(ADeEsserProgram& program, int index, float value)
{
    program.values[index] = ValToNormalizeValue(index, value);
}

int ImportProgramList(const char* listPath, const char* programFolder, ADeEsserProgram* bank,
                      int bankSize)
{
    Myifstream list;
    list.open(listPath, kReadBinary);
    if (list.rdstate() & kFailMask)
        return 0;

    char text[kListLineMax + 1] = {};
    list.getline(text, kListLineMax, '\n');
    if (std::strncmp(text, kProgramListMagic, kProgramListMagicSize) != 0)
        return 0;
    list.getline(text, kListLineMax, '\n');
    int count = std::atoi(text);
    if (count < 1)
        return 0;
    if (count > bankSize)
        count = bankSize; // a longer list would run past the bank

    std::string folder = programFolder ? programFolder : "";
    char separator = !folder.empty() && folder.back() == '\\' ? '\\' : '/';
    // Kept across programs: a missing program file reuses the previous line.
    char line[kPGMLineBufferSize] = {};
    char field[kTabFieldWorkSize];
    for (int i = 0; i < count; ++i)
    {
        char name[kListLineMax + 1] = {};
        list.getline(name, kListLineMax, '\n');
        std::string path = folder + separator + name + ".PGM";

        ADeEsserProgram& program = bank[i];
        std::memset(program.name, 0, sizeof(program.name));
        std::memcpy(program.name, name, strnlen(name, sizeof(program.name) - 1));

        LoadPGMFileBody(&path[0], line);

        int start = 0;
        int number = 0;
        do
        {
            start = StrTerminateTab(line, start, field, sizeof(field));
            if (field[0] != '\0' && field[0] != ' ')
            {
                // Fields 1-4, in 16.16 display units; field 0 and the
                // fields after 4 carry nothing used.
                static const int kFieldParam[] = {-1, kParamThreshold, kParamAttack, kParamRelease,
                                                  kParamRatio};
                if (number >= 1 && number <= 4)
                    setFromDisplay(program, kFieldParam[number],
                                   (float)std::atoi(field) * (1.0f / 65536.0f));
            }
            ++number;
        } while (start != -1);
    }
    list.close();
    return count;
}
