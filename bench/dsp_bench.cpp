// Per-frame cost of the DSP blocks at 44.1 kHz in blocks of 256 frames:
// the peak compressor (keyed by the band-passed signal, as in side-chain
// mode), the filter processor, and one shelving biquad.
#include "TestSignal.h"
#include "CBiquadFilter.h"
#include "CVRXComp.h"
#include "CVRXLPF.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

// The machine may be shared: with --benchmark_repetitions the fastest run is
// reported too ("_min"), the least disturbed measure of the code itself.
#define MIN_STAT                                                                                   \
    ComputeStatistics("min", [](const std::vector<double>& v)                                      \
                      { return *std::min_element(v.begin(), v.end()); })

namespace
{
constexpr int kBlock = 256;
constexpr int kFrames = kBlock * 690; // about 4 s

void SetPerFrame(benchmark::State& state, int64_t framesPerIteration)
{
    const double frames = (double)framesPerIteration * (double)state.iterations();
    state.counters["ns_per_frame"] =
        benchmark::Counter(frames, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// The signal and its 4-8 kHz key, made once.
struct Material
{
    testsignal::Vocal signal{kFrames};
    std::vector<float> keyL = std::vector<float>(kFrames), keyR = std::vector<float>(kFrames);
    Material()
    {
        WAVEFORMATEX f = FloatFormat(44100);
        CVRXLPF hp(false), lp(true);
        hp.SetMediaType(&f);
        lp.SetMediaType(&f);
        hp.set_CutOff(4000 * 65536);
        lp.set_CutOff(8000 * 65536);
        std::vector<float> midL(kFrames), midR(kFrames);
        float* in[2] = {signal.left.data(), signal.right.data()};
        float* mid[2] = {midL.data(), midR.data()};
        float* key[2] = {keyL.data(), keyR.data()};
        int n = 0;
        hp.Transform(in, kFrames, mid, &n);
        lp.Transform(mid, kFrames, key, &n);
    }
};

const Material& GetMaterial()
{
    static Material m;
    return m;
}

void BM_CompProcess(benchmark::State& state)
{
    const Material& m = GetMaterial();
    CVRXComp comp;
    comp.setThresh((double)state.range(0));
    comp.setRatio(4.0);
    comp.setAttack(0.0);
    comp.setRelease(10.0);
    std::vector<float> outL(kBlock), outR(kBlock);
    int pos = 0;
    for (auto _ : state)
    {
        float* in[2] = {const_cast<float*>(m.signal.left.data()) + pos,
                        const_cast<float*>(m.signal.right.data()) + pos};
        float* key[2] = {const_cast<float*>(m.keyL.data()) + pos,
                         const_cast<float*>(m.keyR.data()) + pos};
        float* out[2] = {outL.data(), outR.data()};
        comp.process(in, out, key, kBlock, true);
        benchmark::DoNotOptimize(outL.data());
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    SetPerFrame(state, kBlock);
}
// Threshold in dB: the design's -30, a key mostly under threshold (-10) and
// one always over it (-100).
BENCHMARK(BM_CompProcess)->Arg(-30)->Arg(-10)->Arg(-100)->MIN_STAT;

void BM_LPFTransform(benchmark::State& state)
{
    const Material& m = GetMaterial();
    WAVEFORMATEX f = FloatFormat(44100);
    CVRXLPF lpf(state.range(0) != 0);
    lpf.SetMediaType(&f);
    lpf.SetSampleSize(kBlock);
    lpf.set_CutOff((state.range(0) != 0 ? 8000 : 4000) * 65536);
    std::vector<float> outL(kBlock), outR(kBlock);
    int pos = 0;
    for (auto _ : state)
    {
        float* in[2] = {const_cast<float*>(m.signal.left.data()) + pos,
                        const_cast<float*>(m.signal.right.data()) + pos};
        float* out[2] = {outL.data(), outR.data()};
        int n = 0;
        lpf.Transform(in, kBlock, out, &n);
        benchmark::DoNotOptimize(outL.data());
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    SetPerFrame(state, kBlock);
}
// 1: low-pass at 8 kHz, 0: high-pass at 4 kHz. Stereo frames.
BENCHMARK(BM_LPFTransform)->Arg(1)->Arg(0)->MIN_STAT;

// High-pass at 4 kHz then low-pass at 8 kHz in one pass: the side-chain key.
void BM_LPFTransformChain(benchmark::State& state)
{
    const Material& m = GetMaterial();
    WAVEFORMATEX f = FloatFormat(44100);
    CVRXLPF hp(false), lp(true);
    for (CVRXLPF* p : {&hp, &lp})
    {
        p->SetMediaType(&f);
        p->SetSampleSize(kBlock);
    }
    hp.set_CutOff(4000 * 65536);
    lp.set_CutOff(8000 * 65536);
    std::vector<float> midL(kBlock), midR(kBlock), outL(kBlock), outR(kBlock);
    int pos = 0;
    for (auto _ : state)
    {
        float* in[2] = {const_cast<float*>(m.signal.left.data()) + pos,
                        const_cast<float*>(m.signal.right.data()) + pos};
        float* mid[2] = {midL.data(), midR.data()};
        float* out[2] = {outL.data(), outR.data()};
        CVRXLPF::TransformChain(hp, lp, in, kBlock, mid, out);
        benchmark::DoNotOptimize(outL.data());
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    SetPerFrame(state, kBlock);
}
BENCHMARK(BM_LPFTransformChain)->MIN_STAT;

void BM_BiquadOperateFilter(benchmark::State& state)
{
    const Material& m = GetMaterial();
    CBiquadFilter f;
    f.CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, CBiquadFilter::kHighShelf);
    std::vector<float> out(kBlock);
    int pos = 0;
    for (auto _ : state)
    {
        f.OperateFilter(m.signal.left.data() + pos, out.data(), kBlock);
        benchmark::DoNotOptimize(out.data());
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    SetPerFrame(state, kBlock); // one channel: a frame here is one sample
}
BENCHMARK(BM_BiquadOperateFilter)->MIN_STAT;

// Four shelves side by side (two banks, both channels), as in split-band mode.
void BM_BiquadOperateFilters4(benchmark::State& state)
{
    const Material& m = GetMaterial();
    CBiquadFilter f[4];
    CBiquadFilter* ptrs[4] = {&f[0], &f[1], &f[2], &f[3]};
    for (int k = 0; k < 4; ++k)
        f[k].CalcCoefficients(44100.f, 4000.f, -12.f, 1.f, k < 2 ? 2 : 0);
    std::vector<float> out[4];
    for (auto& o : out)
        o.resize(kBlock);
    int pos = 0;
    for (auto _ : state)
    {
        const float* in[4] = {m.signal.left.data() + pos, m.signal.right.data() + pos,
                              m.signal.left.data() + pos, m.signal.right.data() + pos};
        float* outs[4] = {out[0].data(), out[1].data(), out[2].data(), out[3].data()};
        CBiquadFilter::OperateFilters(ptrs, in, outs, 4, kBlock);
        benchmark::DoNotOptimize(out[0].data());
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    SetPerFrame(state, kBlock); // per stereo frame, two filters per channel
}
BENCHMARK(BM_BiquadOperateFilters4)->MIN_STAT;
} // namespace

BENCHMARK_MAIN();
