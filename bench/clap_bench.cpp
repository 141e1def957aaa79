// Cost per stereo frame of the built plug-ins side by side, each loaded
// through its own entry as a host loads it: DeEsser.so (VSTPluginMain,
// processReplacing on copies of the input, which the effect scales in place),
// DeEsser.clap (clap_entry, process() with the host's buffers; the wrapper
// copies the input itself) and DeEsser.lv2 (through lilv, run() likewise). 44.1 kHz, blocks of 256,
// the vocal-like signal, threshold -30 dB, ratio 4, auto threshold off, side-chain and split-band
// mode. Run with --benchmark_repetitions: "_min" is the least disturbed measure on a shared
// machine.
#include "ClapTestHost.h"
#include "HostHarness.h"
#ifdef DEESSER_LV2_BUNDLE
#include "Lv2TestHost.h"
#endif
#include "ParamTable.h"
#include "BenchBlocks.h"
#include "TestFiles.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
using namespace benchblocks;

void BM_VstEntry(benchmark::State& state)
{
    UseScratchSettings();
    HostHarness host;
    AEffect* e = host.Create();
    host.Start(44100.f, kBlock);
    e->setParameter(e, kParamThreshold, ValToNormalizeValue(kParamThreshold, -30.f));
    e->setParameter(e, kParamRatio, ValToNormalizeValue(kParamRatio, 4.f));
    e->setParameter(e, kParamAutoThreshold, 0.f);
    e->setParameter(e, kParamSideChain, state.range(0) != 0 ? 1.f : 0.f);
    host.Dispatch(effStartProcess);
    RunCopiedBlocks(state,
                    [&](float** in, float** out) { e->processReplacing(e, in, out, kBlock); });
}

void BM_ClapEntry(benchmark::State& state)
{
    UseScratchSettings();
    ClapTestHost host(DEESSER_CLAP_PATH);
    const clap::Plugin* p = host.Create();
    ClapEventList settings;
    settings.Add(0, kParamThreshold, -30.0);
    settings.Add(0, kParamRatio, 4.0);
    settings.Add(0, kParamAutoThreshold, 0.0);
    settings.Add(0, kParamSideChain, state.range(0) != 0 ? 1.0 : 0.0);
    host.Flush(&settings);
    p->activate(p, 44100.0, 1, kBlock);
    p->startProcessing(p);
    std::vector<float> outL(kBlock), outR(kBlock);
    RunBlocks(state,
              [&](const float* left, const float* right)
              {
                  host.Process(left, right, outL.data(), outR.data(), kBlock);
                  benchmark::DoNotOptimize(outL.data());
              });
    p->stopProcessing(p);
    p->deactivate(p);
}

#ifdef DEESSER_LV2_BUNDLE
// DeEsser.lv2 through lilv, its control ports in display units.
void BM_Lv2Run(benchmark::State& state)
{
    UseScratchSettings();
    CLv2TestHost host(DEESSER_LV2_BUNDLE, "urn:korvaine:comp2");
    CLv2TestInstance fx(host, 44100.0);
    if (!fx.Raw())
        return state.SkipWithError("DeEsser.lv2 does not load");
    fx.Set("threshold", -30.f);
    fx.Set("ratio", 4.f);
    fx.Set("auto_threshold", 0.f);
    fx.Set("side_chain", state.range(0) != 0 ? 1.f : 0.f);
    fx.Activate();
    std::vector<float> outL(kBlock), outR(kBlock);
    RunBlocks(state,
              [&](const float* left, const float* right)
              {
                  fx.Run(left, right, outL.data(), outR.data(), kBlock);
                  benchmark::DoNotOptimize(outL.data());
              });
}
#endif

// 1: side-chain mode, 0: split-band mode.
BENCHMARK(BM_VstEntry)->ArgName("sidechain")->Arg(1)->Arg(0)->ComputeStatistics("min", Min);
BENCHMARK(BM_ClapEntry)->ArgName("sidechain")->Arg(1)->Arg(0)->ComputeStatistics("min", Min);
#ifdef DEESSER_LV2_BUNDLE
BENCHMARK(BM_Lv2Run)->ArgName("sidechain")->Arg(1)->Arg(0)->ComputeStatistics("min", Min);
#endif
} // namespace

BENCHMARK_MAIN();
