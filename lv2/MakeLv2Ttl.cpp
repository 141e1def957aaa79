// Writes the LV2 bundle's description files from the parameter table and the
// factory bank: manifest.ttl, DeEsser.ttl (plug-in, ports, editor) and
// presets.ttl (one pset:Preset per named factory program).
//
// usage: make_lv2_ttl OUT_DIR FACTORY_BANK.fxb BINARY_NAME
#include "ADeEsser.h"
#include "BankFile.h"
#include "Lv2Ports.h"
#include "ParamRange.h"
#include "ShiftJIS.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{
const char kPrefixes[] = "@prefix atom: <http://lv2plug.in/ns/ext/atom#> .\n"
                         "@prefix bufsz: <http://lv2plug.in/ns/ext/buf-size#> .\n"
                         "@prefix doap: <http://usefulinc.com/ns/doap#> .\n"
                         "@prefix foaf: <http://xmlns.com/foaf/0.1/> .\n"
                         "@prefix lv2: <http://lv2plug.in/ns/lv2core#> .\n"
                         "@prefix opts: <http://lv2plug.in/ns/ext/options#> .\n"
                         "@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .\n"
                         "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
                         "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n"
                         "@prefix state: <http://lv2plug.in/ns/ext/state#> .\n"
                         "@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .\n"
                         "@prefix units: <http://lv2plug.in/ns/extensions/units#> .\n"
                         "@prefix urid: <http://lv2plug.in/ns/ext/urid#> .\n\n";

// A number as Turtle reads it back to the same float, in as few digits as
// that takes.
std::string Number(float v)
{
    char text[48];
    std::snprintf(text, sizeof(text), "%.9g", (double)v);
    for (int decimals = 0; decimals <= 9; ++decimals)
    {
        char fixed[48];
        std::snprintf(fixed, sizeof(fixed), "%.*f", decimals, (double)v);
        if (std::strtof(fixed, nullptr) == v)
        {
            std::memcpy(text, fixed, sizeof(text));
            break;
        }
    }
    std::string s = text;
    if (s.find_first_of(".e") == std::string::npos)
        s += ".0";
    return s;
}

std::string Quoted(const std::string& text)
{
    std::string out = "\"";
    for (char c : text)
    {
        if (c == '"' || c == '\\')
            out += '\\';
        out += c;
    }
    return out + "\"";
}

std::string PresetUri(int slot)
{
    char text[64];
    std::snprintf(text, sizeof(text), "<%s:preset:%02d>", DEESSER_LV2_URI, slot + 1);
    return text;
}

// The shortest display value that stores exactly `normalised`: a preset
// applied through the ports then gives the factory program bit for bit.
float PresetValue(int index, float normalised)
{
    const float plain = NormalisedToPlain(index, normalised);
    for (int digits = 0; digits <= 6; ++digits)
    {
        const double scale = std::pow(10.0, digits);
        const float rounded = (float)(std::round((double)plain * scale) / scale);
        if (PlainToNormalised(index, rounded) == normalised)
            return rounded;
    }
    float up = plain, down = plain;
    for (int step = 0; step < 256; ++step)
    {
        if (PlainToNormalised(index, up) == normalised)
            return up;
        if (PlainToNormalised(index, down) == normalised)
            return down;
        up = std::nextafter(up, INFINITY);
        down = std::nextafter(down, -INFINITY);
    }
    return plain;
}

const char* UnitOf(const ParamRange& r)
{
    if (std::strcmp(r.unit, "dB") == 0)
        return "units:db";
    if (std::strcmp(r.unit, "ms") == 0)
        return "units:ms";
    if (std::strcmp(r.unit, "s") == 0)
        return "units:s";
    if (std::strcmp(r.unit, "Hz") == 0)
        return "units:hz";
    return nullptr;
}

