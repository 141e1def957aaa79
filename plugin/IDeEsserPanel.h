// What the effect needs of its editor: the panel to move controls and the
// modified lamp, and a way to show the one user-facing error. The editor
// library implements it; the effect never links the editor.
//
// Thread: every call comes from the host's dispatcher/UI thread, except that a
// host may automate setParameter from its audio thread.
#pragma once

#include "AEffEditor.h"

class IDeEsserPanel
{
public:
    virtual ~IDeEsserPanel() = default;
    virtual void UpdateControl(int index, float value) = 0;
    virtual void UpdateModify() = 0;
};

class IDeEsserEditor : public AEffEditor
{
public:
    using AEffEditor::AEffEditor;
    // The main panel while the editor is open, else null.
    virtual IDeEsserPanel* GetPanel() = 0;
    // Shows a message box over the editor; false when it cannot (no window).
    virtual bool ShowMessage(const char* text) = 0;
    // The descriptor that turns readable when events for the open editor
    // arrive (its own X connection), or -1; hosts that watch it idle the
    // editor when it does.
    virtual int GetEventFd() { return -1; }
    // The host's display scale (device pixels per panel pixel, 1 to 4; 0
    // withdraws it). It outranks every other source of the editor's scale;
    // while open the editor resizes and asks the host for the new size.
    virtual void SetScale(double /*scale*/) {}
};

class ADeEsser;

// Creates the editor of an effect. Defined by the editor library in the final
// plug-in, and by test doubles elsewhere.
IDeEsserEditor* CreateDeEsserEditor(ADeEsser* effect);
