// Threshold and ratio for a wanted sibilance reduction, from the file model.
#include "ThresholdSearch.h"

#include "Batch.h"
#include "CJsonWriter.h"
#include "HostError.h"
#include "ParamTable.h"
#include "SoundFile.h"
#include "VstHost.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace
{
// Ratios tried when the program's own does not serve.
const double kRatios[] = {1.5, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64};
// A voice band change the program's ratio may keep without a search for a
// better one, and how much better another ratio must do to replace it.
const double kVoiceSteadyDb = 0.5;
const double kVoiceGainDb = 0.25;

double powerDb(double p)
{
    return p > 0 ? 10.0 * std::log10(p) : -INFINITY;
}

// The threshold at which the sibilance band comes down by targetDb with this
// ratio, to 0.1 dB; false when even the lowest threshold does not get there.
bool thresholdFor(const CFileModel& model, double ratio, double targetDb, double* threshold)
{
    const double want = -targetDb;
    const double top = CSibilanceModel::kLowestThreshold + CSibilanceModel::kThresholds - 1;
    double prevT = top;
    double prev = model.Predict(top, ratio).sibilance;
    if (prev <= want)
    {
        *threshold = top; // even the highest threshold reduces enough
        return true;
    }
    // From the top down, grid point by grid point: the change is linear in dB
    // between them, so the crossing is found exactly, then refined on 0.1 dB.
    for (double t = top - 1; t >= CSibilanceModel::kLowestThreshold; t -= 1)
    {
        const double s = model.Predict(t, ratio).sibilance;
        if (s <= want)
        {
            double x = s == prev ? t : t + (want - s) / (prev - s) * (prevT - t);
            // Round to the plug-in's display step, on the side that reaches
            // the target best.
            double lo = std::floor(x * 10.0) / 10.0, hi = std::ceil(x * 10.0) / 10.0;
            double dLo = std::fabs(model.Predict(lo, ratio).sibilance - want);
            double dHi = std::fabs(model.Predict(hi, ratio).sibilance - want);
            *threshold = dHi <= dLo ? hi : lo;
            return true;
        }
        prev = s;
        prevT = t;
    }
    return false;
}

std::string ratioText(double r)
{
    char t[32];
    std::snprintf(t, sizeof t, "%.1f", r);
    return t;
}
} // namespace

EffectSettings ReadEffectSettings(CVstHost& host)
{
    EffectSettings s;
    for (int i = 0; i < kNumParams; ++i)
        s.norm[i] = host.GetParameter(i);
    return s;
}

CFileModel::CFileModel(const EffectSettings& settings, int sampleRate, int channels,
                       const std::vector<std::pair<int, int>>& lanes)
    : m_Settings(settings), m_Channels(channels), m_Lanes(lanes)
{
    int taken = 0;
    for (const auto& l : lanes)
    {
        m_Models.emplace_back(new CSibilanceModel(settings, sampleRate, l.second < 0 ? 1 : 2));
        taken += l.second < 0 ? 1 : 2;
    }
    m_PassedThrough = taken < channels;
}

void CFileModel::Add(const float* x, long long frames)
{
    for (size_t k = 0; k < m_Lanes.size(); ++k)
    {
        const auto& l = m_Lanes[k];
        const int width = l.second < 0 ? 1 : 2;
        m_Lane.resize((size_t)frames * width);
        for (long long f = 0; f < frames; ++f)
        {
            m_Lane[(size_t)f * width] = x[f * m_Channels + l.first];
            if (width == 2)
                m_Lane[(size_t)f * 2 + 1] = x[f * m_Channels + l.second];
        }
        m_Models[k]->Add(m_Lane.data(), frames);
    }
}

void CFileModel::Finish()
{
    for (auto& m : m_Models)
        m->Finish();
}

BandChange CFileModel::Predict(double thresholdDb, double ratio) const
{
    double sib = 0, voice = 0;
    for (const auto& m : m_Models)
    {
        double s, v;
        m->PredictEnergies(thresholdDb, ratio, s, v);
        sib += s;
        voice += v;
    }
    BandChange r;
    r.sibilance = powerDb(sib / SibilanceEnergy());
    r.voice = powerDb(voice / VoiceEnergy());
    return r;
}

BandChange CFileModel::Fixed() const
{
    return Predict(0.0, 1.0);
}

bool CFileModel::Usable() const
{
    return !m_Models.empty() && m_Models[0]->Usable() && SibilanceEnergy() > 0 && VoiceEnergy() > 0;
}

