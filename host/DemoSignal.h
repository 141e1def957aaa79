// A synthetic sibilant voice for the demo and the benchmark: vowels of
// formant-shaped harmonics over a vibrato'ed, gliding fundamental, with
// band-limited 5-9 kHz noise bursts standing for "s" sounds between them.
#pragma once

#include <vector>

struct DemoSegment
{
    double start, end; // seconds
    bool sibilant;     // an "s" burst; otherwise a vowel
};

// The segments of the demo phrase, in time order.
const std::vector<DemoSegment>& DemoSegments();

// Mono samples at sampleRate, about seconds long (the phrase is 4 s; longer
// requests repeat it). Deterministic: the same call gives the same samples.
std::vector<float> SynthesiseDemo(double sampleRate, double seconds = 4.0);
