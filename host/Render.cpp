// The render command's engine: plug-in set-up, the threaded file pipeline,
// channel lanes, measurements and the reports.
#include "Render.h"
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "CBlockQueue.h"
#include "CJsonWriter.h"
#include "HostError.h"
#include "OutputFormat.h"
#include "ParamTable.h"
#include "ParamValue.h"
#include "UserFolder.h"
#include "VstHost.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <strings.h>
#include <thread>
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

// Reads a bank file of this plug-in and hands its chunk over.
void loadBank(CVstHost& host, const std::string& path, const char* what)
{
    AEffect* e = host.Effect();
    if (!(e->flags & effFlagsProgramChunks))
        throw CHostError("the plug-in does not take chunk banks; cannot load " + path);
    std::vector<unsigned char> chunk;
    switch (ReadBankFile(path.c_str(), (uint32_t)e->uniqueID, 64u << 20, &chunk))
    {
    case kBankFileMissing:
        throw CHostError(std::string("cannot read ") + what + " " + path);
    case kBankFileForeign:
    case kBankFileNoChunk:
        throw CHostError(std::string(what) + " " + path + " is not a chunk bank file");
    case kBankFileOtherEffect:
        throw CHostError(std::string(what) + " " + path + " belongs to another plug-in");
    case kBankFileLoaded:
        break;
    }
    if (host.IsDeEsser() && chunk.size() != (size_t)kBankChunkSize)
        throw CHostError(std::string(what) + " " + path + " holds a " +
                         std::to_string(chunk.size()) + "-byte chunk; this plug-in's banks hold " +
                         std::to_string(kBankChunkSize) + " bytes");
    host.Dispatch(effSetChunk, 0, (VstIntPtr)chunk.size(), chunk.data());
}

// The de-esser's own default bank: a warning when the file is there but is
// not a whole bank of this plug-in (the plug-in then starts from "Empty").
std::string userBankWarning(CVstHost& host)
{
    static std::once_flag once;
    std::call_once(once, [] { GetMy_SHFOLDER_PathName(); });
    std::string url = szGlobalMyApplicationDataPathName;
    if (url.empty())
        return std::string();
    std::string path = url + "DeEsserDef.fxb";
    std::vector<unsigned char> chunk;
    BankFileResult r =
        ReadBankFile(path.c_str(), (uint32_t)host.Effect()->uniqueID, kBankChunkSize + 1, &chunk);
    if (r == kBankFileMissing || (r == kBankFileLoaded && chunk.size() == (size_t)kBankChunkSize))
        return std::string();
    std::string shown = path.compare(0, 7, "file://") == 0 ? path.substr(7) : path;
    return "the user bank " + shown +
           " is not a valid bank of this plug-in (damaged, empty or foreign); its programs may "
           "all be \"Empty\". --factory ignores it for a run";
}

