// Builds the speech sample from the dialogue files.
#include "SpeechSample.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace
{
// Lines with plenty of sibilants, the two speakers taking turns.
const char* const kLines[] = {
    "bathroom/cs/br-m-zkusit",  "aztec/cs/bot-v-podivat",    "creatures/cs/kor-m-podivej",
    "corridor/cs/ch-v-pockej2", "floppy/cs/disk-m-tady",     "creatures/cs/kor-v-avidelas",
    "grail/cs/gr-m-zare0",      "dump/cs/sm-v-kramy3",       "kitchen/cs/kuch-m-premyslim1",
    "kitchen/cs/kuch-v-odsud0", "labyrinth/cs/bl-m-snecku0", "pavement/cs/dir-v-rada0",
    "pavement/cs/dir-m-rada0",  "start/cs/1st-v-takukaz",    "reactor/cs/rea-m-comyslis",
    "chest/cs/tru-v-truhla1"};
const int kSourceRate = 22050;
const int kTaps = 32; // per side of the interpolation filter

// Doubles the rate: the even samples are the input, the odd ones come from a
// Blackman-windowed sinc halfway between the neighbours.
std::vector<float> upsample2(const std::vector<float>& x)
{
    const double pi = 3.14159265358979323846;
    double h[2 * kTaps];
    for (int k = 0; k < 2 * kTaps; ++k)
    {
        const double t = k - kTaps + 0.5; // distance in input samples
        const double w =
            0.42 + 0.5 * std::cos(pi * t / kTaps) + 0.08 * std::cos(2 * pi * t / kTaps);
        h[k] = std::sin(pi * t) / (pi * t) * w;
    }
    const long n = (long)x.size();
    std::vector<float> y((size_t)n * 2);
    for (long i = 0; i < n; ++i)
    {
        y[(size_t)i * 2] = x[i];
        double acc = 0;
        for (int k = 0; k < 2 * kTaps; ++k)
        {
            const long j = i - kTaps + 1 + k;
            if (j >= 0 && j < n)
                acc += h[k] * x[j];
        }
        y[(size_t)i * 2 + 1] = (float)acc;
    }
    return y;
}
} // namespace

std::vector<float> SpeechSample(double peakDb)
{
    // The first channel of each line, then a pause.
    std::vector<float> x;
    for (const char* line : kLines)
    {
        SF_INFO info{};
        const std::string path = std::string("/usr/share/games/fillets-ng/sound/") + line + ".ogg";
        SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
        if (!f)
            return {};
        std::vector<float> all((size_t)info.frames * info.channels);
        sf_count_t n = sf_readf_float(f, all.data(), info.frames);
        sf_close(f);
        if (info.samplerate != kSourceRate)
            return {};
        for (sf_count_t i = 0; i < n; ++i)
            x.push_back(all[(size_t)i * info.channels]);
        x.insert(x.end(), kSourceRate / 5, 0.f);
    }
    std::vector<float> y = upsample2(x);
    float peak = 0;
    for (float v : y)
        peak = std::max(peak, std::fabs(v));
    const double gain = std::pow(10.0, peakDb / 20.0) / peak;
    for (float& v : y)
        v = (float)(v * gain);
    return y;
}
