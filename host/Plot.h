// The demo's picture: input and output waveforms and the measured gain
// change over time, drawn with cairo into a PNG.
#pragma once

#include <string>
#include <vector>

struct PlotData
{
    double sampleRate = 44100;
    std::vector<float> input;  // mono samples
    std::vector<float> output; // mono samples
    double windowSeconds = 0.01;
    std::vector<double> bandGain; // dB per window, NaN where not measured
    std::vector<double> wideGain; // dB per window, NaN where not measured
    std::string title;
    std::string subtitle;
};

// Writes the plot; throws CHostError when the PNG cannot be written.
void WritePlot(const PlotData& data, const std::string& pngPath, int width = 1400,
               int height = 900);
