// Option parsing for render and the commands that share its options.
#include "RenderOptions.h"
#include "HostError.h"

#include <cstdlib>

bool ParseOutputOption(CArgs& a, const std::string& item, OutputChoices& out)
{
    if (item == "-q" || item == "--quiet")
        out.quiet = true;
    else if (item == "--json")
        out.json = true;
    else if (item == "--no-progress")
        out.progress = false;
    else
        return false;
    a.NoInline();
    return true;
}

namespace
{
// "A,B": two different channel numbers from 1.
void parseChannels(const std::string& text, PluginChoices& plug)
{
    size_t comma = text.find(',');
    char* end = nullptr;
    long a = std::strtol(text.c_str(), &end, 10);
    long b = comma == std::string::npos ? -1 : std::strtol(text.c_str() + comma + 1, &end, 10);
    if (comma == std::string::npos || *end || a < 1 || b < 1 || a == b || a > 4096 || b > 4096 ||
        end == text.c_str() + comma + 1)
        throw CHostError("--channels needs two different channel numbers from 1, as A,B (got \"" +
                         text + "\")");
    plug.channelA = (int)a - 1;
    plug.channelB = (int)b - 1;
}
} // namespace

bool ParsePluginOption(CArgs& a, const std::string& item, PluginChoices& plug)
{
    if (item == "--program")
        plug.program = a.IntValue(0, 1 << 30);
    else if (item == "--program-name")
        plug.programName = a.Value();
    else if (item == "--bank")
        plug.bank = a.Value();
    else if (item == "--set")
        plug.sets.push_back(a.Value());
    else if (item == "--block")
        plug.block = a.IntValue(1, 65536);
    else if (item == "--plugin")
        plug.plugin = a.Value();
    else if (item == "--channels")
        parseChannels(a.Value(), plug);
    else if (item == "--factory")
    {
        a.NoInline();
        plug.factory = true;
    }
    else if (item == "--dual-mono")
    {
        a.NoInline();
        plug.dualMono = true;
    }
    else
        return false;
    return true;
}

bool ParseRenderOption(CArgs& a, const std::string& item, RenderOptions& o)
{
    if (item == "--out-dir")
        o.outDir = a.Value();
    else if (item == "--format")
        o.format = a.Value();
    else if (item == "--bits")
    {
        o.bits = a.Value();
        if (o.bits != "16" && o.bits != "24" && o.bits != "32" && o.bits != "float")
            throw CHostError("--bits takes 16, 24, 32 or float, got \"" + o.bits + "\"");
    }
    else if (item == "--quality")
        o.quality = a.NumberValue(0, 10);
    else if (item == "-j" || item == "--jobs")
        o.jobs = a.IntValue(1, 1024);
    else if (item == "--plot")
        o.plot = a.Value();
    else if (item == "--target")
        o.target = a.NumberValue(0, 40);
    else if (item == "--force" || item == "--fail-on-clip" || item == "--no-analysis")
    {
        a.NoInline();
        if (item == "--force")
            o.force = true;
        else if (item == "--fail-on-clip")
            o.failOnClip = true;
        else
            o.analysis = false;
    }
    else
        return false;
    return true;
}

RenderOptions ParseRenderCommand(const ArgList& args)
{
    RenderOptions o;
    CArgs a(args);
    std::string item;
    bool haveProgram = false;
    std::vector<std::string> positional;
    while (a.NextOption(item, positional))
    {
        if (ParseOutputOption(a, item, o.out) || ParsePluginOption(a, item, o.plug) ||
            ParseRenderOption(a, item, o))
            haveProgram = haveProgram || item == "--program";
        else
            UnknownOption(item, "render");
    }
    if (haveProgram && !o.plug.programName.empty())
        throw CHostError("give --program or --program-name, not both");
    if (o.outDir.empty())
    {
        if (positional.size() != 2)
            throw CHostError("render needs an input and an output file (deesser render IN OUT), "
                             "or inputs and --out-dir DIR");
        o.inputs = {positional[0]};
        o.output = positional[1];
    }
    else
    {
        if (positional.empty())
            throw CHostError("render --out-dir needs at least one input file or folder");
        o.inputs = positional;
    }
    if (!o.plot.empty() && (o.inputs.size() != 1 || !o.outDir.empty()))
        throw CHostError("--plot draws one render; give one input and one output");
    return o;
}
