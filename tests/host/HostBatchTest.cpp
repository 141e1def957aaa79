// The host as a daily tool: help and exit codes, batches, standard input and
// output, channel layouts, the user bank and the programs listing, and the
// warnings and plot of a render.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sys/stat.h>

TEST(HostConventions, HelpAndVersion)
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
    auto batch = [&](std::vector<std::string> args)
    {
        args.insert(args.begin(), {"render", dir / "in", dir / "c.aiff", "-j", "2", "--plugin",
                                   FakePlugin(3), "--out-dir"});
        return RunDeEsser(args);
    };
    RunResult r = batch({dir / "out"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(Count(r.out, ": done"), 3u) << r.out;
    EXPECT_NE(r.out.find("4 files: 3 done, 1 failed"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("bad.wav: unsupported or damaged"), std::string::npos) << r.err;
    EXPECT_EQ(Names(dir / "out"), (std::vector<std::string>{"a.wav", "b.flac", "c.aiff"}));

    // JSON: one object per file a line; --format renames.
    r = batch({dir / "flac", "--json", "--format", "flac"});
    EXPECT_EQ(r.out.rfind("{\"input\":", 0), 0u);
    EXPECT_EQ(Count(r.out, "\n{\"input\":"), 3u) << r.out;
    EXPECT_NE(r.out.find("bad.wav\",\"output\":\"" + (dir / "flac/bad.flac") + "\",\"error\":"),
              std::string::npos);
    EXPECT_EQ(Names(dir / "flac"), (std::vector<std::string>{"a.flac", "b.flac", "c.flac"}));
    // Quiet: nothing on stdout.
    r = batch({dir / "out", "--force", "-q"});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
}

// Pipes both ways (the summary then on stderr; --format names the format of
// standard output), and standard input and output redirected to files.
TEST(HostStreams, StandardInputAndOutput)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 44100, TestSignal(2, 44100, 44100));
    const std::string plugin = " --plugin " + FakePlugin(3);
    const std::pair<std::string, int> runs[] = {
        {"cat " + in + " | \"$DEESSER\" render - - --format flac" + plugin + " | cat > " +
             (dir / "1"),
         SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
        {"\"$DEESSER\" render - -" + plugin + " < " + in + " > " + (dir / "2"),
         SF_FORMAT_WAV | SF_FORMAT_PCM_24}};
    int n = 0;
    for (const auto& [script, format] : runs)
    {
        RunResult r = RunShell(script);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find("peak"), std::string::npos) << r.err;
        SF_INFO info;
        EXPECT_EQ(ReadSound(dir / std::to_string(++n), &info).size(), 88200u);
        EXPECT_EQ(info.format, format) << script;
    }
}

// Five channels through the stand-in set to invert: pairs and the odd last
// channel all pass through it, or only the pair picked.
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
        std::vector<std::string> args = {"render",  in,         dir / "out.wav",
                                         "--force", "--plugin", FakePlugin(3),
                                         "--set",   "Gain=0.25"};
        args.insert(args.end(), extra.begin(), extra.end());
        ASSERT_EQ(RunDeEsser(args).status, 0);
        std::vector<float> y = ReadSound(dir / "out.wav");
        ASSERT_EQ(y.size(), x.size());
        for (int c = 0; c < 5; ++c)
            EXPECT_EQ(y[500 + c], inverted[c] ? -x[500 + c] : x[500 + c]) << c << " " << args[8];
    }
}

// Sibilance on the left only: linked detection turns the right channel (a
// steady tone) down with it; dual mono leaves the right alone.
TEST(HostChannels, DualMonoDetectsEachChannelOnItsOwn)
{
    TempDir dir;
    const std::vector<float> left = TestSignal(1, 44100, 88200);
    std::vector<float> s(2 * left.size());
    for (size_t i = 0; i < left.size(); ++i)
        s[2 * i] = left[i], s[2 * i + 1] = 0.3f * (float)std::sin(2 * M_PI * 300.0 * i / 44100);
    WriteSound(dir / "in.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, s);
    double change[2];
    for (int dual = 0; dual < 2; ++dual)
    {
        RunResult r =
            RunDeEsser({"render", dir / "in.wav", dir / "out.wav", "--force", "--factory", "--set",
                        "SideChain=ON", "--set", "AutoThreshold=OFF", "--set", "Threshold=-40",
                        "--set", "Ratio=8", dual ? "--dual-mono" : "--no-progress"});
        ASSERT_EQ(r.status, 0) << r.err;
        const std::vector<float> y = ReadSound(dir / "out.wav");
        double in = 0, out = 0;
        for (size_t i = 1; i < s.size(); i += 2)
            in += s[i] * s[i], out += y[i] * y[i];
        change[dual] = 10 * std::log10(out / in);
    }
    EXPECT_LT(change[0], -2.0);
    EXPECT_NEAR(change[1], 0.0, 0.2);
}

// A damaged user bank is reported (the plug-in then starts from "Empty");
// --factory ignores it; programs lists the settings in display units.
TEST(HostDeEsser, UserBankWarningFactoryAndPrograms)
{
    TempDir config;
    ScopedEnv xdg("XDG_CONFIG_HOME", config.path().c_str());
    WriteBytes(config / "DeEsserDef.fxb", "CcnK\0\0\0\0FBCh broken");
    RunResult r = RunDeEsser({"programs", "0"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("is not a valid bank of this plug-in"), std::string::npos) << r.err;
    r = RunDeEsser({"programs", "split male", "--factory"});
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("program 5 \"Split Male\""), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  Threshold           -29.0 dB\n"), std::string::npos) << r.out;
    r = RunDeEsser({"programs", "--factory", "--json"});
    EXPECT_EQ(Count(r.out, "{\"number\":"), 32u);

    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 4410));
    r = RunDeEsser({"render", in, dir / "out.wav", "--json"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"warnings\":[\"the user bank "), std::string::npos) << r.out;
}

// The key band inverted, partly and wholly above Nyquist: warnings; --plot
// draws a PNG.
TEST(HostDeEsser, BandWarningsAndPlot)
{
    TempDir dir;
    const std::tuple<int, const char*, const char*> cases[] = {
        {44100, "LowFreq=9000", "inverted: LowFreq 9000 Hz is above HiFreq 5000 Hz"},
        {16000, "LowFreq=5000", "upper edge 9000 Hz is above Nyquist (8000 Hz"},
        {8000, "LowFreq=5000", "5000-9000 Hz lies above Nyquist (4000 Hz"}};
    for (const auto& [rate, low, warning] : cases)
    {
        std::string in = dir / (std::to_string(rate) + ".wav");
        WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, rate, TestSignal(1, rate, 4000));
        RunResult r =
            RunDeEsser({"render", in, dir / "o.wav", "--force", "--plot", dir / "p.png", "--set",
                        low, "--set", rate == 44100 ? "HiFreq=5000" : "HiFreq=9000"});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find(warning), std::string::npos) << r.err;
    }
    EXPECT_EQ(ReadBytes(dir / "p.png").substr(1, 3), "PNG");
}
