// render --target and analyze: the first pass's prediction against the
// render, the threshold search on a synthetic and a recorded voice at two
// levels, and both commands in batch, from standard input and as JSON.
#include "HostTestSupport.h"

#include "SpeechSample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <tuple>

namespace
{
// The number after "key": at the first match of each key in turn, so that
// "target", "reached", "sibilance_change_db" walks into nested objects.
double jsonNumber(const std::string& json, const std::vector<std::string>& keys, size_t from = 0)
{
    size_t at = from;
    for (const std::string& k : keys)
    {
        at = json.find("\"" + k + "\":", at);
        if (at == std::string::npos)
            return NAN;
        at += k.size() + 3;
    }
    return json.compare(at, 4, "null") == 0 ? NAN : std::strtod(json.c_str() + at, nullptr);
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        out.push_back(line);
    return out;
}

std::vector<float> scaled(std::vector<float> x, double gainDb)
{
    for (float& v : x)
        v *= (float)std::pow(10.0, gainDb / 20.0);
    return x;
}
} // namespace

// --target 6 on a synthetic and a recorded voice, 18 dB apart: the 5-9 kHz
// band comes down 6 dB at both levels with a side-chain and a split-band
// program, the threshold moves with the level, and the split-band report
// keeps the filters' fixed dip apart from the compression.
TEST(HostTarget, ReachesTheTargetAtAnyLevel)
{
    TempDir dir;
    // Peaks near -6 dBFS.
    const std::pair<int, std::vector<float>> signals[] = {{2, TestSignal(2, 44100, 176400)},
                                                          {1, SpeechSample(-6.0)}};
    ASSERT_FALSE(signals[1].second.empty()) << "no speech sample (install fillets-ng-data-cs)";
    for (const auto& [channels, samples] : signals)
        for (const std::string program : {"Female Vocal", "Split Male"})
        {
            double threshold[2];
            for (int k = 0; k < 2; ++k)
            {
                SCOPED_TRACE(program + (k ? " at -18 dB, " : ", ") + std::to_string(channels));
                WriteSound(dir / "in.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, channels, 44100,
                           scaled(samples, k ? -18.0 : 0.0));
                RunResult r =
                    RunDeEsser({"render", dir / "in.wav", dir / "out.wav", "--force", "--factory",
                                "--program-name", program, "--target", "6", "--json"});
                ASSERT_EQ(r.status, 0) << r.err;
                const double sib = jsonNumber(r.out, {"target", "reached", "sibilance_change_db"});
                EXPECT_NEAR(sib, -6.0, 0.3) << r.out;
                EXPECT_NEAR(jsonNumber(r.out, {"target", "predicted", "sibilance_change_db"}), sib,
                            0.1);
                threshold[k] = jsonNumber(r.out, {"target", "threshold_db"});
                const bool split = program == "Split Male";
                EXPECT_NEAR(jsonNumber(r.out, {"target", "fixed", "sibilance_change_db"}),
                            split ? -4.0 : 0.0, split ? 1.0 : 0.01);
                // On speech a split-band program holds the voice band.
                const double voice = jsonNumber(r.out, {"target", "reached", "voice_change_db"});
                EXPECT_TRUE(!split || channels == 2 || std::fabs(voice) < 0.7) << voice;
            }
            EXPECT_NEAR(threshold[0] - threshold[1], 18.0, 0.25) << program << channels;
        }
}

