// Stereo (or mono) filter processor around one CIIRFilter per channel: a
// low-pass (type true) or high-pass (type false) with input/output level, peak
// meters and an over-level flag. Levels and cut-off cross the interface as
// signed 16.16 fixed point (dB, Hz). Lock order: effect, this, CIIRFilter.
#pragma once

#include "CCriticalSection.h"
#include "CIIRFilter.h"
#include "WaveFormat.h"

class CVRXLPF
{
public:
    explicit CVRXLPF(bool type);
    virtual ~CVRXLPF();

    void SetDefaultProp();
    bool set_Activate(bool active);
    bool get_Activate(bool* active);
    bool set_InputLevel(int level16_16);
    bool get_InputLevel(int* level16_16);
    bool set_OutputLevel(int level16_16);
    bool get_OutputLevel(int* level16_16);
    bool set_CutOff(int hz16_16);
    bool get_CutOff(int* hz16_16);
    bool set_Type(bool type);
    bool get_Type(bool* type);
    bool set_OverLevelThreshold(int linear);
    bool get_OverLevelThreshold(int* linear);
    bool get_OverLevel(bool* over); // returns the flag and clears it

    // Copies the format and re-creates the filters (state zero).
    bool SetMediaType(const WAVEFORMATEX* format);
    // LPFData's scratch buffer of n floats, zeroed. Called outside the audio
    // thread by the effect's setBlockSize. Transform itself never allocates: it
    // runs both channels through one loop and needs no buffer.
    bool SetSampleSize(unsigned n);
    bool PrepareWorkingBuffer(int n);
    bool GetVU(float* inL, float* inR, float* outL, float* outR);

    bool Transform(float** in, int count, float** out, int* outCount);
    // first.Transform(in -> mid, count), then second.Transform(mid -> out,
    // count): the same samples, meters and flags, in one pass when both are
    // active stereo processors, with the two sets of recursions overlapping.
    // Lock order: first, second, then their filters.
    static bool TransformChain(CVRXLPF& first, CVRXLPF& second, float** in, int count, float** mid,
                               float** out);
    void LPFData(int channel, const float* in, float* out, int count);

    // Clears a filter state that has become non-finite.
    void ResetIfBad();

private:
    template <class T, class Mask> struct Lanes;
    // Property bodies: under the lock, false for a null pointer.
    template <class T> bool getLocked(T* out, const T& value);
    bool getFixed(int* out, const float& value); // value x 65536, saturated
    bool setLevel(int level16_16, float& db, float& gain);
    void InitInternalFilters();
    void FreeBuffers();
    void ReparamFilters();
    void TransformStereo(const float* inL, const float* inR, float* outL, float* outR, int count);
    void TransformMono(const float* in, float* out, int count);

    CCriticalSection m_Lock;
    bool m_Type;
    float m_InputGain = 1.f;
    float m_OutputGain = 1.f;
    bool m_Active = true;
    float m_InputLevelDb = 0.f;
    float m_OutputLevelDb = 0.f;
    float m_OverLevelThreshold = 2147483648.0f;
    bool m_OverLevel = false;
    float m_CutOff = 0.f;
    WAVEFORMATEX m_Format{};
    CIIRFilter* m_Filters = nullptr;
    bool m_HasFilters = false;
    bool m_HasScratch = false;
    unsigned m_BufferLength = 0;
    float* m_Scratch = nullptr;
    float m_PeakInL = 0.f, m_PeakInR = 0.f, m_PeakOutL = 0.f, m_PeakOutR = 0.f;
};
