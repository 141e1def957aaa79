// The first pass of --target and analyze: the program's key and envelope for
// a grid of thresholds, band energies binned by envelope depth.
#include "SibilanceModel.h"

#include "CBiquadFilter.h"
#include "CVRXLPF.h"
#include "ParamTable.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <xmmintrin.h>

namespace
{
constexpr int kChunk = 256;      // frames per processing step
constexpr int kWindow = 32;      // frames per envelope window
constexpr int kNodes = 512;      // envelope depth nodes per threshold
constexpr double kNodeDb = 0.25; // spacing of the nodes
constexpr double kSilentKey = -1000.0;
constexpr double kDbPerNeper = 8.685889638065037; // 20 / ln 10, the compressor's lin2dB
constexpr double kNeperPerDb = 0.11512925464970228;
constexpr int kKeyBins = 300; // 10 ms key levels, 0.5 dB from -150 dBFS
constexpr double kKeyFloorDb = -150.0;

double powerDb(double p)
{
    return p > 0 ? 10.0 * std::log10(p) : -INFINITY;
}
} // namespace

double EffectSettings::OutputGain() const
{
    // The plug-in's m_OutputGain: 2^(dB / 6), kept as a float.
    return (float)Db6ToGain((double)NormalizeValToInternalVal(kParamOutput, norm[1]));
}

double EffectSettings::ThresholdDb() const
{
    return NormalizeValToInternalVal(kParamThreshold, norm[3]);
}

double EffectSettings::Ratio() const
{
    return NormalizeValToInternalVal(kParamRatio, norm[4]);
}

double EffectSettings::AttackMs() const
{
    return NormalizeValToInternalVal(kParamAttack, norm[5]);
}

double EffectSettings::ReleaseMs() const
{
    return (double)NormalizeValToInternalVal(kParamRelease, norm[6]) * 1000.0;
}

double EffectSettings::LowFreq() const
{
    return NormalizeValToInternalVal(kParamLowFreq, norm[7]);
}

double EffectSettings::HiFreq() const
{
    return NormalizeValToInternalVal(kParamHiFreq, norm[8]);
}

CBandQuad::CBandQuad(const double (&bands)[4][2], double sampleRate)
{
    for (int lane = 0; lane < 4; ++lane)
    {
        CBandPass band(bands[lane][0], bands[lane][1], sampleRate);
        for (int i = 0; i < 4; ++i)
        {
            const CBiquad& c = band.Section(i);
            m_B0[i][lane] = (float)c.m_B0;
            m_B1[i][lane] = (float)c.m_B1;
            m_B2[i][lane] = (float)c.m_B2;
            m_A1[i][lane] = (float)c.m_A1;
            m_A2[i][lane] = (float)c.m_A2;
        }
    }
}

namespace
{
// Lanes of the measurement: sibilance and voice band of two signals.
const double kTwoSignals[4][2] = {{5000, 9000}, {100, 3000}, {5000, 9000}, {100, 3000}};
} // namespace

// One file channel: in split-band mode the plug-in's four shelves and the
// measurement bands of the fixed (low + high) and the compressed (middle)
// part, lanes: sibilance F, voice F, sibilance M, voice M.
struct CSibilanceModel::Channel
{
    Channel(const EffectSettings& s, double rate) : bands(kTwoSignals, rate)
    {
        const float sr = (float)(int)rate;
        const float low = NormalizeValToInternalVal(kParamLowFreq, s.norm[kParamLowFreq]);
        const float high = NormalizeValToInternalVal(kParamHiFreq, s.norm[kParamHiFreq]);
        lowHigh.CalcCoefficients(sr, low, -12.f, 1.f, CBiquadFilter::kHighShelf);
        lowLow.CalcCoefficients(sr, low, -12.f, 1.f, CBiquadFilter::kLowShelf);
        highHigh.CalcCoefficients(sr, high, -12.f, 1.f, CBiquadFilter::kHighShelf);
        highLow.CalcCoefficients(sr, high, -12.f, 1.f, CBiquadFilter::kLowShelf);
    }
    CBandQuad bands;
    CBiquadFilter lowHigh, lowLow, highHigh, highLow;
};

