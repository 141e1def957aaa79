// What the host writes and where: links written through with the old
// permissions kept, the format named by the extension, tags carried over,
// clipped samples counted.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace
{
RunResult render(const std::string& in, const std::string& out, std::vector<std::string> extra = {})
{
    std::vector<std::string> args = {"render", in, out, "--plugin", FakePlugin(3)};
    args.insert(args.end(), extra.begin(), extra.end());
    return RunDeEsser(args);
}
} // namespace

TEST(HostOutput, LinksAreWrittenThroughAndPermissionsKept)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 4410));

    // A link to a take elsewhere: the take gets the render, the link stays,
    // no temporary is left beside the take.
    ASSERT_EQ(mkdir((dir / "real").c_str(), 0755), 0);
    WriteBytes(dir / "real/take.wav", "old");
    ASSERT_EQ(chmod((dir / "real/take.wav").c_str(), 0640), 0);
    ASSERT_EQ(symlink("real/take.wav", (dir / "out.wav").c_str()), 0);
    RunResult r = render(in, dir / "out.wav", {"--force"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "out.wav"));
    EXPECT_EQ(ReadSound(dir / "real/take.wav").size(), 8820u);
    EXPECT_EQ(std::filesystem::status(dir / "real/take.wav").permissions(),
              std::filesystem::perms(0640));
    EXPECT_EQ(Names(dir / "real"), std::vector<std::string>{"take.wav"});

    // A plain file replaced with --force keeps its permissions.
    WriteBytes(dir / "plain.wav", "old");
    ASSERT_EQ(chmod((dir / "plain.wav").c_str(), 0600), 0);
    ASSERT_EQ(render(in, dir / "plain.wav", {"--force"}).status, 0);
    EXPECT_EQ(ReadSound(dir / "plain.wav").size(), 8820u);
    EXPECT_EQ(std::filesystem::status(dir / "plain.wav").permissions(),
              std::filesystem::perms(0600));

    // A link to standard output, as /dev/stdout is: the file behind standard
    // output gets the render and the link is not replaced.
    ASSERT_EQ(symlink("/proc/self/fd/1", (dir / "stdout.wav").c_str()), 0);
    r = RunShell("\"$DEESSER\" render " + in + " " + (dir / "stdout.wav") + " --plugin " +
                 FakePlugin(3) + " --force > " + (dir / "captured.wav"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "stdout.wav"));
    EXPECT_EQ(ReadSound(dir / "captured.wav").size(), 8820u);
}

// Input format -> output extension -> output format: the input's encoding
// where the container takes it, else PCM, or what --bits asks. The stand-in
// passes or inverts the audio, so a lossless output comes back sample for
// sample (within its precision) only if the audio went through the plug-in;
// channels (mono and stereo), rate and length stay.
TEST(HostOutput, FormatsRoundTrip)
{
    const double k16 = 2.0 / 32768, k24 = 2.0 / 8388608, lossy = -1;
    const int wav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16, wavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT,
              flac24 = SF_FORMAT_FLAC | SF_FORMAT_PCM_24, opus = SF_FORMAT_OGG | SF_FORMAT_OPUS,
              vorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS, aiff16 = SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
    struct Row
    {
        int in;
        const char *inExt, *outExt;
        int rate, out;
        double tolerance;
        const char* bits; // --bits, if not empty
    };
    const Row rows[] = {
        {wav16, "wav", "wav", 44100, wav16, k16, ""},
        {wavFloat, "wav", "wav", 96000, wavFloat, 0, ""},
        {flac24, "flac", "flac", 22050, flac24, k24, ""},
        {aiff16, "aif", "aiff", 48000, aiff16, k16, ""},
        {wavFloat, "wav", "flac", 44100, flac24, k24, ""},
        {wav16, "wav", "w64", 48000, SF_FORMAT_W64 | SF_FORMAT_PCM_16, k16, ""},
        {wav16, "wav", "rf64", 48000, SF_FORMAT_RF64 | SF_FORMAT_PCM_16, k16, ""},
        {wav16, "wav", "caf", 48000, SF_FORMAT_CAF | SF_FORMAT_PCM_16, k16, ""},
        {wav16, "wav", "au", 48000, SF_FORMAT_AU | SF_FORMAT_PCM_16, k16, ""},
        {wav16, "wav", "ogg", 48000, vorbis, lossy, ""},
        {wav16, "wav", "opus", 48000, opus, lossy, ""},
        {opus, "opus", "wav", 48000, SF_FORMAT_WAV | SF_FORMAT_PCM_24, lossy, ""},
        {vorbis, "ogg", "flac", 44100, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, lossy, "16"},
    };
    TempDir dir;
    int n = 0;
    for (const Row& row : rows)
    {
        const int channels = 1 + n % 2;
        const bool invert = n % 3 == 0;
        const std::string in = dir / (std::to_string(n) + "." + row.inExt),
                          out = dir / (std::to_string(n++) + "-out." + row.outExt);
        // Not a whole number of blocks.
        WriteSound(in, row.in, channels, row.rate,
                   TestSignal(channels, row.rate, row.rate / 2 + 123));
        std::vector<std::string> extra = {"--set", invert ? "Gain=0.25" : "Gain=0.75", "--block",
                                          "1000"};
        if (*row.bits)
            extra.insert(extra.end(), {"--bits", row.bits});
        RunResult r = render(in, out, extra);
        ASSERT_EQ(r.status, 0) << r.err;
        SF_INFO a, b;
        const std::vector<float> x = ReadSound(in, &a), y = ReadSound(out, &b);
        EXPECT_EQ(b.format, row.out) << out;
        EXPECT_EQ(std::tie(b.samplerate, b.channels, b.frames),
                  std::tie(a.samplerate, a.channels, a.frames))
            << out;
        ASSERT_EQ(y.size(), x.size()) << out;
        for (size_t i = 0; row.tolerance != lossy && i < x.size(); ++i)
            ASSERT_NEAR(y[i], invert ? -x[i] : x[i], row.tolerance) << out << " at " << i;
    }
    // --quality reaches the encoder.
    ASSERT_EQ(render(dir / "0.wav", dir / "q1.ogg", {"--quality", "1"}).status, 0);
    ASSERT_EQ(render(dir / "0.wav", dir / "q9.ogg", {"--quality", "9"}).status, 0);
    EXPECT_LT(ReadBytes(dir / "q1.ogg").size(), ReadBytes(dir / "q9.ogg").size());
}

