// Test driver for the headless backend: windows live off-screen, input is
// injected as the X11 backend would deliver it, time advances only when told,
// and every window's last paint can be read back.
//
// Points are in the client coordinates of the window given, in device pixels
// as a window system delivers them (window pixels times CToolkit::Scale()). Mouse input is
// routed as real input is: to the deepest visible enabled child under the
// point, or to the capture window when one is set (translated into its
// coordinates). Keys and characters go to the focus window.
#pragma once

#include <functional>

#include "CToolkit.h"

class CHeadless
{
public:
    // Selects the headless backend (same as CToolkit::UseHeadless).
    static bool Use();

    static void MouseDown(CWnd* wnd, CPoint point, unsigned modifiers = 0);
    static void MouseMove(CWnd* wnd, CPoint point, unsigned modifiers = 0);
    static void MouseUp(CWnd* wnd, CPoint point, unsigned modifiers = 0);
    // Press and release.
    static void Click(CWnd* wnd, CPoint point, unsigned modifiers = 0);
    // Press, release, second press delivered as a double click, release.
    static void DoubleClick(CWnd* wnd, CPoint point, unsigned modifiers = 0);
    // WM_KEYDOWN (then WM_KEYUP) with a toolkit key code to the focus window.
    static void Key(UINT keyCode, unsigned modifiers = 0);
    // WM_CHAR for one character (a Unicode code point) to the focus window.
    static void Char(UINT codePoint, unsigned modifiers = 0);
    // WM_CHAR for every character of UTF-8 text.
    static void Type(const char* utf8);
    // Records a modifier mask (KEYMOD_*) as if an event had carried it.
    static void SetModifiers(unsigned modifiers);

    // The desktop scale the headless backend reports (as X11 reports
    // Xft.dpi / 96); 0 for none.
    static void SetDesktopScale(double scale);

    // Moves the virtual clock on (timers fire at the next pump).
    static void AdvanceTime(unsigned ms);
    static void Pump() { CToolkit::Pump(); }

    // Called on every turn of a modal loop with the modal window (a dialog,
    // a message box, a menu or a drop-down list), to act as the user would.
    // Pass an empty function to remove. The hook stays until removed.
    static void SetModalHook(std::function<void(CWnd* modal)> hook);
    // Arms a one-shot hook that clicks the entry with this command id in the
    // next pop-up menu (a disabled entry then dismisses the menu unchosen).
    static void PickMenuItem(UINT id);
    // Menu helpers for hooks: the entry's rectangle in the menu window.
    static bool GetMenuItemRect(CWnd* menuWindow, UINT id, CRect* rect);
    static bool IsMenuWindow(CWnd* wnd);
    static bool IsDropDownWindow(CWnd* wnd);

    // The window's back buffer (device pixels): what its last paint (or
    // client DC) drew.
    static COLORREF GetPixel(CWnd* wnd, int x, int y); // 0x00BBGGRR
    static uint32_t GetPixelARGB(CWnd* wnd, int x, int y);
    // The window and its visible children composed, as the screen shows it,
    // in device pixels; caller owns the image (Attach it to a CBitmap).
    static HBITMAP Snapshot(CWnd* wnd);
    // Number of WM_PAINT messages delivered to the window so far.
    static int PaintCount(CWnd* wnd);
};
