// The host as a daily tool: help and exit codes, batches, standard input and
// output, channel layouts, the user bank and the programs listing, and the
// warnings and plot of a render.
#include "HostTestSupport.h"
#include "TestSignal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sys/stat.h>

namespace
{
// RMS in dB of channel c of an interleaved signal over the frames where pick holds.
double channelDb(const std::vector<float>& s, int channels, int c, const std::vector<bool>& pick)
{
    double sum = 0;
    long long n = 0;
    for (size_t i = 0; i < pick.size(); ++i)
        if (pick[i])
            sum += (double)s[i * channels + c] * s[i * channels + c], ++n;
    return 10 * std::log10(sum / std::max(1LL, n));
}
} // namespace

TEST(HostConventions, HelpVersionAndExitCodes)
{
    for (const char* command :
         {"render", "analyze", "programs", "demo", "info", "import-legacy", "bench"})
    {
        RunResult r = RunDeEsser({command, "--help"});
        EXPECT_EQ(r.status, 0) << command;
        EXPECT_EQ(r.out.rfind(std::string("usage: deesser ") + command, 0), 0u) << r.out;
    }
    RunResult r = RunDeEsser({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("deesser 1.", 0), 0u) << r.out;
    EXPECT_EQ(RunDeEsser({}).status, 1);
    EXPECT_EQ(RunDeEsser({"render", "--bogus"}).status, 1);
}

// Folders and files into --out-dir, two at a time: a line per file and a
// total; the damaged file fails alone, and the exit status says so.
TEST(HostBatch, FailuresDoNotStopTheOthers)
{
    TempDir dir;
    ASSERT_EQ(mkdir((dir / "in").c_str(), 0755), 0);
    WriteSound(dir / "in/a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100,
               TestSignal(2, 44100, 4410));
    WriteSound(dir / "in/b.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 1, 48000,
               TestSignal(1, 48000, 4800));
    WriteBytes(dir / "in/bad.wav", "not a sound file");
    WriteBytes(dir / "in/notes.txt", "skipped: not a sound file name");
    WriteSound(dir / "c.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 2, 44100,
               TestSignal(2, 44100, 441));
    const std::vector<std::string> base = {"render",    dir / "in",  dir / "c.aiff",
                                           "--out-dir", dir / "out", "-j",
                                           "2",         "--plugin",  FakePlugin(3)};
    RunResult r = RunDeEsser(base);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(Count(r.out, ": done"), 3u) << r.out;
    EXPECT_NE(r.out.find("4 files: 3 done, 1 failed"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("bad.wav: unsupported or damaged"), std::string::npos) << r.err;
    EXPECT_EQ(Names(dir / "out"), (std::vector<std::string>{"a.wav", "b.flac", "c.aiff"}));

    // JSON: one object per file; quiet: nothing on stdout; --format renames.
    std::vector<std::string> json = base;
    json.insert(json.end(), {"--force", "--json", "--format", "flac"});
    json[4] = dir / "flac";
    r = RunDeEsser(json);
    EXPECT_EQ(Count(r.out, "\n{\"input\":"), 3u) << r.out; // four objects, one a line
    EXPECT_NE(r.out.find("bad.wav\",\"output\":\"" + (dir / "flac/bad.flac") + "\",\"error\":"),
              std::string::npos);
    EXPECT_EQ(r.out.rfind("{\"input\":", 0), 0u);
    EXPECT_TRUE(Exists(dir / "flac/a.flac") && Exists(dir / "flac/c.flac"));
    std::vector<std::string> quiet = base;
    quiet.insert(quiet.end(), {"--force", "-q"});
    r = RunDeEsser(quiet);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
}

TEST(HostStreams, StandardInputAndOutput)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 44100, TestSignal(2, 44100, 44100));
    const std::string plugin = " --plugin " + FakePlugin(3);
    // Through pipes both ways: WAV unless --format says otherwise; the
    // summary goes to stderr.
    RunResult r = RunShell("cat " + in + " | \"$DEESSER\" render - -" + plugin + " | cat > " +
                           (dir / "piped.wav"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("peak"), std::string::npos) << r.err;
    SF_INFO info;
    EXPECT_EQ(ReadSound(dir / "piped.wav", &info).size(), 88200u);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    r = RunShell("\"$DEESSER\" render " + in + " - --format flac -q" + plugin + " | cat > " +
                 (dir / "piped.flac"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(ReadSound(dir / "piped.flac", &info).size(), 88200u);
    EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_FLAC);
    // Standard output redirected to a file, standard input from one.
    r = RunShell("\"$DEESSER\" render - -" + plugin + " < " + in + " > " + (dir / "direct.wav"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(ReadSound(dir / "direct.wav").size(), 88200u);
}

// Five channels through the polarity switch of the stand-in: pairs and the
// odd last channel all pass through it, or only the pair picked.
TEST(HostChannels, PairsAndPickedPair)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    std::vector<float> x = TestSignal(5, 44100, 4410);
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 5, 44100, x);
    const std::pair<std::vector<std::string>, std::vector<bool>> cases[] = {
        {{}, {true, true, true, true, true}},
        {{"--channels", "2,4"}, {false, true, false, true, false}},
        {{"--channels", "5,1", "--dual-mono"}, {true, false, false, false, true}}};
    for (const auto& [extra, inverted] : cases)
    {
        std::vector<std::string> args = {"render",  in,          dir / "out.wav",
                                         "--force", "--plugin",  FakePlugin(3),
                                         "--set",   "Polarity=1"};
        args.insert(args.end(), extra.begin(), extra.end());
        RunResult r = RunDeEsser(args);
        ASSERT_EQ(r.status, 0) << r.err;
        std::vector<float> y = ReadSound(dir / "out.wav");
        ASSERT_EQ(y.size(), x.size());
        for (int c = 0; c < 5; ++c)
            EXPECT_EQ(y[100 * 5 + c], inverted[c] ? -x[100 * 5 + c] : x[100 * 5 + c])
                << "channel " << c + 1 << " " << (extra.empty() ? "" : extra[1]);
    }
    EXPECT_NE(RunDeEsser({"render", in, dir / "o.wav", "--channels", "2,6"}).err.find("5 channel"),
              std::string::npos);
}

// Sibilance on the left only: linked detection turns the right channel down
// with it; dual mono leaves the right alone.
TEST(HostChannels, DualMonoDetectsEachChannelOnItsOwn)
{
    REQUIRE_DEESSER();
    TempDir dir;
    const int rate = 44100;
    testsignal::Vocal vocal(rate * 2, rate);
    std::vector<float> s(vocal.left.size() * 2);
    for (size_t i = 0; i < vocal.left.size(); ++i)
    {
        s[2 * i] = vocal.left[i];
        s[2 * i + 1] = 0.3f * (float)std::sin(2 * M_PI * 300.0 * (double)i / rate);
    }
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, rate, s);
    std::vector<bool> bursts = vocal.Mask(testsignal::Vocal::InBurst);
    double rightIn = channelDb(s, 2, 1, bursts);
    double change[2];
    for (int dual = 0; dual < 2; ++dual)
    {
        std::vector<std::string> args = {
            "render",       in,      dir / "out.wav",     "--force", "--factory",     "--set",
            "SideChain=ON", "--set", "AutoThreshold=OFF", "--set",   "Threshold=-40", "--set",
            "Ratio=8"};
        if (dual)
            args.push_back("--dual-mono");
        RunResult r = RunDeEsser(args);
        ASSERT_EQ(r.status, 0) << r.err;
        change[dual] = channelDb(ReadSound(dir / "out.wav"), 2, 1, bursts) - rightIn;
    }
    EXPECT_LT(change[0], -2.0);
    EXPECT_NEAR(change[1], 0.0, 0.2);
}

// A damaged user bank is reported (the plug-in then starts from "Empty");
// --factory ignores it; programs lists the settings in display units.
TEST(HostDeEsser, UserBankWarningFactoryAndPrograms)
{
    REQUIRE_DEESSER();
    TempDir config;
    ScopedEnv xdg("XDG_CONFIG_HOME", config.path().c_str());
    WriteBytes(config / "DeEsserDef.fxb", "CcnK\0\0\0\0FBCh broken");
    RunResult r = RunDeEsser({"programs", "0"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("is not a valid bank of this plug-in"), std::string::npos) << r.err;
    r = RunDeEsser({"programs", "0", "--factory"});
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("program 0 \"Female Vocal\""), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Threshold"), std::string::npos);
    EXPECT_NE(r.out.find(" dB\n"), std::string::npos) << r.out;
    r = RunDeEsser({"programs", "split male", "--factory"});
    EXPECT_NE(r.out.find("\"Split Male\""), std::string::npos) << r.out;
    r = RunDeEsser({"programs", "--factory", "--json"});
    EXPECT_EQ(Count(r.out, "{\"number\":"), 32u);

    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 4410));
    r = RunDeEsser({"render", in, dir / "out.wav", "--json"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"warnings\":[\"the user bank "), std::string::npos) << r.out;
}

