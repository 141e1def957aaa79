// Attack and release coefficients under the envelope's lock.
#include "AttRelEnvelope.h"

AttRelEnvelope::AttRelEnvelope(double attackMs, double releaseMs, double sampleRate)
    : attack(attackMs, sampleRate), release(releaseMs, sampleRate)
{
}

void AttRelEnvelope::setAttack(double ms)
{
    CSingleLock lock(m_Lock);
    attack.setTc(ms);
}

void AttRelEnvelope::setRelease(double ms)
{
    CSingleLock lock(m_Lock);
    release.setTc(ms);
}

void AttRelEnvelope::setSampleRate(double rate)
{
    CSingleLock lock(m_Lock);
    attack.setSampleRate(rate);
    release.setSampleRate(rate);
}
