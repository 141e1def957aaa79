// An attack and a release coefficient under one lock (second in lock order,
// after the effect's).
#pragma once

#include "CCriticalSection.h"
#include "EnvelopeDetector.h"

class AttRelEnvelope
{
public:
    AttRelEnvelope(double attackMs, double releaseMs, double sampleRate);
    virtual ~AttRelEnvelope() = default;

    virtual void setAttack(double ms);
    virtual double getAttack() const { return attack.getTc(); }
    virtual void setRelease(double ms);
    virtual double getRelease() const { return release.getTc(); }
    virtual void setSampleRate(double rate);
    virtual double getSampleRate() const { return attack.getSampleRate(); }

protected:
    CCriticalSection m_Lock;
    EnvelopeDetector attack;
    EnvelopeDetector release;
};
