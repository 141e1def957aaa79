// The audio path: sample-rate and block-size set-up, filter tuning, block
// processing in side-chain and split-band modes, and the meters.
#include "ADeEsser.h"
#include "Vec4.h"

#include <cmath>
#include <cstring>
#include <initializer_list>

// Peak meters: the largest |x| of a block, a NaN sample ignored. Four running
// maxima side by side and one at the end: a maximum does not depend on the
// order, so this equals the sample-by-sample scan, only faster. With scale
// != 1 the samples are first multiplied by it in place.

static inline float maxOf(float a, float p)
{
    return a > p ? a : p;
}

static void scaleAndPeak(float* x, int n, float scale, bool doScale, float& peak)
{
    v4f p4 = {peak, peak, peak, peak};
    const v4f s4 = {scale, scale, scale, scale};
    int i = 0;
    for (; i + 4 <= n; i += 4)
    {
        v4f v;
        std::memcpy(&v, x + i, sizeof v);
        if (doScale)
        {
            v = v * s4;
            std::memcpy(x + i, &v, sizeof v);
        }
        const v4f a = Abs(v);
        p4 = a > p4 ? a : p4;
    }
    float p = maxOf(maxOf(p4[0], p4[1]), maxOf(p4[2], p4[3]));
    for (; i < n; ++i)
    {
        if (doScale)
            x[i] *= scale;
        p = maxOf(std::fabs(x[i]), p);
    }
    peak = p;
}

static void takePeak(const float* x, int n, float& peak)
{
    scaleAndPeak(const_cast<float*>(x), n, 1.f, false, peak);
}

void ADeEsser::setSampleRate(float rate)
{
    if (!std::isfinite(rate) || rate < 1.f || rate > 1e7f)
        return;
    CSingleLock lock(m_Lock);
    AudioEffectX::setSampleRate(rate);
    m_WaveFormat = FloatFormat((uint32_t)rate);
    m_Comp.setSampleRate(rate);
    m_CompRms.setSampleRate(rate);
    m_HighCutLPF.SetMediaType(&m_WaveFormat);
    m_LowCutLPF.SetMediaType(&m_WaveFormat);
    CalcEQCoef();
}

void ADeEsser::allocateBuffers(int size)
{
    m_Work.reset(new float[10 * (size_t)size]);
    float* next = m_Work.get();
    for (int ch = 0; ch < 2; ++ch)
        for (float** buf : {m_MidBuf, m_KeyBuf, m_LowBuf, m_CompBuf, m_HighBuf})
        {
            buf[ch] = next;
            next += size;
        }
    // The key filters get their work buffers here too, so that processing
    // never allocates.
    m_HighCutLPF.SetSampleSize((unsigned)size);
    m_LowCutLPF.SetSampleSize((unsigned)size);
}

void ADeEsser::setBlockSize(VstInt32 size)
{
    if (size <= 0 || size > (1 << 20))
        return;
    CSingleLock lock(m_Lock);
    AudioEffectX::setBlockSize(size);
    m_BlockSize = size;
    allocateBuffers(size);
}

void ADeEsser::CalcEQCoef()
{
    CalcEQCoefFreq1();
    CalcEQCoefFreq2();
}

void ADeEsser::CalcEQCoefFreq1()
{
    calcBandEdge(kParamLowFreq, m_LowFreqHighShelf, m_LowFreqLowShelf, m_LowCutLPF);
}

void ADeEsser::CalcEQCoefFreq2()
{
    calcBandEdge(kParamHiFreq, m_HiFreqHighShelf, m_HiFreqLowShelf, m_HighCutLPF);
}

// The shelves and the key filter at one edge of the band, from its parameter.
void ADeEsser::calcBandEdge(int param, CBiquadFilter (&highShelf)[2], CBiquadFilter (&lowShelf)[2],
                            CVRXLPF& key)
{
    CSingleLock lock(m_Lock);
    float sr = (float)m_WaveFormat.nSamplesPerSec;
    float f = NormalizeValToInternalVal(param, m_NormValue[param]);
    for (int ch = 0; ch < 2; ++ch)
    {
        highShelf[ch].CalcCoefficients(sr, f, -12.f, 1.f, CBiquadFilter::kHighShelf);
        lowShelf[ch].CalcCoefficients(sr, f, -12.f, 1.f, CBiquadFilter::kLowShelf);
    }
    key.set_CutOff((int)NormalizeValToDWValue(param, m_NormValue[param]));
}

