// CVRXComp keyed by a mean-square window (5 ms) over the product of the two key
// channels.
#pragma once

#include "CVRXComp.h"

class CVRXCompRms : public CVRXComp
{
public:
    CVRXCompRms();

    void setSampleRate(double rate) override; // attack, release and window
    void initRuntime() override;
    virtual void setWindow(double ms);
    virtual double getWindow() const { return window.getTc(); }

    void ResetIfBad() override;

protected:
    double ProcessKeyed(float** in, float** out, const float* keyL, const float* keyR, int count,
                        bool externalKey) override;
    EnvelopeDetector window;
    double meanSquare = kTinyOffset;
};
