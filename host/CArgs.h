// A small command-line reader shared by the commands: "--name value",
// "--name=value", flags, short flags ("-q", "-j 4") and positionals. "-" alone
// is a positional (standard input or output).
#pragma once

#include <string>
#include <vector>

typedef std::vector<std::string> ArgList;

class CArgs
{
public:
    explicit CArgs(const ArgList& args) : m_Args(args) {}

    // Next item; false at the end. An option's value is fetched with Value().
    bool Next(std::string& item);
    // Next option; the positionals before it are added to `positional`.
    bool NextOption(std::string& item, ArgList& positional);
    std::string Value();          // throws CHostError when none follows
    int IntValue(int lo, int hi); // a whole number in lo..hi
    double NumberValue(double lo, double hi);
    void NoInline(); // for flags: "--force=1" is an error
    const std::string& Current() const { return m_Current; }

private:
    // True when the current item is an option (starts with "-", is not "-").
    bool IsOption() const;

    const ArgList& m_Args;
    size_t m_Pos = 0;
    std::string m_Current, m_Pending;
    bool m_HasInline = false;
};

// "unknown option X for COMMAND (see deesser COMMAND --help)"
[[noreturn]] void UnknownOption(const std::string& item, const std::string& command);
