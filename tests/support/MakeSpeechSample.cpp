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
    SF_INFO info{0, kSpeechRate, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0, 0};
    SNDFILE* f = y.empty() ? nullptr : sf_open(argv[1], SFM_WRITE, &info);
    if (!f || sf_writef_float(f, y.data(), (sf_count_t)y.size()) != (sf_count_t)y.size() ||
        sf_close(f) != 0)
    {
        std::fprintf(stderr, "make_speech_sample: cannot write %s%s\n", argv[1],
                     y.empty() ? " (no dialogue files: install fillets-ng-data-cs)" : "");
        return 1;
    }
    return 0;
}
