// What a format wrapper hears from the effect: edits made in the editor
// (begin, value, end), a program change the host should re-read, and the
// editor asking for a new size.
//
// Thread: the editor's (UI) thread; the effect sends these only from the
// panel and from program changes made there.
#pragma once

class IWrapperListener
{
public:
    virtual ~IWrapperListener() = default;
    virtual void OnBeginEdit(int /*index*/) {}
    // normalised: the value the effect stored.
    virtual void OnParamEdited(int /*index*/, float /*normalised*/) {}
    virtual void OnEndEdit(int /*index*/) {}
    // Programs or several parameters changed at once (re-read them all).
    virtual void OnUpdateDisplay() {}
    // The editor wants this size in pixels; true when the host agreed.
    virtual bool OnResizeEditor(int /*width*/, int /*height*/) { return false; }
};
