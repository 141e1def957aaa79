// Command-line parsing and the five commands of the deesser host.
#include "Commands.h"
#include "Analysis.h"
#include "CJsonWriter.h"
#include "CArgs.h"
#include "COutputFile.h"
#include "DemoSignal.h"
#include "ADeEsserProgram.h"
#include "BankFile.h"
#include "HostError.h"
#include "ParamTable.h"
#include "ProgramFile.h"
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
    "usage: deesser COMMAND [options]     (deesser COMMAND --help for each)\n"
    "\n"
    "  render IN OUT | render IN... --out-dir DIR\n"
    "      process sound files through the plug-in and print a before/after summary\n"
    "  analyze IN...\n"
    "      levels, sibilance, and per program the threshold for a 6 dB reduction\n"
    "  programs [NAME|NUMBER]\n"
    "      the plug-in's programs with their settings\n"
    "  demo [--out-dir DIR]\n"
    "      synthesise a sibilant voice, de-ess it, write demo-in.wav, demo-out.wav\n"
    "      and demo.png, and print the summary\n"
    "  info\n"
    "      identity, parameters and programs of the plug-in\n"
    "  import-legacy LIST.LST OUT.fxb\n"
    "      turn a legacy program list and its .PGM files into a bank file\n"
    "  bench [--seconds N]\n"
    "      processing cost per stereo frame, side-chain and split-band, block 256\n"
    "\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 all done, 1 a usage or input error, 2 some files of a batch failed.\n";

const char kPluginHelp[] =
    "  --plugin PATH          the VST 2.4 plug-in (default: DeEsser.so beside deesser,\n"
    "                         in ../lib/vst, the build tree, ~/.vst or /usr/lib/vst)\n"
    "  --factory              start from the factory bank, ignoring the user's default bank\n"
    "  --bank FILE.fxb        load a bank file first\n"
    "  --program N            program N (from 0); default: program 0 of the bank the\n"
    "                         plug-in starts with (factory bank: \"Female Vocal\")\n"
    "  --program-name NAME    a program by (part of) its name, case ignored\n"
    "  --set NAME=VALUE       a parameter in display units, e.g. Threshold=-30,\n"
    "                         Ratio=4, AttackTime=1 (ms), ReleaseTime=0.05 (s),\n"
    "                         LowFreq=5000 (Hz), Output=-3 (dB), SideChain=OFF;\n"
    "                         other plug-ins take normalised values 0..1\n"
    "  --block N              processing block size, 1..65536 (default 512)\n";

const char kRenderHelp[] =
    "usage: deesser render IN OUT [options]\n"
    "       deesser render IN... --out-dir DIR [options]\n"
    "\n"
    "Renders sound files through the plug-in. IN may be a file, a folder (its sound\n"
    "files) or - for standard input; OUT may be - for standard output (WAV unless\n"
    "--format). Reads what libsndfile reads (WAV, FLAC, AIFF, Ogg, Opus, MP3, CAF...).\n"
    "The output format comes from OUT's extension: wav w64 rf64 aiff flac ogg opus\n"
    "mp3 caf au.\n"
    "\n"
    "%s"
    "  --dual-mono            one instance per channel, each detecting on its own\n"
    "  --channels A,B         process channels A and B (from 1), pass the rest through;\n"
    "                         without it more than 2 channels go as stereo pairs\n"
    "  --out-dir DIR          several inputs, written into DIR under their own names\n"
    "  -j, --jobs N           files rendered at the same time (default: all cores)\n"
    "  --format EXT           output format by name (for - and --out-dir)\n"
    "  --bits 16|24|32|float  output encoding (PCM outputs)\n"
    "  --quality Q            0..10 for lossy outputs (ogg, opus, mp3)\n"
    "  --force                replace an existing output (its permissions are kept)\n"
    "  --fail-on-clip         an error, and no output, when samples would clip\n"
    "  --no-analysis          skip the level measurements\n"
    "  --plot FILE.png        draw waveforms and gain change of the render\n"
    "  --target DB            bring the 5-9 kHz band down by DB decibels: a first pass\n"
    "                         measures the file and sets Threshold (and Ratio where\n"
    "                         needed) for it; the other settings stay the program's\n"
    "  -q, --quiet            only warnings and errors\n"
    "  --json                 one JSON object per file on stdout\n"
    "  --no-progress          no progress bar\n"
    "\n"
    "Exit status: 0 all done, 1 a usage or input error, 2 some files of a batch failed.\n";

