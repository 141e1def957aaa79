// Shift-JIS (CP932) <-> UTF-8 through iconv. A converter is opened per call:
// conversions happen on user actions only, and a per-call descriptor keeps
// the functions safe to call from any thread.
#include "ShiftJIS.h"

#include <cerrno>
#include <cstring>
#include <iconv.h>
#include <string>

namespace
{
const char kReplacementUtf8[] = "\xEF\xBF\xBD"; // U+FFFD

// Length of the well-formed UTF-8 sequence at `s` (at most `left` bytes),
// or 1 for a stray or broken byte.
size_t Utf8SequenceLength(const char* s, size_t left)
{
    unsigned char lead = (unsigned char)s[0];
    size_t n = 1;
    if (lead >= 0xF0 && lead <= 0xF4)
        n = 4;
    else if (lead >= 0xE0 && lead <= 0xEF)
        n = 3;
    else if (lead >= 0xC2 && lead <= 0xDF)
        n = 2;
    if (n > left)
        return 1;
    for (size_t i = 1; i < n; ++i)
    {
        if (((unsigned char)s[i] & 0xC0) != 0x80)
            return 1;
    }
    return n;
}

// Converts `in` from one encoding to another; each unconvertible unit is
// skipped and replaced by `replacement`. Returns false when any was.
bool Convert(const char* to, const char* from, const char* text, const char* replacement,
             bool utf8Source, std::string& out)
{
    out.clear();
    iconv_t cd = iconv_open(to, from);
    if (cd == (iconv_t)-1)
        return false;
    bool clean = true;
    char* in = const_cast<char*>(text);
    size_t inLeft = std::strlen(text);
    char buffer[256];
    while (inLeft > 0)
    {
        char* outPtr = buffer;
        size_t outLeft = sizeof(buffer);
        size_t r = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
        out.append(buffer, (size_t)(outPtr - buffer));
        if (r != (size_t)-1)
            continue;
        if (errno == E2BIG)
            continue;
        // EILSEQ (invalid or unmappable) or EINVAL (cut short at the end).
        clean = false;
        out += replacement;
        size_t skip = utf8Source ? Utf8SequenceLength(in, inLeft) : 1;
        if (skip > inLeft)
            skip = inLeft;
        in += skip;
        inLeft -= skip;
        iconv(cd, nullptr, nullptr, nullptr, nullptr); // reset shift state
    }
    // Flush any pending state.
    char* outPtr = buffer;
    size_t outLeft = sizeof(buffer);
    iconv(cd, nullptr, nullptr, &outPtr, &outLeft);
    out.append(buffer, (size_t)(outPtr - buffer));
    iconv_close(cd);
    return clean;
}
} // namespace

bool CheckSJISAndToUFT8(const char* sjis, CString& utf8)
{
    if (!sjis)
    {
        utf8.Empty();
        return false;
    }
    std::string out;
    bool ok = Convert("UTF-8", "CP932", sjis, kReplacementUtf8, false, out);
    utf8 = out.c_str();
    return ok;
}

bool UTF8ToSJSINS(const char* utf8, CString& sjis)
{
    if (!utf8)
    {
        sjis.Empty();
        return false;
    }
    std::string out;
    bool ok = Convert("CP932", "UTF-8", utf8, "?", true, out);
    sjis = out.c_str();
    return ok;
}

bool IsDBCSLeadByte(unsigned char byte)
{
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}
