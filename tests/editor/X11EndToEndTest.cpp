// The built DeEsser.so through VSTPluginMain, its editor embedded in a host's
// window on a real X server, photographed and driven with XTest: only what
// needs a server. Needs $DISPLAY (xvfb-run -a); skips without one.
#include <gtest/gtest.h>

#include <cairo.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <X11/extensions/XTest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "HostHarness.h"
#include "ReferencePicture.h"
#include "TestFiles.h"
#include "X11HostWindow.h"

namespace
{
long OpenFdCount()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// A left click at root coordinates (x, y) through XTest on connection d.
void FakeClick(Display* d, int x, int y)
{
    XTestFakeMotionEvent(d, -1, x, y, 0);
    XTestFakeButtonEvent(d, 1, True, 0);
    XTestFakeButtonEvent(d, 1, False, 0);
    XSync(d, False);
}

// Runs `actions` in a child process on its own connection (a user acting while
// the plug-in sits in a modal loop in an idle call); exits with its result.
pid_t StartUser(const std::function<int(Display*)>& actions)
{
    const pid_t pid = fork();
    if (pid == 0)
    {
        // Windows may go while the user looks at them: errors are no failure.
        XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
        Display* d = XOpenDisplay(nullptr);
        const int result = d ? actions(d) : 255;
        if (d)
            XCloseDisplay(d);
        _exit(result);
    }
    return pid;
}

class X11Editor : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!getenv("DISPLAY") || !*getenv("DISPLAY"))
            GTEST_SKIP() << "no $DISPLAY; run under xvfb-run -a";
        // One connection held for the whole run keeps the server from
        // resetting between tests; the first may meet a reset: retry.
        static Display* keepAlive = []
        {
            Display* d = nullptr;
            for (int attempt = 0; attempt < 40 && !d; ++attempt)
                if (!(d = XOpenDisplay(nullptr)))
                    usleep(50 * 1000);
            return d;
        }();
        if (keepAlive)
            display = XOpenDisplay(nullptr);
        if (!display)
            GTEST_SKIP() << "cannot open $DISPLAY";
        int eventBase, errorBase, major, minor;
        if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor))
            GTEST_SKIP() << "no XTest extension";
        // An empty settings folder of this run for the default bank.
        UseScratchSettings();
        host = std::make_unique<HostHarness>();
        effect = host->Create();
        ASSERT_NE(nullptr, effect);
        host->Start(44100.f, 256);
    }

    void TearDown() override
    {
        if (effect)
            host->Dispatch(effEditClose);
        host.reset();
        if (hostWindow && display)
            XDestroyWindow(display, hostWindow);
        if (display)
            XCloseDisplay(display);
    }

    Window Focus()
    {
        Window w = None;
        int revert = 0;
        XGetInputFocus(display, &w, &revert);
        return w;
    }

    // A key through XTest to whichever window has the focus, then one idle.
    void Key(KeySym sym)
    {
        const KeyCode code = XKeysymToKeycode(display, sym);
        XTestFakeKeyEvent(display, code, True, 0);
        XTestFakeKeyEvent(display, code, False, 0);
        XSync(display, False);
        Idle(1, 1);
    }

    // The host's editor window, sized from effEditGetRect and mapped.
    void MakeHostWindow()
    {
        ERect* rect = nullptr;
        ASSERT_EQ(1, host->Dispatch(effEditGetRect, 0, 0, &rect));
        ASSERT_NE(nullptr, rect);
        width = rect->right - rect->left;
        height = rect->bottom - rect->top;
        hostWindow = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, width, height,
                                         0, 0, 0x00FF00FF);
        XSelectInput(display, hostWindow, StructureNotifyMask | ExposureMask);
        XMapWindow(display, hostWindow);
        XEvent ev;
        do
            XNextEvent(display, &ev);
        while (ev.type != MapNotify);
    }

    // A host window holding the keyboard focus; its key presses count in hostKeyPresses.
    Window MakeHostFocusWindow()
    {
        const Window w =
            XCreateSimpleWindow(display, DefaultRootWindow(display), 600, 600, 20, 20, 0, 0, 0);
        XSelectInput(display, w, KeyPressMask | StructureNotifyMask);
        XMapWindow(display, w);
        XSync(display, False);
        XSetInputFocus(display, w, RevertToPointerRoot, CurrentTime);
        XSync(display, False);
        return w;
    }

    bool OpenEditor()
    {
        return host->Dispatch(effEditOpen, 0, (VstIntPtr)display, (void*)(uintptr_t)hostWindow) ==
               1;
    }

    // Host-style idling: effEditIdle at a steady rate, draining our own events.
    void Idle(int calls, int sleepMs = 5)
    {
        for (int i = 0; i < calls; ++i)
        {
            host->Dispatch(effEditIdle);
            while (XPending(display))
            {
                XEvent ev;
                XNextEvent(display, &ev);
                if (ev.type == KeyPress)
                    ++hostKeyPresses;
            }
            usleep(sleepMs * 1000);
        }
    }

    // Idles until `done` holds or `seconds` have passed (a loaded X server answers late).
    bool IdleUntil(const std::function<bool()>& done, double seconds = 10.0)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!done())
        {
            if (std::chrono::steady_clock::now() > end)
                return false;
            Idle(1);
        }
        return true;
    }

    // The user process's exit status, or -1 when it failed or ran over 20 s.
    int IdleUntilUserDone(pid_t pid)
    {
        int status = 0;
        if (pid <= 0)
            return -1;
        if (!IdleUntil([&] { return waitpid(pid, &status, WNOHANG) == pid; }, 20.0))
        {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return -1;
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    Display* display = nullptr; // the host's own connection
    std::unique_ptr<HostHarness> host;
    AEffect* effect = nullptr;
    Window hostWindow = 0;
    int hostKeyPresses = 0; // keys that reached a window of the host's
    int width = 0;
    int height = 0;
};
} // namespace