CSibilanceModel::CSibilanceModel(const EffectSettings& settings, int sampleRate, int channels)
    : m_Settings(settings), m_Channels(std::min(std::max(channels, 1), 2)),
      m_SampleRate(sampleRate), m_SideChain(settings.SideChain()), m_Env(kBankVectors),
      m_EnvSum(kBankVectors), m_Thresholds(kBankVectors), m_KeyHist(kKeyBins, 0)
{
    for (int j = 0; j < kBankVectors * 4; ++j)
    {
        m_Thresholds[j / 4][j % 4] = (float)(kLowestThreshold + j);
        m_Env[j / 4][j % 4] = 1e-25f;
        m_EnvSum[j / 4][j % 4] = 0.f;
    }
    for (int c = 0; c < m_Channels; ++c)
        m_Ch.emplace_back(settings, (double)sampleRate);
    m_Usable = CBandPass(5000.0, 9000.0, sampleRate).Usable();
    m_Raw.reset(new CBandQuad(kTwoSignals, sampleRate));
    m_Parts = m_SideChain ? 2 : 4;
    m_Hist.assign((size_t)kThresholds * kNodes * m_Parts, 0.0);
    for (std::vector<float>& b : m_Buf)
        b.assign(kChunk, 0.f);
    m_KeyWinFrames = std::max(1, (int)std::lround(0.01 * sampleRate));

    if (m_SideChain)
    {
        // The key filters as the plug-in sets them up: format first, then the
        // cut-offs in 16.16 fixed point from the normalised values.
        WAVEFORMATEX format{};
        format.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
        format.nChannels = (uint16_t)m_Channels;
        format.nSamplesPerSec = (uint32_t)sampleRate;
        format.nAvgBytesPerSec = (uint32_t)sampleRate * 4u * m_Channels;
        format.nBlockAlign = (uint16_t)(4 * m_Channels);
        format.wBitsPerSample = 32;
        m_LowCut.reset(new CVRXLPF(false));
        m_HighCut.reset(new CVRXLPF(true));
        for (CVRXLPF* f : {m_LowCut.get(), m_HighCut.get()})
        {
            f->SetMediaType(&format);
            f->SetSampleSize(kChunk);
        }
        m_LowCut->set_CutOff(
            (int)NormalizeValToDWValue(kParamLowFreq, settings.norm[kParamLowFreq]));
        m_HighCut->set_CutOff(
            (int)NormalizeValToDWValue(kParamHiFreq, settings.norm[kParamHiFreq]));
    }

    // The envelope detector's coefficient: exp(-1000 / (ms * 1.44 * rate)).
    auto coef = [&](double ms) { return (float)std::exp(-1000.0 / (ms * 1.44 * sampleRate)); };
    m_Attack = coef(settings.AttackMs());
    m_Release = coef(settings.ReleaseMs());
    m_Auto = settings.AutoThreshold();
}

CSibilanceModel::~CSibilanceModel() = default;

void CSibilanceModel::Add(const float* interleaved, long long frames)
{
    const int fileChannels = m_Channels; // callers pass mono or stereo
    while (frames > 0)
    {
        const int n = (int)std::min<long long>(frames, kChunk);
        for (int c = 0; c < m_Channels; ++c)
        {
            float* x = m_Buf[c].data();
            for (int i = 0; i < n; ++i)
                x[i] = interleaved[(size_t)i * fileChannels + c];
        }
        processChunk(n);
        interleaved += (size_t)n * fileChannels;
        frames -= n;
    }
}

