// What the whole-effect benchmarks share: 44.1 kHz, blocks of 256 of about
// 4 s of the kit's vocal-like signal, a loop that walks the signal block by
// block, the cost per frame as the reported counter, and the "min" statistic
// (the least disturbed repetition on a shared machine).
#pragma once

#include "TestSignal.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace benchblocks
{
constexpr int kBlock = 256;
constexpr int kFrames = kBlock * 690; // about 4 s

inline const testsignal::Vocal& Signal()
{
    static const testsignal::Vocal s(kFrames);
    return s;
}

// Calls process(left, right) once per iteration with the next block of the
// signal (from the start again after the last), then reports ns per frame.
template <class Process> void RunBlocks(benchmark::State& state, Process process)
{
    const testsignal::Vocal& s = Signal();
    int pos = 0;
    for (auto _ : state)
    {
        process(s.left.data() + pos, s.right.data() + pos);
        pos = pos + kBlock < kFrames ? pos + kBlock : 0;
    }
    state.counters["ns_per_frame"] =
        benchmark::Counter((double)kBlock * (double)state.iterations(),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Runs replacing(in, out) on copies of each block, as a host does for an effect
// that scales its inputs in place (the copy costs well under 0.1 ns a frame).
template <class Replacing> void RunCopiedBlocks(benchmark::State& state, Replacing replacing)
{
    std::vector<float> inL(kBlock), inR(kBlock), outL(kBlock), outR(kBlock);
    RunBlocks(state,
              [&](const float* left, const float* right)
              {
                  std::memcpy(inL.data(), left, sizeof(float) * kBlock);
                  std::memcpy(inR.data(), right, sizeof(float) * kBlock);
                  float* in[2] = {inL.data(), inR.data()};
                  float* out[2] = {outL.data(), outR.data()};
                  replacing(in, out);
                  benchmark::DoNotOptimize(outL.data());
                  benchmark::DoNotOptimize(outR.data());
              });
}

inline double Min(const std::vector<double>& v)
{
    return *std::min_element(v.begin(), v.end());
}
} // namespace benchblocks
