// Band-pass filters and level statistics for the render summary and plot.
#include "Measure.h"

#include <cmath>
#include <limits>

namespace
{
const double kPi = 3.14159265358979323846;
// Pole-pair Q values of a 4th-order Butterworth response.
const double kButterQ[2] = {0.54119610014619698, 1.3065629648763766};
} // namespace

void CBiquad::SetHighPass(double freq, double q, double sampleRate)
{
    double w = 2.0 * kPi * freq / sampleRate;
    double alpha = std::sin(w) / (2.0 * q);
    double c = std::cos(w);
    double a0 = 1.0 + alpha;
    m_B0 = (1.0 + c) / 2.0 / a0;
    m_B1 = -(1.0 + c) / a0;
    m_B2 = m_B0;
    m_A1 = -2.0 * c / a0;
    m_A2 = (1.0 - alpha) / a0;
}

void CBiquad::SetLowPass(double freq, double q, double sampleRate)
{
    double w = 2.0 * kPi * freq / sampleRate;
    double alpha = std::sin(w) / (2.0 * q);
    double c = std::cos(w);
    double a0 = 1.0 + alpha;
    m_B0 = (1.0 - c) / 2.0 / a0;
    m_B1 = (1.0 - c) / a0;
    m_B2 = m_B0;
    m_A1 = -2.0 * c / a0;
    m_A2 = (1.0 - alpha) / a0;
}

CBandPass::CBandPass(double low, double high, double sampleRate)
{
    double nyquistEdge = 0.45 * sampleRate;
    if (low >= nyquistEdge)
        m_Usable = false;
    high = std::min(high, nyquistEdge);
    if (!m_Usable)
        return;
    m_Sections[0].SetHighPass(low, kButterQ[0], sampleRate);
    m_Sections[1].SetHighPass(low, kButterQ[1], sampleRate);
    m_Sections[2].SetLowPass(high, kButterQ[0], sampleRate);
    m_Sections[3].SetLowPass(high, kButterQ[1], sampleRate);
}

CSignalStats::CSignalStats(int channels, double sampleRate, double windowSeconds)
    : m_Channels(channels), m_SampleRate(sampleRate)
{
    m_WindowFrames = std::max(1LL, (long long)std::llround(windowSeconds * sampleRate));
    for (int c = 0; c < channels; ++c)
    {
        m_Sib.emplace_back(5000.0, 9000.0, sampleRate);
        m_Voice.emplace_back(100.0, 3000.0, sampleRate);
    }
}

void CSignalStats::Add(const float* x, long long frames)
{
    for (long long i = 0; i < frames; ++i)
    {
        double wide = 0, sib = 0;
        for (int c = 0; c < m_Channels; ++c)
        {
            double v = x[i * m_Channels + c];
            if (!std::isfinite(v))
                v = 0;
            m_Peak = std::max(m_Peak, std::fabs(v));
            wide += v * v;
            double s = m_Sib[c].Usable() ? m_Sib[c].Run(v) : 0.0;
            double o = m_Voice[c].Run(v);
            sib += s * s;
            m_VoiceSum += o * o;
        }
        m_Sum += wide;
        m_SibSum += sib;
        m_WinWide += wide;
        m_WinSib += sib;
        if (++m_WinCount == m_WindowFrames)
        {
            m_WindowWide.push_back(m_WinWide / (double)(m_WinCount * m_Channels));
            m_WindowSib.push_back(m_WinSib / (double)(m_WinCount * m_Channels));
            m_WinWide = m_WinSib = 0;
            m_WinCount = 0;
        }
    }
    m_Frames += frames;
}

void CSignalStats::Finish()
{
    if (m_WinCount > 0)
    {
        m_WindowWide.push_back(m_WinWide / (double)(m_WinCount * m_Channels));
        m_WindowSib.push_back(m_WinSib / (double)(m_WinCount * m_Channels));
        m_WinWide = m_WinSib = 0;
        m_WinCount = 0;
    }
}

double PowerDb(double meanSquare)
{
    return meanSquare > 0 ? 10.0 * std::log10(meanSquare)
                          : -std::numeric_limits<double>::infinity();
}

double AmplitudeDb(double amplitude)
{
    return amplitude > 0 ? 20.0 * std::log10(amplitude) : -std::numeric_limits<double>::infinity();
}

double CSignalStats::PeakDb() const
{
    return AmplitudeDb(m_Peak);
}

double CSignalStats::RmsDb() const
{
    return m_Frames ? PowerDb(m_Sum / (double)(m_Frames * m_Channels)) : PowerDb(0);
}

double CSignalStats::SibilanceDb() const
{
    if (!SibilanceUsable())
        return std::numeric_limits<double>::quiet_NaN();
    return m_Frames ? PowerDb(m_SibSum / (double)(m_Frames * m_Channels)) : PowerDb(0);
}

double CSignalStats::VoiceDb() const
{
    return m_Frames ? PowerDb(m_VoiceSum / (double)(m_Frames * m_Channels)) : PowerDb(0);
}

namespace
{
std::vector<double> gainCurve(const std::vector<double>& in, const std::vector<double>& out,
                              double floorDb)
{
    std::vector<double> curve(std::min(in.size(), out.size()));
    for (size_t i = 0; i < curve.size(); ++i)
        if (PowerDb(in[i]) < floorDb)
            curve[i] = std::numeric_limits<double>::quiet_NaN();
        else // a silenced window counts as 120 dB down, not as infinity
            curve[i] = std::max(-120.0, PowerDb(out[i]) - PowerDb(in[i]));
    return curve;
}
} // namespace

std::vector<double> BandGainCurve(const CSignalStats& in, const CSignalStats& out, double floorDb)
{
    return gainCurve(in.WindowSibilance(), out.WindowSibilance(), floorDb);
}

std::vector<double> WideGainCurve(const CSignalStats& in, const CSignalStats& out, double floorDb)
{
    return gainCurve(in.WindowPower(), out.WindowPower(), floorDb);
}
