// Output container and encoding choice.
#include "OutputFormat.h"
#include "HostError.h"
#include "SoundFile.h"

#include <cctype>
#include <cstring>
#include <sndfile.h>

namespace
{
struct NamedFormat
{
    const char* name;
    int format; // container, with the encoding for lossy containers
};

// clang-format off
const NamedFormat kFormats[] = {
    {"wav",  SF_FORMAT_WAV},   {"w64",  SF_FORMAT_W64},  {"rf64", SF_FORMAT_RF64},
    {"aiff", SF_FORMAT_AIFF},  {"aif",  SF_FORMAT_AIFF}, {"aifc", SF_FORMAT_AIFF},
    {"flac", SF_FORMAT_FLAC},
    {"ogg",  SF_FORMAT_OGG | SF_FORMAT_VORBIS}, {"oga", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
    {"mp3",  SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
    {"caf",  SF_FORMAT_CAF},   {"au",   SF_FORMAT_AU},   {"snd",  SF_FORMAT_AU},
};
// clang-format on

std::string lower(std::string s)
{
    for (char& c : s)
        c = (char)std::tolower((unsigned char)c);
    return s;
}

std::string extensionOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash) ||
        dot == (slash == std::string::npos ? 0 : slash + 1))
        return std::string();
    return lower(path.substr(dot + 1));
}

bool writable(int format, int channels, int sampleRate)
{
    SF_INFO info;
    std::memset(&info, 0, sizeof(info));
    info.channels = channels;
    info.samplerate = sampleRate;
    info.format = format;
    return sf_format_check(&info) != 0;
}

bool isPcmOrFloat(int subtype)
{
    switch (subtype)
    {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
        return true;
    default:
        return false;
    }
}
} // namespace

int FormatForName(const std::string& name)
{
    std::string n = lower(name);
    for (const NamedFormat& f : kFormats)
        if (n == f.name)
            return f.format;
    return 0;
}

std::string KnownFormatNames()
{
    std::string list;
    int last = 0;
    for (const NamedFormat& f : kFormats)
    {
        if (f.format == last)
            continue; // aliases once
        last = f.format;
        int probe = (f.format & SF_FORMAT_SUBMASK) ? f.format : f.format | SF_FORMAT_PCM_16;
        if (!writable(probe, 2, 48000))
            continue;
        list += (list.empty() ? "" : ", ") + std::string(f.name);
    }
    return list;
}

bool IsLossyFormat(int format)
{
    switch (format & SF_FORMAT_SUBMASK)
    {
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return true;
    default:
        return false;
    }
}

bool IsFloatFormat(int format)
{
    int subtype = format & SF_FORMAT_SUBMASK;
    return subtype == SF_FORMAT_FLOAT || subtype == SF_FORMAT_DOUBLE;
}

int ChooseOutputFormat(const SoundInfo& input, const std::string& outPath,
                       const std::string& format, const std::string& bits)
{
    std::string name = !format.empty() ? format : outPath == "-" ? "wav" : extensionOf(outPath);
    int named = FormatForName(name);
    if (!named)
        throw CHostError((format.empty()
                              ? "output " + outPath +
                                    (name.empty() ? " has no extension naming a sound format"
                                                  : " has an unknown extension ." + name)
                              : "unknown --format " + format) +
                         "; formats written: " + KnownFormatNames());
    int container = named & SF_FORMAT_TYPEMASK;
    if (container == SF_FORMAT_WAV && (input.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX)
        container = SF_FORMAT_WAVEX; // a .wav with a channel mask stays one
    named = container | (named & SF_FORMAT_SUBMASK);
    int result;
    if (named & SF_FORMAT_SUBMASK)
    {
        if (!bits.empty())
            throw CHostError("--bits applies to PCM outputs; " + name + " is a lossy format");
        result = named;
    }
    else
    {
        int subtype;
        if (bits == "16")
            subtype = SF_FORMAT_PCM_16;
        else if (bits == "24")
            subtype = SF_FORMAT_PCM_24;
        else if (bits == "32")
            subtype = SF_FORMAT_PCM_32;
        else if (bits == "float")
            subtype = SF_FORMAT_FLOAT;
        else
        {
            // The input's encoding when the container takes it; a lossy or
            // otherwise unfitting input gives 24-bit PCM (16-bit where 24 is
            // not taken).
            subtype = input.format & SF_FORMAT_SUBMASK;
            if (!isPcmOrFloat(subtype) ||
                !writable(container | subtype, input.channels, input.sampleRate))
                subtype = writable(container | SF_FORMAT_PCM_24, input.channels, input.sampleRate)
                              ? SF_FORMAT_PCM_24
                              : SF_FORMAT_PCM_16;
        }
        result = container | subtype;
        if (!bits.empty() && !writable(result, input.channels, input.sampleRate))
            throw CHostError(name + " cannot hold " +
                             (bits == "float" ? std::string("float") : bits + "-bit") + " samples");
    }
    if (container == SF_FORMAT_OGG && (result & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS)
    {
        const int rate = input.sampleRate;
        if (rate != 8000 && rate != 12000 && rate != 16000 && rate != 24000 && rate != 48000)
            throw CHostError("Opus takes 8, 12, 16, 24 or 48 kHz; the input is " +
                             std::to_string(rate) + " Hz");
    }
    if (!writable(result, input.channels, input.sampleRate))
        throw CHostError("cannot write " + FormatName(result) + " with " +
                         std::to_string(input.channels) + " channel(s) at " +
                         std::to_string(input.sampleRate) + " Hz");
    return result;
}
