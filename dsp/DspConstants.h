// Constants shared by the compressors' gain computers.
#pragma once

// Added to a key level before its log and to the envelope, so that neither
// reaches zero; it also keeps the envelope out of the denormal range.
constexpr double kTinyOffset = 1e-25;
// 20 / ln 10: dB = ln(x) * kDbPerNeper.
constexpr double kDbPerNeper = 8.685889638065037;
// ln 10 / 20: x = exp(dB * kNeperPerDb).
constexpr double kNeperPerDb = 0.11512925464970228;
// Where the auto threshold drives the envelope on every rise (dB).
constexpr double kAutoThresholdTargetDb = 20.0;
// An external key this many times below the louder audio channel (about
// 12 dB) is not sibilance of this signal.
constexpr double kExternalKeyFactor = 4.0;