void AudioPort(std::ostream& out, uint32_t index, bool input, const char* symbol, const char* name)
{
    out << "    [\n        a lv2:AudioPort , " << (input ? "lv2:InputPort" : "lv2:OutputPort")
        << " ;\n        lv2:index " << index << " ;\n        lv2:symbol \"" << symbol
        << "\" ;\n        lv2:name \"" << name << "\"\n    ] ,\n";
}

void ControlPort(std::ostream& out, int index)
{
    const ParamRange& r = GetParamRange(index);
    out << "    [\n        a lv2:InputPort , lv2:ControlPort ;\n        lv2:index "
        << PortOfParam(index) << " ;\n        lv2:symbol \"" << r.symbol
        << "\" ;\n        lv2:name " << Quoted(r.name) << " ;\n        lv2:default "
        << Number(r.defaultPlain) << " ;\n        lv2:minimum " << Number(r.minPlain)
        << " ;\n        lv2:maximum " << Number(r.maxPlain);
    if (r.toggled)
        out << " ;\n        lv2:portProperty lv2:toggled";
    if (index == kParamRatio || index == kParamLowFreq || index == kParamHiFreq)
        out << " ;\n        lv2:portProperty pprops:logarithmic";
    if (const char* unit = UnitOf(r))
        out << " ;\n        units:unit " << unit;
    out << "\n    ] ,\n";
}

void MeterPort(std::ostream& out, uint32_t index, const char* symbol, const char* name, float max)
{
    out << "    [\n        a lv2:OutputPort , lv2:ControlPort ;\n        lv2:index " << index
        << " ;\n        lv2:symbol \"" << symbol << "\" ;\n        lv2:name \"" << name
        << "\" ;\n        lv2:default " << Number(kLv2MeterFloorDb) << " ;\n        lv2:minimum "
        << Number(kLv2MeterFloorDb) << " ;\n        lv2:maximum " << Number(max)
        << " ;\n        units:unit units:db\n    ] ,\n";
}

std::string PluginTtl(const std::string& binary)
{
    std::ostringstream out;
    out << kPrefixes;
    out << "<" DEESSER_LV2_URI ">\n"
           "    a lv2:Plugin , lv2:CompressorPlugin , doap:Project ;\n"
           "    doap:name \"Comp2\" ;\n"
           "    doap:maintainer [\n"
           "        a foaf:Organization ;\n"
           "        foaf:name \"KORVAINE Co.,Ltd.\"\n"
           "    ] ;\n"
           "    lv2:minorVersion 0 ;\n"
           "    lv2:microVersion 0 ;\n"
           "    lv2:optionalFeature urid:map , opts:options ;\n"
           "    opts:supportedOption bufsz:maxBlockLength ;\n"
           "    lv2:extensionData state:interface ;\n"
           "    ui:ui <" DEESSER_LV2_UI_URI "> ;\n"
           "    lv2:port\n";
    AudioPort(out, kPortInL, true, "in_l", "Input L");
    AudioPort(out, kPortInR, true, "in_r", "Input R");
    AudioPort(out, kPortOutL, false, "out_l", "Output L");
    AudioPort(out, kPortOutR, false, "out_r", "Output R");
    for (int index : kLv2ControlOrder)
        ControlPort(out, index);
    MeterPort(out, kPortInputLevel, "input_level", "Input level", kLv2LevelCeilingDb);
    MeterPort(out, kPortOutputLevel, "output_level", "Output level", kLv2LevelCeilingDb);
    MeterPort(out, kPortGainReduction, "gain_reduction", "Gain reduction", 0.f);
    out << "    [\n        a lv2:OutputPort , lv2:ControlPort ;\n        lv2:index " << kPortLatency
        << " ;\n        lv2:symbol \"latency\" ;\n        lv2:name \"Latency\" ;\n"
           "        lv2:designation lv2:latency ;\n"
           "        lv2:portProperty lv2:reportsLatency , lv2:integer ;\n"
           "        lv2:minimum 0 ;\n        lv2:maximum 0 ;\n"
           "        units:unit units:frame\n    ] .\n\n";

    out << "<" DEESSER_LV2_UI_URI ">\n"
           "    a ui:X11UI ;\n"
           "    lv2:binary <"
        << binary
        << "> ;\n"
           "    lv2:requiredFeature <http://lv2plug.in/ns/ext/instance-access> , ui:parent ,\n"
           "        ui:idleInterface ;\n"
           "    lv2:optionalFeature ui:resize , ui:noUserResize , urid:map , opts:options ;\n"
           "    lv2:extensionData ui:idleInterface , opts:interface ;\n"
           "    opts:supportedOption ui:scaleFactor .\n";
    return out.str();
}

