// Command-line parsing and the five commands of the deesser host.
#include "Commands.h"
#include "DemoSignal.h"
#include "FxbFile.h"
#include "HostError.h"
#include "LegacyList.h"
#include "ParamValue.h"
#include "Plot.h"
#include "Render.h"
#include "SoundFile.h"
#include "VstHost.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
const char kUsage[] =
    "usage: deesser COMMAND [options]\n"
    "\n"
    "  render IN OUT [--program N | --program-name NAME] [--bank FILE.fxb]\n"
    "                [--set NAME=VALUE ...] [--block N] [--plugin PATH] [--force]\n"
    "                [--no-progress]\n"
    "      process a sound file through the plug-in and print a before/after summary\n"
    "  demo [--out-dir DIR] [--plugin PATH]\n"
    "      synthesise a sibilant voice, de-ess it, write demo-in.wav, demo-out.wav\n"
    "      and demo.png, and print the summary\n"
    "  info [--plugin PATH]\n"
    "      identity, parameters and programs of the plug-in\n"
    "  import-legacy LIST.LST OUT.fxb [--bank BASE.fxb] [--plugin PATH] [--force]\n"
    "      turn a legacy program list and its .PGM files into a bank file\n"
    "  bench [--seconds N] [--plugin PATH]\n"
    "      processing cost per stereo frame, side-chain and split-band, block 256\n"
    "\n"
    "Parameter values for --set are in display units: Threshold=-30 (dB), Ratio=4,\n"
    "AttackTime=1 (ms), ReleaseTime=0.05 (s), LowFreq=5000 (Hz), Output=-3 (dB),\n"
    "SideChain=OFF. Other plug-ins take normalised values 0..1.\n";

typedef std::chrono::steady_clock Clock;

// A minimal option reader: "--name value", "--name=value", flags, positionals.
class CArgs
{
public:
    explicit CArgs(const ArgList& args) : m_Args(args) {}

    // Next item; false at the end. For an option that takes a value, the
    // value is fetched with Value().
    bool Next(std::string& item)
    {
        m_Pending.clear();
        m_HasInline = false;
        if (m_Pos >= m_Args.size())
            return false;
        item = m_Args[m_Pos++];
        if (item.size() > 2 && item.compare(0, 2, "--") == 0)
        {
            size_t eq = item.find('=');
            if (eq != std::string::npos)
            {
                m_Pending = item.substr(eq + 1);
                m_HasInline = true;
                item = item.substr(0, eq);
            }
        }
        m_Current = item;
        return true;
    }
    std::string Value()
    {
        if (m_HasInline)
        {
            m_HasInline = false;
            return m_Pending;
        }
        if (m_Pos >= m_Args.size())
            throw CHostError(m_Current + " needs a value");
        return m_Args[m_Pos++];
    }
    int IntValue(int lo, int hi)
    {
        std::string v = Value();
        char* end = nullptr;
        long n = std::strtol(v.c_str(), &end, 10);
        if (v.empty() || *end || n < lo || n > hi)
            throw CHostError(m_Current + " needs a whole number " + std::to_string(lo) + " .. " +
                             std::to_string(hi) + ", got \"" + v + "\"");
        return (int)n;
    }
    void NoInline()
    {
        if (m_HasInline)
            throw CHostError(m_Current + " takes no value");
    }

private:
    const ArgList& m_Args;
    size_t m_Pos = 0;
    std::string m_Current, m_Pending;
    bool m_HasInline = false;
};

[[noreturn]] void unknownOption(const std::string& item, const char* command)
{
    throw CHostError("unknown option " + item + " for " + command + " (see deesser --help)");
}

std::string flagsText(VstInt32 flags)
{
    static const struct
    {
        VstInt32 bit;
        const char* name;
    } names[] = {{effFlagsHasEditor, "editor"},
                 {effFlagsHasClip, "clip"},
                 {effFlagsHasVu, "vu"},
                 {effFlagsCanMono, "can-mono"},
                 {effFlagsCanReplacing, "replacing"},
                 {effFlagsProgramChunks, "program-chunks"},
                 {effFlagsIsSynth, "synth"},
                 {effFlagsNoSoundInStop, "no-sound-in-stop"},
                 {effFlagsCanDoubleReplacing, "double-replacing"}};
    std::string text = std::to_string(flags);
    std::string list;
    VstInt32 known = 0;
    for (const auto& n : names)
    {
        known |= n.bit;
        if (flags & n.bit)
            list += (list.empty() ? "" : ", ") + std::string(n.name);
    }
    if (flags & ~known)
        list += (list.empty() ? "" : ", ") + std::string("others");
    return list.empty() ? text : text + " (" + list + ")";
}

