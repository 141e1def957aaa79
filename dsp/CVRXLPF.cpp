// Filter processor: input gain, one Butterworth section per channel, output
// gain (applied twice, as the processor always has), peak meters and an
// over-level flag. Levels and cut-off cross the interface as 16.16 fixed point.
#include "CVRXLPF.h"

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
    m_HasWorkBuffers = false;
    m_HasScratch = false;
    m_LastBlockSize = -1;
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

bool CVRXLPF::get_Activate(bool* active)
{
    if (!active)
        return false;
    CSingleLock lock(m_Lock);
    *active = m_Active;
    return true;
}

bool CVRXLPF::set_InputLevel(int level16_16)
{
    CSingleLock lock(m_Lock);
    m_InputLevelDb = (float)level16_16 * kFromFixed;
    m_InputGain = (float)std::pow(10.0, (double)m_InputLevelDb / 20.0);
    return true;
}

bool CVRXLPF::get_InputLevel(int* level16_16)
{
    if (!level16_16)
        return false;
    CSingleLock lock(m_Lock);
    *level16_16 = ToFixed(m_InputLevelDb);
    return true;
}

bool CVRXLPF::set_OutputLevel(int level16_16)
{
    CSingleLock lock(m_Lock);
    m_OutputLevelDb = (float)level16_16 * kFromFixed;
    m_OutputGain = (float)std::pow(10.0, (double)m_OutputLevelDb / 20.0);
    return true;
}

bool CVRXLPF::get_OutputLevel(int* level16_16)
{
    if (!level16_16)
        return false;
    CSingleLock lock(m_Lock);
    *level16_16 = ToFixed(m_OutputLevelDb);
    return true;
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
    if (!hz16_16)
        return false;
    CSingleLock lock(m_Lock);
    *hz16_16 = ToFixed(m_CutOff);
    return true;
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
    if (!type)
        return false;
    CSingleLock lock(m_Lock);
    *type = m_Type;
    return true;
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
    for (int ch = 0; ch < 2; ++ch)
    {
        delete[] m_WorkIn[ch];
        delete[] m_WorkOut[ch];
        m_WorkIn[ch] = m_WorkOut[ch] = nullptr;
    }
    delete[] m_Scratch;
    m_Scratch = nullptr;
    m_HasWorkBuffers = m_HasScratch = false;
    m_BufferLength = 0;
}

bool CVRXLPF::SetSampleSize(unsigned n)
{
    CSingleLock lock(m_Lock);
    FreeBuffers();
    float** all[5] = {&m_WorkIn[0], &m_WorkIn[1], &m_WorkOut[0], &m_WorkOut[1], &m_Scratch};
    for (float** buffer : all)
    {
        *buffer = new (std::nothrow) float[n]();
        if (!*buffer)
        {
            FreeBuffers();
            return false;
        }
    }
    m_HasWorkBuffers = m_HasScratch = true;
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

    // The work buffers of SetSampleSize are not needed here (see
    // TransformStereo), so a block of any length is processed without
    // allocating.
    m_LastBlockSize = count;
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
typedef float v4 __attribute__((vector_size(16)));
typedef int v4i __attribute__((vector_size(16)));

inline v4 Abs(v4 x)
{
    const v4i mask = {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF};
    return (v4)((v4i)x & mask);
}
} // namespace

// One processor's stereo path with left and right in lanes 0 and 1 of one
// vector, so the two recursions cost the time of one. Each lane does exactly
// the scalar arithmetic of input copy -> OperateEqualizer -> LPFData -> output
// copy:
//   w = in * inputGain; y = b0 w + b1 x1 + b2 x2 + fb1 y1 + fb2 y2;
//   o = outputGain * y (over-level test); out = o * outputGain.
// The caller holds the processor's lock and both filters' locks.
struct CVRXLPF::StereoLanes
{
    CVRXLPF& p;
    v4 ig, og, thr, b0, b1, b2, f1, f2, x1, x2, y1, y2;
    v4 peakIn = {}, peakOut = {};
    v4i over = {};

    explicit StereoLanes(CVRXLPF& owner) : p(owner)
    {
        const CIIRFilter& l = p.m_Filters[0];
        const CIIRFilter& r = p.m_Filters[1];
        ig = v4{p.m_InputGain, p.m_InputGain, 0.f, 0.f};
        og = v4{p.m_OutputGain, p.m_OutputGain, 0.f, 0.f};
        thr = v4{p.m_OverLevelThreshold, p.m_OverLevelThreshold, 0.f, 0.f};
        b0 = v4{l.b0, r.b0, 0.f, 0.f};
        b1 = v4{l.b1, r.b1, 0.f, 0.f};
        b2 = v4{l.b2, r.b2, 0.f, 0.f};
        f1 = v4{l.fb1, r.fb1, 0.f, 0.f};
        f2 = v4{l.fb2, r.fb2, 0.f, 0.f};
        x1 = v4{l.x1, r.x1, 0.f, 0.f};
        x2 = v4{l.x2, r.x2, 0.f, 0.f};
        y1 = v4{l.y1, r.y1, 0.f, 0.f};
        y2 = v4{l.y2, r.y2, 0.f, 0.f};
    }

