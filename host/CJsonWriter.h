// Builds one JSON text: objects, arrays, strings (escaped), numbers (NaN and
// infinities written as null) and booleans. Keys and values are added in
// order; commas are placed by the writer.
#pragma once

#include <string>
#include <vector>

class CJsonWriter
{
public:
    CJsonWriter& BeginObject(const char* key = nullptr);
    CJsonWriter& EndObject();
    CJsonWriter& BeginArray(const char* key = nullptr);
    CJsonWriter& EndArray();
    CJsonWriter& String(const char* key, const std::string& value);
    CJsonWriter& Number(const char* key, double value);
    CJsonWriter& Integer(const char* key, long long value);
    CJsonWriter& Bool(const char* key, bool value);
    CJsonWriter& Null(const char* key);
    // A value inside an array: the same calls with a null key.
    const std::string& Text() const { return m_Text; }

private:
    void key(const char* key);
    CJsonWriter& open(const char* key, char bracket);
    CJsonWriter& close(char bracket);
    std::string m_Text;
    std::vector<bool> m_First; // per open level: nothing written in it yet
};

// The JSON form of a string, quotes included.
std::string JsonQuote(const std::string& text);
