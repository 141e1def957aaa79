// The stream description handed to the filter processor: 32-bit float frames.
#pragma once

#include <cstdint>

struct WAVEFORMATEX
{
    uint16_t wFormatTag; // 3 = IEEE float
    uint16_t nChannels;
    uint32_t nSamplesPerSec;  // integer sample rate
    uint32_t nAvgBytesPerSec; // rate * block align
    uint16_t nBlockAlign;     // bytes per frame
    uint16_t wBitsPerSample;
    uint16_t cbSize; // extra bytes after the record
};

constexpr uint16_t WAVE_FORMAT_IEEE_FLOAT = 3;

// 32-bit float frames of `channels` at `rate` (the block align stays that of
// a stereo frame, as the effect has always described its streams).
inline WAVEFORMATEX FloatFormat(uint32_t rate, uint16_t channels = 2)
{
    return WAVEFORMATEX{WAVE_FORMAT_IEEE_FLOAT, channels, rate, rate * 8, 8, 32, 0};
}
