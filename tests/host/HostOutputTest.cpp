// What the host writes and where: links written through with the old
// permissions kept, the format named by the extension, tags carried over,
// clipped samples counted.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
mode_t modeOf(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

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
    EXPECT_EQ(modeOf(dir / "real/take.wav"), 0640u);
    EXPECT_EQ(Names(dir / "real"), std::vector<std::string>{"take.wav"});

    // A plain file replaced with --force keeps its permissions.
    WriteBytes(dir / "plain.wav", "old");
    ASSERT_EQ(chmod((dir / "plain.wav").c_str(), 0600), 0);
    ASSERT_EQ(render(in, dir / "plain.wav", {"--force"}).status, 0);
    EXPECT_EQ(ReadSound(dir / "plain.wav").size(), 8820u);
    EXPECT_EQ(modeOf(dir / "plain.wav"), 0600u);

    // A link to standard output, as /dev/stdout is: the file behind standard
    // output gets the render and the link is not replaced.
    ASSERT_EQ(symlink("/proc/self/fd/1", (dir / "stdout.wav").c_str()), 0);
    r = RunShell("\"$DEESSER\" render " + in + " " + (dir / "stdout.wav") + " --plugin " +
                 FakePlugin(3) + " --force > " + (dir / "captured.wav"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "stdout.wav"));
    EXPECT_EQ(ReadSound(dir / "captured.wav").size(), 8820u);
}

// The extension names the container; the encoding is the input's where the
// format takes it, else PCM, or what --bits asks; --quality reaches the
// encoder. (The refusals are among the host's refusals.)
TEST(HostOutput, FormatFollowsTheExtension)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 48000, TestSignal(2, 48000, 9600));
    const std::pair<const char*, int> formats[] = {
        {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},   {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16},
        {"rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16}, {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
        {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16}, {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
        {"au", SF_FORMAT_AU | SF_FORMAT_PCM_16},     {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
        {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS}};
    for (const auto& [ext, format] : formats)
    {
        std::string out = dir / (std::string("out.") + ext);
        RunResult r = render(in, out);
        ASSERT_EQ(r.status, 0) << r.err;
        SF_INFO info;
        EXPECT_FALSE(ReadSound(out, &info).empty()) << ext;
        EXPECT_EQ(info.format & (SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK), format) << ext;
    }
    SF_INFO info;
    ASSERT_EQ(render(dir / "out.opus", dir / "from-opus.wav").status, 0);
    ReadSound(dir / "from-opus.wav", &info);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    ASSERT_EQ(render(dir / "out.ogg", dir / "b.flac", {"--bits", "16"}).status, 0);
    ReadSound(dir / "b.flac", &info);
    EXPECT_EQ(info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    ASSERT_EQ(render(in, dir / "q1.ogg", {"--quality", "1"}).status, 0);
    ASSERT_EQ(render(in, dir / "q9.ogg", {"--quality", "9"}).status, 0);
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
        const char* title = sf_get_string(f, SF_STR_TITLE);
        EXPECT_STREQ(title ? title : "", "Sibilant speech") << out;
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
        EXPECT_EQ(bext.time_reference_low, 172800000u);
        // The history goes on (libsndfile adds a line for each write).
        EXPECT_EQ(std::string(bext.coding_history, bext.coding_history_size)
                      .rfind("A=PCM,F=48000,W=24,M=stereo\r\n", 0),
                  0u);
    }
}

// The stand-in doubles the signal: every sample beyond half scale clips in
// an integer file and is kept (and reported) in a float one.
TEST(HostOutput, ClippedSamplesAreCounted)
{
    TempDir dir;
    std::vector<float> s = TestSignal(2, 44100, 22050);
    long long beyond = 0;
    for (float v : s)
        beyond += std::fabs(2 * v) > 1.0f;
    ASSERT_GT(beyond, 0);
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, s);

    RunResult r = render(in, dir / "int.wav", {"--bits", "16", "--set", "Gain=1"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string count = std::to_string(beyond);
    EXPECT_NE(r.out.find("clipped samples: " + count + "\n"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find(count + " samples clipped at full scale"), std::string::npos) << r.err;

    r = render(in, dir / "float.wav", {"--set", "Gain=1", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"overs_kept\":" + count), std::string::npos) << r.out;
    std::vector<float> y = ReadSound(dir / "float.wav");
    EXPECT_GT(*std::max_element(y.begin(), y.end()), 1.0f);
}