// --target in a batch (one JSON object per file), with gains and
// AutoThreshold, mono and stereo: the first pass predicts both bands of the
// render; from standard input, the text report.
TEST(HostTarget, BatchAndStandardInput)
{
    TempDir dir;
    const std::string a = dir / "a.wav", b = dir / "b.wav";
    WriteSound(a, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 44100, TestSignal(2, 44100, 88200));
    WriteSound(b, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 48000,
               scaled(TestSignal(1, 48000, 96000), -12.0));
    RunResult r = RunDeEsser({"render", a, b, "--out-dir", dir / "out", "--factory",
                              "--program-name", "Male Vocal", "--set", "Input=-6", "--set",
                              "Output=3", "--set", "AutoThreshold=ON", "--target", "5", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<std::string> objects = lines(r.out);
    ASSERT_EQ(objects.size(), 2u) << r.out;
    for (const std::string& o : objects)
        for (const char* band : {"sibilance_change_db", "voice_change_db"})
        {
            const double reached = jsonNumber(o, {"target", "reached", band});
            EXPECT_NEAR(jsonNumber(o, {"target", "predicted", band}), reached, 0.1) << o;
            EXPECT_TRUE(band[0] == 'v' || std::fabs(reached + 5) < 0.3) << o;
        }

    r = RunShell("\"$DEESSER\" render - " + (dir / "piped.wav") +
                 " --factory --program-name 'Split Male' --target 6 < " + a);
    ASSERT_EQ(r.status, 0) << r.err;
    for (const char* s : {"target: 5-9 kHz band down 6.0 dB", "  reached: sibilance -6.",
                          "fixed (split-band filters"})
        EXPECT_NE(r.out.find(s), std::string::npos) << s << " in " << r.out;
}

// analyze: one JSON object per file with levels, sibilance statistics and a
// threshold per program; the same threshold render --target then picks; the
// notes where the ratio cannot stay or the target is out of reach.
TEST(HostAnalyze, JsonShapeAndAgreementWithRender)
{
    TempDir dir;
    const std::string a = dir / "a.wav";
    WriteSound(a, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, TestSignal(2, 44100, 88200));
    RunResult r = RunShell("\"$DEESSER\" analyze " + a + " - --factory --json < " + a);
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<std::string> objects = lines(r.out);
    ASSERT_EQ(objects.size(), 2u) << r.out;
    for (const std::string& o : objects)
    {
        for (const char* key :
             {"\"levels\":{\"peak_dbfs\":", "\"sibilance\":{\"below_voice_db\":", "\"target_db\":6",
              "\"sibilant_energy_share\":", "\"key_peak_dbfs\":", "\"programs\":[{\"number\":0",
              "\"mode\":\"side-chain\"", "\"mode\":\"split-band\"",
              "\"fixed\":{\"sibilance_change_db\":", "\"warnings\":[]"})
            EXPECT_NE(o.find(key), std::string::npos) << key << " in " << o;
        EXPECT_EQ(o.find("\"reached\""), std::string::npos);
        EXPECT_EQ(Count(o, "\"number\":"), 17u); // the factory programs with names
    }
    // Standard input: the same file, the same figures.
    EXPECT_EQ(objects[0].substr(objects[0].find("\"levels\"")),
              objects[1].substr(objects[1].find("\"levels\"")));

    const size_t female = objects[0].find("\"name\":\"Female Vocal\"");
    const double analyzed = jsonNumber(objects[0], {"threshold_db"}, female);
    r = RunDeEsser({"render", a, dir / "out.wav", "--factory", "--program-name", "Female Vocal",
                    "--target", "6", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(jsonNumber(r.out, {"target", "threshold_db"}), analyzed);

    // A target below the split-band dip needs no compression, a program at
    // Ratio 1 cannot compress, and beyond what any setting does the deepest
    // one is used and said to fall short.
    const std::tuple<const char*, const char*, const char*, const char*> notes[] = {
        {"Split Male", "ON/OFF=ON", "2", "nothing is compressed (Ratio 1)"},
        {"Female Vocal", "Ratio=1", "6", "the program's Ratio 1.0 cannot reach the target"},
        {"Split Male", "ON/OFF=ON", "30", "out of reach: at most"},
    };
    for (const auto& [program, set, target, note] : notes)
    {
        r = RunDeEsser({"analyze", a, "--factory", "--program-name", program, "--set", set,
                        "--target", target});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find(note), std::string::npos) << r.out;
    }
}
