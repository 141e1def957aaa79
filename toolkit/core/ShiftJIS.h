// Shift-JIS (code page 932) <-> UTF-8 conversion for program names, and the
// lead-byte test used to avoid cutting a double-byte character in half.
#pragma once

#include "CString.h"

// Converts a NUL-terminated Shift-JIS string to UTF-8. Returns true when the
// whole input converted. On an invalid or truncated sequence the valid prefix
// is kept and each bad byte becomes U+FFFD; the result is false. A null source
// gives an empty string and false.
bool CheckSJISAndToUFT8(const char* sjis, CString& utf8);

// Converts a NUL-terminated UTF-8 string to Shift-JIS. Returns true when the
// whole input converted. Characters with no Shift-JIS form and invalid UTF-8
// bytes become "?"; the result is then false. A null source gives an empty
// string and false.
bool UTF8ToSJSINS(const char* utf8, CString& sjis);

// True for the first byte of a Shift-JIS double-byte character
// (0x81-0x9F and 0xE0-0xFC).
bool IsDBCSLeadByte(unsigned char byte);
