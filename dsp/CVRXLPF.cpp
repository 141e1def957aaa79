// Filter processor: input gain, one Butterworth section per channel, output
// gain (applied twice, as the processor always has), peak meters and an
// over-level flag. Levels and cut-off cross the interface as 16.16 fixed point.
#include "CVRXLPF.h"
#include "DirectForm1.h"
#include "Vec4.h"

#include <cmath>
#include <cstring>
#include <new>

namespace
{
// 1/65536 as the setters have always written it (exactly 2^-16 as a float).
constexpr float kFromFixed = 1.5258789e-5f;

// Stored float times 65536, truncated; saturated instead of overflowing, 0 for NaN.
int ToFixed(float value)
{
    const double v = (double)value * 65536.0;
    if (v != v)
        return 0;
    if (v >= 2147483647.0)
        return 2147483647;
    if (v <= -2147483648.0)
        return (int)-2147483647 - 1;
    return (int)v;
}

inline float Peak(float peak, float x)
{
    const float a = std::fabs(x);
    return a > peak ? a : peak;
}
} // namespace

CVRXLPF::CVRXLPF(bool type) : m_Type(type)
{
    SetDefaultProp();
    m_HasScratch = false;
    m_PeakInL = m_PeakInR = m_PeakOutL = m_PeakOutR = 0.f;
}

CVRXLPF::~CVRXLPF()
{
    FreeBuffers();
    delete[] m_Filters;
}

void CVRXLPF::SetDefaultProp()
{
    CSingleLock lock(m_Lock);
    m_Active = true;
    set_InputLevel(0);
    set_OutputLevel(0);
    m_OverLevelThreshold = 2147483648.0f;
    set_CutOff(m_Type ? 0x4E200000 : 0x140000); // 20000 Hz or 20 Hz
}

bool CVRXLPF::set_Activate(bool active)
{
    CSingleLock lock(m_Lock);
    m_Active = active;
    return true;
}

template <class T> bool CVRXLPF::getLocked(T* out, const T& value)
{
    if (!out)
        return false;
    CSingleLock lock(m_Lock);
    *out = value;
    return true;
}

bool CVRXLPF::getFixed(int* out, const float& value)
{
    if (!out)
        return false;
    CSingleLock lock(m_Lock);
    *out = ToFixed(value);
    return true;
}

bool CVRXLPF::setLevel(int level16_16, float& db, float& gain)
{
    CSingleLock lock(m_Lock);
    db = (float)level16_16 * kFromFixed;
    gain = (float)std::pow(10.0, (double)db / 20.0);
    return true;
}

bool CVRXLPF::get_Activate(bool* active)
{
    return getLocked(active, m_Active);
}

bool CVRXLPF::set_InputLevel(int level16_16)
{
    return setLevel(level16_16, m_InputLevelDb, m_InputGain);
}

bool CVRXLPF::get_InputLevel(int* level16_16)
{
    return getFixed(level16_16, m_InputLevelDb);
}

bool CVRXLPF::set_OutputLevel(int level16_16)
{
    return setLevel(level16_16, m_OutputLevelDb, m_OutputGain);
}

bool CVRXLPF::get_OutputLevel(int* level16_16)
{
    return getFixed(level16_16, m_OutputLevelDb);
}

// Filters re-tuned to the stored cut-off and type; their state is kept.
void CVRXLPF::ReparamFilters()
{
    if (!m_HasFilters || m_Format.nSamplesPerSec == 0)
        return;
    const float period = 1.f / (float)m_Format.nSamplesPerSec;
    for (unsigned ch = 0; ch < m_Format.nChannels; ++ch)
        m_Filters[ch].SetParams(period, m_CutOff, m_Type);
}

bool CVRXLPF::set_CutOff(int hz16_16)
{
    CSingleLock lock(m_Lock);
    m_CutOff = (float)hz16_16 * kFromFixed;
    ReparamFilters();
    return true;
}

bool CVRXLPF::get_CutOff(int* hz16_16)
{
    return getFixed(hz16_16, m_CutOff);
}

bool CVRXLPF::set_Type(bool type)
{
    m_Type = type; // stored before the lock, as it always was
    CSingleLock lock(m_Lock);
    ReparamFilters();
    return true;
}

bool CVRXLPF::get_Type(bool* type)
{
    return getLocked(type, m_Type);
}

bool CVRXLPF::set_OverLevelThreshold(int linear)
{
    CSingleLock lock(m_Lock);
    m_OverLevelThreshold = (float)linear;
    return true;
}

