// The render command's engine: file in, plug-in, file out, measurements.
#include "Render.h"
#include "FxbFile.h"
#include "HostError.h"
#include "ParamValue.h"
#include "VstHost.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <strings.h>
#include <unistd.h>

namespace
{
typedef std::chrono::steady_clock Clock;

std::string lower(std::string s)
{
    for (char& c : s)
        c = (char)std::tolower((unsigned char)c);
    return s;
}

int findProgramByName(CVstHost& host, const std::string& wanted)
{
    std::vector<int> partial;
    for (int i = 0; i < host.NumPrograms(); ++i)
    {
        std::string name = host.ProgramName(i);
        if (strcasecmp(name.c_str(), wanted.c_str()) == 0)
            return i;
        if (lower(name).find(lower(wanted)) != std::string::npos)
            partial.push_back(i);
    }
    if (partial.size() == 1)
        return partial[0];
    std::string names; // each distinct name once
    std::vector<std::string> seen;
    for (int i = 0; i < host.NumPrograms(); ++i)
    {
        std::string name = host.ProgramName(i);
        if (std::find(seen.begin(), seen.end(), name) != seen.end())
            continue;
        seen.push_back(name);
        names += (names.empty() ? "\"" : ", \"") + name + "\"";
    }
    if (partial.empty())
        throw CHostError("no program named \"" + wanted + "\" (programs: " + names + ")");
    throw CHostError("program name \"" + wanted + "\" matches " + std::to_string(partial.size()) +
                     " programs; be more precise (programs: " + names + ")");
}

void loadBank(CVstHost& host, const std::string& path)
{
    AEffect* e = host.Effect();
    if (!(e->flags & effFlagsProgramChunks))
        throw CHostError("the plug-in does not take chunk banks; cannot load " + path);
    FxbBank bank = ReadFxbBank(path);
    if (bank.fxId != e->uniqueID)
    {
        char ids[64];
        std::snprintf(ids, sizeof(ids), "0x%08X, the plug-in is 0x%08X", (unsigned)bank.fxId,
                      (unsigned)e->uniqueID);
        throw CHostError("bank " + path + " belongs to another plug-in (fx ID " + ids + ")");
    }
    if (host.IsDeEsser() && bank.chunk.size() != 2304)
        throw CHostError("bank " + path + " holds a " + std::to_string(bank.chunk.size()) +
                         "-byte chunk; this plug-in's banks hold 2304 bytes");
    host.Dispatch(effSetChunk, 0, (VstIntPtr)bank.chunk.size(), bank.chunk.data());
}

class CProgressBar
{
public:
    explicit CProgressBar(bool enabled) : m_On(enabled && isatty(STDERR_FILENO)) {}
    void Show(long long done, long long total)
    {
        if (!m_On || total <= 0)
            return;
        int percent = (int)(100 * done / total);
        if (percent == m_Last)
            return;
        m_Last = percent;
        char bar[41];
        int filled = percent * 40 / 100;
        for (int i = 0; i < 40; ++i)
            bar[i] = i < filled ? '#' : '.';
        bar[40] = 0;
        std::fprintf(stderr, "\r[%s] %3d%%", bar, percent);
        std::fflush(stderr);
    }
    void Clear()
    {
        if (m_On && m_Last >= 0)
            std::fprintf(stderr, "\r%60s\r", "");
        m_Last = -1;
    }

private:
    bool m_On;
    int m_Last = -1;
};

std::string dbText(double db)
{
    char text[32];
    if (std::isnan(db))
        return "n/a";
    if (std::isinf(db))
        return db < 0 ? "-inf" : "+inf";
    std::snprintf(text, sizeof(text), "%.1f", db);
    return text;
}

std::string changeText(double before, double after)
{
    if (std::isnan(before) || std::isnan(after) || std::isinf(before) || std::isinf(after))
        return "";
    char text[32];
    double d = after - before;
    std::snprintf(text, sizeof(text), "%+.1f dB", std::fabs(d) < 0.05 ? 0.0 : d);
    return text;
}
} // namespace

