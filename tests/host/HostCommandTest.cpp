// The deesser binary run as a user runs it: formats, channel layouts, error
// paths, interruption, the legacy import, and the de-esser's settings.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <sys/stat.h>
#include <tuple>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
// One line on stderr, starting with "deesser: ".
void expectOneLineError(const RunResult& r, const std::string& needle)
{
    EXPECT_NE(r.status, 0);
    EXPECT_EQ(r.signal, 0);
    EXPECT_EQ(r.err.rfind("deesser: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(needle), std::string::npos) << "wanted \"" << needle << "\" in " << r.err;
}

double maxDifference(const std::vector<float>& a, const std::vector<float>& b)
{
    if (a.size() != b.size())
        return INFINITY;
    double d = 0;
    for (size_t i = 0; i < a.size(); ++i)
        d = std::max(d, (double)std::fabs(a[i] - b[i]));
    return d;
}
} // namespace

// Every format keeps its container, encoding, rate, length and channel count;
// the foreign gain plug-in at unity leaves the samples as they were (within the
// format's precision), and its polarity switch shows that the audio passed
// through the plug-in, mono included.
TEST(HostRender, FormatsAndLayoutsRoundTrip)
{
    // Name, format, extension, and the largest sample difference after a unity
    // round trip (-1: lossy).
    const std::tuple<const char*, int, const char*, double> formats[] = {
        {"wav16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, "wav", 2.0 / 32768},
        {"wav24", SF_FORMAT_WAV | SF_FORMAT_PCM_24, "wav", 2.0 / 8388608},
        {"wavfloat", SF_FORMAT_WAV | SF_FORMAT_FLOAT, "wav", 0.0},
        {"flac16", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, "flac", 2.0 / 32768},
        {"flac24", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "flac", 2.0 / 8388608},
        {"aiff16", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, "aiff", 2.0 / 32768},
        {"aiff24", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, "aif", 2.0 / 8388608},
        {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, "ogg", -1},
    };
    const int rates[] = {44100, 48000, 22050, 96000};
    TempDir dir;
    int n = 0;
    for (const auto& [name, format, ext, tolerance] : formats)
        for (int channels = 1; channels <= 2; ++channels, ++n)
        {
            SCOPED_TRACE(std::string(name) + (channels == 1 ? " mono" : " stereo"));
            int rate = rates[n % 4];
            long long frames = rate / 2 + 123; // not a whole number of blocks
            const std::string base = dir / (name + std::to_string(channels));
            const std::string in = base + "." + ext, out = base + "-out." + ext;
            WriteSound(in, format, channels, rate, TestSignal(channels, rate, frames));
            bool invert = n % 2 == 1;
            RunResult r =
                RunDeEsser({"render", in, out, "--plugin", FakePlugin(3), "--set", "Gain=0.5",
                            "--set", invert ? "Polarity=1" : "Polarity=0", "--block", "1000"});
            ASSERT_EQ(r.status, 0) << r.err;
            SF_INFO a, b;
            std::vector<float> x = ReadSound(in, &a);
            std::vector<float> y = ReadSound(out, &b);
            EXPECT_EQ(b.format, a.format);
            EXPECT_EQ(b.samplerate, a.samplerate);
            EXPECT_EQ(b.channels, a.channels);
            EXPECT_EQ(b.frames, a.frames);
            ASSERT_EQ(y.size(), x.size());
            if (invert)
                for (float& v : x)
                    v = -v;
            if (tolerance >= 0)
                EXPECT_LE(maxDifference(x, y), tolerance);
            else
            {
                // Lossy: the decoded output still follows the input (the noise
                // bursts code less exactly than tones).
                double err = 0, sig = 0;
                for (size_t i = 0; i < x.size(); ++i)
                {
                    err += (x[i] - y[i]) * (x[i] - y[i]);
                    sig += x[i] * x[i];
                }
                EXPECT_LT(10 * std::log10(err / sig), -8.0);
            }
        }
}

TEST(HostRender, SummaryIsPrinted)
{
    TempDir dir;
    std::string in = dir / "in.wav", out = dir / "out.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 44100, TestSignal(2, 44100, 44100));
    RunResult r = RunDeEsser({"render", in, out, "--plugin", FakePlugin(3), "--set", "gain=0.25"});
    ASSERT_EQ(r.status, 0) << r.err;
    // Gain 0.25 is a factor 0.5: every level drops by 6.0 dB.
    for (const char* row : {"peak", "RMS", "sibilance band 5-9 kHz", "voice band 100-3000 Hz"})
    {
        size_t at = r.out.find(row);
        ASSERT_NE(at, std::string::npos) << row << " in\n" << r.out;
        EXPECT_NE(r.out.find("-6.0 dB", at), std::string::npos) << r.out;
    }
    EXPECT_NE(r.out.find("largest gain reduction: 6.0 dB"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("realtime factor"), std::string::npos) << r.out;
}

TEST(HostRender, BadInputsAreClearErrors)
{
    TempDir dir;
    std::string good = dir / "good.wav";
    WriteSound(good, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 4410));
    std::string fake = FakePlugin(3);

    expectOneLineError(
        RunDeEsser({"render", dir / "missing.wav", dir / "o1.wav", "--plugin", fake}),
        "missing.wav");
    expectOneLineError(RunDeEsser({"render", dir.path(), dir / "o2.wav", "--plugin", fake}),
                       "folder");
    std::string text = dir / "text.wav";
    WriteBytes(text, "this is not a sound file\n");
    expectOneLineError(RunDeEsser({"render", text, dir / "o3.wav", "--plugin", fake}),
                       "unsupported");
    if (geteuid() != 0) // root reads everything
    {
        std::string locked = dir / "locked.wav";
        WriteSound(locked, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 1, 44100, TestSignal(1, 44100, 100));
        chmod(locked.c_str(), 0);
        expectOneLineError(RunDeEsser({"render", locked, dir / "o5.wav", "--plugin", fake}),
                           "cannot read");
    }

    // Files that are not VST 2.4 plug-ins.
    const std::pair<std::string, const char*> plugins[] = {{FakePlugin(0), "no VSTPluginMain"},
                                                           {FakePlugin(1), "returned null"},
                                                           {FakePlugin(2), "bad magic"},
                                                           {text, "not a loadable plug-in"}};
    for (const auto& [plugin, needle] : plugins)
        expectOneLineError(RunDeEsser({"render", good, dir / "o.wav", "--plugin", plugin}), needle);
    expectOneLineError(RunDeEsser({"info", "--plugin", dir / "nothing.so"}), "not found");

    // Parameters of a foreign plug-in: names without regard to case, values 0..1
    // only; then the command line itself.
    const std::pair<std::vector<std::string>, const char*> bad[] = {
        {{"--set", "Volume=0.5"}, "unknown parameter \"Volume\""},
        {{"--set", "gain=-3"}, "outside 0 .. 1"},
        {{"--set", "Gain=loud"}, "not a number"},
        {{"--set", "Gain"}, "NAME=VALUE"},
        {{"--block", "0"}, "--block"}};
    for (const auto& [extra, needle] : bad)
    {
        std::vector<std::string> args = {"render", good, dir / "p.wav", "--plugin", fake};
        args.insert(args.end(), extra.begin(), extra.end());
        expectOneLineError(RunDeEsser(args), needle);
    }
    expectOneLineError(RunDeEsser({"render", good, "--plugin", fake}), "input and an output");
    expectOneLineError(RunDeEsser({"frobnicate"}), "unknown command");

    // Nothing was written for any failed run, and no temporary was left.
    std::vector<std::string> expected = {"good.wav", "text.wav"};
    if (geteuid() != 0)
        expected.insert(expected.begin() + 1, "locked.wav");
    EXPECT_EQ(Names(dir.path()), expected);
}

// The output must not exist (unless --force) and must never be the input,
// however it is named; the input is never modified.
TEST(HostRender, OutputRulesProtectExistingFilesAndTheInput)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 8000));
    const std::string original = ReadBytes(in);
    std::string fake = FakePlugin(3);

    std::string out = dir / "out.wav";
    WriteBytes(out, "keep me");
    expectOneLineError(RunDeEsser({"render", in, out, "--plugin", fake}), "--force");
    EXPECT_EQ(ReadBytes(out), "keep me");
    RunResult forced = RunDeEsser({"render", in, out, "--plugin", fake, "--force"});
    EXPECT_EQ(forced.status, 0) << forced.err;
    EXPECT_EQ(ReadSound(out).size(), 16000u);

    ASSERT_EQ(mkfifo((dir / "fifo.wav").c_str(), 0644), 0);
    expectOneLineError(RunDeEsser({"render", in, dir / "fifo.wav", "--plugin", fake, "--force"}),
                       "is a pipe; only regular files are written");
    expectOneLineError(RunDeEsser({"render", in, dir / "nowhere/out.wav", "--plugin", fake}),
                       "cannot create a file in");

    ASSERT_EQ(link(in.c_str(), (dir / "hard.wav").c_str()), 0);
    ASSERT_EQ(symlink("in.wav", (dir / "soft.wav").c_str()), 0);
    for (const std::string& same : {in, dir.path() + "/./in.wav", dir.path() + "//in.wav",
                                    dir / "hard.wav", dir / "soft.wav"})
    {
        SCOPED_TRACE(same);
        expectOneLineError(RunDeEsser({"render", in, same, "--plugin", fake, "--force"}),
                           "is the input");
    }
    EXPECT_EQ(ReadBytes(in), original);
}