bool CVRXLPF::get_OverLevelThreshold(int* linear)
{
    if (!linear)
        return false;
    CSingleLock lock(m_Lock);
    // Linear, not 16.16; the default 2^31 saturates to the largest int.
    const float v = m_OverLevelThreshold;
    if (v != v)
        *linear = 0;
    else if (v >= 2147483647.f)
        *linear = 2147483647;
    else if (v <= -2147483648.f)
        *linear = (int)-2147483647 - 1;
    else
        *linear = (int)v;
    return true;
}

bool CVRXLPF::get_OverLevel(bool* over)
{
    if (!over)
        return false;
    CSingleLock lock(m_Lock);
    *over = m_OverLevel;
    m_OverLevel = false;
    return true;
}

bool CVRXLPF::SetMediaType(const WAVEFORMATEX* format)
{
    // A format without channels or without a rate would give no filters or
    // non-finite coefficients: refused, the old format stays.
    if (!format || format->nChannels == 0 || format->nSamplesPerSec == 0)
        return false;
    CSingleLock lock(m_Lock);
    m_Format = *format;
    InitInternalFilters();
    return true;
}

void CVRXLPF::InitInternalFilters()
{
    delete[] m_Filters;
    m_Filters = new CIIRFilter[m_Format.nChannels];
    m_HasFilters = true;
    ReparamFilters();
}

void CVRXLPF::FreeBuffers()
{
    delete[] m_Scratch;
    m_Scratch = nullptr;
    m_HasScratch = false;
    m_BufferLength = 0;
}

bool CVRXLPF::SetSampleSize(unsigned n)
{
    CSingleLock lock(m_Lock);
    FreeBuffers();
    m_Scratch = new (std::nothrow) float[n]();
    if (!m_Scratch)
        return false;
    m_HasScratch = true;
    m_BufferLength = n;
    return true;
}

bool CVRXLPF::PrepareWorkingBuffer(int n)
{
    return SetSampleSize(n > 0 ? (unsigned)n : 0u);
}

bool CVRXLPF::GetVU(float* inL, float* inR, float* outL, float* outR)
{
    CSingleLock lock(m_Lock);
    if (inL)
        *inL = m_PeakInL;
    if (inR)
        *inR = m_PeakInR;
    if (outL)
        *outL = m_PeakOutL;
    if (outR)
        *outR = m_PeakOutR;
    return true;
}

bool CVRXLPF::Transform(float** in, int count, float** out, int* outCount)
{
    if (outCount)
        *outCount = count;
    if (count <= 0)
        return true;
    if (!in || !out)
        return false;
    CSingleLock lock(m_Lock);
    m_PeakInL = m_PeakInR = m_PeakOutL = m_PeakOutR = 0.f;

    const bool mono = m_HasFilters && m_Format.nChannels == 1;
    if (!m_Active)
    {
        // Metering only; the output buffers are left as they are.
        float pl = 0.f, pr = 0.f;
        for (int i = 0; i < count; ++i)
            pl = Peak(pl, in[0][i]);
        if (mono)
            pr = pl;
        else
            for (int i = 0; i < count; ++i)
                pr = Peak(pr, in[1][i]);
        m_PeakInL = m_PeakOutL = pl;
        m_PeakInR = m_PeakOutR = pr;
        return true;
    }

    // No buffer is needed here (see TransformStereo), so a block of any
    // length is processed without allocating.
    if (!m_HasFilters)
        return true;
    if (m_Format.nChannels == 2)
    {
        TransformStereo(in[0], in[1], out[0], out[1], count);
    }
    else if (m_Format.nChannels == 1)
    {
        TransformMono(in[0], out[0], count);
        m_PeakInR = m_PeakInL;
        m_PeakOutR = m_PeakOutL;
    }
    // Any other channel count: nothing is processed.
    return true;
}

namespace
{
inline float Abs(float x)
{
    return std::fabs(x);
}

// A value per lane, f(k) for lane k < N; the lanes after them are zero.
template <class T, int N, class F> inline T Gather(F f)
{
    if constexpr (sizeof(T) == sizeof(float))
        return f(0);
    else
        return T{f(0), N > 1 ? f(1) : 0.f, N > 2 ? f(2) : 0.f, N > 3 ? f(3) : 0.f};
}

inline float Lane(float v, int)
{
    return v;
}
inline float Lane(v4f v, int k)
{
    return v[k];
}
inline bool AnyLane(bool over, int, int)
{
    return over;
}
inline bool AnyLane(v4i over, int a, int b)
{
    return over[a] != 0 || over[b] != 0;
}
} // namespace

