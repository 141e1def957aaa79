// Parameter texts for CLAP hosts: a display value becomes the text the VST
// build shows for it (the effect's display text, a space and the label, as in
// "-30.0 dB" or "0.50 sec"), and such a text (or a bare number, or ON/OFF for
// the switches) becomes a display value again.
#pragma once

#include <cstdint>

// False for an index outside 0..10, a non-finite value or no room.
bool ClapValueToText(int index, double value, char* text, uint32_t capacity);

// False for an index outside 0..10 or a text that is not a number optionally
// followed by the parameter's label or unit; the result is within the range.
bool ClapTextToValue(int index, const char* text, double* value);