void ADeEsser::processReplacing(float** inputs, float** outputs, VstInt32 sampleFrames)
{
    if (!inputs || !outputs || !inputs[0] || !inputs[1] || !outputs[0] || !outputs[1])
        return;
    CSingleLock lock(m_Lock);
    m_InputPeak[0] = m_InputPeak[1] = 0.f;
    m_OutputPeak[0] = m_OutputPeak[1] = 0.f;

    // Both 16-bit counters advance by one, each wrapping on its own.
    uint32_t c = m_BlockCounters.load(std::memory_order_relaxed);
    c = (((c >> 16) + 1) & 0xFFFFu) << 16 | ((c + 1) & 0xFFFFu);
    m_BlockCounters.store(c, std::memory_order_relaxed);

    // A host that sends more frames than it announced is served in pieces of
    // the announced size; the work buffers are never overrun.
    for (int done = 0; done < sampleFrames;)
    {
        int n = sampleFrames - done < m_BlockSize ? sampleFrames - done : m_BlockSize;
        float* in[2] = {inputs[0] + done, inputs[1] + done};
        float* out[2] = {outputs[0] + done, outputs[1] + done};
        processBlock(in, out, n);
        done += n;
    }
    resetBadStates();
}

void ADeEsser::processBlock(float** in, float** out, int n)
{
    // Input gain, in place on the host's buffers: the raw normalised value,
    // applied within 0..1 so that a damaged chunk or bank file holding a
    // value like 1e30 can never amplify (the stored value stays as it is).
    const float stored = m_NormValue[kParamInput];
    const float inputGain = stored > 0.f ? (stored < 1.f ? stored : 1.f) : 0.f;
    for (int ch = 0; ch < 2; ++ch)
        scaleAndPeak(in[ch], n, inputGain, true, m_InputPeak[ch]);

    if (m_NormValue[kParamOnOff] == 0.f)
    {
        for (int ch = 0; ch < 2; ++ch)
            if (out[ch] != in[ch])
                std::memcpy(out[ch], in[ch], sizeof(float) * (size_t)n);
        m_OutputPeak[0] = m_InputPeak[0];
        m_OutputPeak[1] = m_InputPeak[1];
        return;
    }

    CVRXComp& comp = m_UseRms != 0.f ? m_CompRms : m_Comp;

    if (m_InternalValue[kParamSideChain] == 1.0f)
    {
        // Key: high-pass at LowFreq, then low-pass at HiFreq (one pass over
        // both, the same as the two transforms one after the other).
        CVRXLPF::TransformChain(m_LowCutLPF, m_HighCutLPF, in, n, m_MidBuf, m_KeyBuf);
        if (!m_Listen)
        {
            comp.process(in, out, m_KeyBuf, n, true);
            const float g = m_OutputGain;
            for (int ch = 0; ch < 2; ++ch)
                scaleAndPeak(out[ch], n, g, true, m_OutputPeak[ch]);
        }
        else
        {
            for (int ch = 0; ch < 2; ++ch)
            {
                std::memcpy(out[ch], m_KeyBuf[ch], sizeof(float) * (size_t)n);
                takePeak(out[ch], n, m_OutputPeak[ch]);
            }
        }
        return;
    }

    // Split band: low band, middle band (compressed), high band, summed. The
    // shelves run side by side, up to four at a time; each keeps its own
    // state, so the results are those of running them one after the other.
    if (!m_Listen)
    {
        CBiquadFilter* first[4] = {&m_LowFreqHighShelf[0], &m_LowFreqHighShelf[1],
                                   &m_LowFreqLowShelf[0], &m_LowFreqLowShelf[1]};
        const float* firstIn[4] = {in[0], in[1], in[0], in[1]};
        float* firstOut[4] = {m_LowBuf[0], m_LowBuf[1], m_MidBuf[0], m_MidBuf[1]};
        CBiquadFilter::OperateFilters(first, firstIn, firstOut, 4, n);
        CBiquadFilter* second[4] = {&m_HiFreqHighShelf[0], &m_HiFreqHighShelf[1],
                                    &m_HiFreqLowShelf[0], &m_HiFreqLowShelf[1]};
        const float* secondIn[4] = {m_MidBuf[0], m_MidBuf[1], in[0], in[1]};
        float* secondOut[4] = {m_KeyBuf[0], m_KeyBuf[1], m_HighBuf[0], m_HighBuf[1]};
        CBiquadFilter::OperateFilters(second, secondIn, secondOut, 4, n);

        comp.process(m_KeyBuf, m_CompBuf, m_KeyBuf, n, false);
        const double g = (double)m_OutputGain * 0.6666666666666666;
        for (int ch = 0; ch < 2; ++ch)
        {
            const float* lo = m_LowBuf[ch];
            const float* mid = m_CompBuf[ch];
            const float* hi = m_HighBuf[ch];
            float* y = out[ch];
            for (int i = 0; i < n; ++i)
                y[i] = (float)(((double)lo[i] + (double)mid[i] + (double)hi[i]) * g);
            takePeak(y, n, m_OutputPeak[ch]);
        }
    }
    else
    {
        CBiquadFilter* low[2] = {&m_LowFreqLowShelf[0], &m_LowFreqLowShelf[1]};
        const float* lowIn[2] = {in[0], in[1]};
        CBiquadFilter::OperateFilters(low, lowIn, m_MidBuf, 2, n);
        CBiquadFilter* high[2] = {&m_HiFreqHighShelf[0], &m_HiFreqHighShelf[1]};
        const float* highIn[2] = {m_MidBuf[0], m_MidBuf[1]};
        CBiquadFilter::OperateFilters(high, highIn, m_KeyBuf, 2, n);
        for (int ch = 0; ch < 2; ++ch)
        {
            std::memcpy(out[ch], m_KeyBuf[ch], sizeof(float) * (size_t)n);
            takePeak(out[ch], n, m_OutputPeak[ch]);
        }
    }
}