// The processor's recursion, per lane exactly the scalar arithmetic of input
// copy -> OperateEqualizer -> LPFData -> output copy:
//   w = in * inputGain; y = b0 w + b1 x1 + b2 x2 + fb1 y1 + fb2 y2;
//   o = outputGain * y (over-level test); out = o * outputGain.
// T is float for one channel (Mask bool), or v4f for up to four channels of
// one or two processors side by side (Mask v4i), so that the recursions cost
// the time of one. Unused lanes stay zero. The caller holds the processors'
// and the filters' locks.
template <class T, class Mask> struct CVRXLPF::Lanes
{
    T ig, og, thr;
    DirectForm1<T> f;
    T peakIn{}, peakOut{};
    Mask over{};

    // Lane k from channel channel[k] of processor proc[k], for k < N.
    template <int N> void Load(const CVRXLPF* const (&proc)[N], const int (&channel)[N])
    {
        auto fromProcessor = [&](float CVRXLPF::*m)
        { return Gather<T, N>([&](int k) { return proc[k]->*m; }); };
        auto fromFilter = [&](float CIIRFilter::*m)
        { return Gather<T, N>([&](int k) { return proc[k]->m_Filters[channel[k]].*m; }); };
        ig = fromProcessor(&CVRXLPF::m_InputGain);
        og = fromProcessor(&CVRXLPF::m_OutputGain);
        thr = fromProcessor(&CVRXLPF::m_OverLevelThreshold);
        f.b0 = fromFilter(&CIIRFilter::b0);
        f.b1 = fromFilter(&CIIRFilter::b1);
        f.b2 = fromFilter(&CIIRFilter::b2);
        f.f1 = fromFilter(&CIIRFilter::fb1);
        f.f2 = fromFilter(&CIIRFilter::fb2);
        f.x1 = fromFilter(&CIIRFilter::x1);
        f.x2 = fromFilter(&CIIRFilter::x2);
        f.y1 = fromFilter(&CIIRFilter::y1);
        f.y2 = fromFilter(&CIIRFilter::y2);
    }

    T Step(T in)
    {
        const T w = in * ig;
        const T aw = Abs(w);
        peakIn = aw > peakIn ? aw : peakIn;
        const T y = f.Step(w);
        const T o = og * y;
        over |= Abs(o) > thr;
        const T z = o * og;
        const T az = Abs(z);
        peakOut = az > peakOut ? az : peakOut;
        return z;
    }

    // Step for the lanes in keep (all bits set) only; the others stay as they are.
    T StepLanes(T in, Mask keep)
    {
        const DirectForm1<T> old = f;
        const T pInOld = peakIn, pOutOld = peakOut;
        const Mask overOld = over;
        const T z = Step(in);
        f.x1 = keep ? f.x1 : old.x1;
        f.x2 = keep ? f.x2 : old.x2;
        f.y1 = keep ? f.y1 : old.y1;
        f.y2 = keep ? f.y2 : old.y2;
        peakIn = keep ? peakIn : pInOld;
        peakOut = keep ? peakOut : pOutOld;
        over = keep ? over : overOld;
        return z;
    }

    // State, flag and meters of processor p back from lanes left and right
    // (the same lane for one channel, whose right meters the caller sets).
    void Store(CVRXLPF& p, int left, int right) const
    {
        const int lanes[2] = {left, right};
        for (int ch = 0; ch < (left == right ? 1 : 2); ++ch)
        {
            CIIRFilter& filter = p.m_Filters[ch];
            filter.x1 = Lane(f.x1, lanes[ch]);
            filter.x2 = Lane(f.x2, lanes[ch]);
            filter.y1 = Lane(f.y1, lanes[ch]);
            filter.y2 = Lane(f.y2, lanes[ch]);
        }
        p.m_OverLevel = p.m_OverLevel || AnyLane(over, left, right);
        p.m_PeakInL = Lane(peakIn, left);
        p.m_PeakOutL = Lane(peakOut, left);
        if (left != right)
        {
            p.m_PeakInR = Lane(peakIn, right);
            p.m_PeakOutR = Lane(peakOut, right);
        }
    }
};

void CVRXLPF::TransformStereo(const float* inL, const float* inR, float* outL, float* outR,
                              int count)
{
    CSingleLock lockL(m_Filters[0].m_Lock);
    CSingleLock lockR(m_Filters[1].m_Lock);
    Lanes<v4f, v4i> lanes;
    lanes.Load({this, this}, {0, 1});
    for (int i = 0; i < count; ++i)
    {
        const v4f z = lanes.Step(v4f{inL[i], inR[i], 0.f, 0.f});
        outL[i] = z[0];
        outR[i] = z[1];
    }
    lanes.Store(*this, 0, 1);
}