double CFileModel::SibilanceEnergy() const
{
    double e = 0;
    for (const auto& m : m_Models)
        e += m->SibilanceEnergy();
    return e;
}

double CFileModel::VoiceEnergy() const
{
    double e = 0;
    for (const auto& m : m_Models)
        e += m->VoiceEnergy();
    return e;
}

double CFileModel::KeyPeakDb() const
{
    double db = -INFINITY;
    for (const auto& m : m_Models)
        db = std::max(db, m->KeyPeakDb());
    return db;
}

double CFileModel::KeyLoudDb() const
{
    double db = -INFINITY;
    for (const auto& m : m_Models)
        db = std::max(db, m->KeyLoudDb());
    return db;
}

TargetChoice ChooseForTarget(const CFileModel& model, double targetDb)
{
    TargetChoice c;
    const EffectSettings& s = model.Settings();
    c.targetDb = targetDb;
    c.programThresholdDb = s.ThresholdDb();
    c.programRatio = s.Ratio();
    c.thresholdDb = c.programThresholdDb;
    c.ratio = c.programRatio;
    c.fixed = model.Fixed();
    if (!model.Usable())
    {
        c.note = "no 5-9 kHz band to measure (silent, or the sample rate is too low); "
                 "the program is left as it is";
        c.predicted = model.Predict(c.thresholdDb, c.ratio);
        c.predicted.sibilance = c.fixed.sibilance = NAN;
        return c;
    }
    if (c.fixed.sibilance <= -targetDb)
    {
        // The split-band sum alone takes the band down that far: no
        // compression at all.
        c.thresholdDb = 0;
        c.ratio = 1;
        c.reachable = std::fabs(c.fixed.sibilance + targetDb) < 0.5;
        c.note = "the split-band filters alone take the band down " +
                 ratioText(-c.fixed.sibilance) + " dB; nothing is compressed (Ratio 1)";
        c.predicted = model.Predict(c.thresholdDb, c.ratio);
        return c;
    }

    struct Option
    {
        double ratio, threshold;
        BandChange change;
    };
    std::vector<Option> options;
    auto tryRatio = [&](double r)
    {
        double t;
        if (r > 1 && thresholdFor(model, r, targetDb, &t))
            options.push_back({r, t, model.Predict(t, r)});
    };
    tryRatio(c.programRatio);
    const bool programServes = !options.empty();
    for (double r : kRatios)
        if (r != c.programRatio)
            tryRatio(r);

    if (options.empty())
    {
        // Out of reach: the deepest setting there is.
        double best = 0, bestRatio = 64;
        for (double r : kRatios)
        {
            double sib = model.Predict(CSibilanceModel::kLowestThreshold, r).sibilance;
            if (sib < best)
                best = sib, bestRatio = r;
        }
        c.thresholdDb = CSibilanceModel::kLowestThreshold;
        c.ratio = bestRatio;
        c.predicted = model.Predict(c.thresholdDb, c.ratio);
        c.note = "out of reach: at most " + ratioText(-c.predicted.sibilance) +
                 " dB at Threshold -100 dB, Ratio " + ratioText(bestRatio);
        return c;
    }
    const Option* best = &options[0];
    for (const Option& o : options)
        if (std::fabs(o.change.voice) < std::fabs(best->change.voice))
            best = &o;
    const Option* pick = best;
    if (programServes)
    {
        const Option& own = options[0];
        if (std::fabs(own.change.voice) <= kVoiceSteadyDb ||
            std::fabs(own.change.voice) - std::fabs(best->change.voice) < kVoiceGainDb)
            pick = &own;
    }
    c.thresholdDb = pick->threshold;
    c.ratio = pick->ratio;
    c.predicted = pick->change;
    c.reachable = true;
    if (pick->ratio != c.programRatio)
        c.note = programServes ? "Ratio " + ratioText(pick->ratio) + " moves the voice band least"
                               : "the program's Ratio " + ratioText(c.programRatio) +
                                     " cannot reach the target";
    return c;
}

void ApplyTargetChoice(CVstHost& host, const TargetChoice& choice)
{
    host.SetParameter(kParamThreshold,
                      ValToNormalizeValue(kParamThreshold, (float)choice.thresholdDb));
    host.SetParameter(kParamRatio, ValToNormalizeValue(kParamRatio, (float)choice.ratio));
}