// The default panel while audio runs, against a checked-in picture (also the
// README's; DEESSER_UPDATE_REFERENCE=1 writes a new one).
TEST_F(X11Editor, RunningPanelMatchesTheReferencePicture)
{
    MakeHostWindow();
    // The host's X error handler is its own again after every editor call.
    const XErrorHandler hostHandler = [](Display*, XErrorEvent*) { return 0; };
    XSetErrorHandler(hostHandler);
    ASSERT_TRUE(OpenEditor());
    Idle(5);
    // A vowel-like tone with a sibilant 6 kHz component, the same every run:
    // the level meters and the reduction meter both move.
    std::vector<float> l(256), r(256), ol(256), orr(256);
    float* ins[2] = {l.data(), r.data()};
    float* outs[2] = {ol.data(), orr.data()};
    for (int block = 0; block < 40; ++block)
    {
        for (int n = 0; n < 256; ++n)
        {
            const double t = (block * 256 + n) / 44100.0;
            l[n] =
                (float)(0.3 * std::sin(2 * M_PI * 220 * t) + 0.2 * std::sin(2 * M_PI * 6000 * t));
            r[n] = 0.8f * l[n];
        }
        effect->processReplacing(effect, ins, outs, 256);
        Idle(1, 1);
    }
    EXPECT_EQ(hostHandler, XSetErrorHandler(nullptr));
    // The host window as the screen shows it (24-bit TrueColor, as Xvfb's).
    const std::vector<unsigned long> shown =
        XWindowPixels(display, hostWindow, 0, 0, width, height);
    std::vector<uint32_t> rgb(shown.begin(), shown.end());
    ASSERT_EQ(rgb.size(), (size_t)width * height);
    cairo_surface_t* shot = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(rgb.data()), CAIRO_FORMAT_RGB24, width, height, 4 * width);
    EXPECT_TRUE(MatchesReferencePicture(
        shot, EDITOR_REFERENCE_PNG, std::string(EDITOR_SCREENSHOT_DIR) + "/editor_running.png"));
    cairo_surface_destroy(shot);
}

