// X11 smoke test (needs a display; skipped without DISPLAY, run under
// xvfb-run -a): a panel inside a "host" window of another connection paints,
// receives a click, leaves no X error handler behind, survives the host
// destroying its window first, and closes its own connection at the end.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "AfxWin.h"
#include "backends/X11Backend.h"

namespace
{
int g_HostErrors = 0;
int HostErrorHandler(Display*, XErrorEvent*)
{
    ++g_HostErrors;
    return 0;
}

class CRedPanel : public CWnd
{
public:
    int m_nPaints = 0;
    int m_nClicks = 0;
    void OnPaint()
    {
        ++m_nPaints;
        CPaintDC dc(this);
        dc.FillSolidRect(&dc.m_rcPaint, RGB(255, 0, 0));
    }
    void OnLButtonDown(UINT, CPoint) { ++m_nClicks; }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(CRedPanel, CWnd)
ON_WM_PAINT()
ON_WM_LBUTTONDOWN()
END_MESSAGE_MAP()

// Pumps as a host's idle timer would until `done` or `turns` x 10 ms.
template <class F> bool PumpUntil(F done, int turns = 200)
{
    for (int i = 0; i < turns; ++i)
    {
        CToolkit::Pump();
        if (done())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

unsigned long PixelAt(Display* d, Window w, int x, int y)
{
    XImage* img = XGetImage(d, w, x, y, 1, 1, AllPlanes, ZPixmap);
    if (!img)
        return 0;
    unsigned long p = XGetPixel(img, 0, 0);
    XDestroyImage(img);
    return p;
}
} // namespace

TEST(ToolkitX11, PanelInHostWindowPaintsAndSurvivesTheHost)
{
    if (!std::getenv("DISPLAY"))
        GTEST_SKIP() << "no DISPLAY (run under xvfb-run -a)";
    Display* host = XOpenDisplay(nullptr);
    if (!host)
        GTEST_SKIP() << "cannot open the display";
    XErrorHandler hostHandler = HostErrorHandler;
    XSetErrorHandler(hostHandler);
    int screen = DefaultScreen(host);
    Window top = XCreateSimpleWindow(host, RootWindow(host, screen), 0, 0, 320, 240, 0,
                                     BlackPixel(host, screen), WhitePixel(host, screen));
    XMapWindow(host, top);
    XSync(host, False);

    ASSERT_TRUE(CToolkit::UseX11());
    ASSERT_STREQ(CToolkit::BackendName(), "x11");
    {
        CFrameWnd frame;
        frame.SetNativeView((void*)(uintptr_t)top);
        ASSERT_NE(frame.m_hWnd, nullptr);
        CRect fr;
        frame.GetClientRect(&fr);
        EXPECT_EQ(fr, CRect(0, 0, 320, 240));
        EXPECT_TRUE(AfxX11DisplayOpen());

        CRedPanel panel;
        ASSERT_TRUE(panel.Create(AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                                     (HBRUSH)GetStockObject(NULL_BRUSH)),
                                 "UIWindow", WS_CHILD | WS_VISIBLE, CRect(0, 0, 200, 100), &frame,
                                 0));
        panel.MoveWindow(10, 20, 200, 100, TRUE);
        ASSERT_NE(panel.GetNativeView(), nullptr);
        // Between toolkit calls the host's own handler is in place.
        EXPECT_FALSE(AfxX11ErrorHandlerInstalled());
        EXPECT_EQ(XSetErrorHandler(hostHandler), hostHandler);

        // The panel paints red into the host's window.
        unsigned long red = 0;
        {
            XColor c;
            c.red = 0xFFFF;
            c.green = c.blue = 0;
            c.flags = DoRed | DoGreen | DoBlue;
            XAllocColor(host, DefaultColormap(host, screen), &c);
            red = c.pixel;
        }
        EXPECT_TRUE(PumpUntil(
            [&]
            {
                XSync(host, False);
                return panel.m_nPaints > 0 && PixelAt(host, top, 15, 25) == red;
            }))
            << "paints " << panel.m_nPaints;
        EXPECT_NE(PixelAt(host, top, 300, 200), red); // outside the panel

        // A click sent to the panel's window arrives through the pump.
        Window panelWindow = (Window)(uintptr_t)panel.GetNativeView();
        XEvent ev{};
        ev.xbutton.type = ButtonPress;
        ev.xbutton.display = host;
        ev.xbutton.window = panelWindow;
        ev.xbutton.button = Button1;
        ev.xbutton.x = 5;
        ev.xbutton.y = 5;
        ev.xbutton.same_screen = True;
        XSendEvent(host, panelWindow, False, ButtonPressMask, &ev);
        XSync(host, False);
        EXPECT_TRUE(PumpUntil([&] { return panel.m_nClicks == 1; }));

        // The host destroys its window while the editor is open.
        XDestroyWindow(host, top);
        XSync(host, False);
        PumpUntil([] { return false; }, 10); // events and errors for dead windows
        panel.Invalidate();
        CToolkit::Pump();
        {
            CClientDC dc(&panel); // drawing into a dead window is harmless
            dc.FillSolidRect(0, 0, 10, 10, RGB(0, 0, 255));
        }
        panel.ShowWindow(SW_HIDE);
        panel.DestroyWindow();
        EXPECT_FALSE(AfxX11DisplayOpen()); // only the host frame is left
        frame.SetNativeView(nullptr);
    }
    EXPECT_FALSE(AfxX11DisplayOpen());
    EXPECT_FALSE(AfxX11ErrorHandlerInstalled());
    EXPECT_EQ(XSetErrorHandler(hostHandler), hostHandler);
    EXPECT_EQ(g_HostErrors, 0);
    EXPECT_EQ(CToolkit::WindowCount(), 0);
    XCloseDisplay(host);
    XSetErrorHandler(nullptr);
    CToolkit::UseHeadless();
}

TEST(ToolkitX11, WithoutADisplayWindowsLiveOffScreenAndModalLoopsEnd)
{
    // An unreachable display: windows still work as records, nothing hangs.
    const char* saved = std::getenv("DISPLAY");
    std::string keep = saved ? saved : "";
    setenv("DISPLAY", ":4095", 1);
    ASSERT_TRUE(CToolkit::UseX11());
    {
        CFrameWnd frame;
        frame.SetNativeView((void*)(uintptr_t)0x123456);
        CRedPanel panel;
        ASSERT_TRUE(
            panel.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 50, 40), &frame, 0));
        EXPECT_EQ(panel.GetNativeView(), nullptr);
        CToolkit::Pump();
        EXPECT_EQ(panel.m_nPaints, 1);
        EXPECT_FALSE(AfxX11DisplayOpen());
        EXPECT_EQ(AfxMessageBox("nobody can answer", MB_OKCANCEL), IDCANCEL);
        CMenu menu;
        menu.CreatePopupMenu();
        menu.AppendMenu(MF_STRING, 1010, "one");
        EXPECT_FALSE(menu.TrackPopupMenu(0, 0, 0, &panel));
        panel.DestroyWindow();
        frame.SetNativeView(nullptr);
    }
    EXPECT_FALSE(AfxX11ErrorHandlerInstalled());
    if (saved)
        setenv("DISPLAY", keep.c_str(), 1);
    else
        unsetenv("DISPLAY");
    CToolkit::UseHeadless();
}