// SIGINT or SIGTERM during a render leaves neither the output nor a temporary.
TEST(HostRender, InterruptedRenderLeavesNoOutput)
{
    for (int sig : {SIGINT, SIGTERM})
    {
        SCOPED_TRACE(sig);
        TempDir dir;
        std::string in = dir / "long.wav", out = dir / "out.wav";
        WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100,
                   TestSignal(2, 44100, 44100 * 60));
        pid_t pid = SpawnDeEsser({"render", in, out, "--plugin", FakePlugin(3), "--block", "1"},
                                 "/dev/null", "/dev/null");
        ASSERT_GT(pid, 0);

        // Wait until the temporary output exists, i.e. the render is under way.
        bool started = false;
        for (int i = 0; i < 500 && !started; ++i, usleep(10000))
            for (const std::string& name : Names(dir.path()))
                started = started || name.rfind(".out.wav.", 0) == 0;
        EXPECT_TRUE(started);
        usleep(50000);
        kill(pid, sig);
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << status;
        EXPECT_EQ(Names(dir.path()), std::vector<std::string>{"long.wav"});
    }
}

TEST(HostDeEsser, InfoListsIdentityParametersAndPrograms)
{
    REQUIRE_DEESSER();
    // Without --plugin the build's own DeEsser.so is found.
    RunResult r = RunDeEsser({"info"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* s :
         {"'IDeE' (0x49446545)", "57 (editor, can-mono, replacing, program-chunks)", "2 in, 2 out",
          "parameters (11)", "AutoThreshold", "ReleaseTime", "programs (32)", "VST 2300"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s << " in\n" << r.out;
}

// The plug-in switches itself on when the host starts processing; a bypass
// asked for with --set must still hold then, so the output equals the input.
TEST(HostDeEsser, BypassSetOnTheCommandLineHoldsWhileProcessing)
{
    REQUIRE_DEESSER();
    TempDir dir;
    std::vector<float> x = TestSignal(2, 44100, 30000);
    WriteSound(dir / "in.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, x);
    RunResult r = RunDeEsser({"render", dir / "in.wav", dir / "out.wav", "--set", "ON/OFF=OFF",
                              "--set", "Input=0", "--set", "Threshold=-60", "--set", "Ratio=8"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(maxDifference(ReadSound(dir / "out.wav"), x), 0.0);
}

TEST(HostDeEsser, DisplayUnitSettingsAreCheckedAndMonoStaysMono)
{
    REQUIRE_DEESSER();
    TempDir dir;
    std::string in = dir / "mono.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1, 32000, TestSignal(1, 32000, 16000));
    RunResult r = RunDeEsser({"render", in, dir / "a.wav", "--set", "Threshold=-30dB", "--set",
                              "LowFreq=5000 Hz", "--set", "Output=-3", "--set", "ReleaseTime=0.05",
                              "--set", "SideChain=OFF", "--set", "AttackTime=2", "--program", "0"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* s : {"Threshold = -30.0 dB", "LowFreq = 5000.0 Hz", "Output = -3.0 dB",
                          "ReleaseTime = 0.05 sec", "SideChain = OFF", "AttackTime = 2.0 ms"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s << " in\n" << r.out;
    SF_INFO info;
    EXPECT_EQ(ReadSound(dir / "a.wav", &info).size(), 16000u);
    EXPECT_EQ(info.channels, 1);

    const std::pair<std::vector<std::string>, const char*> bad[] = {
        {{"--set", "Threshold=5"}, "outside -100 .. 0"},
        {{"--set", "Ratio=0.5"}, "outside 1 .. 64"},
        {{"--set", "Output=21"}, "Output"},
        {{"--set", "SideChain=maybe"}, "ON or OFF"},
        {{"--set", "HiFreq=fast"}, "not a number"},
        {{"--set", "Treshold=-20"}, "unknown parameter"},
        {{"--program", "32"}, "does not exist"},
        {{"--program-name", "No Such"}, "no program named"}};
    for (const auto& [extra, needle] : bad)
    {
        std::vector<std::string> args = {"render", in, dir / "b.wav"};
        args.insert(args.end(), extra.begin(), extra.end());
        expectOneLineError(RunDeEsser(args), needle);
    }
    EXPECT_FALSE(Exists(dir / "b.wav"));
}

// A legacy list becomes a 2464-byte bank file (its bytes are the programs
// library's); the bank then loads for a render, and bad banks are refused.
TEST(HostDeEsser, LegacyImportWritesABankThatRenderLoads)
{
    REQUIRE_DEESSER();
    TempDir dir;
    auto write = [&](const std::string& name, const std::string& text)
    { WriteBytes(dir / name, text); };
    write("PROGRAM.LST", "VRX5.0 EFFECT PROGRAM LIST\r\n1\r\nSoft Voice\r\n");
    write("Soft Voice.PGM", "VRX5.0 EFFECT PRG FILE\r\n0\t-1310720\t65536\t6553\t262144\r\n");
    std::string bank = dir / "bank.fxb";
    RunResult r = RunDeEsser({"import-legacy", dir / "PROGRAM.LST", bank});
    ASSERT_EQ(r.status, 0) << r.err;
    std::string bytes = ReadBytes(bank);
    ASSERT_EQ(bytes.size(), 2464u);

    // The bank loads, and its programs are found by name.
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, TestSignal(2, 44100, 22050));
    r = RunDeEsser({"render", in, dir / "out.wav", "--bank", bank, "--program-name", "soft voice"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("program 0 \"Soft Voice\""), std::string::npos) << r.out;

    // Refused banks: cut short, another plug-in's, not a bank at all.
    write("short.fxb", bytes.substr(0, 1000));
    expectOneLineError(RunDeEsser({"render", in, dir / "x.wav", "--bank", dir / "short.fxb"}),
                       "holds a 840-byte chunk");
    std::string other = bytes;
    other[19] = 'X';
    write("other.fxb", other);
    expectOneLineError(RunDeEsser({"render", in, dir / "x.wav", "--bank", dir / "other.fxb"}),
                       "another plug-in");
    expectOneLineError(RunDeEsser({"render", in, dir / "x.wav", "--bank", in}),
                       "not a chunk bank file");
    EXPECT_FALSE(Exists(dir / "x.wav"));

    // A list that is not one, a missing list, and an existing output: errors,
    // nothing written; a missing program file: a warning.
    write("bad.LST", "VRX5.0 EFFECT PROGRAM LYST\n1\nHard\n");
    expectOneLineError(RunDeEsser({"import-legacy", dir / "bad.LST", dir / "b.fxb"}),
                       "not a legacy program list");
    expectOneLineError(RunDeEsser({"import-legacy", dir / "none.LST", dir / "b.fxb"}),
                       "cannot read the program list");
    expectOneLineError(RunDeEsser({"import-legacy", dir / "PROGRAM.LST", bank}), "exists");
    EXPECT_FALSE(Exists(dir / "b.fxb"));
    write("gone.LST", "VRX5.0 EFFECT PROGRAM LIST\n1\nGone\n");
    r = RunDeEsser({"import-legacy", dir / "gone.LST", dir / "b.fxb"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("Gone.PGM not found"), std::string::npos) << r.err;
}

namespace
{
// The "change" column of a summary row, in dB.
double summaryChange(const std::string& out, const std::string& row)
{
    size_t at = out.find(row);
    if (at == std::string::npos)
        return NAN;
    std::string line = out.substr(at, out.find('\n', at) - at);
    size_t end = line.rfind(" dB");
    size_t start = line.rfind(' ', end - 1);
    return std::atof(line.substr(start + 1, end - start - 1).c_str());
}
} // namespace

// The main job: the demo writes its three files and de-esses by several dB
// while the voice band stays within half a decibel.
TEST(HostDeEsser, DemoReducesSibilanceAndSparesTheVoice)
{
    REQUIRE_DEESSER();
    TempDir dir;
    RunResult r = RunDeEsser({"demo", "--out-dir", dir / "demo"});
    ASSERT_EQ(r.status, 0) << r.err;
    SF_INFO in;
    EXPECT_EQ(ReadSound(dir / "demo/demo-in.wav", &in).size(), 176400u);
    EXPECT_EQ(ReadSound(dir / "demo/demo-out.wav").size(), 176400u);
    EXPECT_EQ(in.samplerate, 44100);
    EXPECT_EQ(ReadBytes(dir / "demo/demo.png").substr(1, 3), "PNG");
    double sibilance = summaryChange(r.out, "sibilance band 5-9 kHz");
    double voice = summaryChange(r.out, "voice band 100-3000 Hz");
    EXPECT_LT(sibilance, -4.0) << r.out;
    EXPECT_LT(std::fabs(voice), 0.5) << r.out;
}
