// The toolkit's one switch board: picks the backend, runs the event pump
// (native events, posted messages, timers, then paint), and runs the modal
// loops of menus and dialogs.
//
// The backend is chosen once, before the first window exists: UseX11() or
// UseHeadless(), or, when neither was called, the environment variable
// DEESSER_TOOLKIT ("headless" or "x11", default "x11").
#pragma once

#include <cstdint>
#include <functional>

#include "CWnd.h"

class IToolkitBackend;

class CToolkit
{
public:
    // False when windows exist (the backend cannot change under them).
    static bool UseX11();
    static bool UseHeadless();
    static const char* BackendName(); // "x11" or "headless"
    static IToolkitBackend* Backend();

    // Drains native events and dispatches them, delivers posted messages,
    // fires due timers and paints invalid windows. Never blocks. The editor
    // calls it on every host idle call.
    static void Pump();

    // Runs until `done` becomes true or `modal` is destroyed, pumping events;
    // input to windows outside `modal` (and its pop-ups) is ignored meanwhile.
    // Blocks in the backend between events (no busy loop). On the headless
    // backend each turn calls the modal hook (CHeadless::SetModalHook); with
    // no hook, or after 1000 turns, the loop sends WM_CLOSE to `modal`. When
    // the window is not on screen (no display, lost connection) the loop
    // sends WM_CLOSE at once: nobody could ever answer it.
    static void RunModalLoop(CWnd* modal, const bool& done);
    static CWnd* GetModalWindow(); // innermost modal window, or null

    // Milliseconds of the backend's clock (monotonic; virtual when headless).
    static uint64_t NowMs();

    // Number of live windows (tests and leak checks).
    static int WindowCount();
};
