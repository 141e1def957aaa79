// The analyze command: one pass per file through the level statistics and
// one model per distinct program, the models spread over the cores.
#include "Analysis.h"

#include "Batch.h"
#include "CArgs.h"
#include "CJsonWriter.h"
#include "HostError.h"
#include "ParamValue.h"
#include "Render.h"
#include "SoundFile.h"
#include "VstHost.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <thread>

const char kAnalyzeHelp[] =
    "usage: deesser analyze IN... [options]\n"
    "\n"
    "Measures each file (a file, a folder's sound files, or - for standard input)\n"
    "and writes nothing: peak, RMS, the 5-9 kHz sibilance band and the 100-3000 Hz\n"
    "voice band, how the sibilance is spread over 10 ms windows, and for each\n"
    "program the Threshold (and Ratio where needed) that brings the 5-9 kHz band\n"
    "down by the target, as render --target would choose it. In split-band mode\n"
    "part of the reduction is the band filters' fixed dip; it is shown apart.\n"
    "\n"
    "  --target DB            the reduction asked for (default 6)\n"
    "  --plugin PATH, --factory, --bank FILE.fxb\n"
    "                         as for render\n"
    "  --program N, --program-name NAME\n"
    "                         only this program (default: every program not named\n"
    "                         \"Empty\")\n"
    "  --set NAME=VALUE       applied to every program analysed\n"
    "  -j, --jobs N           files analysed at the same time (default: all cores)\n"
    "  -q, --quiet            only warnings and errors\n"
    "  --json                 one JSON object per file on stdout\n"
    "\n"
    "Exit status: 0 all done, 1 a usage or input error, 2 some files of a batch failed.\n";

