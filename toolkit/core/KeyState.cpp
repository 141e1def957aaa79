// Modifier state shared by the window backend (writer) and GetKeyState (reader).
// Both run on the user-interface thread; the atomic only keeps a test thread
// or a stray reader from seeing a torn value.
#include "KeyState.h"

#include <atomic>

namespace
{
std::atomic<unsigned> g_Modifiers{0};
}

int16_t GetKeyState(int virtualKey)
{
    unsigned bit = 0;
    switch (virtualKey)
    {
    case 16:
        bit = KEYMOD_SHIFT;
        break;
    case 17:
        bit = KEYMOD_CONTROL;
        break;
    case 18:
        bit = KEYMOD_COMMAND;
        break;
    case 19:
        bit = KEYMOD_OPTION;
        break;
    default:
        return 0;
    }
    return (g_Modifiers.load(std::memory_order_relaxed) & bit) ? (int16_t)0x8000 : (int16_t)0;
}

void SetKeyModifierState(unsigned mask)
{
    g_Modifiers.store(mask, std::memory_order_relaxed);
}

unsigned GetKeyModifierState()
{
    return g_Modifiers.load(std::memory_order_relaxed);
}
