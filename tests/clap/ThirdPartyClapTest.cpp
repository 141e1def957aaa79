// Our CLAP records and test host against a plug-in built elsewhere: Debian's
// zam-plugins CLAP build of a stereo multiband compressor, in a child process
// (a fault in foreign code must not take the test program down). With its
// compressors off it passes a tone at its level; a host event setting "Master
// Trim" to -6 dB at the first sample turns it down by 6 dB.
#include "ClapTestHost.h"

#include <cmath>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace
{
const char kThirdParty[] = "/usr/lib/clap/ZaMultiCompX2.clap";

// Exits 0 when both channels of 1 s of a 1 kHz tone change by trimDb.
[[noreturn]] void RenderInChild(double trimDb)
{
    ClapTestHost host(kThirdParty);
    const clap::Plugin* p = host.Create();
    if (!p || !p->activate(p, 44100.0, 1, 256) || !p->startProcessing(p))
        _exit(2);
    std::vector<float> in(44100);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = 0.1f * (float)std::sin(2 * M_PI * 1000.0 * (double)i / 44100.0);
    std::vector<float> out[2] = {in, in};
    ClapEventList trim;
    trim.Add(0, 27, trimDb); // "Master Trim"
    for (size_t pos = 0; pos < in.size(); pos += 256)
        host.Process(&in[pos], &in[pos], &out[0][pos], &out[1][pos],
                     (uint32_t)std::min<size_t>(256, in.size() - pos), pos ? nullptr : &trim);
    double power[3] = {};
    for (size_t i = in.size() / 2; i < in.size(); ++i)
        for (int c = 0; c < 3; ++c)
            power[c] += std::pow(c < 2 ? out[c][i] : in[i], 2);
    bool ok = true;
    for (int c = 0; c < 2; ++c)
        ok = ok && std::fabs(10 * std::log10(power[c] / power[2]) - trimDb) < 0.1;
    _exit(ok ? 0 : 1);
}
} // namespace

TEST(ThirdPartyClap, RendersAtUnityAndFollowsAHostEvent)
{
    if (access(kThirdParty, R_OK) != 0)
        GTEST_SKIP() << "zam-plugins is not installed";
    EXPECT_EXIT(RenderInChild(0.0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(RenderInChild(-6.0), testing::ExitedWithCode(0), "");
}
