// A minimal JSON text builder for the --json reports.
#include "CJsonWriter.h"

#include <cmath>
#include <cstdio>

std::string JsonQuote(const std::string& text)
{
    std::string q = "\"";
    for (unsigned char c : text)
    {
        if (c == '"' || c == '\\')
            q += '\\', q += (char)c;
        else if (c == '\n')
            q += "\\n";
        else if (c == '\t')
            q += "\\t";
        else if (c < 0x20)
        {
            char esc[8];
            std::snprintf(esc, sizeof(esc), "\\u%04x", c);
            q += esc;
        }
        else
            q += (char)c; // UTF-8 passes through; other bytes as they are
    }
    return q + "\"";
}

void CJsonWriter::key(const char* k)
{
    if (!m_First.empty())
    {
        if (!m_First.back())
            m_Text += ',';
        m_First.back() = false;
    }
    if (k)
        m_Text += JsonQuote(k) + ':';
}

CJsonWriter& CJsonWriter::open(const char* k, char bracket)
{
    key(k);
    m_Text += bracket;
    m_First.push_back(true);
    return *this;
}

CJsonWriter& CJsonWriter::close(char bracket)
{
    m_Text += bracket;
    m_First.pop_back();
    return *this;
}

CJsonWriter& CJsonWriter::BeginObject(const char* k)
{
    return open(k, '{');
}

CJsonWriter& CJsonWriter::EndObject()
{
    return close('}');
}

CJsonWriter& CJsonWriter::BeginArray(const char* k)
{
    return open(k, '[');
}

CJsonWriter& CJsonWriter::EndArray()
{
    return close(']');
}

CJsonWriter& CJsonWriter::String(const char* k, const std::string& value)
{
    key(k);
    m_Text += JsonQuote(value);
    return *this;
}

CJsonWriter& CJsonWriter::Number(const char* k, double value)
{
    key(k);
    if (!std::isfinite(value))
        m_Text += "null";
    else
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%.6g", value);
        m_Text += text;
    }
    return *this;
}

CJsonWriter& CJsonWriter::Integer(const char* k, long long value)
{
    key(k);
    m_Text += std::to_string(value);
    return *this;
}

CJsonWriter& CJsonWriter::Bool(const char* k, bool value)
{
    key(k);
    m_Text += value ? "true" : "false";
    return *this;
}

CJsonWriter& CJsonWriter::Null(const char* k)
{
    key(k);
    m_Text += "null";
    return *this;
}
