// A host's window on $DISPLAY to embed an editor into, counting X errors
// instead of exiting; XTest moves the pointer and presses the first button.
// Include after gtest (Xlib's macros clash with its names).
#pragma once

#include <X11/Xlib.h>

#include <vector>

// Pixel values of a rectangle of `in`; empty when it cannot be read.
std::vector<unsigned long> XWindowPixels(Display* display, Window in, int x, int y, int w, int h);

class CX11HostWindow
{
public:
    CX11HostWindow(int width, int height); // no display: display stays null
    ~CX11HostWindow();
    CX11HostWindow(const CX11HostWindow&) = delete;
    CX11HostWindow& operator=(const CX11HostWindow&) = delete;

    std::vector<Window> Children() const; // the windows embedded in ours
    bool HasXTest() const;
    void MovePointer(Window in, int x, int y); // x, y in the coordinates of `in`
    void Button(bool down);
    std::vector<unsigned long> Pixels(Window in, int x, int y, int w, int h) const
    {
        return XWindowPixels(display, in, x, y, w, h);
    }

    Display* display = nullptr;
    Window window = 0;
    static int errors; // X errors since the last window was made
};