void CSibilanceModel::processChunk(int n)
{
    const float gain = m_Settings.InputGain();
    float* x[2] = {m_Buf[0].data(), m_Buf[m_Channels > 1 ? 1 : 0].data()};
    double part[4][kChunk];
    std::memset(part, 0, sizeof part);
    float level[kChunk];

    // Reference levels of the input as it is in the file; in side-chain mode
    // the output is the input times the gain, so these are the window parts.
    // Lanes: sibilance and voice of the first and the second channel.
    for (int i = 0; i < n; ++i)
    {
        const CBandQuad::v4f b = m_Raw->Run(CBandQuad::v4f{x[0][i], x[0][i], x[1][i], x[1][i]});
        const double s0 = b[0], v0 = b[1], s1 = b[2], v1 = b[3];
        part[0][i] = s0 * s0 + (m_Channels > 1 ? s1 * s1 : 0.0);
        part[1][i] = v0 * v0 + (m_Channels > 1 ? v1 * v1 : 0.0);
    }
    for (int i = 0; i < n; ++i)
    {
        m_SibIn += part[0][i];
        m_VoiceIn += part[1][i];
    }

    // The plug-in scales its input by the raw "Input" value first.
    for (int c = 0; c < m_Channels; ++c)
        for (int i = 0; i < n; ++i)
            x[c][i] *= gain;

    float* key[2];
    if (m_SideChain)
    {
        float* mid[2] = {m_Buf[2].data(), m_Buf[3].data()};
        key[0] = m_Buf[4].data();
        key[1] = m_Buf[5].data();
        int count = 0;
        if (m_Channels == 1)
        {
            m_LowCut->Transform(x, n, mid, &count);
            m_HighCut->Transform(mid, n, key, &count);
            key[1] = key[0];
        }
        else
            CVRXLPF::TransformChain(*m_LowCut, *m_HighCut, x, n, mid, key);
        for (int i = 0; i < n; ++i)
        {
            const double kx =
                std::max(std::fabs((double)key[0][i]), std::fabs((double)key[1][i])) + 1e-25;
            const double audio = std::max(std::fabs((double)x[0][i]), std::fabs((double)x[1][i]));
            // The key must come within 12 dB of the audio, sample by sample.
            level[i] = 4.0 * kx < audio ? (float)kSilentKey : (float)(std::log(kx) * kDbPerNeper);
        }
    }
    else
    {
        // Split band: low = shelf down above LowFreq, middle = shelf down
        // below LowFreq then above HiFreq (the compressor's audio and key),
        // high = shelf down below HiFreq. The window parts are the middle
        // band's energy and its product with the fixed bands.
        std::memset(part, 0, sizeof part);
        for (int c = 0; c < m_Channels; ++c)
        {
            Channel& ch = m_Ch[c];
            float* low = m_Buf[2].data();
            float* first = m_Buf[3].data();
            float* mid = m_Buf[4 + c].data();
            float* high = m_Buf[6].data();
            ch.lowHigh.OperateFilter(x[c], low, n);
            ch.lowLow.OperateFilter(x[c], first, n);
            ch.highHigh.OperateFilter(first, mid, n);
            ch.highLow.OperateFilter(x[c], high, n);
            for (int i = 0; i < n; ++i)
            {
                const float f = (float)((double)low[i] + (double)high[i]);
                const CBandQuad::v4f b = ch.bands.Run(CBandQuad::v4f{f, f, mid[i], mid[i]});
                const double fs = b[0], fv = b[1], ms = b[2], mv = b[3];
                m_SibFF += fs * fs;
                m_VoiceFF += fv * fv;
                part[0][i] += fs * ms;
                part[1][i] += ms * ms;
                part[2][i] += fv * mv;
                part[3][i] += mv * mv;
            }
        }
        key[0] = m_Buf[4].data();
        key[1] = m_Buf[m_Channels > 1 ? 5 : 4].data();
        for (int i = 0; i < n; ++i)
        {
            const double kx =
                std::max(std::fabs((double)key[0][i]), std::fabs((double)key[1][i])) + 1e-25;
            level[i] = (float)(std::log(kx) * kDbPerNeper);
        }
    }

    // Key statistics: peak sample and 10 ms RMS levels.
    for (int i = 0; i < n; ++i)
    {
        const double k = std::max(std::fabs((double)key[0][i]), std::fabs((double)key[1][i]));
        m_KeyPeak = std::max(m_KeyPeak, k);
        m_KeyWin += k * k;
        if (++m_KeyWinCount == m_KeyWinFrames)
        {
            const double db = powerDb(m_KeyWin / m_KeyWinFrames);
            const int bin = std::isfinite(db) ? (int)std::floor((db - kKeyFloorDb) * 2.0) : 0;
            m_KeyHist[std::min(std::max(bin, 0), kKeyBins - 1)]++;
            m_KeyWin = 0;
            m_KeyWinCount = 0;
        }
    }

    // Envelopes of thresholds the key never reaches decay toward zero and
    // would end in subnormal numbers, which cost the processor dearly: the
    // bank runs with them flushed to zero (only here, the filters above and
    // the plug-in keep the usual arithmetic).
    const unsigned csr = _mm_getcsr();
    _mm_setcsr(csr | 0x8040); // flush to zero, denormals are zero
    for (int i = 0; i < n; ++i)
    {
        runBank(level + i, 1);
        for (int p = 0; p < m_Parts; ++p)
            m_Win[p] += part[p][i];
        if (++m_InWindow == kWindow)
            closeWindow();
    }
    _mm_setcsr(csr);
    m_Frames += n;
}