namespace
{
const double kWindowSeconds = 0.01;
const double kSilentDb = -60.0;

double powerDb(double p)
{
    return p > 0 ? 10.0 * std::log10(p) : -INFINITY;
}

std::string format(const char* f, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* f, ...)
{
    char text[512];
    va_list args;
    va_start(args, f);
    std::vsnprintf(text, sizeof text, f, args);
    va_end(args);
    return text;
}

struct AnalyzeOptions
{
    OutputChoices out;
    PluginChoices plug;
    std::vector<std::string> inputs;
    double target = 6;
    int jobs = 0;
};

AnalyzeOptions parseAnalyze(const ArgList& args)
{
    AnalyzeOptions o;
    CArgs a(args);
    std::string item;
    while (a.NextOption(item, o.inputs))
    {
        if (item == "--target")
            o.target = a.NumberValue(0, 40);
        else if (item == "-j" || item == "--jobs")
            o.jobs = a.IntValue(1, 1024);
        else if (!ParseOutputOption(a, item, o.out) && !ParsePluginOption(a, item, o.plug))
            UnknownOption(item, "analyze");
    }
    if (o.inputs.empty())
        throw CHostError("analyze needs at least one input file or folder");
    if (o.plug.program >= 0 && !o.plug.programName.empty())
        throw CHostError("give --program or --program-name, not both");
    if (o.plug.channelA >= 0)
        throw CHostError("analyze takes every channel; --channels is for render");
    return o;
}

std::vector<FileJob> planJobs(const std::vector<std::string>& inputs)
{
    std::vector<FileJob> jobs;
    bool spooled = false;
    for (const std::string& in : inputs)
    {
        struct stat st;
        if (in == "-")
        {
            if (spooled)
                throw CHostError("standard input can be read once; give - only once");
            spooled = true;
            FileJob job;
            job.input = in;
            job.inputFd = SpoolStandardInput();
            jobs.push_back(job);
        }
        else if (stat(in.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        {
            std::vector<std::string> names;
            if (DIR* d = opendir(in.c_str()))
            {
                while (dirent* e = readdir(d))
                    if (e->d_name[0] != '.' && IsSoundFileName(e->d_name))
                        names.push_back(e->d_name);
                closedir(d);
            }
            std::sort(names.begin(), names.end());
            for (const std::string& n : names)
            {
                FileJob job;
                job.input = (in.back() == '/' ? in : in + "/") + n;
                jobs.push_back(job);
            }
        }
        else
        {
            FileJob job;
            job.input = in; // a missing file fails as its own job
            jobs.push_back(job);
        }
    }
    if (jobs.empty())
        throw CHostError("no sound files in the folders given");
    return jobs;
}

// The instances a render would use with these choices: channel pairs, an
// odd last channel alone, or every channel alone with --dual-mono.
std::vector<std::pair<int, int>> lanesFor(int channels, bool dualMono)
{
    std::vector<std::pair<int, int>> lanes;
    for (int c = 0; c < channels;)
        if (dualMono || c + 1 == channels)
            lanes.push_back({c++, -1});
        else
        {
            lanes.push_back({c, c + 1});
            c += 2;
        }
    return lanes;
}

struct FileAnalysis
{
    SoundInfo info;
    std::string programText;
    std::vector<std::string> warnings;
    std::unique_ptr<CSibilanceStats> stats;
    std::vector<ProgramAnalysis> programs;
};

FileAnalysis analyzeFile(const AnalyzeOptions& o, const FileJob& job)
{
    FileAnalysis r;
    CSoundReader reader(job.input == "-" ? std::string("standard input") : job.input, job.inputFd);
    r.info = reader.Info();
    const int channels = r.info.channels;

    RenderReport report;
    std::unique_ptr<CVstHost> host = OpenConfiguredPlugin(o.plug, r.info.sampleRate, report);
    r.warnings = report.warnings;
    if (!host->IsDeEsser())
        throw CHostError("analyze needs the de-esser plug-in (" + host->Path() +
                         " is another plug-in)");

    // The programs: the chosen one, or every one with a name of its own.
    std::vector<int> numbers;
    if (o.plug.program >= 0 || !o.plug.programName.empty())
        numbers.push_back((int)host->Dispatch(effGetProgram));
    else
        for (int i = 0; i < host->NumPrograms(); ++i)
            if (host->ProgramName(i) != "Empty")
                numbers.push_back(i);
    if (numbers.empty())
        numbers.push_back((int)host->Dispatch(effGetProgram));

    // One model per distinct setting; programs that agree share one.
    std::vector<EffectSettings> distinct;
    std::vector<int> modelOf;
    for (int n : numbers)
    {
        host->Dispatch(effSetProgram, 0, n);
        for (const std::string& set : o.plug.sets)
            ApplySetting(*host, set);
        ProgramAnalysis p;
        p.number = n;
        p.name = host->Text(effGetProgramName);
        EffectSettings s = ReadEffectSettings(*host);
        p.sideChain = s.SideChain();
        size_t k = 0;
        while (k < distinct.size() && std::memcmp(distinct[k].norm, s.norm, sizeof s.norm) != 0)
            ++k;
        if (k == distinct.size())
            distinct.push_back(s);
        modelOf.push_back((int)k);
        r.programs.push_back(p);
    }
    host.reset();

    const std::vector<std::pair<int, int>> lanes = lanesFor(channels, o.plug.dualMono);
    std::vector<std::unique_ptr<CFileModel>> models;
    for (const EffectSettings& s : distinct)
        models.emplace_back(new CFileModel(s, r.info.sampleRate, channels, lanes));
    r.stats.reset(new CSibilanceStats(channels, r.info.sampleRate));

    // The models of a block run on several threads, the statistics on this one.
    const int threads =
        std::max(1, std::min((int)std::thread::hardware_concurrency(), (int)models.size()));
    const long long kFrames = 16384;
    std::vector<float> buf((size_t)kFrames * channels);
    for (long long n; (n = reader.Read(buf.data(), kFrames)) > 0;)
    {
        std::vector<std::thread> pool;
        for (int t = 1; t < threads; ++t)
            pool.emplace_back(
                [&, t, n]()
                {
                    for (size_t k = t; k < models.size(); k += threads)
                        models[k]->Add(buf.data(), n);
                });
        for (size_t k = 0; k < models.size(); k += threads)
            models[k]->Add(buf.data(), n);
        r.stats->Add(buf.data(), n);
        for (std::thread& th : pool)
            th.join();
    }
    r.stats->Finish();
    for (auto& m : models)
        m->Finish();

    for (size_t i = 0; i < r.programs.size(); ++i)
    {
        const CFileModel& m = *models[modelOf[i]];
        ProgramAnalysis& p = r.programs[i];
        p.keyPeakDb = m.KeyPeakDb();
        p.keyLoudDb = m.KeyLoudDb();
        p.choice = ChooseForTarget(m, o.target);
    }
    return r;
}

std::string db(double v)
{
    return std::isfinite(v) ? format("%.1f", v) : std::string(std::isnan(v) ? "n/a" : "-inf");
}

std::string summaryText(const FileJob& job, const FileAnalysis& a, double target)
{
    const CSibilanceStats& s = *a.stats;
    std::string t = "analyzed " + job.input + ": " + FormatName(a.info.format) +
                    format(", %d channel%s, %d Hz, %.2f s\n", a.info.channels,
                           a.info.channels == 1 ? "" : "s", a.info.sampleRate, s.Seconds());
    t += "levels: peak " + db(s.PeakDb()) + " dBFS, RMS " + db(s.RmsDb()) +
         " dBFS, sibilance band 5-9 kHz " + db(s.SibilanceDb()) + " dBFS, voice band 100-3000 Hz " +
         db(s.VoiceDb()) + " dBFS\n";
    t += "sibilance: " + db(s.VoiceDb() - s.SibilanceDb()) +
         " dB below the voice band; loudest 10 ms " + db(s.LoudestWindowDb()) +
         format(" dBFS; sibilant 10 ms windows (band within 10 dB of the voice band): %.1f %% of "
                "the time, %.0f %% of the band's energy\n",
                100 * s.SibilantTimeShare(), 100 * s.SibilantEnergyShare());
    t += format("for a %.1f dB reduction of the 5-9 kHz band, per program (other settings as "
                "they are):\n",
                target);
    t += format("  %3s %-23s %-5s %8s %9s %9s %6s %7s %11s %7s\n", "#", "program", "mode",
                "key peak", "program", "threshold", "ratio", "fixed", "compression", "voice");
    std::string notes;
    for (const ProgramAnalysis& p : a.programs)
    {
        const TargetChoice& c = p.choice;
        t +=
            format("  %3d %-23s %-5s %8s %9s %9s %6.1f %+7.1f %+11.1f %+7.1f\n", p.number,
                   p.name.c_str(), p.sideChain ? "side" : "split", db(p.keyPeakDb).c_str(),
                   db(c.programThresholdDb).c_str(), db(c.thresholdDb).c_str(), c.ratio,
                   c.fixed.sibilance, c.predicted.sibilance - c.fixed.sibilance, c.predicted.voice);
        if (!c.note.empty())
            notes += format("  %3d %s\n", p.number, c.note.c_str());
    }
    t += "  (levels in dBFS and dB; fixed: the split-band filters' dip that stays without "
         "compression; voice: the 100-3000 Hz band's change)\n";
    if (!notes.empty())
        t += "notes:\n" + notes;
    return t;
}

std::string lineText(const FileJob& job, const FileAnalysis& a)
{
    std::string t = job.input + ": sibilance " + db(a.stats->SibilanceDb()) + " dBFS";
    for (const ProgramAnalysis& p : a.programs)
        t += format(", %d %s", p.number, db(p.choice.thresholdDb).c_str());
    return t + " (threshold per program)";
}

std::string jsonText(const FileJob& job, const FileAnalysis& a, double target)
{
    const CSibilanceStats& s = *a.stats;
    CJsonWriter j;
    j.BeginObject();
    j.String("input", job.input)
        .String("format", FormatName(a.info.format))
        .Integer("sample_rate", a.info.sampleRate)
        .Integer("channels", a.info.channels)
        .Number("seconds", s.Seconds());
    j.BeginObject("levels")
        .Number("peak_dbfs", s.PeakDb())
        .Number("rms_dbfs", s.RmsDb())
        .Number("sibilance_dbfs", s.SibilanceDb())
        .Number("voice_dbfs", s.VoiceDb())
        .EndObject();
    j.BeginObject("sibilance")
        .Number("below_voice_db", s.VoiceDb() - s.SibilanceDb())
        .Number("loudest_window_dbfs", s.LoudestWindowDb())
        .Number("window_seconds", kWindowSeconds)
        .Number("sibilant_time_share", s.SibilantTimeShare())
        .Number("sibilant_energy_share", s.SibilantEnergyShare())
        .EndObject();
    j.Number("target_db", target);
    j.BeginArray("programs");
    for (const ProgramAnalysis& p : a.programs)
    {
        j.BeginObject()
            .Integer("number", p.number)
            .String("name", p.name)
            .String("mode", p.sideChain ? "side-chain" : "split-band")
            .Number("key_peak_dbfs", p.keyPeakDb)
            .Number("key_loud_dbfs", p.keyLoudDb);
        TargetJson(j, p.choice, NAN, NAN);
        j.EndObject();
    }
    j.EndArray();
    j.BeginArray("warnings");
    for (const std::string& w : a.warnings)
        j.String(nullptr, w);
    j.EndArray();
    j.EndObject();
    return j.Text();
}
} // namespace

CSibilanceStats::CSibilanceStats(int channels, double sampleRate)
    : m_Channels(channels), m_Rate(sampleRate),
      m_WindowFrames(std::max(1, (int)std::lround(kWindowSeconds * sampleRate)))
{
    // Lanes per pair of channels: sibilance and voice of each.
    const double bands[4][2] = {{5000, 9000}, {100, 3000}, {5000, 9000}, {100, 3000}};
    for (int c = 0; c < channels; c += 2)
        m_Bands.emplace_back(bands, sampleRate);
    m_Usable = CBandPass(5000.0, 9000.0, sampleRate).Usable();
}

void CSibilanceStats::Add(const float* x, long long frames)
{
    for (long long f = 0; f < frames; ++f)
    {
        const float* frame = x + f * m_Channels;
        for (int c = 0; c < m_Channels; ++c)
        {
            const double v = frame[c];
            m_Peak = std::max(m_Peak, std::fabs(v));
            m_Sum += v * v;
        }
        for (int c = 0; c < m_Channels; c += 2)
        {
            const bool pair = c + 1 < m_Channels;
            const float a = frame[c], b = pair ? frame[c + 1] : 0.f;
            const CBandQuad::v4f y = m_Bands[c / 2].Run(CBandQuad::v4f{a, a, b, b});
            m_WinSib += (double)y[0] * y[0] + (double)y[2] * y[2];
            m_WinVoice += (double)y[1] * y[1] + (double)y[3] * y[3];
        }
        if (++m_InWindow == m_WindowFrames)
            closeWindow();
    }
    m_Frames += frames;
}

void CSibilanceStats::closeWindow()
{
    const double n = (double)m_InWindow * m_Channels;
    const double sib = m_WinSib / n, voice = m_WinVoice / n;
    m_Sib += m_WinSib;
    m_Voice += m_WinVoice;
    m_Loudest = std::max(m_Loudest, sib);
    ++m_Windows;
    if (powerDb(sib) > kSilentDb && powerDb(sib) > powerDb(voice) - 10.0)
    {
        ++m_SibilantWindows;
        m_SibilantEnergy += m_WinSib;
    }
    m_WinSib = m_WinVoice = 0;
    m_InWindow = 0;
}

void CSibilanceStats::Finish()
{
    if (m_InWindow > 0)
        closeWindow();
}

double CSibilanceStats::PeakDb() const
{
    return m_Peak > 0 ? 20.0 * std::log10(m_Peak) : -INFINITY;
}

double CSibilanceStats::RmsDb() const
{
    return m_Frames ? powerDb(m_Sum / ((double)m_Frames * m_Channels)) : NAN;
}

double CSibilanceStats::SibilanceDb() const
{
    if (!m_Usable)
        return NAN;
    return m_Frames ? powerDb(m_Sib / ((double)m_Frames * m_Channels)) : NAN;
}

double CSibilanceStats::VoiceDb() const
{
    return m_Frames ? powerDb(m_Voice / ((double)m_Frames * m_Channels)) : NAN;
}

double CSibilanceStats::LoudestWindowDb() const
{
    return m_Usable ? powerDb(m_Loudest) : NAN;
}

double CSibilanceStats::SibilantTimeShare() const
{
    return m_Windows ? (double)m_SibilantWindows / m_Windows : 0.0;
}

double CSibilanceStats::SibilantEnergyShare() const
{
    return m_Sib > 0 ? m_SibilantEnergy / m_Sib : 0.0;
}

int CmdAnalyze(const ArgList& args)
{
    const AnalyzeOptions o = parseAnalyze(args);
    std::vector<FileJob> jobs = planJobs(o.inputs);
    return RunJobs(jobs, o.jobs, o.out,
                   [&](const FileJob& job)
                   {
                       FileAnalysis a = analyzeFile(o, job);
                       FileResult result;
                       result.ok = true;
                       result.warnings = a.warnings;
                       result.summary = summaryText(job, a, o.target);
                       result.line = lineText(job, a);
                       result.json = jsonText(job, a, o.target);
                       return result;
                   });
}