void CVRXLPF::TransformMono(const float* in, float* out, int count)
{
    CSingleLock lockF(m_Filters[0].m_Lock);
    Lanes<float, bool> lane;
    lane.Load({this}, {0});
    for (int i = 0; i < count; ++i)
        out[i] = lane.Step(in[i]);
    lane.Store(*this, 0, 0);
}

bool CVRXLPF::TransformChain(CVRXLPF& first, CVRXLPF& second, float** in, int count, float** mid,
                             float** out)
{
    int outCount = 0;
    if (count <= 0 || !in || !mid || !out || &first == &second)
    {
        first.Transform(in, count, mid, &outCount);
        return second.Transform(mid, count, out, &outCount);
    }
    CSingleLock lockFirst(first.m_Lock);
    CSingleLock lockSecond(second.m_Lock);
    const bool together = first.m_Active && second.m_Active && first.m_HasFilters &&
                          second.m_HasFilters && first.m_Format.nChannels == 2 &&
                          second.m_Format.nChannels == 2;
    if (!together)
    {
        first.Transform(in, count, mid, &outCount);
        return second.Transform(mid, count, out, &outCount);
    }
    CSingleLock lock1L(first.m_Filters[0].m_Lock);
    CSingleLock lock1R(first.m_Filters[1].m_Lock);
    CSingleLock lock2L(second.m_Filters[0].m_Lock);
    CSingleLock lock2R(second.m_Filters[1].m_Lock);

    // The second processor runs kLag samples behind the first, in lanes 2
    // and 3, so that its input, the first one's output, is ready long before
    // it is needed. A lane with nothing to do at the block's start or end
    // keeps its state and meters.
    constexpr int kLag = 4;
    const float* inL = in[0];
    const float* inR = in[1];
    float* midL = mid[0];
    float* midR = mid[1];
    float* outL = out[0];
    float* outR = out[1];
    Lanes<v4f, v4i> lanes;
    lanes.Load({&first, &first, &second, &second}, {0, 1, 0, 1});
    const v4i firstOnly = {-1, -1, 0, 0}, secondOnly = {0, 0, -1, -1};
    // Start: the second processor waits for its first input.
    const int head = count < kLag ? count : kLag;
    for (int i = 0; i < head; ++i)
    {
        const v4f z = lanes.StepLanes(v4f{inL[i], inR[i], 0.f, 0.f}, firstOnly);
        midL[i] = z[0];
        midR[i] = z[1];
    }
    // Both at work; the second reads back what the first wrote kLag samples ago.
    for (int i = kLag; i < count; ++i)
    {
        const v4f z = lanes.Step(v4f{inL[i], inR[i], midL[i - kLag], midR[i - kLag]});
        midL[i] = z[0];
        midR[i] = z[1];
        outL[i - kLag] = z[2];
        outR[i - kLag] = z[3];
    }
    // End: the second catches up.
    for (int i = count > kLag ? count : kLag; i < count + kLag; ++i)
    {
        const v4f z = lanes.StepLanes(v4f{0.f, 0.f, midL[i - kLag], midR[i - kLag]}, secondOnly);
        outL[i - kLag] = z[2];
        outR[i - kLag] = z[3];
    }
    lanes.Store(first, 0, 1);
    lanes.Store(second, 2, 3);
    return true;
}

void CVRXLPF::LPFData(int channel, const float* in, float* out, int count)
{
    CSingleLock lock(m_Lock);
    if (!m_HasFilters || channel < 0 || channel >= (int)m_Format.nChannels || count <= 0)
        return;
    const float og = m_OutputGain, thr = m_OverLevelThreshold;
    // Through the scratch buffer, in pieces of its length; without one the
    // filter writes straight into out and the gain is applied in place.
    const int piece = m_HasScratch && m_BufferLength > 0 ? (int)m_BufferLength : count;
    for (int done = 0; done < count; done += piece)
    {
        const int n = count - done < piece ? count - done : piece;
        float* filtered = m_HasScratch && m_BufferLength > 0 ? m_Scratch : out + done;
        m_Filters[channel].OperateEqualizer(in + done, filtered, n);
        for (int i = 0; i < n; ++i)
        {
            const float o = og * filtered[i];
            out[done + i] = o;
            if (std::fabs(o) > thr)
                m_OverLevel = true;
        }
    }
}

void CVRXLPF::ResetIfBad()
{
    CSingleLock lock(m_Lock);
    if (!m_HasFilters)
        return;
    for (unsigned ch = 0; ch < m_Format.nChannels; ++ch)
        if (m_Filters[ch].IsStateBad())
            m_Filters[ch].Reset();
}
