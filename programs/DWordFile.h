// Big-endian header words in files: four (or two) single-byte reads or writes,
// most significant byte first, so files read the same on any machine.
#pragma once

class CFile;

void putDWordFile(CFile* file, unsigned int value);
// A short read is not detected: a missing byte repeats the last byte read
// (0 when none was).
unsigned int getDWordFile(CFile* file);
unsigned short getWordFile(CFile* file);