std::string propertiesText(const VstParameterProperties& p)
{
    std::string s;
    auto add = [&](const std::string& x) { s += (s.empty() ? "" : ", ") + x; };
    if (p.flags & kVstParameterIsSwitch)
        add("switch");
    if (p.flags & kVstParameterUsesIntegerMinMax)
        add("range " + std::to_string(p.minInteger) + ".." + std::to_string(p.maxInteger));
    if (p.flags & kVstParameterUsesIntStep)
        add("steps " + std::to_string(p.stepInteger) + "/" + std::to_string(p.largeStepInteger));
    if (p.flags & kVstParameterUsesFloatStep)
        add("float steps");
    if (p.flags & kVstParameterCanRamp)
        add("can ramp");
    return s;
}

// A program of the plug-in fit for the demo: a name with "vocal" (or
// "voice", "de-ess") in it, case ignored; -1 when there is none.
int demoProgram(CVstHost& host, std::string* name)
{
    const char* const wanted[] = {"vocal", "voice", "de-ess", "deess"};
    for (const char* w : wanted)
        for (int i = 0; i < host.NumPrograms(); ++i)
        {
            std::string n = host.ProgramName(i);
            std::string l = n;
            for (char& c : l)
                c = (char)std::tolower((unsigned char)c);
            if (l.find(w) != std::string::npos)
            {
                *name = n;
                return i;
            }
        }
    return -1;
}

std::vector<float> readMono(const std::string& path)
{
    CSoundReader reader(path);
    const int ch = reader.Info().channels;
    std::vector<float> buffer(4096 * (size_t)ch), mono;
    long long n;
    while ((n = reader.Read(buffer.data(), 4096)) > 0)
        for (long long i = 0; i < n; ++i)
        {
            double sum = 0;
            for (int c = 0; c < ch; ++c)
                sum += buffer[i * ch + c];
            mono.push_back((float)(sum / ch));
        }
    return mono;
}

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes, bool force)
{
    CPendingFile pending(path, force);
    size_t done = 0;
    while (done < bytes.size())
    {
        ssize_t n = write(pending.Fd(), bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            throw CHostError("cannot write " + path + ": " + std::strerror(errno));
        done += (size_t)n;
    }
    pending.Commit();
}
} // namespace

int CmdRender(const ArgList& args)
{
    RenderOptions options;
    std::vector<std::string> positional;
    CArgs a(args);
    std::string item;
    bool haveProgram = false;
    while (a.Next(item))
    {
        if (item == "--program")
        {
            options.program = a.IntValue(0, 1 << 30);
            haveProgram = true;
        }
        else if (item == "--program-name")
            options.programName = a.Value();
        else if (item == "--bank")
            options.bank = a.Value();
        else if (item == "--set")
            options.sets.push_back(a.Value());
        else if (item == "--block")
            options.block = a.IntValue(1, 65536);
        else if (item == "--plugin")
            options.plugin = a.Value();
        else if (item == "--force")
        {
            a.NoInline();
            options.force = true;
        }
        else if (item == "--no-progress")
        {
            a.NoInline();
            options.progress = false;
        }
        else if (item.size() > 1 && item[0] == '-')
            unknownOption(item, "render");
        else
            positional.push_back(item);
    }
    if (positional.size() != 2)
        throw CHostError("render needs an input and an output file (deesser render IN OUT)");
    if (haveProgram && !options.programName.empty())
        throw CHostError("give --program or --program-name, not both");
    options.input = positional[0];
    options.output = positional[1];
    RenderReport report = RenderFile(options);
    std::printf("rendered %s -> %s\n", options.input.c_str(), options.output.c_str());
    PrintSummary(stdout, report);
    return 0;
}

