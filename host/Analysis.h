// deesser analyze: a file's levels and sibilance, and for each program the
// threshold (and ratio) that would bring its 5-9 kHz band down by a wanted
// amount, all from one pass over the file; nothing is written.
#pragma once

#include "Commands.h"
#include "ThresholdSearch.h"

#include <string>
#include <vector>

// Level statistics of a file for the analysis: overall band levels and how
// the sibilance band is spread over 10 ms windows.
class CSibilanceStats
{
public:
    CSibilanceStats(int channels, double sampleRate);
    void Add(const float* interleaved, long long frames);
    void Finish();

    double PeakDb() const;
    double RmsDb() const;
    double SibilanceDb() const;     // 5-9 kHz RMS, dBFS
    double VoiceDb() const;         // 100-3000 Hz RMS, dBFS
    double LoudestWindowDb() const; // the 5-9 kHz band's loudest 10 ms window
    // Windows whose 5-9 kHz band is within 10 dB of their voice band and
    // above -60 dBFS: their share of the time and of the band's energy.
    double SibilantTimeShare() const;
    double SibilantEnergyShare() const;
    double Seconds() const { return (double)m_Frames / m_Rate; }

private:
    void closeWindow();

    int m_Channels;
    double m_Rate;
    long long m_Frames = 0;
    int m_WindowFrames, m_InWindow = 0;
    double m_Peak = 0, m_Sum = 0, m_Sib = 0, m_Voice = 0;
    double m_WinSib = 0, m_WinVoice = 0, m_Loudest = 0;
    long long m_Windows = 0, m_SibilantWindows = 0;
    double m_SibilantEnergy = 0;
    std::vector<CBandQuad> m_Bands; // one per pair of channels
    bool m_Usable = true;
};

// One program's line of the analysis.
struct ProgramAnalysis
{
    int number = 0;
    std::string name;
    bool sideChain = true;
    double keyPeakDb = 0, keyLoudDb = 0;
    TargetChoice choice;
};

int CmdAnalyze(const ArgList& args);
extern const char kAnalyzeHelp[];
