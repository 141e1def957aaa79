// The render plot: input and output waveforms and the measured gain change
// over time, drawn with cairo into a PNG.
#pragma once

#include <string>
#include <vector>

// Lowest and highest sample of the channels' mean per bucket of frames: a long
// signal drawn without keeping its samples.
class CWaveEnvelope
{
public:
    // totalFrames is the expected length (more frames are still taken).
    CWaveEnvelope(long long totalFrames, double sampleRate, int buckets = 4096);
    void Add(const float* interleaved, int channels, long long frames);
    double BucketSeconds() const { return (double)m_BucketFrames / m_SampleRate; }
    double Seconds() const { return (double)m_Frames / m_SampleRate; }
    double Peak() const;
    // Lowest and highest value over buckets a..b-1.
    bool Range(long long a, long long b, float* lo, float* hi) const;
    long long Buckets() const { return (long long)m_Lo.size(); }

private:
    double m_SampleRate;
    long long m_BucketFrames;
    long long m_Frames = 0;
    std::vector<float> m_Lo, m_Hi;
};

struct PlotData
{
    const CWaveEnvelope* input = nullptr;
    const CWaveEnvelope* output = nullptr;
    double windowSeconds = 0.01;
    std::vector<double> bandGain; // dB per window, NaN where not measured
    std::vector<double> wideGain; // dB per window, NaN where not measured
    std::string title;
    std::string subtitle;
};

// Writes the plot; throws CHostError when the PNG cannot be written.
void WritePlot(const PlotData& data, const std::string& pngPath, int width = 1400,
               int height = 900);
