// Modifier keys as last seen by the window backend, read through GetKeyState.
// The backend records the modifier mask of every input event; tests set it
// directly.
#pragma once

#include <cstdint>

// Modifier mask bits.
enum : unsigned
{
    KEYMOD_SHIFT = 1u,   // Shift
    KEYMOD_CONTROL = 2u, // Control
    KEYMOD_COMMAND = 4u, // the platform's command key (Super on X11)
    KEYMOD_OPTION = 8u   // the platform's option key (Alt on X11)
};

// Negative (bit 15 set) when the key is down: 16 Shift, 17 Control,
// 18 Command, 19 Option; every other key reads as up (0).
int16_t GetKeyState(int virtualKey);

// Records the modifier mask of the latest input event.
void SetKeyModifierState(unsigned mask);
unsigned GetKeyModifierState();
