// CEditorPump: the effect's editor driven as a VST 2.4 host drives it, for
// the LV2 and CLAP entries: size (asked before and after open), open inside
// a parent X11 window, idle, close, and the scale the host asked for.
//
// Thread: the host's UI thread only.
#pragma once

class AudioEffect;

class CEditorPump
{
public:
    explicit CEditorPump(AudioEffect& effect) : m_Effect(effect) {}
    ~CEditorPump(); // closes when still open

    // The editor's size in pixels at the current scale; false without one.
    bool GetSize(int* width, int* height) const;
    // Opens the panel as a child of `parentWindow` (an X11 Window id). A
    // second open while open answers true and does nothing.
    bool Open(unsigned long parentWindow);
    void Idle();
    void Close();
    bool IsOpen() const { return m_bOpen; }
    // While open: the descriptor that turns readable when events for the
    // editor arrive (its own X connection), for hosts that watch it; else -1.
    // It may change across open/close.
    int EventFd() const;

    // The host's scale (1 = 100 %), kept and handed to the editor now and
    // at every open. Values outside 1..4 or not finite are ignored.
    void SetScale(float scale);
    float Scale() const { return m_Scale; }

private:
    void HandScaleToEditor();

    AudioEffect& m_Effect;
    bool m_bOpen = false;
    float m_Scale = 0.f; // 0: none given by the host
};