struct Preset
{
    int slot;
    std::string label;
    const ADeEsserProgram* program;
};

std::string PresetsTtl(const std::vector<Preset>& presets)
{
    std::ostringstream out;
    out << kPrefixes;
    for (const Preset& p : presets)
    {
        out << PresetUri(p.slot) << "\n    a pset:Preset ;\n    lv2:appliesTo <" DEESSER_LV2_URI
            << "> ;\n    rdfs:label " << Quoted(p.label) << " ;\n    lv2:port";
        for (int i = 0; i < kNumParams; ++i)
        {
            const int index = kLv2ControlOrder[i];
            out << (i ? " ,\n" : "\n") << "        [\n            lv2:symbol \""
                << GetParamRange(index).symbol << "\" ;\n            pset:value "
                << Number(PresetValue(index, p.program->values[index])) << "\n        ]";
        }
        out << " .\n\n";
    }
    return out.str();
}

std::string ManifestTtl(const std::string& binary, const std::vector<Preset>& presets)
{
    std::ostringstream out;
    out << kPrefixes;
    out << "<" DEESSER_LV2_URI ">\n    a lv2:Plugin ;\n    lv2:binary <" << binary
        << "> ;\n    rdfs:seeAlso <DeEsser.ttl> .\n\n";
    out << "<" DEESSER_LV2_UI_URI ">\n    a ui:X11UI ;\n    lv2:binary <" << binary
        << "> ;\n    rdfs:seeAlso <DeEsser.ttl> .\n\n";
    for (const Preset& p : presets)
        out << PresetUri(p.slot) << "\n    a pset:Preset ;\n    lv2:appliesTo <" DEESSER_LV2_URI
            << "> ;\n    rdfs:label " << Quoted(p.label)
            << " ;\n    rdfs:seeAlso <presets.ttl> .\n\n";
    return out.str();
}

bool Write(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file)
    {
        std::fprintf(stderr, "make_lv2_ttl: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: make_lv2_ttl OUT_DIR FACTORY_BANK.fxb BINARY_NAME\n");
        return 2;
    }
    const std::string dir = argv[1];
    const std::string binary = argv[3];

    std::vector<unsigned char> chunk;
    if (ReadBankFile(argv[2], (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk) !=
            kBankFileLoaded ||
        chunk.size() != (size_t)kBankChunkSize)
    {
        std::fprintf(stderr, "make_lv2_ttl: %s is not a factory bank of this effect\n", argv[2]);
        return 1;
    }
    std::vector<ADeEsserProgram> bank(kNumPrograms);
    std::memcpy(bank.data(), chunk.data(), chunk.size());

    // Slots still named "Empty" hold no program.
    std::vector<Preset> presets;
    for (int slot = 0; slot < kNumPrograms; ++slot)
    {
        char name[kProgramNameSize + 1] = {};
        std::memcpy(name, bank[slot].name, kProgramNameSize);
        CString utf8;
        CheckSJISAndToUFT8(name, utf8);
        const std::string label = utf8.GetString();
        if (label.empty() || label == "Empty")
            continue;
        presets.push_back({slot, label, &bank[slot]});
    }

    const bool ok = Write(dir + "/manifest.ttl", ManifestTtl(binary, presets)) &&
                    Write(dir + "/DeEsser.ttl", PluginTtl(binary)) &&
                    Write(dir + "/presets.ttl", PresetsTtl(presets));
    return ok ? 0 : 1;
}
