// Second-order shelving/peaking section (cookbook formulas), one channel,
// direct form I. Coefficients are float; see CalcCoefficients for the exact
// order of operations the golden tests rely on.
#pragma once

class CBiquadFilter
{
public:
    enum Type
    {
        kLowShelf = 0,
        kPeaking = 1,
        kHighShelf = 2
    };

    CBiquadFilter();
    virtual ~CBiquadFilter() = default;

    // Computes and stores the coefficients; the state is left alone. An unknown
    // type re-normalises the stored coefficients by the stored raw a0.
    void CalcCoefficients(float sampleRate, float frequency, float gainDb, float q, int type);
    // Filters count samples. From the third sample on each output uses the two
    // previous inputs and outputs of the block; the first two use the state.
    // Counts of 0 and 1 are safe (0: nothing happens; 1: one step from the
    // state). The state ends as the last two inputs and outputs.
    void OperateFilter(const float* in, float* out, int count);
    // Runs numFilters (1 to 4) independent filters side by side, filters[k]
    // from in[k] to out[k], with exactly the arithmetic of OperateFilter on
    // each: the results equal numFilters separate calls. Several filters may
    // read the same input; no output may overlap another filter's input or
    // output. Faster than separate calls: the recursions overlap in one vector.
    static void OperateFilters(CBiquadFilter* const* filters, const float* const* in,
                               float* const* out, int numFilters, int count);
    void Reset();
    // True when the state holds a non-finite value.
    bool IsStateBad() const;

    // a0 raw; the other five divided by a0.
    float a0 = 1.f, a1 = 0.f, a2 = 0.f, b0 = 1.f, b1 = 0.f, b2 = 0.f;
    // x1, x2: last and second-last input; y1, y2: last and second-last output.
    float x1, x2, y1, y2;
};
