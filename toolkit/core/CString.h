// A byte string (UTF-8 on screen, Shift-JIS in program names) with the few
// operations the editor uses.
#pragma once

#include <string>

class CString
{
public:
    CString() = default;
    CString(const char* text) : m_Text(text ? text : "") {}
    CString(const std::string& text) : m_Text(text) {}

    operator const char*() const { return m_Text.c_str(); }
    const char* GetString() const { return m_Text.c_str(); }
    int GetLength() const { return (int)m_Text.size(); }
    bool IsEmpty() const { return m_Text.empty(); }
    void Empty() { m_Text.clear(); }
    const std::string& str() const { return m_Text; }

    CString& operator=(const char* text)
    {
        m_Text = text ? text : "";
        return *this;
    }
    CString& operator+=(const char* text)
    {
        m_Text += text ? text : "";
        return *this;
    }
    bool operator==(const char* text) const { return m_Text == (text ? text : ""); }
    bool operator!=(const char* text) const { return !(*this == text); }

    // printf-style formatting; the result replaces the string.
    void Format(const char* format, ...);

private:
    std::string m_Text;
};
