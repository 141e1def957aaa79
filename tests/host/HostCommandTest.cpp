// The deesser binary run as a user runs it: every refusal, interruption, the
// plug-in's identity and settings, the legacy import and the demo.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Every refusal: exit status 1, one line on stderr that starts with
// "deesser: " and names the fault, nothing written, nothing changed.
TEST(HostRender, RefusalsAreOneLineAndWriteNothing)
{
    TempDir dir;
    const std::string in = dir / "in.wav", text = dir / "text.wav", o = dir / "o.wav";
    const std::string fake = FakePlugin(3);
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, TestSignal(2, 44100, 22050));
    WriteBytes(text, "this is not a sound file\n");
    WriteBytes(dir / "locked.wav", "");
    chmod((dir / "locked.wav").c_str(), 0); // root reads it all the same
    WriteBytes(dir / "keep.wav", "keep me");
    std::string bank = ReadBytes(FACTORY_BANK);
    WriteBytes(dir / "short.fxb", bank.substr(0, 1000));
    bank[19] = 'X'; // the plug-in ID
    WriteBytes(dir / "other.fxb", bank);
    WriteBytes(dir / "bad.LST", "VRX5.0 EFFECT PROGRAM LYST\n1\nHard\n");
    WriteBytes(dir / "good.LST", "VRX5.0 EFFECT PROGRAM LIST\n1\nA\n");
    ASSERT_EQ(mkfifo((dir / "fifo.wav").c_str(), 0644), 0);
    ASSERT_EQ(link(in.c_str(), (dir / "hard.wav").c_str()), 0);
    ASSERT_EQ(symlink("in.wav", (dir / "soft.wav").c_str()), 0);
    const std::string original = ReadBytes(in);

    const std::pair<std::vector<std::string>, const char*> rows[] = {
        // The command line.
        {{"frobnicate"}, "unknown command"},
        {{"render", "--bogus"}, "unknown option --bogus"},
        {{"render", in, "--plugin", fake}, "input and an output"},
        {{"render", in, o, "--plugin", fake, "--block", "0"}, "--block"},
        {{"render", in, o, "--plugin", fake, "--channels", "2,3"}, "the file has 2 channel"},
        // Inputs.
        {{"render", dir / "missing.wav", o, "--plugin", fake}, "missing.wav"},
        {{"render", dir.path(), o, "--plugin", fake}, "folder"},
        {{"render", text, o, "--plugin", fake}, "unsupported"},
        {{"render", dir / "locked.wav", o, "--plugin", fake},
         geteuid() != 0 ? "cannot read" : "unsupported"},
        // Files that are not VST 2.4 plug-ins.
        {{"render", in, o, "--plugin", FakePlugin(0)}, "no VSTPluginMain"},
        {{"render", in, o, "--plugin", FakePlugin(1)}, "returned null"},
        {{"render", in, o, "--plugin", FakePlugin(2)}, "bad magic"},
        {{"render", in, o, "--plugin", text}, "not a loadable plug-in"},
        {{"info", "--plugin", dir / "nothing.so"}, "not found"},
        // A foreign plug-in's parameters: names without regard to case, 0..1.
        {{"render", in, o, "--plugin", fake, "--set", "Volume=0.5"},
         "unknown parameter \"Volume\""},
        {{"render", in, o, "--plugin", fake, "--set", "gain=-3"}, "outside 0 .. 1"},
        {{"render", in, o, "--plugin", fake, "--set", "Gain"}, "NAME=VALUE"},
        {{"render", in, o, "--plugin", fake, "--target", "6"}, "--target needs the de-esser"},
        // The de-esser's settings, programs and banks.
        {{"render", in, o, "--set", "Threshold=5"}, "outside -100 .. 0"},
        {{"render", in, o, "--set", "Treshold=-20"}, "unknown parameter"},
        {{"render", in, o, "--program", "32"}, "does not exist"},
        {{"render", in, o, "--program-name", "No Such"}, "no program named"},
        {{"render", in, o, "--target", "90"}, "--target"},
        {{"render", in, o, "--bank", dir / "short.fxb"}, "holds a 840-byte chunk"},
        {{"render", in, o, "--bank", dir / "other.fxb"}, "another plug-in"},
        {{"render", in, o, "--bank", in}, "not a chunk bank file"},
        {{"import-legacy", dir / "bad.LST", dir / "b.fxb"}, "not a legacy program list"},
        {{"import-legacy", dir / "none.LST", dir / "b.fxb"}, "cannot read the program list"},
        {{"import-legacy", dir / "good.LST", dir / "keep.wav"}, "exists"},
        // Outputs: an existing file, the input however named, special files,
        // formats that cannot be written, clipping when it is an error.
        {{"render", in, dir / "keep.wav", "--plugin", fake}, "--force"},
        {{"render", in, dir / "hard.wav", "--plugin", fake, "--force"}, "is the input"},
        {{"render", in, dir / "soft.wav", "--plugin", fake, "--force"}, "is the input"},
        {{"render", in, dir / "./in.wav", "--plugin", fake, "--force"}, "is the input"},
        {{"render", in, dir / "fifo.wav", "--plugin", fake, "--force"}, "is a pipe; only regular"},
        {{"render", in, dir / "no/o.wav", "--plugin", fake}, "cannot create a file in"},
        {{"render", in, dir / "x.xyz", "--plugin", fake}, "unknown extension .xyz; formats"},
        {{"render", in, dir / "noext", "--plugin", fake}, "no extension"},
        {{"render", in, dir / "x.flac", "--plugin", fake, "--bits", "float"}, "cannot hold float"},
        {{"render", in, in, "--out-dir", dir / "new", "--plugin", fake}, "would both be written"},
        {{"render", in, o, "--plugin", fake, "--quality", "3"}, "lossy outputs"},
        {{"render", in, dir / "x.mp3", "--plugin", fake, "--bits", "24"}, "lossy format"},
        {{"render", in, o, "--plugin", fake, "--set", "Gain=1", "--bits", "16", "--fail-on-clip"},
         "--fail-on-clip"},
    };
    std::vector<std::string> before = Names(dir.path());
    for (const auto& [args, message] : rows)
    {
        RunResult r = RunDeEsser(args);
        EXPECT_EQ(r.status, 1) << message;
        EXPECT_EQ(r.err.rfind("deesser: ", 0), 0u) << r.err;
        EXPECT_EQ(Count(r.err, "\n"), 1u) << r.err;
        EXPECT_NE(r.err.find(message), std::string::npos) << message << " in " << r.err;
    }
    EXPECT_EQ(Names(dir.path()), before);
    EXPECT_EQ(ReadBytes(dir / "keep.wav"), "keep me");
    EXPECT_EQ(ReadBytes(in), original);
}

