// The output's libsndfile format: the container named by the output's
// extension (or --format), and an encoding that container takes: the input's
// when it fits, 24-bit PCM for a lossy or unfitting input, or --bits.
#pragma once

#include <string>

struct SoundInfo;

// The container named by an extension or format name ("wav", "flac",
// "opus"...), as a libsndfile format word with its lossy encoding where the
// name implies one; 0 when unknown.
int FormatForName(const std::string& name);
// "wav, w64, rf64, aiff, flac, ogg, opus, mp3, caf, au" (those this
// libsndfile writes).
std::string KnownFormatNames();
// The output format word. format overrides the extension of outPath ("-" has
// none and gives WAV); bits is "", "16", "24", "32" or "float". Throws
// CHostError for an unknown name, an encoding the container does not take,
// or a layout it cannot hold (channels, sample rate).
int ChooseOutputFormat(const SoundInfo& input, const std::string& outPath,
                       const std::string& format, const std::string& bits);
// True for Vorbis, Opus and MPEG encodings.
bool IsLossyFormat(int format);
// True for the float and double encodings (samples beyond full scale kept).
bool IsFloatFormat(int format);
