// Legacy program list and program file parsing.
#include "LegacyList.h"
#include "HostError.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <strings.h>

namespace
{
const char kListMagic[] = "VRX5.0 EFFECT PROGRAM LIST"; // 26 bytes compared
const char kProgramMagic[] = "VRX5.0 EFFECT PRG FILE";  // 22 bytes compared
const size_t kMaxNameLine = 80;
const size_t kMaxValueLine = 500;
const size_t kMaxTextFile = 1u << 20;

bool readText(const std::string& path, std::string& data)
{
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    char buffer[8192];
    size_t n;
    data.clear();
    while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0 && data.size() <= kMaxTextFile)
        data.append(buffer, n);
    bool ok = !std::ferror(f);
    std::fclose(f);
    return ok;
}

// atoi without its undefined overflow: leading blanks, a sign, digits.
long parseInteger(const std::string& text)
{
    long v = std::strtol(text.c_str(), nullptr, 10);
    return std::max((long)INT_MIN, std::min((long)INT_MAX, v));
}

// The program file for name in folder: NAME.PGM, else a unique
// case-insensitive match of that file name.
std::string findProgramFile(const std::string& folder, const std::string& name)
{
    std::string wanted = name + ".PGM";
    std::string exact = folder + wanted;
    if (FILE* f = std::fopen(exact.c_str(), "rb"))
    {
        std::fclose(f);
        return exact;
    }
    std::string found;
    if (DIR* dir = opendir(folder.empty() ? "." : folder.c_str()))
    {
        while (dirent* e = readdir(dir))
            if (strcasecmp(e->d_name, wanted.c_str()) == 0)
            {
                found = folder + e->d_name;
                break;
            }
        closedir(dir);
    }
    return found.empty() ? exact : found;
}
} // namespace

bool ReadLegacyLine(const std::string& data, size_t& pos, size_t maxBytes, std::string& line)
{
    if (pos >= data.size())
        return false;
    size_t end = data.find('\n', pos);
    size_t next = end == std::string::npos ? data.size() : end + 1;
    if (end == std::string::npos)
        end = data.size();
    line = data.substr(pos, end - pos);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    if (line.size() > maxBytes)
        line.resize(maxBytes);
    pos = next;
    return true;
}

std::vector<std::string> SplitTabs(const std::string& line)
{
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;)
    {
        size_t tab = line.find('\t', start);
        if (tab == std::string::npos)
        {
            fields.push_back(line.substr(start));
            return fields;
        }
        fields.push_back(line.substr(start, tab - start));
        start = tab + 1;
    }
}

void ParseValueLine(const std::string& line, LegacyProgram& program)
{
    std::vector<std::string> fields = SplitTabs(line);
    for (size_t i = 1; i <= 4 && i < fields.size(); ++i)
    {
        const std::string& f = fields[i];
        if (f.empty() || f[0] == ' ')
            continue; // absent: the program keeps its value
        program.has[i - 1] = true;
        program.value[i - 1] = (double)parseInteger(f) / 65536.0;
    }
}

std::vector<LegacyProgram> ReadLegacyList(const std::string& listPath,
                                          std::vector<std::string>* warnings)
{
    std::string data;
    if (!readText(listPath, data))
        throw CHostError("cannot read program list " + listPath + ": " + std::strerror(errno));
    size_t pos = 0;
    std::string line;
    if (!ReadLegacyLine(data, pos, kMaxNameLine, line) ||
        line.compare(0, std::strlen(kListMagic), kListMagic) != 0)
        throw CHostError("not a legacy program list: " + listPath + " (first line is not \"" +
                         kListMagic + "\")");
    if (!ReadLegacyLine(data, pos, kMaxNameLine, line))
        throw CHostError("program list " + listPath + " has no program count");
    long count = parseInteger(line);
    if (count < 1)
        throw CHostError("program list " + listPath + " names no programs (count \"" + line +
                         "\")");
    if (count > 32)
    {
        if (warnings)
            warnings->push_back("the list names " + std::to_string(count) +
                                " programs; the bank holds 32, the rest are ignored");
        count = 32;
    }

    size_t slash = listPath.rfind('/');
    std::string folder = slash == std::string::npos ? std::string() : listPath.substr(0, slash + 1);
    std::vector<LegacyProgram> programs;
    for (long i = 0; i < count; ++i)
    {
        LegacyProgram program;
        if (!ReadLegacyLine(data, pos, kMaxNameLine, program.name))
            throw CHostError("program list " + listPath + " ends after " + std::to_string(i) +
                             " of " + std::to_string(count) + " names");
        if (program.name.empty())
            throw CHostError("program list " + listPath + ": name " + std::to_string(i + 1) +
                             " is empty");
        program.path = findProgramFile(folder, program.name);
        std::string body;
        if (!readText(program.path, body))
            throw CHostError("cannot read program file " + program.path + ": " +
                             std::strerror(errno));
        size_t at = 0;
        std::string first;
        if (!ReadLegacyLine(body, at, kMaxNameLine, first) ||
            first.compare(0, std::strlen(kProgramMagic), kProgramMagic) != 0)
            throw CHostError("not a legacy program file: " + program.path +
                             " (first line is not \"" + kProgramMagic + "\")");
        std::string values;
        if (!ReadLegacyLine(body, at, kMaxValueLine, values))
            throw CHostError("program file " + program.path + " has no value line");
        ParseValueLine(values, program);
        programs.push_back(program);
    }
    return programs;
}
