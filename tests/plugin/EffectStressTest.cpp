// The audio thread against the dispatcher thread: processing runs while
// parameters, programs, sample rate and block size change. Built with
// ThreadSanitizer by scripts/test.sh; in the release suite it checks only
// that nothing crashes or goes non-finite.
#include "ADeEsser.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(Stress, ProcessingWhileTheUiThreadChangesEverything)
{
    setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
    ADeEsser fx(nullptr);
    std::atomic<bool> stop{false}, finite{true};
    std::thread audio(
        [&]
        {
            std::vector<float> source(300), l(300), r(300), ol(300), orr(300);
            for (int i = 0; i < 300; ++i)
                source[i] = (float)(std::sin(0.05 * i) * 0.5 + std::sin(0.9 * i) * 0.4);
            float* in[2] = {l.data(), r.data()};
            float* out[2] = {ol.data(), orr.data()};
            for (int blocks = 0; !stop.load() || blocks < 200; ++blocks)
            {
                const int n = 1 + blocks * 37 % 300; // odd lengths
                l = source;                          // the input gain works in place
                r = source;
                fx.processReplacing(in, out, n);
                for (int i = 0; i < n; ++i)
                    if (!std::isfinite(ol[i]) || !std::isfinite(orr[i]))
                        finite = false;
            }
        });
    for (int round = 0; round < 2000; ++round)
    {
        float v = (round % 17) / 16.f;
        for (int p = 1; p < 11; ++p)
            fx.setParameter(p, v);
        fx.setParameterFormUI(round % 11, v);
        fx.setParameterFromDiaplay(kParamThreshold, -20.f - round % 10);
        fx.setParameterFromDiaplay(kParamLowFreq, 3000.f + 10.f * round);
        fx.SetListen(round % 5 == 0);
        if (round % 10 == 0)
            fx.setSampleRate(round % 20 == 0 ? 48000.f : 44100.f);
        if (round % 15 == 0)
            fx.setBlockSize(round % 30 == 0 ? 128 : 512);
        if (round % 7 == 0)
            fx.setProgram(round % 32);
        if (round % 25 == 0)
        {
            fx.suspend();
            fx.resume();
        }
        float a, b, c, d, g;
        fx.GetVU(&a, &b, &c, &d);
        fx.GetReductionVU(&g);
    }
    stop = true;
    audio.join();
    EXPECT_TRUE(finite.load());
}
