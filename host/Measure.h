// The host's own level measurements: peak, RMS, band levels through a
// Butterworth band-pass of its own, and level per short window. Decibels as 20 log10 (these are
// measurements, not the plug-in's 6 dB-per-doubling parameter scale).
#pragma once

#include <vector>

// The coefficients of one second-order section (transposed direct form II
// when run), normalised by a0.
struct CBiquad
{
    void SetHighPass(double freq, double q, double sampleRate);
    void SetLowPass(double freq, double q, double sampleRate);
    void SetZero(); // passes nothing

    double m_B0 = 1, m_B1 = 0, m_B2 = 0, m_A1 = 0, m_A2 = 0;
};

// 4th-order Butterworth high-pass at low followed by 4th-order Butterworth
// low-pass at high (24 dB per octave on each side). The upper edge is held
// below Nyquist; a band that does not fit at all is marked unusable.
class CBandPass
{
public:
    CBandPass(double low, double high, double sampleRate);
    bool Usable() const { return m_Usable; }
    const CBiquad& Section(int i) const { return m_Sections[i]; }

private:
    CBiquad m_Sections[4];
    bool m_Usable = true;
};

// Four filter lanes run side by side in one SSE register: a pair of channels,
// each through the sibilance and the voice band (lanes: sibilance a, b, voice
// a, b). Single precision keeps the measurement at a quarter of the cost of
// scalar doubles; totals are summed in double per 10 ms window.
typedef float LaneScalar;
typedef LaneScalar LaneVector __attribute__((vector_size(4 * sizeof(LaneScalar))));

struct CBandLanes
{
    LaneVector b0, b1, b2, a1, a2; // per section, one coefficient per lane
};

// Levels of one signal, fed in interleaved blocks. Channels are filtered in
// pairs, both bands of a pair in one vector pass.
class CSignalStats
{
public:
    CSignalStats(int channels, double sampleRate, double windowSeconds = 0.01);
    void Add(const float* interleaved, long long frames);
    // A render's input and output in one pass, eight lanes wide (one AVX2
    // register where the processor has it): the same as Add on each. Mono
    // and stereo stats in step; others are fed through Add.
    static void AddPair(CSignalStats& in, const float* x, CSignalStats& out, const float* y,
                        long long frames);
    void Finish(); // closes the last partial window

    double PeakDb() const;      // dBFS of the largest absolute sample
    double RmsDb() const;       // dBFS RMS over all channels
    double SibilanceDb() const; // RMS of the 5-9 kHz band, dBFS
    double VoiceDb() const;     // RMS of the 100-3000 Hz band, dBFS
    bool SibilanceUsable() const { return m_SibUsable; }
    long long Frames() const { return m_Frames; }
    double WindowSeconds() const { return (double)m_WindowFrames / m_SampleRate; }
    // Mean square per window, whole signal and sibilance band.
    const std::vector<double>& WindowPower() const { return m_WindowWide; }
    const std::vector<double>& WindowSibilance() const { return m_WindowSib; }

private:
    void closeWindow();
    friend struct CPairKernel;

    int m_Channels;
    double m_SampleRate;
    long long m_WindowFrames;
    long long m_Frames = 0;
    bool m_SibUsable = true;
    double m_Peak = 0, m_Sum = 0, m_SibSum = 0, m_VoiceSum = 0;
    CBandLanes m_Coeffs[4];             // the four sections
    std::vector<LaneVector> m_S1, m_S2; // state: [pair * 4 + section]
    LaneVector m_WinBands = {0, 0, 0, 0}, m_WinWideLanes = {0, 0, 0, 0};
    LaneScalar m_PeakLanes = 0;
    long long m_WinCount = 0;
    std::vector<double> m_WindowWide, m_WindowSib;
};

// Decibels of a power (mean square) or amplitude; -inf for 0.
double PowerDb(double meanSquare);
double AmplitudeDb(double amplitude);

// Gain change from input to output per window of the sibilance band, in dB
// (negative: reduction); NaN where the input band is below floorDb dBFS.
std::vector<double> BandGainCurve(const CSignalStats& in, const CSignalStats& out,
                                  double floorDb = -60.0);
// The same for the whole signal.
std::vector<double> WideGainCurve(const CSignalStats& in, const CSignalStats& out,
                                  double floorDb = -60.0);
