// One program (preset): the exact 72-byte image that host chunks and the bank
// file carry. Values are normalised floats in parameter order, host byte order.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int kNumPrograms = 32;
constexpr int kProgramValues = 11;
constexpr int kProgramNameSize = 24; // 23 bytes of Shift-JIS text and a NUL

struct ADeEsserProgram
{
    ADeEsserProgram(); // the defaults, named "Empty"

    float values[kProgramValues];
    char name[kProgramNameSize];
    int32_t bankCurProgram; // record 0 of a bank image: the current program
};

static_assert(sizeof(ADeEsserProgram) == 72, "program record is 72 bytes");
static_assert(offsetof(ADeEsserProgram, values) == 0, "values at 0");
static_assert(offsetof(ADeEsserProgram, name) == 44, "name at 44");
static_assert(offsetof(ADeEsserProgram, bankCurProgram) == 68, "bank current program at 68");

constexpr int kProgramChunkSize = (int)sizeof(ADeEsserProgram);  // 72
constexpr int kBankChunkSize = kProgramChunkSize * kNumPrograms; // 2304