void ConfigurePlugin(CVstHost& host, const RenderOptions& options, RenderReport& report)
{
    if (!options.bank.empty())
        loadBank(host, options.bank);
    int program = options.program;
    if (!options.programName.empty())
        program = findProgramByName(host, options.programName);
    if (program >= 0)
    {
        if (program >= host.NumPrograms())
            throw CHostError("program " + std::to_string(program) +
                             " does not exist (the plug-in has " +
                             std::to_string(host.NumPrograms()) + ", numbered from 0)");
        host.Dispatch(effSetProgram, 0, program);
    }
    int current = (int)host.Dispatch(effGetProgram);
    report.programText =
        "program " + std::to_string(current) + " \"" + host.Text(effGetProgramName) + "\"";
    report.settings.clear();
    report.setIndices.clear();
    for (const std::string& set : options.sets)
    {
        AppliedSetting s = ApplySetting(host, set);
        report.setIndices.push_back(s.index);
        std::string label = host.ParamLabel(s.index);
        report.settings.push_back(host.ParamName(s.index) + " = " + s.display +
                                  (label.empty() ? "" : " " + label));
    }
}

RenderReport RenderFile(const RenderOptions& options)
{
    Clock::time_point wallStart = Clock::now();
    RenderReport report;
    if (options.block < 1 || options.block > 65536)
        throw CHostError("--block must be 1 .. 65536");

    CSoundReader reader(options.input);
    report.input = reader.Info();
    const SoundInfo& in = report.input;
    if (in.channels > 2)
        throw CHostError(options.input + " has " + std::to_string(in.channels) +
                         " channels; only mono and stereo files can be rendered");
    CheckOutputPath(options.output, options.input, options.force);

    CVstHost host(options.plugin.empty() ? DefaultPluginPath() : options.plugin);
    report.pluginName = host.Text(effGetEffectName);
    if (report.pluginName.empty())
        report.pluginName = host.Path();
    host.Open();
    host.Prepare(in.sampleRate, options.block);
    ConfigurePlugin(host, options, report);

    // What was set must still hold once the plug-in runs (switching on may
    // itself move a parameter, e.g. a bypass switch); apply it again if not.
    std::vector<std::pair<int, float>> wanted;
    for (int index : report.setIndices)
        wanted.push_back({index, host.GetParameter(index)});
    host.Start();
    for (const auto& w : wanted)
        if (host.GetParameter(w.first) != w.second)
            host.SetParameter(w.first, w.second);

    report.output = in;
    report.output.format =
        ChooseOutputFormat(in.format, options.output, in.channels, in.sampleRate);
    CPendingFile pending(options.output, options.force);
    CSoundWriter writer(pending, report.output);
    writer.CopyStringsFrom(reader.Handle());

    const int block = options.block;
    const int channels = in.channels;
    const int numIn = std::max(2, (int)host.Effect()->numInputs);
    const int numOut = std::max(2, (int)host.Effect()->numOutputs);
    std::vector<float> fileIn((size_t)block * channels), fileOut((size_t)block * channels);
    std::vector<std::vector<float>> ins(numIn, std::vector<float>(block)),
        outs(numOut, std::vector<float>(block));
    std::vector<float*> inPtr(numIn), outPtr(numOut);
    for (int c = 0; c < numIn; ++c)
        inPtr[c] = ins[c].data();
    for (int c = 0; c < numOut; ++c)
        outPtr[c] = outs[c].data();
    const int realOuts = host.Effect()->numOutputs;

    report.before.reset(new CSignalStats(channels, in.sampleRate));
    report.after.reset(new CSignalStats(channels, in.sampleRate));
    CProgressBar progress(options.progress);
    double processSeconds = 0;
    long long done = 0;
    for (;;)
    {
        long long n = reader.Read(fileIn.data(), block);
        if (n == 0)
            break;
        report.before->Add(fileIn.data(), n);
        for (int c = 0; c < numIn; ++c)
            std::fill(ins[c].begin(), ins[c].end(), 0.f);
        for (long long i = 0; i < n; ++i)
        {
            // Mono feeds both inputs; the plug-in may scale its inputs in place.
            ins[0][i] = fileIn[i * channels];
            ins[1][i] = fileIn[i * channels + (channels > 1 ? 1 : 0)];
        }
        Clock::time_point t0 = Clock::now();
        host.Process(inPtr.data(), outPtr.data(), (int)n);
        processSeconds += std::chrono::duration<double>(Clock::now() - t0).count();
        const float* left = outs[0].data();
        const float* right = realOuts > 1 ? outs[1].data() : outs[0].data();
        for (long long i = 0; i < n; ++i)
        {
            float l = left[i], r = right[i];
            if (!std::isfinite(l))
                l = 0.f, ++report.nonFinite;
            if (!std::isfinite(r))
                r = 0.f, ++report.nonFinite;
            if (channels == 1)
                fileOut[i] = (l + r) * 0.5f;
            else
            {
                fileOut[i * 2] = l;
                fileOut[i * 2 + 1] = r;
            }
        }
        report.after->Add(fileOut.data(), n);
        writer.Write(fileOut.data(), n);
        done += n;
        progress.Show(done, in.frames);
    }
    progress.Clear();
    host.Stop();
    host.Close();
    writer.Close();
    pending.Commit();

    report.before->Finish();
    report.after->Finish();
    report.bandGain = BandGainCurve(*report.before, *report.after);
    report.wideGain = WideGainCurve(*report.before, *report.after);
    report.audioSeconds = (double)done / in.sampleRate;
    report.output.frames = done;
    report.processSeconds = processSeconds;
    report.wallSeconds = std::chrono::duration<double>(Clock::now() - wallStart).count();
    return report;
}

