// A host's window on the X server, for tests that embed an editor: opens
// $DISPLAY (waiting a little for a server still resetting after an earlier
// program), counts X errors instead of exiting, and maps a top-level window
// to embed into. XTest moves the pointer and presses the first button as a
// user would. Include after gtest (Xlib's macros clash with its names).
#pragma once

#include <X11/Xlib.h>

#include <vector>

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
    // Pixel values of a rectangle of `in`; empty when it cannot be read.
    std::vector<unsigned long> Pixels(Window in, int x, int y, int w, int h) const;

    Display* display = nullptr;
    Window window = 0;
    static int errors; // X errors since the last window was made
};