    v4 Step(v4 in)
    {
        const v4 w = in * ig;
        const v4 aw = Abs(w);
        peakIn = aw > peakIn ? aw : peakIn;
        const v4 y = b0 * w + b1 * x1 + b2 * x2 + f1 * y1 + f2 * y2;
        x2 = x1;
        x1 = w;
        y2 = y1;
        y1 = y;
        const v4 o = og * y;
        over |= Abs(o) > thr;
        const v4 z = o * og;
        const v4 az = Abs(z);
        peakOut = az > peakOut ? az : peakOut;
        return z;
    }

    // State, flag and meters back into the processor.
    void Store()
    {
        CIIRFilter& l = p.m_Filters[0];
        CIIRFilter& r = p.m_Filters[1];
        l.x1 = x1[0];
        l.x2 = x2[0];
        l.y1 = y1[0];
        l.y2 = y2[0];
        r.x1 = x1[1];
        r.x2 = x2[1];
        r.y1 = y1[1];
        r.y2 = y2[1];
        p.m_OverLevel = p.m_OverLevel || over[0] != 0 || over[1] != 0;
        p.m_PeakInL = peakIn[0];
        p.m_PeakInR = peakIn[1];
        p.m_PeakOutL = peakOut[0];
        p.m_PeakOutR = peakOut[1];
    }
};

void CVRXLPF::TransformStereo(const float* inL, const float* inR, float* outL, float* outR,
                              int count)
{
    CSingleLock lockL(m_Filters[0].m_Lock);
    CSingleLock lockR(m_Filters[1].m_Lock);
    StereoLanes lanes(*this);
    for (int i = 0; i < count; ++i)
    {
        const v4 z = lanes.Step(v4{inL[i], inR[i], 0.f, 0.f});
        outL[i] = z[0];
        outR[i] = z[1];
    }
    lanes.Store();
}

// Two processors in the four lanes of one vector: the first in lanes 0 and 1,
// the second in lanes 2 and 3, running kLag samples behind the first so that
// its input, the first one's output, is ready long before it is needed. Each
// lane does exactly the arithmetic of StereoLanes::Step; a lane that has
// nothing to do at the block's start or end keeps its state and meters.
struct CVRXLPF::ChainLanes
{
    static constexpr int kLag = 4;
    v4 ig, og, thr, b0, b1, b2, f1, f2, x1, x2, y1, y2;
    v4 peakIn = {}, peakOut = {};
    v4i over = {};

    ChainLanes(const CVRXLPF& a, const CVRXLPF& b)
    {
        const CIIRFilter* f[4] = {&a.m_Filters[0], &a.m_Filters[1], &b.m_Filters[0],
                                  &b.m_Filters[1]};
        for (int k = 0; k < 4; ++k)
        {
            const CVRXLPF& p = k < 2 ? a : b;
            ig[k] = p.m_InputGain;
            og[k] = p.m_OutputGain;
            thr[k] = p.m_OverLevelThreshold;
            b0[k] = f[k]->b0;
            b1[k] = f[k]->b1;
            b2[k] = f[k]->b2;
            f1[k] = f[k]->fb1;
            f2[k] = f[k]->fb2;
            x1[k] = f[k]->x1;
            x2[k] = f[k]->x2;
            y1[k] = f[k]->y1;
            y2[k] = f[k]->y2;
        }
    }

    v4 Step(v4 in)
    {
        const v4 w = in * ig;
        const v4 aw = Abs(w);
        peakIn = aw > peakIn ? aw : peakIn;
        const v4 y = b0 * w + b1 * x1 + b2 * x2 + f1 * y1 + f2 * y2;
        x2 = x1;
        x1 = w;
        y2 = y1;
        y1 = y;
        const v4 o = og * y;
        over |= Abs(o) > thr;
        const v4 z = o * og;
        const v4 az = Abs(z);
        peakOut = az > peakOut ? az : peakOut;
        return z;
    }

