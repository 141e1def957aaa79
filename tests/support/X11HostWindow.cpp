// The test host's X window: display, error count, children, XTest input.
#include "X11HostWindow.h"

#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <unistd.h>

int CX11HostWindow::errors = 0;

CX11HostWindow::CX11HostWindow(int width, int height)
{
    for (int attempt = 0; attempt < 40 && !display; ++attempt)
        if (!(display = XOpenDisplay(nullptr)))
            usleep(50 * 1000);
    if (!display)
        return;
    XSetErrorHandler(
        [](Display*, XErrorEvent*)
        {
            ++errors;
            return 0;
        });
    errors = 0;
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, (unsigned)width,
                                 (unsigned)height, 0, 0, 0);
    XMapWindow(display, window);
    XSync(display, False);
}

CX11HostWindow::~CX11HostWindow()
{
    if (!display)
        return;
    XDestroyWindow(display, window);
    XCloseDisplay(display);
}

std::vector<Window> CX11HostWindow::Children() const
{
    Window root, up, *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, window, &root, &up, &children, &count);
    std::vector<Window> list(children, children + count);
    if (children)
        XFree(children);
    return list;
}

bool CX11HostWindow::HasXTest() const
{
    int eventBase, errorBase, major, minor;
    return XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor);
}

void CX11HostWindow::MovePointer(Window in, int x, int y)
{
    int ox = 0, oy = 0;
    Window child;
    XTranslateCoordinates(display, in, DefaultRootWindow(display), 0, 0, &ox, &oy, &child);
    XTestFakeMotionEvent(display, -1, ox + x, oy + y, 0);
    XSync(display, False);
}

void CX11HostWindow::Button(bool down)
{
    XTestFakeButtonEvent(display, 1, down ? True : False, 0);
    XSync(display, False);
}

std::vector<unsigned long> XWindowPixels(Display* display, Window in, int x, int y, int w, int h)
{
    std::vector<unsigned long> out;
    XImage* image = XGetImage(display, in, x, y, (unsigned)w, (unsigned)h, AllPlanes, ZPixmap);
    for (int j = 0; image && j < h; ++j)
        for (int i = 0; i < w; ++i)
            out.push_back(XGetPixel(image, i, j));
    if (image)
        XDestroyImage(image);
    return out;
}