TEST(HostDeEsser, BandWarningsAndPlot)
{
    REQUIRE_DEESSER();
    TempDir dir;
    const std::pair<int, std::vector<std::string>> cases[] = {
        {44100, {"--set", "LowFreq=9000", "--set", "HiFreq=5000"}},
        {16000, {"--set", "LowFreq=5000", "--set", "HiFreq=9000"}},
        {8000, {"--set", "LowFreq=5000", "--set", "HiFreq=9000"}}};
    const char* expected[] = {"inverted: LowFreq 9000 Hz is above HiFreq 5000 Hz",
                              "upper edge 9000 Hz is above Nyquist (8000 Hz",
                              "5000-9000 Hz lies above Nyquist (4000 Hz"};
    for (int i = 0; i < 3; ++i)
    {
        std::string in = dir / ("in" + std::to_string(i) + ".wav");
        WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, cases[i].first,
                   TestSignal(1, cases[i].first, 4000));
        std::vector<std::string> args = {"render", in, dir / ("o" + std::to_string(i) + ".wav"),
                                         "--plot", dir / ("p" + std::to_string(i) + ".png")};
        args.insert(args.end(), cases[i].second.begin(), cases[i].second.end());
        RunResult r = RunDeEsser(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find(expected[i]), std::string::npos) << r.err;
        EXPECT_EQ(ReadBytes(dir / ("p" + std::to_string(i) + ".png")).substr(1, 3), "PNG");
    }
}