// SIGINT or SIGTERM during a render leaves neither the output nor a temporary.
TEST(HostRender, InterruptedRenderLeavesNoOutput)
{
    for (int sig : {SIGINT, SIGTERM})
    {
        TempDir dir;
        std::string in = dir / "long.wav", out = dir / "out.wav";
        WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100,
                   TestSignal(2, 44100, 44100 * 60));
        pid_t pid =
            Spawn({DEESSER_BIN, "render", in, out, "--plugin", FakePlugin(3), "--block", "1"},
                  "/dev/null", "/dev/null");
        ASSERT_GT(pid, 0);
        // Wait until the temporary output exists, i.e. the render is under way.
        bool started = false;
        for (int i = 0; i < 500 && !started; ++i, usleep(10000))
            started = Names(dir.path()).size() == 2;
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
    // Without --plugin the build's own DeEsser.so is found.
    RunResult r = RunDeEsser({"info"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* s :
         {"'IDeE' (0x49446545)", "57 (editor, can-mono, replacing, program-chunks)", "2 in, 2 out",
          "parameters (11)", "AutoThreshold", "ReleaseTime", "programs (32)", "VST 2300"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s << " in\n" << r.out;
}

// --set takes display units, a unit suffix allowed, and each value is read
// back through the plug-in's display. The plug-in switches itself on when
// processing starts; a bypass asked for must still hold, output = input.
TEST(HostDeEsser, SettingsAreReadBackAndBypassHolds)
{
    TempDir dir;
    std::vector<float> x = TestSignal(2, 44100, 30000);
    WriteSound(dir / "in.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, x);
    RunResult r = RunDeEsser({"render", dir / "in.wav", dir / "out.wav", "--set", "ON/OFF=OFF",
                              "--set", "Threshold=-60dB", "--set", "LowFreq=5000 Hz", "--set",
                              "ReleaseTime=0.05", "--set", "Ratio=8", "--set", "SideChain=OFF"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* s : {"Threshold = -60.0 dB", "LowFreq = 5000.0 Hz", "ReleaseTime = 0.05 sec",
                          "SideChain = OFF"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s << " in\n" << r.out;
    EXPECT_EQ(ReadSound(dir / "out.wav"), x);
}

// A legacy list becomes a 2464-byte bank file (its bytes are the programs
// library's) that a render then loads; a missing program file is a warning.
TEST(HostDeEsser, LegacyImportWritesABankThatRenderLoads)
{
    TempDir dir;
    WriteBytes(dir / "PROGRAM.LST", "VRX5.0 EFFECT PROGRAM LIST\r\n2\r\nSoft Voice\r\nGone\r\n");
    WriteBytes(dir / "Soft Voice.PGM",
               "VRX5.0 EFFECT PRG FILE\r\n0\t-1310720\t65536\t6553\t262144\r\n");
    std::string bank = dir / "bank.fxb";
    RunResult r = RunDeEsser({"import-legacy", dir / "PROGRAM.LST", bank});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("Gone.PGM not found"), std::string::npos) << r.err;
    EXPECT_EQ(ReadBytes(bank).size(), 2464u);

    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, TestSignal(2, 44100, 22050));
    r = RunDeEsser({"render", in, dir / "out.wav", "--bank", bank, "--program-name", "soft voice"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("program 0 \"Soft Voice\""), std::string::npos) << r.out;
}

// The demo writes its three files with a vocal program (how much it de-esses
// is the plug-in's own tests' business).
TEST(HostDeEsser, DemoWritesItsFiles)
{
    TempDir dir;
    RunResult r = RunDeEsser({"demo", "--out-dir", dir.path()});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<float> in = ReadSound(dir / "demo-in.wav"),
                             out = ReadSound(dir / "demo-out.wav");
    EXPECT_EQ(in.size(), 176400u); // 4 s at 44.1 kHz
    EXPECT_EQ(out.size(), 176400u);
    EXPECT_NE(out, in);
    EXPECT_EQ(ReadBytes(dir / "demo.png").substr(1, 3), "PNG");
    EXPECT_NE(r.out.find("program 0 \"Female Vocal\""), std::string::npos) << r.out;
}