TargetChoice MeasureForTarget(CVstHost& host, const FileJob& job,
                              const std::vector<std::pair<int, int>>& lanes, double targetDb)
{
    if (!host.IsDeEsser())
        throw CHostError("--target needs the de-esser plug-in (" + host.Path() +
                         " is another plug-in)");
    EffectSettings settings = ReadEffectSettings(host);
    if (!settings.On())
        throw CHostError("--target: the plug-in is switched off (ON/OFF is OFF)");
    // A spooled standard input is opened anew, so that this pass has its own
    // file position and the render's reader is not disturbed.
    int fd = -1;
    if (job.inputFd >= 0)
    {
        fd = open(("/proc/self/fd/" + std::to_string(job.inputFd)).c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            throw CHostError("cannot read standard input a second time for --target");
    }
    struct Closer
    {
        int fd;
        ~Closer()
        {
            if (fd >= 0)
                close(fd);
        }
    } closer{fd};
    CSoundReader reader(job.input == "-" ? std::string("standard input") : job.input, fd);
    const SoundInfo& info = reader.Info();
    CFileModel model(settings, info.sampleRate, info.channels, lanes);
    const long long kFrames = 8192;
    std::vector<float> buf((size_t)kFrames * info.channels);
    for (long long n; (n = reader.Read(buf.data(), kFrames)) > 0;)
        model.Add(buf.data(), n);
    model.Finish();
    TargetChoice c = ChooseForTarget(model, targetDb);
    if (model.PassesChannelsThrough())
        c.note += std::string(c.note.empty() ? "" : "; ") +
                  "the target applies to the processed channels; what was reached is "
                  "measured over all channels, those passed through included";
    return c;
}

namespace
{
std::string fmt(const char* f, double a)
{
    char t[64];
    std::snprintf(t, sizeof t, f, a);
    return t;
}
} // namespace

std::string TargetSummaryText(const TargetChoice& c, double reachedSib, double reachedVoice)
{
    std::string s = "target: 5-9 kHz band down " + fmt("%.1f dB", c.targetDb) + " -> Threshold " +
                    fmt("%.1f dB", c.thresholdDb) + " (program " +
                    fmt("%.1f", c.programThresholdDb) + "), Ratio " + fmt("%.1f", c.ratio) +
                    (c.ratio == c.programRatio ? " (program's)"
                                               : " (program " + fmt("%.1f", c.programRatio) + ")") +
                    "\n";
    s += "  predicted: sibilance " + fmt("%+.1f dB", c.predicted.sibilance) + ", voice " +
         fmt("%+.1f dB", c.predicted.voice);
    if (std::fabs(c.fixed.sibilance) >= 0.05 || std::fabs(c.fixed.voice) >= 0.05)
        s += "; of it fixed (split-band filters and gains, with or without compression) " +
             fmt("%+.1f dB", c.fixed.sibilance) + " / " + fmt("%+.1f dB", c.fixed.voice) +
             ", compression " + fmt("%+.1f dB", c.predicted.sibilance - c.fixed.sibilance) + " / " +
             fmt("%+.1f dB", c.predicted.voice - c.fixed.voice);
    s += "\n";
    if (!std::isnan(reachedSib))
        s += "  reached: sibilance " + fmt("%+.1f dB", reachedSib) + ", voice " +
             fmt("%+.1f dB", reachedVoice) + " (measured on the output)\n";
    if (!c.note.empty())
        s += "  note: " + c.note + "\n";
    return s;
}

void TargetJson(CJsonWriter& j, const TargetChoice& c, double reachedSib, double reachedVoice)
{
    j.BeginObject("target")
        .Number("asked_db", c.targetDb)
        .Bool("reachable", c.reachable)
        .Number("threshold_db", c.thresholdDb)
        .Number("ratio", c.ratio)
        .Number("program_threshold_db", c.programThresholdDb)
        .Number("program_ratio", c.programRatio);
    j.BeginObject("predicted")
        .Number("sibilance_change_db", c.predicted.sibilance)
        .Number("voice_change_db", c.predicted.voice)
        .EndObject();
    j.BeginObject("fixed")
        .Number("sibilance_change_db", c.fixed.sibilance)
        .Number("voice_change_db", c.fixed.voice)
        .EndObject();
    j.BeginObject("compression")
        .Number("sibilance_change_db", c.predicted.sibilance - c.fixed.sibilance)
        .Number("voice_change_db", c.predicted.voice - c.fixed.voice)
        .EndObject();
    if (!std::isnan(reachedSib))
        j.BeginObject("reached")
            .Number("sibilance_change_db", reachedSib)
            .Number("voice_change_db", reachedVoice)
            .EndObject();
    j.String("note", c.note);
    j.EndObject();
}