// Non-finite audio from a host must not poison the filters or the envelopes
// for good: a state that has become non-finite starts again from zero.
void ADeEsser::resetBadStates()
{
    for (CBiquadFilter* bank :
         {m_LowFreqHighShelf, m_LowFreqLowShelf, m_HiFreqHighShelf, m_HiFreqLowShelf})
        for (int ch = 0; ch < 2; ++ch)
            if (bank[ch].IsStateBad())
                bank[ch].Reset();
    m_LowCutLPF.ResetIfBad();
    m_HighCutLPF.ResetIfBad();
    m_Comp.ResetIfBad();
    m_CompRms.ResetIfBad();
}

void ADeEsser::processDoubleReplacing(double** inputs, double** outputs, VstInt32 sampleFrames)
{
    if (!inputs || !outputs || sampleFrames <= 0 || !inputs[0] || !inputs[1] || !outputs[0] ||
        !outputs[1])
        return;
    // Converted through float buffers made for this call.
    size_t n = (size_t)sampleFrames;
    float* in[2] = {new float[n], new float[n]};
    float* out[2] = {new float[n], new float[n]};
    for (int ch = 0; ch < 2; ++ch)
        for (size_t i = 0; i < n; ++i)
            in[ch][i] = (float)inputs[ch][i];
    processReplacing(in, out, sampleFrames);
    for (int ch = 0; ch < 2; ++ch)
        for (size_t i = 0; i < n; ++i)
            outputs[ch][i] = out[ch][i];
    for (int ch = 0; ch < 2; ++ch)
    {
        delete[] in[ch];
        delete[] out[ch];
    }
}

void ADeEsser::GetVU(float* inL, float* inR, float* outL, float* outR)
{
    CSingleLock lock(m_Lock);
    *inL = m_InputPeak[0];
    *inR = m_InputPeak[1];
    *outL = m_OutputPeak[0];
    *outR = m_OutputPeak[1];
}

void ADeEsser::GetReductionVU(float* value)
{
    CSingleLock lock(m_Lock);
    if (m_Listen)
    {
        *value = 1.f;
        return;
    }
    CVRXComp& comp = m_UseRms != 0.f ? m_CompRms : m_Comp;
    float g = 1.f;
    comp.get_GainReductionLevel(&g);
    // Split-band reduction is shown three times stronger.
    if (m_InternalValue[kParamSideChain] == 0.f && g < 0.95f)
        g /= 3.f;
    *value = g;
}

void ADeEsser::SetListen(bool listen)
{
    CSingleLock lock(m_Lock);
    m_Listen = listen;
}