// Text tags, the broadcast extension and, for a four-channel file, the
// speaker positions (and the extensible header) are carried over.
TEST(HostOutput, TagsBroadcastExtensionAndChannelMapAreCarriedOver)
{
    TempDir dir;
    const int map[4] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_REAR_LEFT,
                        SF_CHANNEL_MAP_REAR_RIGHT};
    WriteSound(
        dir / "in.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 4, 48000, TestSignal(4, 48000, 4800),
        [&map](SNDFILE* f)
        {
            SF_BROADCAST_INFO_VAR(256) bext{};
            std::strcpy(bext.description, "Interview take 3");
            std::strcpy(bext.originator, "Field recorder");
            bext.time_reference_low = 172800000; // one hour at 48 kHz
            std::strcpy(bext.coding_history, "A=PCM,F=48000,W=24,M=stereo\r\n");
            bext.coding_history_size = (uint32_t)std::strlen(bext.coding_history);
            ASSERT_EQ(sf_command(f, SFC_SET_BROADCAST_INFO, &bext, sizeof(bext)), SF_TRUE);
            ASSERT_EQ(sf_command(f, SFC_SET_CHANNEL_MAP_INFO, (void*)map, sizeof(map)), SF_TRUE);
            sf_set_string(f, SF_STR_TITLE, "Sibilant speech");
        });
    for (const std::string out : {"out.wav", "out.flac"})
    {
        ASSERT_EQ(render(dir / "in.wav", dir / out).status, 0);
        SF_INFO info{};
        SNDFILE* f = sf_open((dir / out).c_str(), SFM_READ, &info);
        ASSERT_NE(f, nullptr);
        EXPECT_STREQ(sf_get_string(f, SF_STR_TITLE), "Sibilant speech") << out;
        int got[4] = {};
        sf_command(f, SFC_GET_CHANNEL_MAP_INFO, got, sizeof(got));
        SF_BROADCAST_INFO_VAR(256) bext{};
        bool hasBext = sf_command(f, SFC_GET_BROADCAST_INFO, &bext, sizeof(bext)) == SF_TRUE;
        sf_close(f);
        if (out == "out.flac") // FLAC has no broadcast chunk and no speaker positions
            continue;
        EXPECT_TRUE(std::equal(map, map + 4, got));
        EXPECT_EQ(info.format, SF_FORMAT_WAVEX | SF_FORMAT_PCM_24);
        ASSERT_TRUE(hasBext);
        EXPECT_STREQ(bext.description, "Interview take 3");
        EXPECT_STREQ(bext.originator, "Field recorder");
        EXPECT_EQ(bext.time_reference_low, 172800000u);
        // The history goes on (libsndfile adds a line for each write).
        EXPECT_EQ(std::string(bext.coding_history, 29), "A=PCM,F=48000,W=24,M=stereo\r\n");
    }
}

// A float input up to 2.5 times full scale, halved by the stand-in: the
// summary shows every level 6 dB down (the largest reduction too), and every
// output sample still beyond full scale clips in an integer file and is kept
// (and reported) in a float one.
TEST(HostOutput, SummaryAndClippedSamples)
{
    TempDir dir;
    std::vector<float> s = TestSignal(2, 44100, 22050);
    long long beyond = 0;
    for (float& v : s)
    {
        v *= 5;
        beyond += std::fabs(0.5f * v) > 1.0f;
    }
    ASSERT_GT(beyond, 0);
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, s);

    RunResult r = render(in, dir / "int.wav", {"--bits", "16", "--set", "gain=0.625"});
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* row : {"peak", "RMS", "sibilance band 5-9 kHz", "voice band 100-3000 Hz"})
    {
        const size_t at = r.out.find(row);
        EXPECT_NE(r.out.substr(at, r.out.find('\n', at) - at).find("-6.0 dB"), std::string::npos)
            << r.out;
    }
    const std::string count = std::to_string(beyond);
    EXPECT_NE(r.out.find("largest gain reduction: 6.0 dB"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("clipped samples: " + count + "\n"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find(count + " samples clipped at full scale"), std::string::npos) << r.err;

    r = render(in, dir / "float.wav", {"--set", "Gain=0.625", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"overs_kept\":" + count), std::string::npos) << r.out;
    std::vector<float> y = ReadSound(dir / "float.wav");
    EXPECT_GT(*std::max_element(y.begin(), y.end()), 1.0f);
}
