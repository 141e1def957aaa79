// Real recorded speech for the tests and the accuracy study: sixteen lines of
// Czech dialogue by two actors (the game data package fillets-ng-data-cs,
// GPL-2), joined with 0.2 s pauses, 41.8 s in all, raised from 22050 Hz to
// 44100 Hz and scaled to a given peak. The package is a test dependency
// (scripts/setup.sh).
#pragma once

#include <vector>

constexpr int kSpeechRate = 44100;

// Mono samples at kSpeechRate with the largest |sample| at peakDb dBFS; empty
// when the dialogue files are missing.
std::vector<float> SpeechSample(double peakDb);