void CSibilanceModel::Finish()
{
    if (m_InWindow > 0)
        closeWindow();
}

void CSibilanceModel::runBank(const float* level, int n)
{
    // The gain computer's envelope (in dB over threshold) for every grid
    // threshold: attack toward a rising target, release toward a falling
    // one; with AutoThreshold every rise aims at a fixed 20 dB. Four
    // thresholds at a time, without branches.
    const v4f att = {m_Attack, m_Attack, m_Attack, m_Attack};
    const v4f rel = {m_Release, m_Release, m_Release, m_Release};
    const float a = m_Auto ? 20.f : -1.f; // -1: never chosen
    const v4f autoTarget = {a, a, a, a};
    const v4f zero = {0.f, 0.f, 0.f, 0.f};
    const v4f tiny = {1e-25f, 1e-25f, 1e-25f, 1e-25f};
    v4f* env = m_Env.data();
    v4f* sum = m_EnvSum.data();
    const v4f* thr = m_Thresholds.data();
    const int lanes = (int)m_Env.size();
    for (int i = 0; i < n; ++i)
    {
        const v4f l = {level[i], level[i], level[i], level[i]};
        for (int j = 0; j < lanes; ++j)
        {
            const v4f d = l - thr[j];
            const v4f over = (d > zero ? d : zero) + tiny;
            const v4f e = env[j];
            const v4f target = (e < over) & (autoTarget > zero) ? autoTarget : over;
            const v4f c = target > e ? att : rel;
            const v4f next = target + (e - target) * c;
            env[j] = next;
            sum[j] += next;
        }
    }
}

void CSibilanceModel::closeWindow()
{
    // The window's mean envelope per threshold: its energies are shared
    // between the two nearest depth nodes, in proportion to the distance.
    const float scale = (float)(1.0 / (kNodeDb * m_InWindow));
    for (int j = 0; j < kThresholds; ++j)
    {
        float pos = m_EnvSum[j / 4][j % 4] * scale;
        int node = (int)pos;
        float frac = pos - (float)node;
        if (node >= kNodes - 1)
        {
            node = kNodes - 2;
            frac = 1.f;
        }
        double* h = &m_Hist[((size_t)j * kNodes + node) * m_Parts];
        for (int p = 0; p < m_Parts; ++p)
        {
            h[p] += (1.0 - frac) * m_Win[p];
            h[m_Parts + p] += frac * m_Win[p];
        }
    }
    for (v4f& v : m_EnvSum)
        v = v4f{0.f, 0.f, 0.f, 0.f};
    for (double& w : m_Win)
        w = 0;
    m_InWindow = 0;
}

