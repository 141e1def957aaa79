// A one-pass model of what the de-esser would do to a file at any threshold
// and ratio. It forms the key exactly as the plug-in does (its own filter
// classes, tuned from the same normalised values), runs the gain computer's
// envelope for a whole grid of thresholds at once, and keeps, per threshold,
// how much of the file's 5-9 kHz and 100-3000 Hz band energy met each envelope
// depth. Envelope depth does not depend on the ratio, so the change of both
// bands can then be predicted for any threshold and ratio without the audio.
// Memory is fixed (under 2 MB), whatever the file's length.
#pragma once

#include "Measure.h"

#include <memory>
#include <vector>

class CVRXLPF;
class CBiquadFilter;

// One of the host's measurement band-passes, run sample by sample in double
// precision (the same sections as the summary's measurement).
class CBandFilter
{
public:
    CBandFilter(double low, double high, double sampleRate) : m_Band(low, high, sampleRate) {}
    bool Usable() const { return m_Band.Usable(); }
    double Run(double x)
    {
        for (int i = 0; i < 4; ++i)
        {
            const CBiquad& c = m_Band.Section(i);
            const double y = c.m_B0 * x + m_S1[i];
            m_S1[i] = c.m_B1 * x - c.m_A1 * y + m_S2[i];
            m_S2[i] = c.m_B2 * x - c.m_A2 * y;
            x = y;
        }
        return x;
    }

private:
    CBandPass m_Band;
    double m_S1[4] = {0, 0, 0, 0}, m_S2[4] = {0, 0, 0, 0};
};

// Four measurement band-passes side by side in one vector of floats, each
// lane with its own band: the model's many band levels at a quarter of the
// cost, in the same precision as the summary's measurement.
class CBandQuad
{
public:
    typedef float v4f __attribute__((vector_size(16)));
    // lanes: the band of each lane, {low, high} in Hz.
    CBandQuad(const double (&bands)[4][2], double sampleRate);
    v4f Run(v4f x)
    {
        for (int i = 0; i < 4; ++i)
        {
            const v4f y = m_B0[i] * x + m_S1[i];
            m_S1[i] = m_B1[i] * x - m_A1[i] * y + m_S2[i];
            m_S2[i] = m_B2[i] * x - m_A2[i] * y;
            x = y;
        }
        return x;
    }

private:
    v4f m_B0[4], m_B1[4], m_B2[4], m_A1[4], m_A2[4];
    v4f m_S1[4] = {}, m_S2[4] = {};
};

// A de-esser program as the host reads it back through the VST parameters:
// the eleven normalised values (the two switches as 0 or 1), with the values
// the signal path derives from them.
struct EffectSettings
{
    float norm[11] = {1.f, 0.0999100f, 1.f, 1.f, 0.f, 0.f, 0.f, 0.1111111f, 0.3333333f, 1.f, 1.f};

    bool On() const { return norm[0] != 0.f; }
    bool SideChain() const { return norm[9] == 1.f; }
    bool AutoThreshold() const { return norm[10] != 0.f; }
    float InputGain() const { return norm[2]; } // the raw normalised value scales the input
    double OutputGain() const;                  // linear, 6 dB per doubling
    double ThresholdDb() const;
    double Ratio() const;
    double AttackMs() const;
    double ReleaseMs() const;
    double LowFreq() const;
    double HiFreq() const;
};

// Level change of the two measurement bands, output against input, in dB.
struct BandChange
{
    double sibilance = 0; // 5-9 kHz
    double voice = 0;     // 100-3000 Hz
};

class CSibilanceModel
{
public:
    // Thresholds of the grid: -100 .. 0 dB in 1 dB steps.
    static constexpr int kThresholds = 101;
    static constexpr double kLowestThreshold = -100.0;

    CSibilanceModel(const EffectSettings& settings, int sampleRate, int channels);
    ~CSibilanceModel();
    CSibilanceModel(const CSibilanceModel&) = delete;
    CSibilanceModel& operator=(const CSibilanceModel&) = delete;

    // Interleaved frames of the file (mono or stereo), in order; Finish
    // after the last.
    void Add(const float* interleaved, long long frames);
    void Finish();

    // What the program would do with the given threshold and ratio (its other
    // settings as they are). Thresholds between grid points interpolate.
    BandChange Predict(double thresholdDb, double ratio) const;
    // The same as output energies of the two bands (sums of squares over
    // channels), to add up several models of one file.
    void PredictEnergies(double thresholdDb, double ratio, double& sibilance, double& voice) const;
    // The part that needs no compression: the split-band sum's fixed dip and
    // the program's input and output gains (ratio 1).
    BandChange Fixed() const;

    bool SideChain() const { return m_SideChain; }
    bool Usable() const { return m_Usable; } // the 5-9 kHz band fits the sample rate
    long long Frames() const { return m_Frames; }
    // Input energy (sum of squares over channels) of the two bands.
    double SibilanceEnergy() const { return m_SibIn; }
    double VoiceEnergy() const { return m_VoiceIn; }
    // The key's loudest sample and the level its loudest 10 ms windows reach
    // (dBFS, RMS per window; the level that 1 % of the file's windows exceed).
    double KeyPeakDb() const;
    double KeyLoudDb() const;

private:
    struct Channel;
    void processChunk(int n);
    void runBank(const float* level, int n);
    void closeWindow();
    // Predicted output energies of both bands at grid threshold j.
    void energiesAt(int j, double ratio, double& sib, double& voice) const;

    EffectSettings m_Settings;
    int m_Channels;
    int m_SampleRate;
    bool m_SideChain;
    bool m_Usable = true;
    long long m_Frames = 0;

    std::unique_ptr<CVRXLPF> m_LowCut, m_HighCut; // side-chain key
    std::unique_ptr<CBandQuad> m_Raw;             // the input's own band levels
    std::vector<Channel> m_Ch;                    // per file channel (one or two)

    // Gain computer coefficients and the envelope of each grid threshold.
    float m_Attack, m_Release;
    bool m_Auto;
    // Four thresholds per vector, the grid padded up to whole vectors.
    typedef float v4f __attribute__((vector_size(16)));
    static constexpr int kBankVectors = (kThresholds + 3) / 4;
    std::vector<v4f> m_Env, m_EnvSum, m_Thresholds;
    int m_InWindow = 0;
    // Current window's band energies: side-chain {sib, voice}; split band
    // {sib F.M, sib M.M, voice F.M, voice M.M} with F the fixed bands and M
    // the compressed band.
    double m_Win[4] = {0, 0, 0, 0};
    // Per grid threshold and envelope bin, the window energies summed.
    std::vector<double> m_Hist;
    int m_Parts;
    // Totals: input bands, and for split band the fixed bands' own energy.
    double m_SibIn = 0, m_VoiceIn = 0, m_SibFF = 0, m_VoiceFF = 0;

    // Key statistics.
    double m_KeyPeak = 0;
    double m_KeyWin = 0;
    int m_KeyWinCount = 0, m_KeyWinFrames;
    std::vector<long long> m_KeyHist; // 10 ms key levels, 0.5 dB bins from -150 dBFS

    std::vector<float> m_Buf[8]; // work buffers of one chunk
};