// The scale from Xft.dpi (as xrdb sets it) and from the environment, which
// comes first: the editor reports the scaled size, covers all of the host's
// window, and a drag at scaled screen coordinates moves the Threshold knob as
// at 1x; move, press and drag arrive in one idle call and keep their order.
TEST_F(X11Editor, EachScaleSourceGivesTheScaledSizePaintedAndDraggable)
{
    const struct
    {
        const char* environment; // DEESSER_UI_SCALE
        double scale;
        int width, height;
    } cases[] = {{nullptr, 2.0, 920, 420}, {"1.5", 1.5, 690, 315}};
    const Window root = DefaultRootWindow(display);
    const char resources[] = "Xft.dpi:\t192\n";
    XChangeProperty(display, root, XA_RESOURCE_MANAGER, XA_STRING, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(resources), sizeof(resources) - 1);
    XSync(display, False);
    // The server outlives this program: its root resources go back to none
    // however the test ends, for the programs that follow.
    struct NoResourcesAfter
    {
        Display* d;
        ~NoResourcesAfter()
        {
            XDeleteProperty(d, DefaultRootWindow(d), XA_RESOURCE_MANAGER);
            XSync(d, False);
        }
    } restore{display};
    // Pixels of the host's magenta background the editor leaves uncovered.
    auto magenta = [&]
    {
        const std::vector<unsigned long> p =
            XWindowPixels(display, hostWindow, 0, 0, width, height);
        return p.empty() ? -1 : (int)std::count(p.begin(), p.end(), 0x00FF00FFul);
    };
    // From 10 panel pixels left of the knob's centre (279, 83) to (40, 20)
    // from it, outside the knob: atan2 clockwise from down = 296.57 degrees.
    const double dragEnd = (296.565 - 30.0) / 300.0;
    auto threshold = [&] { return effect->getParameter(effect, 3); };
    for (const auto& c : cases)
    {
        ScopedEnv env("DEESSER_UI_SCALE", c.environment);

        MakeHostWindow();
        EXPECT_EQ(std::make_pair(c.width, c.height), std::make_pair(width, height));
        ASSERT_TRUE(OpenEditor());
        IdleUntil([&] { return magenta() == 0; });
        EXPECT_EQ(0, magenta());

        effect->setParameter(effect, 3, 0.5f); // away from both end stops
        Idle(2);
        int ox = 0, oy = 0;
        Window child;
        XTranslateCoordinates(display, hostWindow, root, 0, 0, &ox, &oy, &child);
        auto at = [&](int panel) { return (int)std::ceil(panel * c.scale); };
        XTestFakeMotionEvent(display, -1, ox + at(279 - 10), oy + at(83), 0);
        XTestFakeButtonEvent(display, 1, True, 0);
        XTestFakeMotionEvent(display, -1, ox + at(279 + 40), oy + at(83 + 20), 0);
        XSync(display, False);
        IdleUntil([&] { return std::fabs(threshold() - dragEnd) < 1e-3; });
        EXPECT_NEAR(dragEnd, threshold(), 1e-3);
        XTestFakeButtonEvent(display, 1, False, 0);
        XSync(display, False);

        host->Dispatch(effEditClose);
        XDestroyWindow(display, hostWindow);
        hostWindow = 0;
    }
}