const char kProgramsHelp[] =
    "usage: deesser programs [NAME|NUMBER] [--plugin PATH] [--factory] [--bank FILE.fxb]\n"
    "                        [--json]\n"
    "\n"
    "Lists the plug-in's programs with their settings in display units, or every\n"
    "parameter of one program (by number from 0, or by part of its name).\n";

const char kDemoHelp[] =
    "usage: deesser demo [--out-dir DIR] [--plugin PATH] [--factory]\n"
    "\n"
    "Synthesises 4 s of sibilant voice, de-esses it with the first program named\n"
    "for vocals, writes demo-in.wav, demo-out.wav and demo.png into DIR (default .)\n"
    "and prints the summary.\n";

const char kInfoHelp[] = "usage: deesser info [--plugin PATH]\n"
                         "\n"
                         "Shows the plug-in's identity, parameters and programs.\n";

const char kImportHelp[] =
    "usage: deesser import-legacy LIST.LST OUT.fxb [--bank BASE.fxb] [--plugin PATH] [--force]\n"
    "\n"
    "Turns a legacy program list and the .PGM files it names into a bank file.\n";

const char kBenchHelp[] =
    "usage: deesser bench [--seconds N] [--plugin PATH]\n"
    "\n"
    "Times processReplacing on the demo signal in side-chain and split-band mode.\n";

typedef std::chrono::steady_clock Clock;

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

// Handles the plug-in options of the simple commands; the rest is theirs.
struct SimpleCommand
{
    PluginChoices plug;
    OutputChoices out;
    std::vector<std::string> positional;
};

SimpleCommand parseSimple(const ArgList& args, const char* command, bool outputOptions)
{
    SimpleCommand c;
    CArgs a(args);
    std::string item;
    while (a.NextOption(item, c.positional))
    {
        if (!ParsePluginOption(a, item, c.plug) &&
            !(outputOptions && ParseOutputOption(a, item, c.out)))
            UnknownOption(item, command);
    }
    return c;
}
} // namespace

int CmdRender(const ArgList& args)
{
    return RunRender(ParseRenderCommand(args));
}

