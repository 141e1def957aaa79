// Choosing a de-esser program's Threshold (and its Ratio where needed) so that
// a file's 5-9 kHz band comes down by a given amount, from one pass of
// measurements over the file (CSibilanceModel), before it is rendered.
#pragma once

#include "SibilanceModel.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

class CJsonWriter;
class CVstHost;
struct FileJob;

// The program's settings as the plug-in holds them now.
EffectSettings ReadEffectSettings(CVstHost& host);

// The models of one file: one per plug-in instance (a channel pair, or one
// channel fed to both inputs). Levels and changes cover the channels the
// instances take; channels passed through do not count.
class CFileModel
{
public:
    // lanes: the channels of each instance, second -1 for one channel.
    CFileModel(const EffectSettings& settings, int sampleRate, int channels,
               const std::vector<std::pair<int, int>>& lanes);
    void Add(const float* interleaved, long long frames); // channels as given
    void Finish();

    BandChange Predict(double thresholdDb, double ratio) const;
    BandChange Fixed() const; // no compression: split-band dip and gains
    bool Usable() const;      // a 5-9 kHz band to measure (rate high enough, not silent)
    double SibilanceEnergy() const;
    double VoiceEnergy() const;
    // Key levels of the loudest instance (dBFS).
    double KeyPeakDb() const;
    double KeyLoudDb() const;
    const EffectSettings& Settings() const { return m_Settings; }
    bool PassesChannelsThrough() const { return m_PassedThrough; }

private:
    EffectSettings m_Settings;
    int m_Channels;
    std::vector<std::pair<int, int>> m_Lanes;
    std::vector<std::unique_ptr<CSibilanceModel>> m_Models;
    bool m_PassedThrough = false;
    std::vector<float> m_Lane;
};

struct TargetChoice
{
    double targetDb = 6;           // the reduction asked for (positive dB)
    double thresholdDb = 0;        // chosen
    double ratio = 1;              // chosen
    double programThresholdDb = 0; // the program's own
    double programRatio = 1;       // the program's own
    BandChange predicted;          // with the chosen values
    BandChange fixed;              // the part without compression
    bool reachable = false;        // the target can be met
    std::string note;              // why the ratio changed, or why the target is out of reach
};

// Threshold for the target with the program's ratio when that meets it and
// keeps the voice band steady; otherwise the ratio from a fixed list that
// moves the voice band least. Thresholds are rounded to 0.1 dB.
TargetChoice ChooseForTarget(const CFileModel& model, double targetDb);

// Sets the chosen threshold and ratio on a de-esser instance.
void ApplyTargetChoice(CVstHost& host, const TargetChoice& choice);

// The first pass of a render with --target: reads the job's input (a path,
// or the spooled standard input, read through its own file position), models
// it as host's program keys it on these lanes and chooses. Throws CHostError
// when host is not the de-esser or the program is switched off.
TargetChoice MeasureForTarget(CVstHost& host, const FileJob& job,
                              const std::vector<std::pair<int, int>>& lanes, double targetDb);

// Report lines: what was chosen and what it was predicted to do, and (when
// the render was measured) what it reached; reached values NaN when not
// (the JSON then has no "reached" object).
std::string TargetSummaryText(const TargetChoice& choice, double reachedSibilance,
                              double reachedVoice);
void TargetJson(CJsonWriter& json, const TargetChoice& choice, double reachedSibilance,
                double reachedVoice);