// A host that keeps the keyboard focus on a window of its own and forwards no
// keys: the open entry field takes the focus and gives it back when it closes
// (by Return here; Escape and a click elsewhere close it alike) or the editor does.
TEST_F(X11Editor, EntryFieldHoldsTheKeyboardWhileOpen)
{
    MakeHostWindow();
    const Window hostFocus = MakeHostFocusWindow();
    auto openThresholdField = [&]
    {
        XSetInputFocus(display, hostFocus, RevertToPointerRoot, CurrentTime);
        FakeClick(display, 279, 112);
        IdleUntil([&] { return Focus() != hostFocus; });
        EXPECT_NE(Focus(), hostFocus);
        for (int i = 0; i < 8; ++i)
            Key(XK_BackSpace);
    };
    ASSERT_TRUE(OpenEditor());
    Idle(5);

    openThresholdField();
    for (KeySym sym : {XK_minus, XK_1, XK_5, XK_Return})
        Key(sym);
    IdleUntil([&] { return Focus() == hostFocus; });
    EXPECT_EQ("-15.0", host->String(effGetParamDisplay, 3));
    EXPECT_EQ(Focus(), hostFocus) << "after Return";

    EXPECT_EQ(hostKeyPresses, 0);

    openThresholdField();
    host->Dispatch(effEditClose);
    XSync(display, False);
    EXPECT_EQ(Focus(), hostFocus) << "after the editor closed";

    // With the field closed, keys are the host's again.
    Key(XK_4);
    EXPECT_EQ(hostKeyPresses, 1);
    XDestroyWindow(display, hostFocus);
}

// A host that forwards no keys, its focus on a window of its own. The save
// dialog opens as a top-level window of its own and holds the keyboard while
// open (the name typed into it is stored); the copy menu pops up below COPY on
// the screen and takes its clicks through a pointer grab, leaving the focus
// alone; the focus is the host's again after each.
TEST_F(X11Editor, SaveDialogAndCopyMenuOpenOnTheScreenAndGiveTheKeyboardBack)
{
    MakeHostWindow();
    const Window hostFocus = MakeHostFocusWindow();
    ASSERT_TRUE(OpenEditor());
    Idle(5);

    // The dialog runs a modal loop inside the idle call that delivers the
    // click on SAVE; the "user" types from a second connection meanwhile.
    const pid_t typist = StartUser(
        [host = hostWindow, hostFocus](Display* d)
        {
            // Into the name field (under the slot list) of a top-level window
            // not the host's once the dialog has the keyboard (at most 10 s);
            // else the dialog, wherever it is, is closed unused.
            const Window root = DefaultRootWindow(d);
            Window top = None;
            auto ready = [&]
            {
                Window field = None, focus = None;
                int x, y, revert;
                XGetInputFocus(d, &focus, &revert);
                return XTranslateCoordinates(d, root, root, 230, 120, &x, &y, &top) &&
                       top != None && top != host &&
                       XTranslateCoordinates(d, root, top, 230, 120, &x, &y, &field) &&
                       field != None && focus != hostFocus;
            };
            for (int look = 0; look < 500 && !ready(); ++look)
                usleep(20 * 1000);
            if (!ready())
            {
                XEvent close{};
                close.xclient.type = ClientMessage;
                close.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
                close.xclient.format = 32;
                close.xclient.data.l[0] = (long)XInternAtom(d, "WM_DELETE_WINDOW", False);
                Window parent, *windows = nullptr;
                unsigned count = 0;
                XQueryTree(d, root, &top, &parent, &windows, &count);
                for (unsigned i = 0; i < count; ++i)
                    if (windows[i] != host && windows[i] != hostFocus)
                        XSendEvent(d, close.xclient.window = windows[i], False, 0, &close);
                XFree(windows);
                XSync(d, False);
                return 1;
            }
            FakeClick(d, 230, 120);
            for (KeySym sym : {XK_V, XK_o, XK_x, XK_Return})
            {
                const KeyCode code = XKeysymToKeycode(d, sym);
                XTestFakeKeyEvent(d, code, True, 0);
                XTestFakeKeyEvent(d, code, False, 0);
            }
            XSync(d, False);
            return 0;
        });
    FakeClick(display, 216, 18);
    EXPECT_EQ(0, IdleUntilUserDone(typist)) << "the dialog did not take the keyboard";
    EXPECT_EQ(Focus(), hostFocus) << "after the dialog closed";
    EXPECT_NE(std::string::npos, host->String(effGetProgramNameIndexed, 0).find("vox"));
    EXPECT_EQ(hostKeyPresses, 0);

    // Copied after the save, so that the saved bank keeps the default program.
    host->Dispatch(effSetProgram, 0, 5);
    effect->setParameter(effect, 3, 0.3125f);
    host->Dispatch(effSetProgram, 0, 0);
    ASSERT_NE(0.3125f, effect->getParameter(effect, 3));
    // The menu runs a modal loop inside the idle call that delivers the
    // press; the "user" works from a second connection meanwhile.
    const pid_t user = StartUser(
        [](Display* d)
        {
            // The menu hangs from panel point (89, 13); its lower edge shows
            // in one column of the black root below the panel. Looked for
            // until two looks agree (at most 10 s).
            auto lowerEdge = [d]
            {
                XImage* shot =
                    XGetImage(d, DefaultRootWindow(d), 100, 0, 1, 800, AllPlanes, ZPixmap);
                int bottom = 0;
                for (int y = 220; shot && y < 800; ++y)
                    if (XGetPixel(shot, 0, y) & 0xFFFFFF)
                        bottom = y + 1;
                if (shot)
                    XDestroyImage(shot);
                return bottom;
            };
            int bottom = 0;
            for (int look = 0, last = -1; look < 500 && !(bottom > 0 && bottom == last); ++look)
            {
                usleep(20 * 1000);
                last = bottom;
                bottom = lowerEdge();
            }
            const int rowHeight = (bottom - 13 - 4) / 32;
            FakeClick(d, 120, rowHeight > 0 ? 13 + 2 + 5 * rowHeight + rowHeight / 2 : 400);
            return rowHeight;
        });
    FakeClick(display, 70, 15);
    const int rowHeight = IdleUntilUserDone(user);
    Idle(5);
    EXPECT_GT(rowHeight, 10) << "no menu seen below the panel";
    EXPECT_FLOAT_EQ(0.3125f, effect->getParameter(effect, 3));
    EXPECT_EQ(Focus(), hostFocus) << "the menu takes keys through its grab, not the focus";
    XDestroyWindow(display, hostFocus);
}