class CProgressBar
{
public:
    explicit CProgressBar(bool enabled) : m_On(enabled && isatty(STDERR_FILENO)) {}
    void Show(long long done, long long total)
    {
        if (!m_On || total <= 0)
            return;
        int percent = (int)(100 * std::min(done, total) / total);
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

std::string format(const char* f, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* f, ...)
{
    char text[512];
    va_list ap;
    va_start(ap, f);
    std::vsnprintf(text, sizeof(text), f, ap);
    va_end(ap);
    return text;
}

// Channels meeting one plug-in instance: a pair, or one channel fed to both
// inputs (b < 0) and written back as the mean of the two outputs.
struct Lane
{
    int a, b;
};

std::vector<Lane> planLanes(int channels, const PluginChoices& plug, std::string* text)
{
    std::vector<Lane> lanes;
    if (plug.channelA >= 0)
    {
        if (plug.channelA >= channels || plug.channelB >= channels)
            throw CHostError("--channels " + std::to_string(plug.channelA + 1) + "," +
                             std::to_string(plug.channelB + 1) + " but the file has " +
                             std::to_string(channels) + " channel(s)");
        if (plug.dualMono)
        {
            lanes.push_back({plug.channelA, -1});
            lanes.push_back({plug.channelB, -1});
        }
        else
            lanes.push_back({plug.channelA, plug.channelB});
    }
    else if (plug.dualMono || channels == 1)
        for (int c = 0; c < channels; ++c)
            lanes.push_back({c, -1});
    else
    {
        for (int c = 0; c + 1 < channels; c += 2)
            lanes.push_back({c, c + 1});
        if (channels % 2)
            lanes.push_back({channels - 1, -1});
    }
    std::string t;
    for (const Lane& l : lanes)
        t += (t.empty() ? "" : ", ") +
             (l.b < 0 ? "channel " + std::to_string(l.a + 1) + " alone"
                      : "channels " + std::to_string(l.a + 1) + "+" + std::to_string(l.b + 1));
    if (channels > 1 && (int)lanes.size() * 2 - (plug.dualMono ? (int)lanes.size() : 0) < channels)
        t += "; the others passed through";
    *text = t;
    return lanes;
}

// Warnings about the key band as set: inverted, or beyond Nyquist.
void bandWarnings(CVstHost& host, double sampleRate, std::vector<std::string>& warnings)
{
    if (!host.IsDeEsser())
        return;
    double low = NormalizeValToInternalVal(kParamLowFreq, host.GetParameter(kParamLowFreq));
    double high = NormalizeValToInternalVal(kParamHiFreq, host.GetParameter(kParamHiFreq));
    double nyquist = sampleRate / 2;
    if (low > high)
        warnings.push_back(format("the key band is inverted: LowFreq %.0f Hz is above HiFreq "
                                  "%.0f Hz",
                                  low, high));
    if (std::min(low, high) >= nyquist)
        warnings.push_back(format("the key band %.0f-%.0f Hz lies above Nyquist (%.0f Hz at "
                                  "this sample rate): nothing to detect",
                                  std::min(low, high), std::max(low, high), nyquist));
    else if (std::max(low, high) > nyquist)
        warnings.push_back(format("the key band's upper edge %.0f Hz is above Nyquist (%.0f Hz "
                                  "at this sample rate)",
                                  std::max(low, high), nyquist));
}

// One plug-in instance with its channel lane and buffers.
struct Instance
{
    std::unique_ptr<CVstHost> host;
    Lane lane;
    std::vector<std::vector<float>> ins, outs;
    std::vector<float*> inPtr, outPtr;
};

// A block of frames passing through the threads: read into in, processed
// into out, then written and measured.
struct Block
{
    std::vector<float> in, out;
    long long frames = 0;
    std::atomic<int> users{0};
};

const int kBlockFrames = 8192;
const int kBlocks = 8;
} // namespace

std::unique_ptr<CVstHost> OpenConfiguredPlugin(const PluginChoices& plug, double sampleRate,
                                               RenderReport& report)
{
    std::unique_ptr<CVstHost> host(
        new CVstHost(plug.plugin.empty() ? DefaultPluginPath() : plug.plugin));
    report.pluginName = host->Text(effGetEffectName);
    if (report.pluginName.empty())
        report.pluginName = host->Path();
    host->Open();
    host->Prepare(sampleRate, plug.block);
    if (host->IsDeEsser() && !plug.factory)
    {
        std::string w = userBankWarning(*host);
        if (!w.empty() &&
            std::find(report.warnings.begin(), report.warnings.end(), w) == report.warnings.end())
            report.warnings.push_back(w);
    }
    if (plug.factory)
        loadBank(*host, host->Folder() + "DeEsserDef.fxb", "the factory bank");
    if (!plug.bank.empty())
        loadBank(*host, plug.bank, "bank");
    int program = plug.program;
    if (!plug.programName.empty())
        program = findProgramByName(*host, plug.programName);
    if (program >= 0)
    {
        if (program >= host->NumPrograms())
            throw CHostError("program " + std::to_string(program) +
                             " does not exist (the plug-in has " +
                             std::to_string(host->NumPrograms()) + ", numbered from 0)");
        host->Dispatch(effSetProgram, 0, program);
    }
    int current = (int)host->Dispatch(effGetProgram);
    report.programText =
        "program " + std::to_string(current) + " \"" + host->Text(effGetProgramName) + "\"";
    report.settings.clear();
    std::vector<std::pair<int, float>> wanted;
    for (const std::string& set : plug.sets)
    {
        AppliedSetting s = ApplySetting(*host, set);
        std::string label = host->ParamLabel(s.index);
        report.settings.push_back(host->ParamName(s.index) + " = " + s.display +
                                  (label.empty() ? "" : " " + label));
        wanted.push_back({s.index, host->GetParameter(s.index)});
    }
    // What was set must still hold once the plug-in runs (switching on may
    // itself move a parameter, e.g. a bypass switch); apply it again if not.
    host->Start();
    for (const auto& w : wanted)
        if (host->GetParameter(w.first) != w.second)
            host->SetParameter(w.first, w.second);
    report.parameters.clear();
    for (int i = 0; i < host->NumParams(); ++i)
    {
        std::string label = host->ParamLabel(i);
        report.parameters.push_back(
            {host->ParamName(i), host->ParamDisplay(i) + (label.empty() ? "" : " " + label)});
    }
    return host;
}

RenderReport RenderFile(const RenderOptions& options, const FileJob& job)
{
    Clock::time_point wallStart = Clock::now();
    RenderReport report;
    CSoundReader reader(job.input == "-" ? std::string("standard input") : job.input, job.inputFd);
    report.input = reader.Info();
    const SoundInfo& in = report.input;
    const int channels = in.channels;

    report.output = in;
    report.output.format = ChooseOutputFormat(in, job.output, options.format, options.bits);
    report.outputPath = job.output;
    report.floatOutput = IsFloatFormat(report.output.format);
    if (options.quality >= 0 && !IsLossyFormat(report.output.format))
        throw CHostError("--quality applies to lossy outputs (ogg, opus, mp3)");
    COutputFile file(job.output, options.force, job.input == "-" ? "" : job.input, job.inputFd);

    std::vector<Lane> lanes = planLanes(channels, options.plug, &report.lanesText);
    std::vector<Instance> instances(lanes.size());
    for (size_t i = 0; i < lanes.size(); ++i)
    {
        Instance& inst = instances[i];
        inst.host = OpenConfiguredPlugin(options.plug, in.sampleRate, report);
        inst.lane = lanes[i];
        const int numIn = std::max(2, (int)inst.host->Effect()->numInputs);
        const int numOut = std::max(2, (int)inst.host->Effect()->numOutputs);
        inst.ins.assign(numIn, std::vector<float>(options.plug.block, 0.f));
        inst.outs.assign(numOut, std::vector<float>(options.plug.block, 0.f));
        for (auto& v : inst.ins)
            inst.inPtr.push_back(v.data());
        for (auto& v : inst.outs)
            inst.outPtr.push_back(v.data());
    }
    bandWarnings(*instances[0].host, in.sampleRate, report.warnings);
    if (options.target >= 0)
    {
        // First pass: threshold (and ratio) for the wanted reduction.
        std::vector<std::pair<int, int>> pairs;
        for (const Lane& l : lanes)
            pairs.push_back({l.a, l.b});
        report.target.reset(
            new TargetChoice(MeasureForTarget(*instances[0].host, job, pairs, options.target)));
        for (Instance& inst : instances)
            ApplyTargetChoice(*inst.host, *report.target);
    }
    std::vector<bool> passThrough(channels, true);
    for (const Lane& l : lanes)
    {
        passThrough[l.a] = false;
        if (l.b >= 0)
            passThrough[l.b] = false;
    }

    CSoundWriter writer(file, report.output, options.quality);
    writer.CopyMetadataFrom(reader.Handle());

    if (options.analysis)
    {
        report.before.reset(new CSignalStats(channels, in.sampleRate));
        report.after.reset(new CSignalStats(channels, in.sampleRate));
    }
    if (!options.plot.empty())
    {
        report.inputWave.reset(new CWaveEnvelope(in.frames, in.sampleRate));
        report.outputWave.reset(new CWaveEnvelope(in.frames, in.sampleRate));
    }
    const bool measuring = options.analysis || !options.plot.empty();

    // Reading, processing, writing and measuring overlap: each on its own
    // thread, blocks handed on through queues. A block returns to the free
    // queue when the writer and the measurement are both done with it.
    std::vector<Block> blocks(kBlocks);
    for (Block& b : blocks)
    {
        b.in.resize((size_t)kBlockFrames * channels);
        b.out.resize((size_t)kBlockFrames * channels);
    }
    CBlockQueue freeQ, processQ, writeQ, measureQ;
    for (int i = 0; i < kBlocks; ++i)
        freeQ.Push(i);
    std::mutex errorMutex;
    std::string error;
    auto fail = [&](const std::string& message)
    {
        {
            std::lock_guard<std::mutex> lock(errorMutex);
            if (error.empty())
                error = message;
        }
        for (CBlockQueue* q : {&freeQ, &processQ, &writeQ, &measureQ})
            q->Close();
    };
    auto release = [&](int i)
    {
        if (--blocks[i].users == 0)
            freeQ.Push(i);
    };
    auto guarded = [&](auto body)
    {
        return [&, body]()
        {
            try
            {
                body();
            }
            catch (const CHostError& e)
            {
                fail(e.what());
            }
            catch (const std::bad_alloc&)
            {
                fail("out of memory");
            }
        };
    };

    std::thread readThread(guarded(
        [&]()
        {
            for (int i; freeQ.Pop(&i);)
            {
                blocks[i].frames = reader.Read(blocks[i].in.data(), kBlockFrames);
                processQ.Push(i);
                if (blocks[i].frames == 0)
                    return;
            }
        }));
    long long clipped = 0, nonFinite = 0;
    std::thread writeThread(guarded(
        [&]()
        {
            for (int i; writeQ.Pop(&i);)
            {
                if (blocks[i].frames == 0)
                    return;
                writer.Write(blocks[i].out.data(), blocks[i].frames);
                release(i);
            }
        }));
    std::thread measureThread;
    if (measuring)
        measureThread = std::thread(guarded(
            [&]()
            {
                for (int i; measureQ.Pop(&i);)
                {
                    const Block& b = blocks[i];
                    if (b.frames == 0)
                        return;
                    if (report.before)
                        CSignalStats::AddPair(*report.before, b.in.data(), *report.after,
                                              b.out.data(), b.frames);
                    if (report.inputWave)
                    {
                        report.inputWave->Add(b.in.data(), channels, b.frames);
                        report.outputWave->Add(b.out.data(), channels, b.frames);
                    }
                    release(i);
                }
            }));

    // Processing on this thread: each instance on its lane, block by block.
    CProgressBar progress(options.out.progress && !options.out.quiet);
    double processSeconds = 0;
    long long done = 0;
    const int block = options.plug.block;
    const float fullScale = 1.0f;
    guarded(
        [&]()
        {
            for (int i; processQ.Pop(&i);)
            {
                Block& b = blocks[i];
                b.users = measuring ? 2 : 1;
                if (b.frames == 0)
                {
                    writeQ.Push(i);
                    if (measuring)
                        measureQ.Push(i);
                    return;
                }
                const float* x = b.in.data();
                float* y = b.out.data();
                for (int c = 0; c < channels; ++c)
                    if (passThrough[c])
                        for (long long f = 0; f < b.frames; ++f)
                            y[f * channels + c] = x[f * channels + c];
                for (long long start = 0; start < b.frames; start += block)
                {
                    const int n = (int)std::min<long long>(block, b.frames - start);
                    for (Instance& inst : instances)
                    {
                        const int ca = inst.lane.a, cb = inst.lane.b < 0 ? ca : inst.lane.b;
                        float* l = inst.ins[0].data();
                        float* r = inst.ins[1].data();
                        // The plug-in may scale its inputs in place: refill each time.
                        for (int f = 0; f < n; ++f)
                        {
                            l[f] = x[(start + f) * channels + ca];
                            r[f] = x[(start + f) * channels + cb];
                        }
                        Clock::time_point t0 = Clock::now();
                        inst.host->Process(inst.inPtr.data(), inst.outPtr.data(), n);
                        processSeconds += std::chrono::duration<double>(Clock::now() - t0).count();
                        const float* ol = inst.outs[0].data();
                        const float* orr = inst.host->Effect()->numOutputs > 1
                                               ? inst.outs[1].data()
                                               : inst.outs[0].data();
                        for (int f = 0; f < n; ++f)
                        {
                            float a = ol[f], c = orr[f];
                            if (!std::isfinite(a))
                                a = 0.f, ++nonFinite;
                            if (!std::isfinite(c))
                                c = 0.f, ++nonFinite;
                            float* frame = y + (start + f) * channels;
                            if (inst.lane.b < 0)
                                frame[ca] = (a + c) * 0.5f;
                            else
                            {
                                frame[ca] = a;
                                frame[cb] = c;
                            }
                        }
                    }
                }
                for (size_t k = 0, total = (size_t)b.frames * channels; k < total; ++k)
                    clipped += std::fabs(y[k]) > fullScale;
                writeQ.Push(i);
                if (measuring)
                    measureQ.Push(i);
                done += b.frames;
                progress.Show(done, in.frames);
            }
        })();
    readThread.join();
    writeThread.join();
    if (measureThread.joinable())
        measureThread.join();
    progress.Clear();
    if (!error.empty())
        throw CHostError(error);
    for (Instance& inst : instances)
        inst.host->Stop();
    instances.clear();
    if (options.failOnClip && clipped > 0 && !report.floatOutput)
        throw CHostError(format("%lld samples would be clipped at full scale (--fail-on-clip); "
                                "nothing was written",
                                clipped));
    writer.Close();
    file.Commit();

    if (report.before)
    {
        report.before->Finish();
        report.after->Finish();
        report.bandGain = BandGainCurve(*report.before, *report.after);
        report.wideGain = WideGainCurve(*report.before, *report.after);
    }
    report.audioSeconds = (double)done / in.sampleRate;
    report.output.frames = done;
    report.processSeconds = processSeconds;
    report.nonFinite = nonFinite;
    report.clipped = clipped;
    if (clipped)
        report.warnings.push_back(
            report.floatOutput
                ? format("%lld samples beyond full scale, kept in the float output", clipped)
                : format("%lld samples clipped at full scale", clipped));
    if (nonFinite)
        report.warnings.push_back(
            format("%lld output samples were not finite and were written as 0", nonFinite));
    if (!options.plot.empty())
    {
        PlotData plot;
        plot.input = report.inputWave.get();
        plot.output = report.outputWave.get();
        plot.windowSeconds = report.before ? report.before->WindowSeconds() : 0.01;
        plot.bandGain = report.bandGain;
        plot.wideGain = report.wideGain;
        plot.title =
            !options.plotTitle.empty()
                ? options.plotTitle
                : "De-essing " + (job.input == "-" ? std::string("standard input") : job.input);
        plot.subtitle = report.pluginName + ", " + report.programText;
        if (report.before)
            plot.subtitle += format("  |  sibilance 5-9 kHz %+.1f dB, voice 100-3000 Hz %+.1f dB, "
                                    "largest reduction %.1f dB",
                                    report.after->SibilanceDb() - report.before->SibilanceDb(),
                                    report.after->VoiceDb() - report.before->VoiceDb(),
                                    LargestReduction(report.bandGain, nullptr));
        WritePlot(plot, options.plot);
    }
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

std::string SummaryText(const RenderReport& r)
{
    std::string s;
    s += format("%s: %lld frames, %d channel%s, %d Hz, %.2f s\n",
                FormatName(r.input.format).c_str(), r.input.frames, r.input.channels,
                r.input.channels == 1 ? "" : "s", r.input.sampleRate, r.audioSeconds);
    s += format("output: %s\n", FormatName(r.output.format).c_str());
    s += "plug-in: " + r.pluginName + ", " + r.programText + "\n";
    if (r.input.channels > 2 ||
        (r.input.channels == 2 && r.lanesText.find("alone") != std::string::npos))
        s += "instances: " + r.lanesText + "\n";
    for (const std::string& set : r.settings)
        s += "  set " + set + "\n";
    if (r.target)
        s += TargetSummaryText(*r.target,
                               r.before ? r.after->SibilanceDb() - r.before->SibilanceDb() : NAN,
                               r.before ? r.after->VoiceDb() - r.before->VoiceDb() : NAN);
    if (r.before)
    {
        const CSignalStats& a = *r.before;
        const CSignalStats& b = *r.after;
        s += format("%-26s %10s %10s %10s\n", "", "input", "output", "change");
        auto row = [&](const char* name, double x, double y)
        {
            auto level = [](double v) { return std::isnan(v) ? dbText(v) : dbText(v) + " dBFS"; };
            s += format("%-26s %10s %10s %10s\n", name, level(x).c_str(), level(y).c_str(),
                        changeText(x, y).c_str());
        };
        row("peak", a.PeakDb(), b.PeakDb());
        row("RMS", a.RmsDb(), b.RmsDb());
        row("sibilance band 5-9 kHz", a.SibilanceDb(), b.SibilanceDb());
        row("voice band 100-3000 Hz", a.VoiceDb(), b.VoiceDb());
        int window = -1;
        double reduction = LargestReduction(r.bandGain, &window);
        if (window >= 0)
            s += format("largest gain reduction: %.1f dB at %.2f s (5-9 kHz band level, output "
                        "against input, %.0f ms windows; measured by this host)\n",
                        reduction, window * a.WindowSeconds(), a.WindowSeconds() * 1000.0);
        else if (!a.SibilanceUsable())
            s += format("largest gain reduction: n/a (the 5-9 kHz band does not fit at %d Hz)\n",
                        r.input.sampleRate);
        else
            s += "largest gain reduction: n/a (no 5-9 kHz band content above -60 dBFS)\n";
    }
    else
        s += "levels: not measured (--no-analysis)\n";
    s += format("clipped samples: %lld%s\n", r.clipped,
                r.floatOutput ? " (beyond full scale, kept: float output)" : "");
    if (r.wallSeconds > 0)
        s += format("realtime factor: %.0fx end to end (%.3f s of audio in %.3f s with file "
                    "reading, writing and measuring; plug-in alone %.3f s, %.0fx)\n",
                    r.audioSeconds / r.wallSeconds, r.audioSeconds, r.wallSeconds, r.processSeconds,
                    r.processSeconds > 0 ? r.audioSeconds / r.processSeconds : 0.0);
    return s;
}

std::string ReportLine(const FileJob& job, const RenderReport& r)
{
    std::string s = job.input + " -> " + job.output + ": done";
    if (r.before)
        s += format(", sibilance %s, peak %s dBFS",
                    changeText(r.before->SibilanceDb(), r.after->SibilanceDb()).c_str(),
                    dbText(r.after->PeakDb()).c_str());
    if (r.target)
        s += format(", Threshold %.1f dB, Ratio %.1f", r.target->thresholdDb, r.target->ratio);
    if (r.clipped)
        s += format(", %lld %s", r.clipped, r.floatOutput ? "overs kept" : "clipped");
    s += format(", %.1f s", r.wallSeconds);
    return s;
}

std::string ReportJson(const FileJob& job, const RenderReport& r)
{
    CJsonWriter j;
    j.BeginObject();
    j.String("input", job.input).String("output", job.output);
    j.String("input_format", FormatName(r.input.format))
        .String("output_format", FormatName(r.output.format));
    j.Integer("sample_rate", r.input.sampleRate)
        .Integer("channels", r.input.channels)
        .Integer("frames", r.output.frames)
        .Number("seconds", r.audioSeconds);
    j.String("plugin", r.pluginName)
        .String("program", r.programText)
        .String("instances", r.lanesText);
    j.BeginObject("settings");
    for (const auto& p : r.parameters)
        j.String(p.first.c_str(), p.second);
    j.EndObject();
    if (r.before)
    {
        const CSignalStats* s[2] = {r.before.get(), r.after.get()};
        const char* names[2] = {"input", "output"};
        j.BeginObject("levels");
        for (int k = 0; k < 2; ++k)
            j.BeginObject(names[k])
                .Number("peak_dbfs", s[k]->PeakDb())
                .Number("rms_dbfs", s[k]->RmsDb())
                .Number("sibilance_dbfs", s[k]->SibilanceDb())
                .Number("voice_dbfs", s[k]->VoiceDb())
                .EndObject();
        j.EndObject();
        int window = -1;
        double reduction = LargestReduction(r.bandGain, &window);
        j.BeginObject("reduction");
        if (window >= 0)
            j.Number("largest_db", reduction)
                .Number("at_seconds", window * r.before->WindowSeconds());
        else
            j.Null("largest_db").Null("at_seconds");
        j.Number("sibilance_change_db", r.after->SibilanceDb() - r.before->SibilanceDb())
            .Number("voice_change_db", r.after->VoiceDb() - r.before->VoiceDb());
        j.EndObject();
    }
    if (r.target)
        TargetJson(j, *r.target, r.before ? r.after->SibilanceDb() - r.before->SibilanceDb() : NAN,
                   r.before ? r.after->VoiceDb() - r.before->VoiceDb() : NAN);
    j.Integer("clipped_samples", r.floatOutput ? 0 : r.clipped)
        .Integer("overs_kept", r.floatOutput ? r.clipped : 0)
        .Integer("non_finite_samples", r.nonFinite);
    j.BeginArray("warnings");
    for (const std::string& w : r.warnings)
        j.String(nullptr, w);
    j.EndArray();
    j.Number("wall_seconds", r.wallSeconds).Number("plugin_seconds", r.processSeconds);
    j.Number("realtime_factor", r.wallSeconds > 0 ? r.audioSeconds / r.wallSeconds : 0.0);
    j.EndObject();
    return j.Text();
}

int RunRender(const RenderOptions& options)
{
    std::vector<FileJob> jobs =
        PlanJobs(options.inputs, options.output, options.outDir, options.format);
    RenderOptions each = options;
    each.out.progress = options.out.progress && jobs.size() == 1; // one bar, one file
    return RunJobs(jobs, options.jobs, options.out,
                   [&](const FileJob& job)
                   {
                       FileResult result;
                       RenderReport report = RenderFile(each, job);
                       result.ok = true;
                       result.warnings = report.warnings;
                       result.summary = "rendered " + job.input + " -> " + job.output + "\n" +
                                        SummaryText(report);
                       result.line = ReportLine(job, report);
                       result.json = ReportJson(job, report);
                       return result;
                   });
}
