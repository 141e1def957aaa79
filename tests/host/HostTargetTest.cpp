// render --target and analyze: the first-pass model against the plug-in
// itself, the threshold search on a synthetic and a recorded voice at two
// levels, and both commands in batch, from standard input and as JSON.
#include "HostTestSupport.h"

#include "ParamValue.h"
#include "SpeechSample.h"
#include "ThresholdSearch.h"
#include "VstHost.h"

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
    const float g = (float)std::pow(10.0, gainDb / 20.0);
    for (float& v : x)
        v *= g;
    return x;
}

// Band energies of a channel of interleaved samples.
void bandEnergies(const std::vector<float>& x, int channels, int c, int rate, double& sib,
                  double& voice)
{
    CBandFilter s(5000, 9000, rate), v(100, 3000, rate);
    sib = voice = 0;
    for (size_t i = c; i < x.size(); i += channels)
    {
        const double a = s.Run(x[i]), b = v.Run(x[i]);
        sib += a * a;
        voice += b * b;
    }
}
} // namespace

// The model's predicted band changes equal what the plug-in does, through its
// VST entry, in side-chain mode (with gains and AutoThreshold) and split-band
// mode, mono and stereo.
TEST(HostTargetModel, PredictsThePlugInsBandChanges)
{
    REQUIRE_DEESSER();
    const int rate = 44100, frames = 88200;
    const std::pair<int, std::vector<std::string>> cases[] = {
        {2,
         {"SideChain=ON", "AutoThreshold=OFF", "Threshold=-22", "Ratio=4", "AttackTime=0.5",
          "ReleaseTime=0.08", "LowFreq=6000", "HiFreq=10000"}},
        {1,
         {"SideChain=ON", "AutoThreshold=ON", "Threshold=-40", "Ratio=2", "Input=-6", "Output=3",
          "LowFreq=4500", "HiFreq=8000"}},
        {2,
         {"SideChain=OFF", "AutoThreshold=OFF", "Threshold=-38", "Ratio=8", "AttackTime=1",
          "ReleaseTime=0.1", "LowFreq=5800", "HiFreq=9000"}},
    };
    for (const auto& [channels, sets] : cases)
    {
        SCOPED_TRACE(sets[0] + " " + sets[2] + ", channels " + std::to_string(channels));
        const std::vector<float> x = TestSignal(channels, rate, frames);
        CVstHost host(DeEsserPath());
        host.Open();
        host.Prepare(rate, 512);
        for (const std::string& s : sets)
            ApplySetting(host, s);
        host.Start();
        const EffectSettings settings = ReadEffectSettings(host);
        std::vector<float> y(x.size()), l(512), r(512), ol(512), orr(512);
        for (int at = 0; at < frames; at += 512)
        {
            const int n = std::min(512, frames - at);
            for (int i = 0; i < n; ++i)
            {
                l[i] = x[(size_t)(at + i) * channels];
                r[i] = x[(size_t)(at + i) * channels + channels - 1];
            }
            float* ins[2] = {l.data(), r.data()};
            float* outs[2] = {ol.data(), orr.data()};
            host.Process(ins, outs, n);
            for (int i = 0; i < n; ++i)
            {
                y[(size_t)(at + i) * channels] = ol[i];
                y[(size_t)(at + i) * channels + channels - 1] = orr[i];
            }
        }
        host.Stop();

        CFileModel model(settings, rate, channels, {{0, channels == 2 ? 1 : -1}});
        model.Add(x.data(), frames);
        model.Finish();
        double sibIn = 0, voiceIn = 0, sibOut = 0, voiceOut = 0;
        for (int c = 0; c < channels; ++c)
        {
            double s, v;
            bandEnergies(x, channels, c, rate, s, v);
            sibIn += s, voiceIn += v;
            bandEnergies(y, channels, c, rate, s, v);
            sibOut += s, voiceOut += v;
        }
        const BandChange p = model.Predict(settings.ThresholdDb(), settings.Ratio());
        const double sib = 10 * std::log10(sibOut / sibIn),
                     voice = 10 * std::log10(voiceOut / voiceIn);
        EXPECT_LT(sib, -2.0); // the case compresses
        EXPECT_NEAR(p.sibilance, sib, 0.1);
        EXPECT_NEAR(p.voice, voice, 0.1);
    }
}

