// CWrappedEffect: one effect driven the way a VST 2.4 host drives it, for
// the LV2 and CLAP entries. It owns an ADeEsser made with a host callback of
// its own that answers the version query, names the bundle folder as the
// plug-in's directory (where the factory bank lies) and turns automation,
// begin/end of edits, display updates and resize requests into
// IWrapperListener calls.
//
// Threads: Process and SetPlain/SetNormalised from the audio thread (the
// effect locks as it does under a VST host); everything else from the
// host's main/UI thread. The listener is called on the UI thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "AEffect.h"

class ADeEsser;
class AEffEditor;
class IWrapperListener;

// Host callback opcode with which an editor asks for a new size.
constexpr VstInt32 kAudioMasterSizeWindow = 15;

class CWrappedEffect
{
public:
    // bundleFolder: the folder holding the plug-in binary and its factory
    // bank, with or without a trailing '/'. Opens the effect (effOpen),
    // which loads the user's default bank or the bundle's one.
    explicit CWrappedEffect(const char* bundleFolder);
    ~CWrappedEffect();
    CWrappedEffect(const CWrappedEffect&) = delete;
    CWrappedEffect& operator=(const CWrappedEffect&) = delete;

    void SetListener(IWrapperListener* listener) { m_pListener = listener; }
    IWrapperListener* Listener() const { return m_pListener; }

    // Prepare and Start in one.
    void Activate(double sampleRate, int maxBlock);
    // Sample rate and largest block (frames per Process call are split into
    // blocks of at most this size). Allocates; not on the audio thread.
    void Prepare(double sampleRate, int maxBlock);
    // Mains on and start of processing, as a VST host does once it has set
    // the parameters it wants; allocates nothing. Needs Prepare first.
    void Start();
    void Deactivate(); // stop of processing, mains off
    bool IsActive() const { return m_bActive; }
    int MaxBlock() const { return m_MaxBlock; }

    // Stereo block. The effect scales its inputs in place, so they are
    // copied first: in and out may be the same buffers. Allocates nothing.
    void Process(const float* const* in, float* const* out, int frames);

    // Parameters in display units (ParamRange.h) and normalised. A
    // non-finite value is ignored. SetPlain answers whether the stored value
    // changed.
    bool SetPlain(int index, float plain);
    float GetPlain(int index) const;
    // True when the stored value already shows as `plain` (after clamping;
    // for a switch: the same state).
    bool ShowsPlain(int index, float plain) const;
    void SetNormalised(int index, float normalised);
    float GetNormalised(int index) const;

    // Peaks of the last block (linear, larger channel) and the gain applied
    // by the compressor (linear, 1 = no reduction).
    void GetMeters(float* inputPeak, float* outputPeak, float* reduction) const;

    ADeEsser& Effect() { return *m_pEffect; }
    const ADeEsser& Effect() const { return *m_pEffect; }
    AEffEditor* Editor() const;
    const std::string& BundleFolder() const { return m_Folder; }

private:
    static VstIntPtr HostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                  void* ptr, float opt);
    VstIntPtr OnHostCall(VstInt32 opcode, VstInt32 index, VstIntPtr value, float opt);

    std::string m_Folder; // ends in '/'
    std::unique_ptr<ADeEsser> m_pEffect;
    IWrapperListener* m_pListener = nullptr;
    bool m_bActive = false;
    int m_MaxBlock = 0;
    std::vector<float> m_Scratch; // two channels of m_MaxBlock copied inputs
};
