// CDeEsserEditor: the editor object the host sees. It owns the background
// image (which fixes the editor's size), creates the main panel CUIWindow
// inside the host's window on open, forwards idle and redraw calls to it and
// tears it down on close.
//
// On Linux the host hands effEditOpen an X11 Window id; the panel becomes a
// child window of it on the toolkit's own Display connection, which opens
// with the first window and closes with the last. Idle pumps the toolkit's
// events (input, timers, paints) and then polls the meters.
//
// Scale: the rectangle, the windows, fonts and images are scaled by the
// factor EditorScale.h resolves (host, DEESSER_UI_SCALE, Xft.dpi, 1); the
// panel itself keeps working in panel pixels. The toolkit has one scale for
// all windows of the process, set by the editor that opens or rescales last.
//
// Thread: every call comes from the host's UI/dispatcher thread, except
// GetPanel, which the effect also calls when a host automates parameters
// from its audio thread; that caller gets the deferred-update mailbox.
#pragma once

#include <atomic>
#include <thread>

#include "AfxWin.h"
#include "CDeferredPanelUpdates.h"
#include "CVRXBitmap.h"
#include "IDeEsserPanel.h"

class ADeEsser;
class CUIWindow;

class CDeEsserEditor : public IDeEsserEditor
{
public:
    explicit CDeEsserEditor(AudioEffect* effect);
    ~CDeEsserEditor() override; // closes first when still open

    bool getRect(ERect** rect) override;
    // parentWindow: the host's native window (X11 Window id as a pointer).
    // A second open while open does nothing. False only when no window could
    // be made (null parent, no display).
    bool open(void* parentWindow) override;
    void close() override;
    void idle() override;
    void draw(ERect* rect) override;
    VstInt32 mouse(VstInt32 x, VstInt32 y) override;

    // The panel while open; off the UI thread, the mailbox that the next
    // idle empties into the panel.
    IDeEsserPanel* GetPanel() override;
    bool ShowMessage(const char* text) override;
    int GetEventFd() override;
    // The host's scale (0 withdraws it). While open, a new scale resizes the
    // editor at once and asks the host for the new size
    // (audioMasterSizeWindow); closed, getRect reports it.
    void SetScale(double scale) override;
    // The scale in effect (while open) or that the next open will use.
    double GetScale() const { return m_Scale; }

    CUIWindow* GetUIWindow() const { return m_pUIWindow; }
    ADeEsser* GetDeEsser() const;
    const CVRXBitmap& GetBackground() const { return m_Background; }

private:
    // Resolves the scale from its sources and sizes the rectangle for it.
    void UpdateScale();

    ERect m_Rect{0, 0, 0, 0};
    double m_HostScale = 0.0; // 0: the host said nothing
    double m_Scale = 1.0;
    CVRXBitmap m_Background;          // 5000.png
    CUIWindow* m_pUIWindow = nullptr; // owned, null while closed
    CFrameWnd m_Frame;                // stands for the host's window
    CDeferredPanelUpdates m_Deferred; // panel calls from other threads
    std::atomic<bool> m_bOpen{false};
    std::thread::id m_UIThread; // the thread that opened the editor
};

// The callback every bitmap control of the panel reports to; owner is the
// panel. Passes both values on to CUIWindow::ChangeControl.
bool ControlCallback(int controlId, float value, void* owner);
