// One-pole smoothing coefficient for a time constant in milliseconds:
// coef = exp(-1000 / (ms * 1.44 * rate)); 0 ms gives 0 (jump to target).
#pragma once

class EnvelopeDetector
{
public:
    EnvelopeDetector(double timeConstantMs = 1.0, double sampleRate = 44100.0);
    virtual ~EnvelopeDetector() = default;

    virtual void setTc(double ms);
    virtual double getTc() const { return timeConstant; }
    virtual void setSampleRate(double rate);
    virtual double getSampleRate() const { return sampleRate; }
    virtual void setCoef();

    double getCoef() const { return coef; }

protected:
    double sampleRate;   // Hz
    double timeConstant; // ms
    double coef;
};
