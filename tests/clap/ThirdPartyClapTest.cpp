// The test host against a plug-in it did not come with: Debian's zam-plugins
// CLAP build of a stereo multiband compressor, loaded in a child process (a
// fault in foreign code must not take the test program down). With every
// band's compressor off it passes a tone at its level; a host event setting
// "Master Trim" to -6 dB at the first sample turns it down by 6 dB. Both need
// the host's loading, port, event and process records to be right.
#include "ClapTestHost.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace
{
const char kThirdParty[] = "/usr/lib/clap/ZaMultiCompX2.clap";
constexpr clap::Id kMasterTrim = 27;

double RmsDb(const std::vector<float>& x, size_t from)
{
    double sum = 0;
    for (size_t i = from; i < x.size(); ++i)
        sum += (double)x[i] * x[i];
    return 10 * std::log10(sum / (double)(x.size() - from) + 1e-30);
}

// Renders 1 s of a 1 kHz tone, optionally trimmed by an event; prints the
// level change of both channels and exits 0 when it is as expected.
[[noreturn]] void RenderInChild(double trimDb)
{
    ClapTestHost host(kThirdParty);
    if (!host.Create() || !host.Plugin()->activate(host.Plugin(), 44100.0, 1, 256) ||
        !host.Plugin()->startProcessing(host.Plugin()))
        _exit(2);
    const size_t n = 44100;
    std::vector<float> in(n), outL(n), outR(n);
    for (size_t i = 0; i < n; ++i)
        in[i] = 0.1f * (float)std::sin(2 * M_PI * 1000.0 * (double)i / 44100.0);
    ClapEventList events;
    events.Add(0, kMasterTrim, trimDb);
    for (size_t pos = 0; pos < n; pos += 256)
        if (host.Process(&in[pos], &in[pos], &outL[pos], &outR[pos], 256,
                         pos == 0 ? &events : nullptr) == clap::kProcessError)
            _exit(3);
    host.Plugin()->stopProcessing(host.Plugin());
    host.Plugin()->deactivate(host.Plugin());
    const double changeL = RmsDb(outL, n / 2) - RmsDb(in, n / 2);
    const double changeR = RmsDb(outR, n / 2) - RmsDb(in, n / 2);
    fprintf(stderr, "level change %.2f dB, %.2f dB\n", changeL, changeR);
    const bool ok = std::fabs(changeL - trimDb) < 0.1 && std::fabs(changeR - trimDb) < 0.1;
    _exit(ok ? 0 : 1);
}
} // namespace

TEST(ThirdPartyClap, RendersAtUnityAndFollowsAHostEvent)
{
    if (access(kThirdParty, R_OK) != 0)
        GTEST_SKIP() << "zam-plugins is not installed";
    EXPECT_EXIT(RenderInChild(0.0), testing::ExitedWithCode(0), "level change");
    EXPECT_EXIT(RenderInChild(-6.0), testing::ExitedWithCode(0), "level change");
}
