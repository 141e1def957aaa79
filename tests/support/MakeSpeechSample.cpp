// make_speech_sample OUT.wav PEAK_DB: writes the tests' speech sample (for the
// --target accuracy study, scripts/target-accuracy.sh).
#include "SpeechSample.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: make_speech_sample OUT.wav PEAK_DB\n");
        return 2;
    }
    if (!SpeechSampleAvailable())
    {
        std::fprintf(stderr, "make_speech_sample: the dialogue files are missing "
                             "(install fillets-ng-data-cs)\n");
        return 1;
    }
    if (!WriteSpeechSample(argv[1], std::atof(argv[2])))
    {
        std::fprintf(stderr, "make_speech_sample: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
