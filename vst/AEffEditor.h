// Base of a plug-in editor as the dispatcher sees it. Every call arrives on the
// host's user-interface thread.
#pragma once

#include "AEffect.h"

class AudioEffect;

class AEffEditor
{
public:
    explicit AEffEditor(AudioEffect* effect) : effect(effect) {}
    virtual ~AEffEditor() {}

    virtual AudioEffect* getEffect() { return effect; }
    virtual bool getRect(ERect** rect)
    {
        *rect = nullptr;
        return false;
    }
    virtual bool open(void* parentWindow)
    {
        systemWindow = parentWindow;
        return false;
    }
    virtual void close() { systemWindow = nullptr; }
    virtual bool isOpen() { return systemWindow != nullptr; }
    virtual void idle() {}
    virtual void draw(ERect* /*rect*/) {}
    virtual VstInt32 mouse(VstInt32 /*x*/, VstInt32 /*y*/) { return 0; }
    virtual VstInt32 key(VstInt32 /*keyCode*/) { return 0; }
    virtual void top() {}
    virtual void sleep() {}
    virtual bool onKeyDown(VstInt32 /*keyCode*/) { return false; }
    virtual bool onKeyUp(VstInt32 /*keyCode*/) { return false; }
    virtual bool setKnobMode(VstInt32 /*mode*/) { return false; }

protected:
    AudioEffect* effect;
    void* systemWindow = nullptr;
};
