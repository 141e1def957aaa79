// Loads one VST 2.4 plug-in from a shared object and talks to it only through
// the AEffect record and its dispatcher, as a DAW does. Single-threaded: every
// call, processing included, comes from the caller's thread.
#pragma once

#include "AEffect.h"

#include <string>

class CVstHost
{
public:
    // Loads the shared object, finds "VSTPluginMain" (else "main") and creates
    // one instance. Throws CHostError when the file is not a VST 2.4 plug-in.
    explicit CVstHost(const std::string& path);
    ~CVstHost(); // effClose when opened, then unloads the library
    CVstHost(const CVstHost&) = delete;
    CVstHost& operator=(const CVstHost&) = delete;

    AEffect* Effect() const { return m_Effect; }
    const std::string& Path() const { return m_Path; }
    const std::string& Folder() const { return m_Folder; } // ends in "/"

    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.f);
    // A text-returning opcode, read from a zeroed 256-byte buffer (plug-ins
    // write more than the nominal 8 or 24 characters).
    std::string Text(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0);

    int NumParams() const { return m_Effect->numParams; }
    int NumPrograms() const { return m_Effect->numPrograms; }
    std::string ParamName(int index) { return Text(effGetParamName, index); }
    std::string ParamLabel(int index) { return Text(effGetParamLabel, index); }
    std::string ParamDisplay(int index) { return Text(effGetParamDisplay, index); }
    std::string ProgramName(int index); // effGetProgramNameIndexed
    float GetParameter(int index);
    void SetParameter(int index, float normalised);
    // Index of the parameter called name (case ignored), or -1.
    int FindParam(const std::string& name);

    // True when this is the de-esser whose parameter table the host knows.
    bool IsDeEsser();
    std::string UniqueIdText() const; // the four characters of uniqueID

    void Open();  // effOpen
    void Close(); // effClose; the instance is gone afterwards
    bool IsOpen() const { return m_Opened; }

    // Processing set-up: Prepare (rate, block size) comes before programs and
    // parameters are chosen, Start (mains on, start process) after them.
    void Prepare(double sampleRate, int blockSize);
    void Start(); // effMainsChanged 1, effStartProcess
    void Stop();  // effStopProcess, effMainsChanged 0
    void Process(float** inputs, float** outputs, int frames);

private:
    static VstIntPtr HostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                  void* ptr, float opt);

    std::string m_Path;
    std::string m_Folder;
    void* m_Library = nullptr;
    AEffect* m_Effect = nullptr;
    bool m_Opened = false;
    bool m_Running = false;
    int m_IsDeEsser = -1; // -1: not yet checked
};

// The ordinary places to look for the de-esser when no --plugin is given:
// beside the executable, the build tree it came from, ~/.vst, /usr/lib/vst.
std::string DefaultPluginPath();