int CmdDemo(const ArgList& args)
{
    std::string dir = ".";
    RenderOptions options;
    CArgs a(args);
    std::string item;
    while (a.Next(item))
    {
        if (item == "--out-dir")
            dir = a.Value();
        else if (!ParsePluginOption(a, item, options.plug))
            UnknownOption(item, "demo");
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
    if (options.plug.plugin.empty())
        options.plug.plugin = DefaultPluginPath();

    // 4 s of sibilant voice, written as a mono float WAV.
    const double rate = 44100;
    std::vector<float> voice = SynthesiseDemo(rate, 4.0);
    FileJob job;
    job.input = dir + "demo-in.wav";
    job.output = dir + "demo-out.wav";
    {
        SoundInfo info;
        info.channels = 1;
        info.sampleRate = (int)rate;
        info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
        COutputFile file(job.input, true);
        CSoundWriter writer(file, info);
        writer.Write(voice.data(), (long long)voice.size());
        writer.Close();
        file.Commit();
    }

    options.force = true; // the demo's own files are replaced on every run
    options.out.progress = false;
    options.plot = dir + "demo.png";
    options.plotTitle = "De-essing a synthetic sibilant voice";
    {
        CVstHost probe(options.plug.plugin);
        probe.Open();
        std::string name;
        int program = probe.IsDeEsser() ? demoProgram(probe, &name) : -1;
        if (!probe.IsDeEsser())
            throw CHostError("the demo needs the de-esser plug-in; " + options.plug.plugin +
                             " is " + probe.Text(effGetEffectName));
        if (options.plug.program < 0 && options.plug.programName.empty() &&
            options.plug.sets.empty())
        {
            if (program >= 0)
                options.plug.program = program;
            else
                options.plug.sets = {"Threshold=-30", "Ratio=4", "AutoThreshold=OFF",
                                     "SideChain=ON", "ReleaseTime=0.05"};
        }
    }
    RenderReport report = RenderFile(options, job);
    for (const std::string& w : report.warnings)
        std::fprintf(stderr, "deesser: warning: %s\n", w.c_str());
    std::printf("wrote %s, %s and %s\n", job.input.c_str(), job.output.c_str(),
                options.plot.c_str());
    std::fputs(SummaryText(report).c_str(), stdout);
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
            UnknownOption(item, "info");
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
    PluginChoices plug;
    bool force = false;
    std::vector<std::string> positional;
    CArgs a(args);
    std::string item;
    while (a.NextOption(item, positional))
    {
        if (item == "--force")
        {
            a.NoInline();
            force = true;
        }
        else if (item != "--plugin" && item != "--bank" && item != "--factory")
            UnknownOption(item, "import-legacy");
        else
            ParsePluginOption(a, item, plug);
    }
    if (positional.size() != 2)
        throw CHostError("import-legacy needs a list and an output bank (deesser import-legacy "
                         "LIST.LST OUT.fxb)");
    const std::string& listPath = positional[0];
    const std::string& outPath = positional[1];
    struct stat st;
    if (stat(listPath.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        throw CHostError("cannot read the program list " + listPath);
    COutputFile outFile(outPath, force, listPath);

    RenderReport report;
    std::unique_ptr<CVstHost> host = OpenConfiguredPlugin(plug, 48000, report);
    for (const std::string& w : report.warnings)
        std::fprintf(stderr, "deesser: warning: %s\n", w.c_str());
    if (!host->IsDeEsser())
        throw CHostError("import-legacy needs the de-esser plug-in; " + host->Path() + " is " +
                         host->Text(effGetEffectName));

    // The import works on the bank image, as the plug-in's own import does.
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    void* data = nullptr;
    VstIntPtr size = host->Dispatch(effGetChunk, 0, 0, &data);
    if (!data || size != kBankChunkSize)
        throw CHostError("the plug-in returned a bank chunk of " + std::to_string((long)size) +
                         " bytes; expected " + std::to_string(kBankChunkSize));
    std::memcpy((void*)bank.data(), data, kBankChunkSize);
    size_t slash = listPath.rfind('/');
    std::string folder = slash == std::string::npos ? "." : listPath.substr(0, slash);
    int count = ImportProgramList(listPath.c_str(), folder.c_str(), bank.data(), kNumPrograms);
    if (count == 0)
        throw CHostError(listPath + " is not a legacy program list (\"" + kProgramListMagic +
                         "\" and a program count of at least 1)");
    host->Dispatch(effSetChunk, 0, kBankChunkSize, bank.data());

    for (int i = 0; i < count; ++i)
    {
        std::string name = bank[i].name;
        if (stat((folder + "/" + name + ".PGM").c_str(), &st) != 0)
            std::fprintf(stderr,
                         "deesser: warning: %s/%s.PGM not found; program %d keeps the values "
                         "read before it\n",
                         folder.c_str(), name.c_str(), i);
        host->Dispatch(effSetProgram, 0, i);
        std::string line;
        for (int p : {kParamThreshold, kParamAttack, kParamRelease, kParamRatio})
        {
            std::string label = host->ParamLabel(p);
            line += (line.empty() ? "" : ", ") + host->ParamName(p) + " " + host->ParamDisplay(p) +
                    (label.empty() ? "" : " " + label);
        }
        std::printf("  %2d  %-23s %s\n", i, name.c_str(), line.c_str());
    }
    host->Dispatch(effSetProgram, 0, 0);
    size = host->Dispatch(effGetChunk, 0, 0, &data);
    if (!data || size != kBankChunkSize ||
        !WriteBankFile(outFile.TempPath().c_str(), (uint32_t)host->Effect()->uniqueID, data,
                       (uint32_t)size))
        throw CHostError("cannot write " + outPath);
    outFile.Commit();
    std::printf("imported %d program%s from %s into %s\n", count, count == 1 ? "" : "s",
                listPath.c_str(), outPath.c_str());
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
            UnknownOption(item, "bench");
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

int CmdPrograms(const ArgList& args)
{
    SimpleCommand c = parseSimple(args, "programs", true);
    if (c.positional.size() > 1)
        throw CHostError("programs takes at most one program name or number");
    bool one = !c.positional.empty();
    if (one)
    {
        const std::string& which = c.positional[0];
        char* end = nullptr;
        long n = std::strtol(which.c_str(), &end, 10);
        if (!which.empty() && !*end && n >= 0)
            c.plug.program = (int)n;
        else
            c.plug.programName = which;
    }
    RenderReport report;
    std::unique_ptr<CVstHost> host = OpenConfiguredPlugin(c.plug, 48000, report);
    for (const std::string& w : report.warnings)
        std::fprintf(stderr, "deesser: warning: %s\n", w.c_str());
    const int params = host->NumParams();
    std::vector<int> programs;
    if (one)
        programs.push_back((int)host->Dispatch(effGetProgram));
    else
        for (int i = 0; i < host->NumPrograms(); ++i)
            programs.push_back(i);

    CJsonWriter json;
    json.BeginArray();
    std::vector<std::string> names;
    for (int i = 0; i < params; ++i)
        names.push_back(host->ParamName(i));
    if (!one && !c.out.json)
    {
        std::printf("%3s  %-23s", "#", "name");
        for (int i = 0; i < params; ++i)
            std::printf(" %*s", (int)std::max<size_t>(7, names[i].size()), names[i].c_str());
        std::printf("\n");
    }
    for (int p : programs)
    {
        host->Dispatch(effSetProgram, 0, p);
        std::string name = host->Text(effGetProgramName);
        json.BeginObject().Integer("number", p).String("name", name).BeginObject("settings");
        if (one && !c.out.json)
            std::printf("program %d \"%s\"\n", p, name.c_str());
        else if (!c.out.json)
            std::printf("%3d  %-23s", p, name.c_str());
        for (int i = 0; i < params; ++i)
        {
            std::string display = host->ParamDisplay(i), label = host->ParamLabel(i);
            json.String(names[i].c_str(), display + (label.empty() ? "" : " " + label));
            if (c.out.json)
                continue;
            if (one)
                std::printf("  %-14s %10s %s\n", names[i].c_str(), display.c_str(), label.c_str());
            else
                std::printf(" %*s", (int)std::max<size_t>(7, names[i].size()), display.c_str());
        }
        json.EndObject().EndObject();
        if (!one && !c.out.json)
            std::printf("\n");
    }
    json.EndArray();
    if (c.out.json)
        std::printf("%s\n", json.Text().c_str());
    else if (!one)
    {
        std::printf("units:");
        for (int i = 0; i < params; ++i)
        {
            std::string label = host->ParamLabel(i);
            if (!label.empty())
                std::printf(" %s %s,", names[i].c_str(), label.c_str());
        }
        std::printf(" the rest plain numbers or ON/OFF\n");
    }
    return 0;
}

namespace
{
struct Command
{
    const char* name;
    int (*run)(const ArgList&);
    const char* help;
};

std::string helpText(const Command& c)
{
    if (std::strcmp(c.name, "render") != 0)
        return c.help;
    std::vector<char> text(std::strlen(kRenderHelp) + std::strlen(kPluginHelp) + 1);
    std::snprintf(text.data(), text.size(), kRenderHelp, kPluginHelp);
    return text.data();
}
} // namespace

int RunDeEsser(int argc, char** argv)
{
    static const Command commands[] = {
        {"render", CmdRender, kRenderHelp},
        {"analyze", CmdAnalyze, kAnalyzeHelp},
        {"programs", CmdPrograms, kProgramsHelp},
        {"demo", CmdDemo, kDemoHelp},
        {"info", CmdInfo, kInfoHelp},
        {"import-legacy", CmdImportLegacy, kImportHelp},
        {"bench", CmdBench, kBenchHelp},
    };
    if (argc < 2)
    {
        std::fputs(kUsage, stderr);
        return 1;
    }
    std::string word = argv[1];
    ArgList args(argv + 2, argv + argc);
    if (word == "--help" || word == "-h" || word == "help")
    {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (word == "--version")
    {
        std::printf("deesser %s (%s)\n", DEESSER_VERSION, sf_version_string());
        return 0;
    }
    for (const Command& c : commands)
    {
        if (word != c.name)
            continue;
        for (const std::string& a : args)
            if (a == "--help" || a == "-h")
            {
                std::fputs(helpText(c).c_str(), stdout);
                return 0;
            }
        try
        {
            return c.run(args);
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
    std::fprintf(stderr, "deesser: unknown command \"%s\" (see deesser --help)\n", word.c_str());
    return 1;
}