// Open/close cycles and a host destroying its window before close leave no
// connection behind; the editor then opens again into a new window.
TEST_F(X11Editor, OpenCloseCyclesAndAVanishedHostWindowLeaveNoConnectionBehind)
{
    MakeHostWindow();
    // One cycle first: the first open may load fonts and caches for good.
    ASSERT_TRUE(OpenEditor());
    Idle(3);
    host->Dispatch(effEditClose);
    const int fds = OpenFdCount();
    ASSERT_TRUE(OpenEditor());
    EXPECT_GT(OpenFdCount(), fds) << "the editor talks to X on a connection of its own";
    Idle(3);
    host->Dispatch(effEditClose);
    EXPECT_EQ(fds, OpenFdCount());

    ASSERT_TRUE(OpenEditor());
    Idle(5);
    XDestroyWindow(display, hostWindow);
    XSync(display, False);
    hostWindow = 0;
    Idle(5); // the editor learns of it here
    host->Dispatch(effEditDraw);
    host->Dispatch(effEditClose);
    host->Dispatch(effEditIdle);
    EXPECT_EQ(fds, OpenFdCount()) << "after the host window went";
    MakeHostWindow();
    ASSERT_TRUE(OpenEditor());
    Idle(5);
    host->Dispatch(effEditClose);
}

TEST(X11EditorNoDisplay, OpenWithoutAnXServerFailsCleanly)
{
    ScopedEnv noServer("DISPLAY", ":9999");
    UseScratchSettings();
    HostHarness host;
    ASSERT_NE(nullptr, host.Create());
    host.Dispatch(effOpen);
    ERect* rect = nullptr;
    EXPECT_EQ(1, host.Dispatch(effEditGetRect, 0, 0, &rect));
    EXPECT_EQ(0, host.Dispatch(effEditOpen, 0, 0, (void*)(uintptr_t)0x400001));
    for (VstInt32 opcode : {effEditIdle, effEditDraw, effEditClose})
        host.Dispatch(opcode);
    host.Close();
}
