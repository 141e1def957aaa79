// What the host writes and where: links written through with the old
// permissions kept, the format named by the extension, tags carried over,
// clipped samples counted.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
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

bool isLink(const std::string& path)
{
    struct stat st;
    return lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

std::vector<std::string> renderArgs(const std::string& in, const std::string& out,
                                    std::vector<std::string> extra = {})
{
    std::vector<std::string> args = {"render", in, out, "--plugin", FakePlugin(3)};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}
} // namespace

TEST(HostOutput, LinksAreWrittenThroughAndPermissionsKept)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, 44100, TestSignal(2, 44100, 4410));

    // A link to a take elsewhere: the take gets the render, the link stays.
    ASSERT_EQ(mkdir((dir / "real").c_str(), 0755), 0);
    WriteBytes(dir / "real/take.wav", "old");
    ASSERT_EQ(chmod((dir / "real/take.wav").c_str(), 0640), 0);
    ASSERT_EQ(symlink("real/take.wav", (dir / "out.wav").c_str()), 0);
    RunResult r = RunDeEsser(renderArgs(in, dir / "out.wav", {"--force"}));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(isLink(dir / "out.wav"));
    EXPECT_EQ(ReadSound(dir / "real/take.wav").size(), 8820u);
    EXPECT_EQ(modeOf(dir / "real/take.wav"), 0640u);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir / "real"), {}), 1);

    // A plain file replaced with --force keeps its permissions.
    WriteBytes(dir / "plain.wav", "old");
    ASSERT_EQ(chmod((dir / "plain.wav").c_str(), 0600), 0);
    ASSERT_EQ(RunDeEsser(renderArgs(in, dir / "plain.wav", {"--force"})).status, 0);
    EXPECT_EQ(modeOf(dir / "plain.wav"), 0600u);

    // A link to standard output, as /dev/stdout is: the file behind standard
    // output gets the render and the link is not replaced.
    ASSERT_EQ(symlink("/proc/self/fd/1", (dir / "stdout.wav").c_str()), 0);
    r = RunShell("\"$DEESSER\" render " + in + " " + (dir / "stdout.wav") + " --plugin " +
                 FakePlugin(3) + " --force > " + (dir / "captured.wav"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(isLink(dir / "stdout.wav"));
    EXPECT_EQ(ReadSound(dir / "captured.wav").size(), 8820u);
}

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
        SCOPED_TRACE(ext);
        std::string out = dir / (std::string("out.") + ext);
        RunResult r = RunDeEsser(renderArgs(in, out));
        ASSERT_EQ(r.status, 0) << r.err;
        SF_INFO info;
        EXPECT_FALSE(ReadSound(out, &info).empty());
        EXPECT_EQ(info.format & (SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK), format);
    }
    // Lossy input into a PCM container becomes PCM; --bits chooses it.
    SF_INFO info;
    ASSERT_EQ(RunDeEsser(renderArgs(dir / "out.opus", dir / "from-opus.wav")).status, 0);
    ReadSound(dir / "from-opus.wav", &info);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    ASSERT_EQ(RunDeEsser(renderArgs(dir / "out.ogg", dir / "b.flac", {"--bits", "16"})).status, 0);
    ReadSound(dir / "b.flac", &info);
    EXPECT_EQ(info.format, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    // --quality reaches the encoder.
    ASSERT_EQ(RunDeEsser(renderArgs(in, dir / "q1.ogg", {"--quality", "1"})).status, 0);
    ASSERT_EQ(RunDeEsser(renderArgs(in, dir / "q9.ogg", {"--quality", "9"})).status, 0);
    EXPECT_LT(ReadBytes(dir / "q1.ogg").size(), ReadBytes(dir / "q9.ogg").size());

    // Refused before anything is written.
    const std::pair<std::vector<std::string>, const char*> refused[] = {
        {renderArgs(in, dir / "x.xyz"), "unknown extension .xyz; formats written: wav, w64"},
        {renderArgs(in, dir / "noext"), "no extension"},
        {renderArgs(in, dir / "x.flac", {"--bits", "float"}), "cannot hold float"},
        {renderArgs(in, dir / "x.wav", {"--quality", "3"}), "lossy outputs"},
        {renderArgs(in, dir / "x.mp3", {"--bits", "24"}), "lossy format"}};
    for (const auto& [args, message] : refused)
    {
        RunResult r = RunDeEsser(args);
        EXPECT_EQ(r.status, 1);
        EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    }
    EXPECT_FALSE(Exists(dir / "x.xyz") || Exists(dir / "noext") || Exists(dir / "x.flac") ||
                 Exists(dir / "x.wav"));
}

