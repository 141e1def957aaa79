// Our CLAP records and test host against Debian's zam-plugins CLAP build of
// a multiband compressor: right only if laid out as CLAP lays them out.
#include "ClapTestHost.h"

#include <cmath>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

TEST(ThirdPartyClap, FollowsAHostEventAtTheFirstSample)
{
    const char path[] = "/usr/lib/clap/ZaMultiCompX2.clap";
    if (access(path, R_OK) != 0)
        GTEST_SKIP() << "zam-plugins is not installed";
    ClapTestHost host(path);
    const clap::Plugin* p = host.Create();
    ASSERT_TRUE(p && p->activate(p, 44100.0, 1, 256) && p->startProcessing(p));
    std::vector<float> in(44100);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = 0.1f * (float)std::sin(2 * M_PI * 1000.0 * (double)i / 44100.0);
    std::vector<float> out[2] = {in, in};
    ClapEventList trim;
    trim.Add(0, 27, -6.0); // "Master Trim"
    for (size_t pos = 0; pos + 256 <= in.size(); pos += 256)
        host.Process(&in[pos], &in[pos], &out[0][pos], &out[1][pos], 256, pos ? nullptr : &trim);
    double power[3] = {};
    for (size_t i = in.size() / 2; i < in.size() / 2 + 11025; ++i)
        for (int c = 0; c < 3; ++c)
            power[c] += std::pow(c < 2 ? out[c][i] : in[i], 2);
    EXPECT_NEAR(10 * std::log10(power[0] / power[2]), -6.0, 0.1);
    EXPECT_NEAR(10 * std::log10(power[1] / power[2]), -6.0, 0.1);
    p->stopProcessing(p);
    p->deactivate(p);
}