double LargestReduction(const std::vector<double>& curve, int* window)
{
    double best = 0;
    int at = -1;
    for (size_t i = 0; i < curve.size(); ++i)
        if (!std::isnan(curve[i]) && (at < 0 || -curve[i] > best))
        {
            best = -curve[i];
            at = (int)i;
        }
    if (window)
        *window = at;
    return at < 0 ? 0.0 : std::max(0.0, best);
}

void PrintSummary(FILE* out, const RenderReport& r)
{
    const CSignalStats& a = *r.before;
    const CSignalStats& b = *r.after;
    std::fprintf(out, "%s: %lld frames, %d channel%s, %d Hz, %.2f s\n",
                 FormatName(r.input.format).c_str(), r.input.frames, r.input.channels,
                 r.input.channels == 1 ? "" : "s", r.input.sampleRate, r.audioSeconds);
    std::fprintf(out, "plug-in: %s, %s\n", r.pluginName.c_str(), r.programText.c_str());
    for (const std::string& s : r.settings)
        std::fprintf(out, "  set %s\n", s.c_str());
    std::fprintf(out, "%-26s %10s %10s %10s\n", "", "input", "output", "change");
    auto row = [&](const char* name, double x, double y)
    {
        auto level = [](double v) { return std::isnan(v) ? dbText(v) : dbText(v) + " dBFS"; };
        std::fprintf(out, "%-26s %10s %10s %10s\n", name, level(x).c_str(), level(y).c_str(),
                     changeText(x, y).c_str());
    };
    row("peak", a.PeakDb(), b.PeakDb());
    row("RMS", a.RmsDb(), b.RmsDb());
    row("sibilance band 5-9 kHz", a.SibilanceDb(), b.SibilanceDb());
    row("voice band 100-3000 Hz", a.VoiceDb(), b.VoiceDb());
    int window = -1;
    double reduction = LargestReduction(r.bandGain, &window);
    if (window >= 0)
        std::fprintf(out,
                     "largest gain reduction: %.1f dB at %.2f s (5-9 kHz band level, output "
                     "against input, %.0f ms windows; measured by this host)\n",
                     reduction, window * a.WindowSeconds(), a.WindowSeconds() * 1000.0);
    else if (!a.SibilanceUsable())
        std::fprintf(out, "largest gain reduction: n/a (the 5-9 kHz band does not fit at %d Hz)\n",
                     r.input.sampleRate);
    else
        std::fprintf(out, "largest gain reduction: n/a (no 5-9 kHz band content above -60 dBFS)\n");
    if (r.processSeconds > 0)
        std::fprintf(out,
                     "realtime factor: %.0fx (%.3f s of audio in %.3f s of plug-in processing; "
                     "%.3f s in all with file I/O)\n",
                     r.audioSeconds / r.processSeconds, r.audioSeconds, r.processSeconds,
                     r.wallSeconds);
    if (r.nonFinite)
        std::fprintf(out, "warning: %lld output samples were not finite and were written as 0\n",
                     r.nonFinite);
}
