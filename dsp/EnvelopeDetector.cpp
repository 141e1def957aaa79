// One-pole smoothing coefficient from a time constant (ms) and a sample rate (Hz).
#include "EnvelopeDetector.h"

#include <cmath>

EnvelopeDetector::EnvelopeDetector(double timeConstantMs, double rate)
    : sampleRate(rate), timeConstant(timeConstantMs)
{
    // Not through the virtual slot: a derived detector is not built yet.
    EnvelopeDetector::setCoef();
}

void EnvelopeDetector::setTc(double ms)
{
    timeConstant = ms;
    setCoef();
}

void EnvelopeDetector::setSampleRate(double rate)
{
    sampleRate = rate;
    setCoef();
}

void EnvelopeDetector::setCoef()
{
    // A time of 0 divides by zero: exp(-inf) = 0, the envelope jumps to its target.
    coef = std::exp(-1000.0 / (timeConstant * 1.44 * sampleRate));
}
