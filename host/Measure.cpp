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

void CBiquad::SetZero()
{
    m_B0 = m_B1 = m_B2 = m_A1 = m_A2 = 0;
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
    CBandPass sib(5000.0, 9000.0, sampleRate), voice(100.0, 3000.0, sampleRate);
    m_SibUsable = sib.Usable();
    for (int k = 0; k < 4; ++k)
    {
        CBiquad s = sib.Section(k), v = voice.Section(k);
        if (!m_SibUsable)
            s.SetZero();
        auto lanes = [](double sv, double vv) {
            return LaneVector{(LaneScalar)sv, (LaneScalar)sv, (LaneScalar)vv, (LaneScalar)vv};
        };
        m_Coeffs[k] = {lanes(s.m_B0, v.m_B0), lanes(s.m_B1, v.m_B1), lanes(s.m_B2, v.m_B2),
                       lanes(s.m_A1, v.m_A1), lanes(s.m_A2, v.m_A2)};
    }
    const size_t pairs = (size_t)(channels + 1) / 2;
    m_S1.assign(pairs * 4, LaneVector{0, 0, 0, 0});
    m_S2.assign(pairs * 4, LaneVector{0, 0, 0, 0});
}

void CSignalStats::Add(const float* x, long long frames)
{
    const int channels = m_Channels;
    const int pairs = (channels + 1) / 2;
    for (long long i = 0; i < frames; ++i)
    {
        const float* frame = x + i * channels;
        for (int p = 0; p < pairs; ++p)
        {
            LaneScalar a = frame[2 * p];
            LaneScalar b = 2 * p + 1 < channels ? frame[2 * p + 1] : 0.0f;
            if (!std::isfinite(a))
                a = 0;
            if (!std::isfinite(b))
                b = 0;
            LaneVector y = {a, b, a, b};
            m_PeakLanes = std::max(m_PeakLanes, std::fabs(a));
            m_PeakLanes = std::max(m_PeakLanes, std::fabs(b));
            LaneVector* s1 = &m_S1[(size_t)p * 4];
            LaneVector* s2 = &m_S2[(size_t)p * 4];
            LaneVector wide = y * y;
            for (int k = 0; k < 4; ++k)
            {
                const CBandLanes& c = m_Coeffs[k];
                LaneVector in = y;
                y = c.b0 * in + s1[k];
                s1[k] = c.b1 * in - c.a1 * y + s2[k];
                s2[k] = c.b2 * in - c.a2 * y;
            }
            m_WinBands += y * y;
            m_WinWideLanes += wide;
        }
        if (++m_WinCount == m_WindowFrames)
            closeWindow();
    }
    m_Frames += frames;
}

// The eight-lane pass of AddPair: lanes 0-3 the input's (sibilance a, b,
// voice a, b), 4-7 the output's. Written once, compiled for AVX2 and for the
// baseline; the state stays in registers for the whole block.
typedef float Lane8 __attribute__((vector_size(32)));
typedef int32_t Lane8i __attribute__((vector_size(32)));

