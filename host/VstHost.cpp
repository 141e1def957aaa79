// VST 2.4 host side: library loading, the host callback and the dispatcher calls.
#include "VstHost.h"
#include "HostError.h"
#include "ParamTable.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <mutex>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#ifndef DEESSER_BUILD_PLUGIN
#define DEESSER_BUILD_PLUGIN ""
#endif

namespace
{
// The folder handed to the plug-in for audioMasterGetDirectory. One plug-in
// folder per process is enough for this host; the plug-in may ask for it from
// inside its entry, before any AEffect exists, so it cannot hang off the record.
char g_PluginFolder[PATH_MAX + 2];

bool isFile(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

typedef AEffect* (*VstEntryProc)(audioMasterCallback);

// Loading, creating, opening and closing instances happen one at a time:
// several files render at once, and a plug-in's first-use set-up (folders,
// default bank) need not be thread-safe. Processing runs freely in parallel.
std::recursive_mutex g_LifeCycle;
} // namespace

VstIntPtr CVstHost::HostCallback(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    switch (opcode)
    {
    case audioMasterVersion:
        return 2400;
    case audioMasterGetDirectory:
        return (VstIntPtr)g_PluginFolder;
    default:
        return 0;
    }
}

CVstHost::CVstHost(const std::string& path) : m_Path(path)
{
    std::lock_guard<std::recursive_mutex> lock(g_LifeCycle);
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        throw CHostError("plug-in not found: " + path + " (" + std::strerror(errno) + ")");
    if (!S_ISREG(st.st_mode))
        throw CHostError("plug-in is not a file: " + path);

    char real[PATH_MAX];
    if (realpath(path.c_str(), real))
        m_Path = real;
    size_t slash = m_Path.rfind('/');
    m_Folder = slash == std::string::npos ? std::string("./") : m_Path.substr(0, slash + 1);
    std::snprintf(g_PluginFolder, sizeof(g_PluginFolder), "%s", m_Folder.c_str());

    dlerror();
    m_Library = dlopen(m_Path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_Library)
    {
        const char* why = dlerror();
        throw CHostError("not a loadable plug-in: " + path + " (" + (why ? why : "dlopen failed") +
                         ")");
    }

    VstEntryProc entry = (VstEntryProc)dlsym(m_Library, "VSTPluginMain");
    if (!entry)
    {
        // "main" of a library's own dependency tree could in principle be
        // someone else's; accept it only when it lives in the plug-in itself.
        void* candidate = dlsym(m_Library, "main");
        struct link_map* map = nullptr;
        Dl_info info;
        if (candidate && dlinfo(m_Library, RTLD_DI_LINKMAP, &map) == 0 && map &&
            dladdr(candidate, &info) && info.dli_fname && map->l_name &&
            std::strcmp(info.dli_fname, map->l_name) == 0)
            entry = (VstEntryProc)candidate;
    }
    if (!entry)
    {
        dlclose(m_Library);
        m_Library = nullptr;
        throw CHostError("not a VST 2.4 plug-in: " + path + " (no VSTPluginMain or main entry)");
    }

    m_Effect = entry(&CVstHost::HostCallback);
    if (!m_Effect)
    {
        dlclose(m_Library);
        m_Library = nullptr;
        throw CHostError("plug-in refused to start: " + path + " (its entry returned null)");
    }
    if (m_Effect->magic != kEffectMagic)
    {
        // Not ours to delete: an object of unknown kind. Leave it and unload.
        m_Effect = nullptr;
        dlclose(m_Library);
        m_Library = nullptr;
        throw CHostError("not a VST 2.4 plug-in: " + path + " (bad magic in its effect record)");
    }
    if (!m_Effect->dispatcher || m_Effect->numParams < 0 || m_Effect->numPrograms < 0 ||
        m_Effect->numInputs < 0 || m_Effect->numOutputs < 0)
    {
        m_Effect = nullptr;
        dlclose(m_Library);
        m_Library = nullptr;
        throw CHostError("not a usable VST 2.4 plug-in: " + path + " (malformed effect record)");
    }
}

CVstHost::~CVstHost()
{
    std::lock_guard<std::recursive_mutex> lock(g_LifeCycle);
    if (m_Effect)
    {
        if (m_Running)
            Stop();
        // effClose also releases an instance that was never opened.
        m_Effect->dispatcher(m_Effect, effClose, 0, 0, nullptr, 0.f);
        m_Effect = nullptr;
    }
    if (m_Library)
        dlclose(m_Library);
}

VstIntPtr CVstHost::Dispatch(VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt)
{
    return m_Effect->dispatcher(m_Effect, opcode, index, value, ptr, opt);
}

std::string CVstHost::Text(VstInt32 opcode, VstInt32 index, VstIntPtr value)
{
    char text[256];
    std::memset(text, 0, sizeof(text));
    Dispatch(opcode, index, value, text);
    text[sizeof(text) - 1] = 0;
    return text;
}

std::string CVstHost::ProgramName(int index)
{
    char text[256];
    std::memset(text, 0, sizeof(text));
    if (!Dispatch(effGetProgramNameIndexed, index, 0, text))
        return std::string();
    text[sizeof(text) - 1] = 0;
    return text;
}

float CVstHost::GetParameter(int index)
{
    return m_Effect->getParameter ? m_Effect->getParameter(m_Effect, index) : 0.f;
}

void CVstHost::SetParameter(int index, float normalised)
{
    if (m_Effect->setParameter)
        m_Effect->setParameter(m_Effect, index, normalised);
}

int CVstHost::FindParam(const std::string& name)
{
    for (int i = 0; i < NumParams(); ++i)
        if (strcasecmp(ParamName(i).c_str(), name.c_str()) == 0)
            return i;
    return -1;
}

bool CVstHost::IsDeEsser()
{
    if (m_IsDeEsser < 0)
    {
        bool known =
            m_Effect->uniqueID == VstFourCC('I', 'D', 'e', 'E') && NumParams() == kNumParams;
        for (int i = 0; known && i < kNumParams; ++i)
            known = ParamName(i) == GetParamName(i);
        m_IsDeEsser = known ? 1 : 0;
    }
    return m_IsDeEsser == 1;
}

std::string CVstHost::UniqueIdText() const
{
    uint32_t id = (uint32_t)m_Effect->uniqueID;
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        char c = (char)((id >> shift) & 0xFF);
        text += (c >= 32 && c < 127) ? c : '?';
    }
    return text;
}