int CmdDemo(const ArgList& args)
{
    std::string dir = ".";
    std::string plugin;
    CArgs a(args);
    std::string item;
    while (a.Next(item))
    {
        if (item == "--out-dir")
            dir = a.Value();
        else if (item == "--plugin")
            plugin = a.Value();
        else
            unknownOption(item, "demo");
    }
    struct stat st;
    if (stat(dir.c_str(), &st) != 0)
    {
        if (mkdir(dir.c_str(), 0777) != 0)
            throw CHostError("cannot create folder " + dir + ": " + std::strerror(errno));
    }
    else if (!S_ISDIR(st.st_mode))
        throw CHostError(dir + " is not a folder");
    if (dir.back() != '/')
        dir += '/';
    if (plugin.empty())
        plugin = DefaultPluginPath();

    // 4 s of sibilant voice, written as a mono float WAV.
    const double rate = 44100;
    std::vector<float> voice = SynthesiseDemo(rate, 4.0);
    std::string inPath = dir + "demo-in.wav", outPath = dir + "demo-out.wav";
    {
        SoundInfo info;
        info.channels = 1;
        info.sampleRate = (int)rate;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        CPendingFile pending(inPath, true);
        CSoundWriter writer(pending, info);
        writer.Write(voice.data(), (long long)voice.size());
        writer.Close();
        pending.Commit();
    }

    RenderOptions options;
    options.input = inPath;
    options.output = outPath;
    options.plugin = plugin;
    options.force = true; // the demo's own files are replaced on every run
    options.progress = false;
    {
        CVstHost probe(plugin);
        probe.Open();
        std::string name;
        int program = probe.IsDeEsser() ? demoProgram(probe, &name) : -1;
        if (!probe.IsDeEsser())
            throw CHostError("the demo needs the de-esser plug-in; " + plugin + " is " +
                             probe.Text(effGetEffectName));
        if (program >= 0)
            options.program = program;
        else
            options.sets = {"Threshold=-30", "Ratio=4", "AutoThreshold=OFF", "SideChain=ON",
                            "ReleaseTime=0.05"};
    }
    RenderReport report = RenderFile(options);

    PlotData plot;
    plot.sampleRate = rate;
    plot.input = voice;
    plot.output = readMono(outPath);
    plot.windowSeconds = report.before->WindowSeconds();
    plot.bandGain = report.bandGain;
    plot.wideGain = report.wideGain;
    char subtitle[256];
    std::snprintf(subtitle, sizeof(subtitle),
                  "%s, %s  |  sibilance 5-9 kHz %+.1f dB, voice 100-3000 Hz %+.1f dB, "
                  "largest reduction %.1f dB",
                  report.pluginName.c_str(), report.programText.c_str(),
                  report.after->SibilanceDb() - report.before->SibilanceDb(),
                  report.after->VoiceDb() - report.before->VoiceDb(),
                  LargestReduction(report.bandGain, nullptr));
    plot.title = "De-essing a synthetic sibilant voice";
    plot.subtitle = subtitle;
    WritePlot(plot, dir + "demo.png");

    std::printf("wrote %s, %s and %s\n", inPath.c_str(), outPath.c_str(),
                (dir + "demo.png").c_str());
    PrintSummary(stdout, report);
    return 0;
}

int CmdInfo(const ArgList& args)
{
    std::string plugin;
    CArgs a(args);
    std::string item;
    while (a.Next(item))
    {
        if (item == "--plugin")
            plugin = a.Value();
        else
            unknownOption(item, "info");
    }
    CVstHost host(plugin.empty() ? DefaultPluginPath() : plugin);
    host.Open();
    AEffect* e = host.Effect();
    std::printf("plug-in      %s\n", host.Path().c_str());
    std::printf("effect       %s\n", host.Text(effGetEffectName).c_str());
    std::printf("vendor       %s\n", host.Text(effGetVendorString).c_str());
    std::printf("product      %s\n", host.Text(effGetProductString).c_str());
    std::printf("version      %ld (vendor), %d (effect record), VST %ld\n",
                (long)host.Dispatch(effGetVendorVersion), (int)e->version,
                (long)host.Dispatch(effGetVstVersion));
    std::printf("unique ID    '%s' (0x%08X)\n", host.UniqueIdText().c_str(), (unsigned)e->uniqueID);
    std::printf("category     %ld\n", (long)host.Dispatch(effGetPlugCategory));
    std::printf("flags        %s\n", flagsText(e->flags).c_str());
    std::printf("audio        %d in, %d out, initial delay %d\n", (int)e->numInputs,
                (int)e->numOutputs, (int)e->initialDelay);

    std::printf("\nparameters (%d)\n", e->numParams);
    std::printf("  %3s  %-14s %-10s %-6s %-10s %s\n", "#", "name", "value", "label", "normalised",
                "properties");
    for (int i = 0; i < e->numParams; ++i)
    {
        VstParameterProperties props;
        std::memset(&props, 0, sizeof(props));
        bool hasProps = host.Dispatch(effGetParameterProperties, i, 0, &props) != 0;
        std::printf("  %3d  %-14s %-10s %-6s %-10.6f %s\n", i, host.ParamName(i).c_str(),
                    host.ParamDisplay(i).c_str(), host.ParamLabel(i).c_str(), host.GetParameter(i),
                    hasProps ? propertiesText(props).c_str() : "-");
    }
    std::printf("\nprograms (%d), current %ld\n", e->numPrograms,
                (long)host.Dispatch(effGetProgram));
    for (int i = 0; i < e->numPrograms; ++i)
        std::printf("  %3d  %s\n", i, host.ProgramName(i).c_str());
    return 0;
}