TEST(HostOutput, TagsAndBroadcastExtensionAreCarriedOver)
{
    TempDir dir;
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 48000, TestSignal(2, 48000, 4800),
               [](SNDFILE* f)
               {
                   SF_BROADCAST_INFO_VAR(256) bext{};
                   std::strcpy(bext.description, "Interview take 3");
                   std::strcpy(bext.originator, "Field recorder");
                   bext.time_reference_low = 172800000; // one hour at 48 kHz
                   std::strcpy(bext.coding_history, "A=PCM,F=48000,W=24,M=stereo\r\n");
                   bext.coding_history_size = (uint32_t)std::strlen(bext.coding_history);
                   ASSERT_EQ(sf_command(f, SFC_SET_BROADCAST_INFO, &bext, sizeof(bext)), SF_TRUE);
                   sf_set_string(f, SF_STR_TITLE, "Sibilant speech");
               });
    for (const char* out : {"out.wav", "out.flac"})
    {
        SCOPED_TRACE(out);
        ASSERT_EQ(RunDeEsser(renderArgs(in, dir / out)).status, 0);
        SF_INFO info{};
        SNDFILE* f = sf_open((dir / out).c_str(), SFM_READ, &info);
        ASSERT_NE(f, nullptr);
        const char* title = sf_get_string(f, SF_STR_TITLE);
        EXPECT_STREQ(title ? title : "", "Sibilant speech");
        SF_BROADCAST_INFO_VAR(256) bext{};
        bool hasBext = sf_command(f, SFC_GET_BROADCAST_INFO, &bext, sizeof(bext)) == SF_TRUE;
        EXPECT_EQ(hasBext, std::string(out) == "out.wav"); // FLAC has no broadcast chunk
        if (hasBext)
        {
            EXPECT_STREQ(bext.description, "Interview take 3");
            EXPECT_STREQ(bext.originator, "Field recorder");
            EXPECT_EQ(bext.time_reference_low, 172800000u);
            // The history goes on (libsndfile adds a line for each write).
            EXPECT_EQ(std::string(bext.coding_history, bext.coding_history_size)
                          .rfind("A=PCM,F=48000,W=24,M=stereo\r\n", 0),
                      0u);
        }
        sf_close(f);
    }
}

// A four-channel WAV with its speaker positions keeps them (and its
// extensible header).
TEST(HostOutput, ChannelMapIsCarriedOver)
{
    TempDir dir;
    const int map[4] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_REAR_LEFT,
                        SF_CHANNEL_MAP_REAR_RIGHT};
    WriteSound(
        dir / "in.wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 4, 48000, TestSignal(4, 48000, 4800),
        [&map](SNDFILE* f)
        { ASSERT_EQ(sf_command(f, SFC_SET_CHANNEL_MAP_INFO, (void*)map, sizeof(map)), SF_TRUE); });
    ASSERT_EQ(RunDeEsser(renderArgs(dir / "in.wav", dir / "out.wav")).status, 0);
    SF_INFO info{};
    SNDFILE* f = sf_open((dir / "out.wav").c_str(), SFM_READ, &info);
    ASSERT_NE(f, nullptr);
    int got[4] = {};
    EXPECT_EQ(sf_command(f, SFC_GET_CHANNEL_MAP_INFO, got, sizeof(got)), SF_TRUE);
    sf_close(f);
    EXPECT_EQ(info.format, SF_FORMAT_WAVEX | SF_FORMAT_PCM_24);
    EXPECT_TRUE(std::equal(map, map + 4, got));
}

// The gain stand-in doubles the signal: every sample beyond half scale
// clips in an integer file and is kept (and reported) in a float one.
TEST(HostOutput, ClippedSamplesAreCountedAndCanFail)
{
    TempDir dir;
    std::vector<float> s = TestSignal(2, 44100, 22050);
    long long beyond = 0;
    for (float v : s)
        beyond += std::fabs(2 * v) > 1.0f;
    ASSERT_GT(beyond, 0);
    std::string in = dir / "in.wav";
    WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, s);

    RunResult r = RunDeEsser(renderArgs(in, dir / "int.wav", {"--bits", "16", "--set", "Gain=1"}));
    ASSERT_EQ(r.status, 0) << r.err;
    std::string count = std::to_string(beyond);
    EXPECT_NE(r.out.find("clipped samples: " + count + "\n"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find(count + " samples clipped at full scale"), std::string::npos) << r.err;

    r = RunDeEsser(renderArgs(in, dir / "float.wav", {"--set", "Gain=1", "--json"}));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("\"overs_kept\":" + count), std::string::npos) << r.out;
    std::vector<float> y = ReadSound(dir / "float.wav");
    EXPECT_GT(*std::max_element(y.begin(), y.end()), 1.0f);

    r = RunDeEsser(
        renderArgs(in, dir / "fail.wav", {"--bits", "24", "--set", "Gain=1", "--fail-on-clip"}));
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--fail-on-clip"), std::string::npos) << r.err;
    EXPECT_FALSE(Exists(dir / "fail.wav"));
}
