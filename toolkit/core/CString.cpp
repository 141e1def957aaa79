#include "CString.h"

#include <cstdarg>
#include <cstdio>

void CString::Format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (n < 0)
    {
        m_Text.clear();
    }
    else
    {
        m_Text.assign((size_t)n + 1, '\0');
        std::vsnprintf(&m_Text[0], (size_t)n + 1, format, args);
        m_Text.resize((size_t)n);
    }
    va_end(args);
}