int CmdImportLegacy(const ArgList& args)
{
    std::string plugin, base;
    bool force = false;
    std::vector<std::string> positional;
    CArgs a(args);
    std::string item;
    while (a.Next(item))
    {
        if (item == "--plugin")
            plugin = a.Value();
        else if (item == "--bank")
            base = a.Value();
        else if (item == "--force")
        {
            a.NoInline();
            force = true;
        }
        else if (item.size() > 1 && item[0] == '-')
            unknownOption(item, "import-legacy");
        else
            positional.push_back(item);
    }
    if (positional.size() != 2)
        throw CHostError("import-legacy needs a list and an output bank (deesser import-legacy "
                         "LIST.LST OUT.fxb)");
    const std::string& listPath = positional[0];
    const std::string& outPath = positional[1];
    CheckOutputPath(outPath, listPath, force);
    std::vector<std::string> warnings;
    std::vector<LegacyProgram> programs = ReadLegacyList(listPath, &warnings);
    for (const std::string& w : warnings)
        std::fprintf(stderr, "deesser: warning: %s\n", w.c_str());

    CVstHost host(plugin.empty() ? DefaultPluginPath() : plugin);
    if (!host.IsDeEsser())
        throw CHostError("import-legacy needs the de-esser plug-in; " + host.Path() + " is " +
                         host.Text(effGetEffectName));
    host.Open();
    if (!base.empty())
    {
        FxbBank bank = ReadFxbBank(base);
        if (bank.fxId != host.Effect()->uniqueID || bank.chunk.size() != 2304)
            throw CHostError("bank " + base + " is not a bank of this plug-in");
        host.Dispatch(effSetChunk, 0, (VstIntPtr)bank.chunk.size(), bank.chunk.data());
    }

    // Threshold, attack, release, ratio: fields 1-4 of the value line.
    const int targets[4] = {3, 5, 6, 4};
    const char* const labels[4] = {"threshold %.1f dB", "attack %.1f ms", "release %.2f s",
                                   "ratio %.1f"};
    for (size_t i = 0; i < programs.size(); ++i)
    {
        const LegacyProgram& p = programs[i];
        host.Dispatch(effSetProgram, 0, (VstIntPtr)i);
        std::string line;
        for (int f = 0; f < 4; ++f)
        {
            if (!p.has[f])
                continue;
            double lo, hi;
            DisplayRange(targets[f], &lo, &hi);
            bool clamped = p.value[f] < lo || p.value[f] > hi;
            host.SetParameter(targets[f], DisplayToNormalised(targets[f], p.value[f], true));
            char text[64];
            std::snprintf(text, sizeof(text), labels[f], p.value[f]);
            line += (line.empty() ? "" : ", ") + std::string(text) + (clamped ? " (clamped)" : "");
        }
        char name[kVstMaxProgNameLen];
        std::memset(name, 0, sizeof(name));
        std::strncpy(name, p.name.c_str(), sizeof(name) - 1);
        host.Dispatch(effSetProgramName, 0, 0, name);
        if (p.name.size() > sizeof(name) - 1)
            std::fprintf(stderr, "deesser: warning: name \"%s\" cut to \"%s\" (23 bytes at most)\n",
                         p.name.c_str(), name);
        std::printf("  %2zu  %-23s %s\n", i, name, line.empty() ? "(no values)" : line.c_str());
    }
    host.Dispatch(effSetProgram, 0, 0);

    void* data = nullptr;
    VstIntPtr size = host.Dispatch(effGetChunk, 0, 0, &data);
    if (!data || size != 2304)
        throw CHostError("the plug-in returned a bank chunk of " + std::to_string((long)size) +
                         " bytes; expected 2304");
    FxbBank bank;
    bank.fxId = host.Effect()->uniqueID;
    bank.fxVersion = host.Effect()->version;
    bank.numPrograms = host.NumPrograms();
    bank.chunk.assign((const uint8_t*)data, (const uint8_t*)data + size);
    std::vector<uint8_t> bytes = BuildFxbBank(bank);
    writeFile(outPath, bytes, force);
    std::printf("imported %zu program%s from %s into %s (%zu bytes)\n", programs.size(),
                programs.size() == 1 ? "" : "s", listPath.c_str(), outPath.c_str(), bytes.size());
    return 0;
}

