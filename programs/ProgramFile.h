// The legacy text program files of the older effect family, read by a one-way
// import into a bank.
//
// List file "PROGRAM.LST":  line 1 "VRX5.0 EFFECT PROGRAM LIST" (26 bytes
// compared), line 2 the program count, then one program name a line.
// Program file "<name>.PGM": line 1 "VRX5.0 EFFECT PRG FILE" (22 bytes
// compared), line 2 TAB-separated 16.16 fixed-point integers:
//   field 1 threshold dB, 2 attack ms, 3 release s, 4 ratio; others unused.
#pragma once

#include "ADeEsserProgram.h"

#include <cstddef>

extern const char kProgramListMagic[];    // "VRX5.0 EFFECT PROGRAM LIST"
extern const char kProgramFileMagic[];    // "VRX5.0 EFFECT PRG FILE"
constexpr int kProgramListMagicSize = 26; // bytes compared
constexpr int kProgramFileMagicSize = 22;
constexpr int kListLineMax = 80;        // bytes read of a list line
constexpr int kPGMMagicLineMax = 80;    // bytes read of a program file's line 1
constexpr int kPGMValueLineMax = 500;   // bytes read of its value line
constexpr int kPGMLineBufferSize = 501; // a buffer for LoadPGMFileBody
constexpr int kTabFieldWorkSize = 4100; // StrTerminateTab's work buffer

// Reads line 1 of the program file into `line`; when it carries the magic,
// reads line 2 over it. A file that cannot be opened leaves `line` untouched.
// `line` must hold kPGMLineBufferSize bytes.
void LoadPGMFileBody(char* path, char* line);

// Takes the TAB-separated field of `line` that begins at `start` into `field`
// and answers where the next field begins, or -1 when this was the last one.
// A negative start, or one past the end of the line, gives an empty field and
// -1. At most kTabFieldWorkSize - 1 bytes of the line are looked at, and at
// most fieldSize - 1 bytes are stored (fieldSize at least 1).
int StrTerminateTab(char* line, int start, char* field, int fieldSize = kTabFieldWorkSize);

// The import: names and values of bank[0..] from the list `listPath` and the
// program files in `programFolder` (a program file is the folder, one more
// separator - "\" after a folder ending in "\", else "/" - the name and
// ".PGM"). Only threshold, attack, release, ratio and the name are set; names
// are cut to 23 bytes; a list naming more than `bankSize` programs stops
// there. Answers the number of programs named, 0 when the list is missing or
// not a program list (nothing changed then).
int ImportProgramList(const char* listPath, const char* programFolder, ADeEsserProgram* bank,
                      int bankSize);
