// Option reading for the deesser commands.
#include "CArgs.h"
#include "HostError.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

bool CArgs::Next(std::string& item)
{
    m_Pending.clear();
    m_HasInline = false;
    if (m_Pos >= m_Args.size())
        return false;
    item = m_Args[m_Pos++];
    if (item.size() > 2 && item.compare(0, 2, "--") == 0)
    {
        size_t eq = item.find('=');
        if (eq != std::string::npos)
        {
            m_Pending = item.substr(eq + 1);
            m_HasInline = true;
            item = item.substr(0, eq);
        }
    }
    m_Current = item;
    return true;
}

bool CArgs::IsOption() const
{
    return m_Current.size() > 1 && m_Current[0] == '-';
}

bool CArgs::NextOption(std::string& item, ArgList& positional)
{
    while (Next(item))
    {
        if (IsOption())
            return true;
        positional.push_back(item);
    }
    return false;
}

std::string CArgs::Value()
{
    if (m_HasInline)
    {
        m_HasInline = false;
        return m_Pending;
    }
    if (m_Pos >= m_Args.size())
        throw CHostError(m_Current + " needs a value");
    return m_Args[m_Pos++];
}

int CArgs::IntValue(int lo, int hi)
{
    std::string v = Value();
    char* end = nullptr;
    errno = 0;
    long n = std::strtol(v.c_str(), &end, 10);
    if (v.empty() || *end || errno || n < lo || n > hi)
        throw CHostError(m_Current + " needs a whole number " + std::to_string(lo) + " .. " +
                         std::to_string(hi) + ", got \"" + v + "\"");
    return (int)n;
}

double CArgs::NumberValue(double lo, double hi)
{
    std::string v = Value();
    char* end = nullptr;
    double n = std::strtod(v.c_str(), &end);
    if (v.empty() || *end || !std::isfinite(n) || n < lo || n > hi)
    {
        char range[64];
        std::snprintf(range, sizeof(range), "%g .. %g", lo, hi);
        throw CHostError(m_Current + " needs a number " + range + ", got \"" + v + "\"");
    }
    return n;
}

void CArgs::NoInline()
{
    if (m_HasInline)
        throw CHostError(m_Current + " takes no value");
}

void UnknownOption(const std::string& item, const std::string& command)
{
    throw CHostError("unknown option " + item + " for " + command + " (see deesser " + command +
                     " --help)");
}