struct CPairKernel
{
    static inline __attribute__((always_inline)) void
    Run(CSignalStats& in, const float* x, CSignalStats& out, const float* y, long long frames)
    {
        const int channels = in.m_Channels;
        auto join = [](const LaneVector& a, const LaneVector& b, Lane8* to)
        { *to = Lane8{a[0], a[1], a[2], a[3], b[0], b[1], b[2], b[3]}; };
        auto split = [](const Lane8& v, LaneVector* a, LaneVector* b)
        {
            *a = LaneVector{v[0], v[1], v[2], v[3]};
            *b = LaneVector{v[4], v[5], v[6], v[7]};
        };
        Lane8 b0[4], b1[4], b2[4], a1[4], a2[4], s1[4], s2[4];
        for (int k = 0; k < 4; ++k)
        {
            const CBandLanes& c = in.m_Coeffs[k];
            join(c.b0, c.b0, &b0[k]);
            join(c.b1, c.b1, &b1[k]);
            join(c.b2, c.b2, &b2[k]);
            join(c.a1, c.a1, &a1[k]);
            join(c.a2, c.a2, &a2[k]);
            join(in.m_S1[k], out.m_S1[k], &s1[k]);
            join(in.m_S2[k], out.m_S2[k], &s2[k]);
        }
        Lane8 bands, wide, peak;
        join(in.m_WinBands, out.m_WinBands, &bands);
        join(in.m_WinWideLanes, out.m_WinWideLanes, &wide);
        peak = Lane8{in.m_PeakLanes, in.m_PeakLanes, 0, 0, out.m_PeakLanes, out.m_PeakLanes, 0, 0};
        const Lane8i absMask = Lane8i{} + 0x7fffffff;
        for (long long i = 0; i < frames; ++i)
        {
            const int r = channels > 1 ? 1 : 0;
            const float xa = x[i * channels], xb = r ? x[i * channels + 1] : 0.f;
            const float ya = y[i * channels], yb = r ? y[i * channels + 1] : 0.f;
            Lane8 v = {xa, xb, xa, xb, ya, yb, ya, yb};
            v = (Lane8)((Lane8i)v & (Lane8i)((v - v) == 0)); // NaN and infinities as 0
            Lane8 mag = (Lane8)((Lane8i)v & absMask);
            peak = mag > peak ? mag : peak;
            wide += v * v;
            for (int k = 0; k < 4; ++k)
            {
                Lane8 t = v;
                v = b0[k] * t + s1[k];
                s1[k] = b1[k] * t - a1[k] * v + s2[k];
                s2[k] = b2[k] * t - a2[k] * v;
            }
            bands += v * v;
            if (++in.m_WinCount == in.m_WindowFrames)
            {
                split(bands, &in.m_WinBands, &out.m_WinBands);
                split(wide, &in.m_WinWideLanes, &out.m_WinWideLanes);
                in.m_PeakLanes = std::max(peak[0], peak[1]);
                out.m_PeakLanes = std::max(peak[4], peak[5]);
                out.m_WinCount = in.m_WinCount;
                in.closeWindow();
                out.closeWindow();
                bands = wide = Lane8{};
            }
        }
        for (int k = 0; k < 4; ++k)
        {
            split(s1[k], &in.m_S1[k], &out.m_S1[k]);
            split(s2[k], &in.m_S2[k], &out.m_S2[k]);
        }
        split(bands, &in.m_WinBands, &out.m_WinBands);
        split(wide, &in.m_WinWideLanes, &out.m_WinWideLanes);
        in.m_PeakLanes = std::max(peak[0], peak[1]);
        out.m_PeakLanes = std::max(peak[4], peak[5]);
        out.m_WinCount = in.m_WinCount;
        in.m_Frames += frames;
        out.m_Frames += frames;
    }
};

namespace
{
// AVX2 without FMA: the same roundings as the baseline, so results do not
// depend on the processor.
__attribute__((target("avx2"))) void
addPairAvx2(CSignalStats& in, const float* x, CSignalStats& out, const float* y, long long frames)
{
    CPairKernel::Run(in, x, out, y, frames);
}

void addPairBaseline(CSignalStats& in, const float* x, CSignalStats& out, const float* y,
                     long long frames)
{
    CPairKernel::Run(in, x, out, y, frames);
}
} // namespace

void CSignalStats::AddPair(CSignalStats& in, const float* x, CSignalStats& out, const float* y,
                           long long frames)
{
    if (in.m_Channels > 2 || in.m_Channels != out.m_Channels ||
        in.m_WindowFrames != out.m_WindowFrames || in.m_WinCount != out.m_WinCount)
    {
        in.Add(x, frames);
        out.Add(y, frames);
        return;
    }
    static const bool avx2 = __builtin_cpu_supports("avx2");
    if (avx2)
        addPairAvx2(in, x, out, y, frames);
    else
        addPairBaseline(in, x, out, y, frames);
}

void CSignalStats::closeWindow()
{
    // Lanes: sibilance a, b, voice a, b; the wide lanes hold a, b twice.
    const double n = (double)(m_WinCount * m_Channels);
    double wide = (double)m_WinWideLanes[0] + (double)m_WinWideLanes[1];
    double sib = (double)m_WinBands[0] + (double)m_WinBands[1];
    double voice = (double)m_WinBands[2] + (double)m_WinBands[3];
    m_Sum += wide;
    m_SibSum += sib;
    m_VoiceSum += voice;
    m_Peak = std::max(m_Peak, (double)m_PeakLanes);
    m_WindowWide.push_back(wide / n);
    m_WindowSib.push_back(sib / n);
    m_WinBands = m_WinWideLanes = LaneVector{0, 0, 0, 0};
    m_WinCount = 0;
}

void CSignalStats::Finish()
{
    if (m_WinCount > 0)
        closeWindow();
    m_Peak = std::max(m_Peak, (double)m_PeakLanes);
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
