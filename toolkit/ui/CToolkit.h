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

    // Device pixels per window pixel (1 to 4; any other value is refused).
    // Every coordinate the toolkit takes or reports stays in window pixels;
    // back buffers, bitmap contexts and native windows are made at the
    // scaled size and drawing lands on device pixels, so nothing is
    // pixel-doubled. Input from the window system is divided by the scale.
    // Changing it resizes every existing window and repaints it.
    static void SetScale(double scale);
    static double Scale();
    // The screen's size in window pixels.
    static CSize ScreenSize();
    // The scale the desktop asks for (X11: Xft.dpi / 96 from the resource
    // database), 0 when it says nothing. May open a short-lived connection.
    static double DesktopScale();
};
