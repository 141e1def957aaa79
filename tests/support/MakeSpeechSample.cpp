// make_speech_sample OUT.wav PEAK_DB: writes the tests' speech sample as a
// 32-bit float WAV file (for the --target accuracy study,
// scripts/target-accuracy.sh).
#include "SpeechSample.h"

#include <sndfile.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: make_speech_sample OUT.wav PEAK_DB\n");
        return 2;
    }
    const std::vector<float> y = SpeechSample(std::atof(argv[2]));
    if (y.empty())
    {
        std::fprintf(stderr, "make_speech_sample: the dialogue files are missing "
                             "(install fillets-ng-data-cs)\n");
        return 1;
    }
    SF_INFO info{};
    info.samplerate = kSpeechRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* f = sf_open(argv[1], SFM_WRITE, &info);
    if (!f || sf_writef_float(f, y.data(), (sf_count_t)y.size()) != (sf_count_t)y.size() ||
        sf_close(f) != 0)
    {
        std::fprintf(stderr, "make_speech_sample: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