void CVstHost::Open()
{
    std::lock_guard<std::recursive_mutex> lock(g_LifeCycle);
    if (!m_Opened)
        Dispatch(effOpen);
    m_Opened = true;
}

void CVstHost::Close()
{
    std::lock_guard<std::recursive_mutex> lock(g_LifeCycle);
    if (!m_Effect)
        return;
    if (m_Running)
        Stop();
    Dispatch(effClose);
    m_Effect = nullptr;
    m_Opened = false;
}

void CVstHost::Prepare(double sampleRate, int blockSize)
{
    if (!(m_Effect->flags & effFlagsCanReplacing) || !m_Effect->processReplacing)
        throw CHostError("the plug-in offers no processReplacing; this host cannot run it");
    if (m_Effect->numOutputs < 1)
        throw CHostError("the plug-in has no audio outputs");
    Dispatch(effSetSampleRate, 0, 0, nullptr, (float)sampleRate);
    Dispatch(effSetBlockSize, 0, blockSize);
}

void CVstHost::Start()
{
    Dispatch(effMainsChanged, 0, 1);
    Dispatch(effStartProcess);
    m_Running = true;
}

void CVstHost::Stop()
{
    if (!m_Running)
        return;
    Dispatch(effStopProcess);
    Dispatch(effMainsChanged, 0, 0);
    m_Running = false;
}

void CVstHost::Process(float** inputs, float** outputs, int frames)
{
    m_Effect->processReplacing(m_Effect, inputs, outputs, frames);
}

std::string DefaultPluginPath()
{
    std::vector<std::string> places;
    char exe[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    if (n > 0)
    {
        exe[n] = 0;
        std::string dir(exe);
        dir = dir.substr(0, dir.rfind('/') + 1);
        places.push_back(dir + "DeEsser.so");
        places.push_back(dir + "../lib/vst/DeEsser.so"); // installed as PREFIX/bin/deesser
    }
    if (*DEESSER_BUILD_PLUGIN)
        places.push_back(DEESSER_BUILD_PLUGIN);
    if (const char* home = std::getenv("HOME"))
        places.push_back(std::string(home) + "/.vst/DeEsser.so");
    places.push_back("/usr/lib/vst/DeEsser.so");
    std::string tried;
    for (const std::string& p : places)
    {
        if (isFile(p))
            return p;
        tried += (tried.empty() ? "" : ", ") + p;
    }
    throw CHostError("DeEsser.so not found (looked at " + tried + "); give --plugin PATH");
}