// --target 6 on a synthetic and a recorded voice, 18 dB apart: the 5-9 kHz
// band comes down 6 dB at both levels with a side-chain and a split-band
// program, the threshold moves with the level, and the split-band report
// keeps the filters' fixed dip apart from the compression.
TEST(HostTarget, ReachesTheTargetAtAnyLevel)
{
    REQUIRE_DEESSER();
    TempDir dir;
    struct Signal
    {
        const char* name;
        int channels;
        std::vector<float> samples; // peak near -6 dBFS
    };
    std::vector<Signal> signals = {{"synthetic", 2, TestSignal(2, 44100, 176400)}};
    if (SpeechSampleAvailable())
        signals.push_back({"speech", 1, SpeechSample(-6.0)});
    else
        ADD_FAILURE() << "the speech sample is missing (install fillets-ng-data-cs)";
    for (const Signal& s : signals)
        for (const char* program : {"Female Vocal", "Split Male"})
        {
            double threshold[2];
            for (int k = 0; k < 2; ++k)
            {
                SCOPED_TRACE(std::string(s.name) + ", " + program + (k ? ", -18 dB" : ""));
                const std::string in = dir / "in.wav", out = dir / "out.wav";
                WriteSound(in, SF_FORMAT_WAV | SF_FORMAT_FLOAT, s.channels, 44100,
                           scaled(s.samples, k ? -18.0 : 0.0));
                RunResult r = RunDeEsser({"render", in, out, "--force", "--factory",
                                          "--program-name", program, "--target", "6", "--json"});
                ASSERT_EQ(r.status, 0) << r.err;
                const double sib = jsonNumber(r.out, {"target", "reached", "sibilance_change_db"});
                const double predicted =
                    jsonNumber(r.out, {"target", "predicted", "sibilance_change_db"});
                const double fixed = jsonNumber(r.out, {"target", "fixed", "sibilance_change_db"});
                EXPECT_NEAR(sib, -6.0, 0.3) << r.out;
                EXPECT_NEAR(predicted, sib, 0.1);
                threshold[k] = jsonNumber(r.out, {"target", "threshold_db"});
                if (std::string(program) == "Split Male")
                {
                    EXPECT_LT(fixed, -3.0);
                    EXPECT_GT(fixed, -5.0);
                    if (s.channels == 1)
                    {
                        // On speech the voice band holds.
                        const double voice =
                            jsonNumber(r.out, {"target", "reached", "voice_change_db"});
                        EXPECT_LT(std::fabs(voice), 0.7);
                    }
                }
                else
                {
                    EXPECT_NEAR(fixed, 0.0, 0.01);
                }
            }
            EXPECT_NEAR(threshold[0] - threshold[1], 18.0, 0.25) << s.name << ", " << program;
        }
}

// --target in a batch and from standard input, and its refusals.
TEST(HostTarget, BatchStandardInputAndErrors)
{
    REQUIRE_DEESSER();
    TempDir dir;
    const std::string a = dir / "a.wav", b = dir / "b.wav";
    WriteSound(a, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 2, 44100, TestSignal(2, 44100, 88200));
    WriteSound(b, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 48000,
               scaled(TestSignal(1, 48000, 96000), -12.0));
    RunResult r = RunDeEsser({"render", a, b, "--out-dir", dir / "out", "--factory",
                              "--program-name", "Male Vocal", "--target", "5", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<std::string> objects = lines(r.out);
    ASSERT_EQ(objects.size(), 2u) << r.out;
    for (int k = 0; k < 2; ++k)
        EXPECT_NEAR(jsonNumber(objects[k], {"target", "reached", "sibilance_change_db"}), -5.0, 0.3)
            << objects[k];

    r = RunShell("\"$DEESSER\" render - " + (dir / "piped.wav") +
                 " --factory --program-name 'Split Male' --target 6 < " + a);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("target: 5-9 kHz band down 6.0 dB"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  reached: sibilance -6."), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("fixed (split-band filters"), std::string::npos) << r.out;

    r = RunDeEsser({"render", a, dir / "x.wav", "--plugin", FakePlugin(3), "--target", "6"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--target needs the de-esser"), std::string::npos) << r.err;
    r = RunDeEsser({"render", a, dir / "x.wav", "--target", "90"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--target"), std::string::npos) << r.err;
    EXPECT_FALSE(Exists(dir / "x.wav"));
}

// analyze: one JSON object per file with levels, sibilance statistics and a
// threshold per program; the same threshold render --target then picks; a
// target below the split-band dip needs no compression (Ratio 1).
TEST(HostAnalyze, JsonShapeAndAgreementWithRender)
{
    REQUIRE_DEESSER();
    TempDir dir;
    const std::string a = dir / "a.wav";
    WriteSound(a, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, 44100, TestSignal(2, 44100, 88200));
    RunResult r = RunShell("\"$DEESSER\" analyze " + a + " - --factory --json < " + a);
    ASSERT_EQ(r.status, 0) << r.err;
    std::vector<std::string> objects = lines(r.out);
    ASSERT_EQ(objects.size(), 2u) << r.out;
    for (int k = 0; k < 2; ++k)
    {
        const std::string& o = objects[k];
        for (const char* key :
             {"\"levels\":{\"peak_dbfs\":", "\"sibilance\":{\"below_voice_db\":",
              "\"sibilant_energy_share\":", "\"target_db\":6", "\"programs\":[{\"number\":0",
              "\"mode\":\"side-chain\"", "\"mode\":\"split-band\"",
              "\"key_peak_dbfs\":", "\"fixed\":{\"sibilance_change_db\":", "\"warnings\":[]"})
            EXPECT_NE(o.find(key), std::string::npos) << key << " in " << o;
        EXPECT_EQ(o.find("\"reached\""), std::string::npos);
        EXPECT_EQ(Count(o, "\"number\":"), 17u); // the factory programs with names
    }
    EXPECT_EQ(objects[0].substr(objects[0].find("\"levels\"")),
              objects[1].substr(objects[1].find("\"levels\""))); // stdin: the same file

    const size_t female = objects[0].find("\"name\":\"Female Vocal\"");
    const double analyzed = jsonNumber(objects[0], {"threshold_db"}, female);
    r = RunDeEsser({"render", a, dir / "out.wav", "--factory", "--program-name", "Female Vocal",
                    "--target", "6", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(jsonNumber(r.out, {"target", "threshold_db"}), analyzed);

    // The ratio changes only where needed: a target below the split-band dip
    // needs none, a program at Ratio 1 cannot compress, and beyond what any
    // setting does the deepest one is used and said to fall short.
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