int CmdBench(const ArgList& args)
{
    double seconds = 2.0;
    std::string plugin;
    CArgs a(args);
    std::string item;
    while (a.Next(item))
    {
        if (item == "--seconds")
        {
            std::string v = a.Value();
            char* end = nullptr;
            seconds = std::strtod(v.c_str(), &end);
            if (v.empty() || *end || !(seconds > 0 && seconds <= 600))
                throw CHostError("--seconds needs a number of seconds 0 .. 600, got \"" + v + "\"");
        }
        else if (item == "--plugin")
            plugin = a.Value();
        else
            unknownOption(item, "bench");
    }
    if (plugin.empty())
        plugin = DefaultPluginPath();

    const double rate = 44100;
    const int block = 256;
    std::vector<float> voice = SynthesiseDemo(rate, 4.0);
    const size_t frames = voice.size() - voice.size() % block;
    std::printf(
        "plug-in %s, demo signal (4 s, stereo, 44.1 kHz), block %d, about %.1f s per mode\n",
        plugin.c_str(), block, seconds);
    std::printf("%-12s %14s %16s %12s\n", "mode", "ns per frame", "realtime factor", "CPU load");
    const char* const modes[2] = {"side-chain", "split-band"};
    for (int mode = 0; mode < 2; ++mode)
    {
        CVstHost host(plugin);
        if (!host.IsDeEsser())
            throw CHostError("bench needs the de-esser plug-in; " + plugin + " is " +
                             host.Text(effGetEffectName));
        host.Open();
        host.Prepare(rate, block);
        const char* const sets[] = {"Threshold=-30", "Ratio=4", "AutoThreshold=OFF",
                                    mode == 0 ? "SideChain=ON" : "SideChain=OFF"};
        for (const char* s : sets)
            ApplySetting(host, s);
        host.Start();

        std::vector<float> inL(block), inR(block), outL(block), outR(block);
        float* ins[2] = {inL.data(), inR.data()};
        float* outs[2] = {outL.data(), outR.data()};
        double busy = 0;
        long long processed = 0;
        size_t pos = 0;
        Clock::time_point start = Clock::now();
        bool warm = false;
        for (;;)
        {
            std::memcpy(inL.data(), voice.data() + pos, block * sizeof(float));
            std::memcpy(inR.data(), voice.data() + pos, block * sizeof(float));
            Clock::time_point t0 = Clock::now();
            host.Process(ins, outs, block);
            Clock::time_point t1 = Clock::now();
            pos += block;
            if (pos >= frames)
            {
                pos = 0;
                if (!warm) // one pass through the signal before timing
                {
                    warm = true;
                    start = Clock::now();
                    continue;
                }
            }
            if (warm)
            {
                busy += std::chrono::duration<double>(t1 - t0).count();
                processed += block;
                if (std::chrono::duration<double>(t1 - start).count() >= seconds)
                    break;
            }
        }
        host.Stop();
        double ns = busy * 1e9 / processed;
        double factor = (processed / rate) / busy;
        std::printf("%-12s %14.1f %15.0fx %11.2f%%\n", modes[mode], ns, factor, 100.0 / factor);
    }
    return 0;
}

int RunDeEsser(int argc, char** argv)
{
    if (argc < 2)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::string command = argv[1];
    ArgList args(argv + 2, argv + argc);
    try
    {
        if (command == "render")
            return CmdRender(args);
        if (command == "demo")
            return CmdDemo(args);
        if (command == "info")
            return CmdInfo(args);
        if (command == "import-legacy")
            return CmdImportLegacy(args);
        if (command == "bench")
            return CmdBench(args);
        if (command == "--help" || command == "-h" || command == "help")
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        std::fprintf(stderr, "deesser: unknown command \"%s\" (see deesser --help)\n",
                     command.c_str());
        return 2;
    }
    catch (const CHostError& e)
    {
        std::fprintf(stderr, "deesser: %s\n", e.what());
        return 1;
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "deesser: out of memory\n");
        return 1;
    }
}
