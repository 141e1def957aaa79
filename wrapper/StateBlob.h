// The effect's state for plug-in formats that save it as bytes: the
// 2304-byte bank image (the VST bank chunk) and the current program.
//
// The versioned blob: "DEsS" (4 bytes), version (big-endian 32-bit, 1),
// current program (big-endian 32-bit, 0..31), bank size (big-endian 32-bit,
// 2304), then the bank image in the effect's own byte order.
//
// Loading refuses anything that is not such a state without touching the
// effect: empty, short or long input, another magic, a newer version, a
// program number outside 0..31, a value that is not a finite number in
// 0..1, a program name without its terminating NUL.
//
// Thread: the host's main thread (the effect copies under its own rules).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class ADeEsser;

constexpr size_t kStateHeaderSize = 16;
constexpr uint32_t kStateVersion = 1;

std::vector<uint8_t> SaveState(ADeEsser& effect);
bool LoadState(ADeEsser& effect, const void* data, size_t size);

// The bare bank chunk (as effGetChunk gives it); loaded through setChunk
// after the same checks, the current program taken from record 0.
std::vector<uint8_t> SaveBankChunk(ADeEsser& effect);
bool LoadBankChunk(ADeEsser& effect, const void* data, size_t size);