void CSibilanceModel::energiesAt(int j, double ratio, double& sib, double& voice) const
{
    // Gain at node b: exp((1/ratio - 1) * depth * ln10/20).
    const double slope = (1.0 / ratio - 1.0) * kNodeDb * kNeperPerDb;
    const double* h = &m_Hist[(size_t)j * kNodes * m_Parts];
    double a[4] = {0, 0, 0, 0};
    const double step = std::exp(slope);
    double g = 1.0;
    for (int b = 0; b < kNodes; ++b, g *= step)
    {
        const double* hb = h + (size_t)b * m_Parts;
        if (m_SideChain)
        {
            a[0] += g * g * hb[0];
            a[1] += g * g * hb[1];
        }
        else
        {
            for (int p = 0; p < 4; p += 2)
            {
                a[p] += g * hb[p];
                a[p + 1] += g * g * hb[p + 1];
            }
        }
    }
    const double out = m_Settings.OutputGain();
    if (m_SideChain)
    {
        const double k = out * (double)m_Settings.InputGain();
        sib = k * k * a[0];
        voice = k * k * a[1];
    }
    else
    {
        const double k = out * 0.6666666666666666;
        sib = k * k * (m_SibFF + 2.0 * a[0] + a[1]);
        voice = k * k * (m_VoiceFF + 2.0 * a[2] + a[3]);
    }
}

void CSibilanceModel::PredictEnergies(double thresholdDb, double ratio, double& sibilance,
                                      double& voice) const
{
    if (!m_Settings.On())
    {
        // Bypassed: only the input gain acts.
        const double g = (double)m_Settings.InputGain() * m_Settings.InputGain();
        sibilance = g * m_SibIn;
        voice = g * m_VoiceIn;
        return;
    }
    const double pos = std::min(std::max(thresholdDb - kLowestThreshold, 0.0), kThresholds - 1.0);
    const int j = std::min((int)pos, kThresholds - 2);
    const double frac = pos - j;
    double s0, v0, s1, v1;
    energiesAt(j, ratio, s0, v0);
    energiesAt(j + 1, ratio, s1, v1);
    // Between grid points the levels (not the energies) are interpolated.
    auto mix = [frac](double a, double b)
    {
        return a > 0 && b > 0 ? std::exp((1 - frac) * std::log(a) + frac * std::log(b))
                              : (1 - frac) * a + frac * b;
    };
    sibilance = mix(s0, s1);
    voice = mix(v0, v1);
}

BandChange CSibilanceModel::Predict(double thresholdDb, double ratio) const
{
    double s, v;
    PredictEnergies(thresholdDb, ratio, s, v);
    BandChange r;
    r.sibilance = powerDb(s / m_SibIn);
    r.voice = powerDb(v / m_VoiceIn);
    return r;
}

BandChange CSibilanceModel::Fixed() const
{
    return Predict(0.0, 1.0);
}

double CSibilanceModel::KeyPeakDb() const
{
    return m_KeyPeak > 0 ? 20.0 * std::log10(m_KeyPeak) : -INFINITY;
}

double CSibilanceModel::KeyLoudDb() const
{
    long long total = 0;
    for (long long c : m_KeyHist)
        total += c;
    long long above = 0;
    for (int b = kKeyBins - 1; b >= 0; --b)
    {
        above += m_KeyHist[b];
        if (above * 100 >= total && total > 0)
            return kKeyFloorDb + b * 0.5;
    }
    return -INFINITY;
}