    // Step for the lanes in keep (all bits set) only; the others stay as they are.
    v4 StepLanes(v4 in, v4i keep)
    {
        const v4 x1Old = x1, x2Old = x2, y1Old = y1, y2Old = y2;
        const v4 pInOld = peakIn, pOutOld = peakOut;
        const v4i overOld = over;
        const v4 z = Step(in);
        x1 = keep ? x1 : x1Old;
        x2 = keep ? x2 : x2Old;
        y1 = keep ? y1 : y1Old;
        y2 = keep ? y2 : y2Old;
        peakIn = keep ? peakIn : pInOld;
        peakOut = keep ? peakOut : pOutOld;
        over = keep ? over : overOld;
        return z;
    }

    void Store(CVRXLPF& a, CVRXLPF& b) const
    {
        CIIRFilter* f[4] = {&a.m_Filters[0], &a.m_Filters[1], &b.m_Filters[0], &b.m_Filters[1]};
        for (int k = 0; k < 4; ++k)
        {
            f[k]->x1 = x1[k];
            f[k]->x2 = x2[k];
            f[k]->y1 = y1[k];
            f[k]->y2 = y2[k];
        }
        a.m_OverLevel = a.m_OverLevel || over[0] != 0 || over[1] != 0;
        b.m_OverLevel = b.m_OverLevel || over[2] != 0 || over[3] != 0;
        a.m_PeakInL = peakIn[0];
        a.m_PeakInR = peakIn[1];
        b.m_PeakInL = peakIn[2];
        b.m_PeakInR = peakIn[3];
        a.m_PeakOutL = peakOut[0];
        a.m_PeakOutR = peakOut[1];
        b.m_PeakOutL = peakOut[2];
        b.m_PeakOutR = peakOut[3];
    }
};

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
    first.m_LastBlockSize = second.m_LastBlockSize = count;
    CSingleLock lock1L(first.m_Filters[0].m_Lock);
    CSingleLock lock1R(first.m_Filters[1].m_Lock);
    CSingleLock lock2L(second.m_Filters[0].m_Lock);
    CSingleLock lock2R(second.m_Filters[1].m_Lock);

    constexpr int kLag = ChainLanes::kLag;
    const float* inL = in[0];
    const float* inR = in[1];
    float* midL = mid[0];
    float* midR = mid[1];
    float* outL = out[0];
    float* outR = out[1];
    ChainLanes lanes(first, second);
    const v4i firstOnly = {-1, -1, 0, 0}, secondOnly = {0, 0, -1, -1};
    // Start: the second processor waits for its first input.
    const int head = count < kLag ? count : kLag;
    for (int i = 0; i < head; ++i)
    {
        const v4 z = lanes.StepLanes(v4{inL[i], inR[i], 0.f, 0.f}, firstOnly);
        midL[i] = z[0];
        midR[i] = z[1];
    }
    // Both at work; the second reads back what the first wrote kLag samples ago.
    for (int i = kLag; i < count; ++i)
    {
        const v4 z = lanes.Step(v4{inL[i], inR[i], midL[i - kLag], midR[i - kLag]});
        midL[i] = z[0];
        midR[i] = z[1];
        outL[i - kLag] = z[2];
        outR[i - kLag] = z[3];
    }
    // End: the second catches up.
    for (int i = count > kLag ? count : kLag; i < count + kLag; ++i)
    {
        const v4 z = lanes.StepLanes(v4{0.f, 0.f, midL[i - kLag], midR[i - kLag]}, secondOnly);
        outL[i - kLag] = z[2];
        outR[i - kLag] = z[3];
    }
    lanes.Store(first, second);
    return true;
}

void CVRXLPF::TransformMono(const float* in, float* out, int count)
{
    CIIRFilter& f = m_Filters[0];
    CSingleLock lockF(f.m_Lock);
    const float ig = m_InputGain, og = m_OutputGain, thr = m_OverLevelThreshold;
    const float b0 = f.b0, b1 = f.b1, b2 = f.b2, f1 = f.fb1, f2 = f.fb2;
    float x1 = f.x1, x2 = f.x2, y1 = f.y1, y2 = f.y2;
    float pi = 0.f, po = 0.f;
    bool over = false;
    for (int i = 0; i < count; ++i)
    {
        const float w = in[i] * ig;
        pi = Peak(pi, w);
        const float y = b0 * w + b1 * x1 + b2 * x2 + f1 * y1 + f2 * y2;
        x2 = x1;
        x1 = w;
        y2 = y1;
        y1 = y;
        const float o = og * y;
        over |= std::fabs(o) > thr;
        const float z = o * og;
        out[i] = z;
        po = Peak(po, z);
    }
    f.x1 = x1;
    f.x2 = x2;
    f.y1 = y1;
    f.y2 = y2;
    m_OverLevel = m_OverLevel || over;
    m_PeakInL = pi;
    m_PeakOutL = po;
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
