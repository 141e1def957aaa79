// The CLAP extensions this plug-in offers or asks its host for: audio ports,
// parameters, state, latency, thread check, GUI, timers and file descriptors.
// Written from the publicly known layout of the ABI; names are our own, the
// layout and the identifier strings are the ABI's.
#pragma once

#include "ClapAbi.h"

namespace clap
{

// ---------------------------------------------------------------- audio ports

constexpr const char kExtAudioPorts[] = "clap.audio-ports";
constexpr const char kPortStereo[] = "stereo";

enum AudioPortFlags : uint32_t
{
    kAudioPortIsMain = 1u << 0,
    kAudioPortSupports64Bits = 1u << 1,
};

struct AudioPortInfo
{
    Id id;
    char name[kNameSize];
    uint32_t flags;
    uint32_t channelCount;
    const char* portType;
    Id inPlacePair; // the port of the other direction that may share buffers
};

struct PluginAudioPorts
{
    uint32_t (*count)(const Plugin* plugin, bool isInput); // [main thread]
    bool (*get)(const Plugin* plugin, uint32_t index, bool isInput,
                AudioPortInfo* info); // [main thread]
};

// ---------------------------------------------------------------- parameters

constexpr const char kExtParams[] = "clap.params";

enum ParamFlags : uint32_t
{
    kParamIsStepped = 1u << 0,
    kParamIsPeriodic = 1u << 1,
    kParamIsHidden = 1u << 2,
    kParamIsReadonly = 1u << 3,
    kParamIsBypass = 1u << 4,
    kParamIsAutomatable = 1u << 5,
    kParamIsModulatable = 1u << 10,
    kParamRequiresProcess = 1u << 15,
    kParamIsEnum = 1u << 16,
};

struct ParamInfo
{
    Id id;
    uint32_t flags;
    void* cookie;
    char name[kNameSize];
    char module[kModuleSize];
    double minValue; // plain values
    double maxValue;
    double defaultValue;
};

struct PluginParams
{
    uint32_t (*count)(const Plugin* plugin);                                // [main thread]
    bool (*getInfo)(const Plugin* plugin, uint32_t index, ParamInfo* info); // [main thread]
    bool (*getValue)(const Plugin* plugin, Id paramId, double* value);      // [main thread]
    bool (*valueToText)(const Plugin* plugin, Id paramId, double value, char* text,
                        uint32_t capacity); // [main thread]
    bool (*textToValue)(const Plugin* plugin, Id paramId, const char* text,
                        double* value); // [main thread]
    // [active and not processing: audio thread] [inactive: main thread]
    void (*flush)(const Plugin* plugin, const InputEvents* in, const OutputEvents* out);
};

enum ParamRescanFlags : uint32_t
{
    kParamRescanValues = 1u << 0,
    kParamRescanText = 1u << 1,
    kParamRescanInfo = 1u << 2,
    kParamRescanAll = 1u << 3,
};

struct HostParams
{
    void (*rescan)(const Host* host, uint32_t flags);            // [main thread]
    void (*clear)(const Host* host, Id paramId, uint32_t flags); // [main thread]
    void (*requestFlush)(const Host* host);                      // [thread-safe, not audio]
};

// ---------------------------------------------------------------- state

constexpr const char kExtState[] = "clap.state";

struct InputStream
{
    void* ctx;
    // Bytes read, 0 at the end, negative on error.
    int64_t (*read)(const InputStream* stream, void* buffer, uint64_t size);
};

struct OutputStream
{
    void* ctx;
    // Bytes written, negative on error.
    int64_t (*write)(const OutputStream* stream, const void* buffer, uint64_t size);
};

struct PluginState
{
    bool (*save)(const Plugin* plugin, const OutputStream* stream); // [main thread]
    bool (*load)(const Plugin* plugin, const InputStream* stream);  // [main thread]
};

struct HostState
{
    void (*markDirty)(const Host* host); // [main thread]
};

// ---------------------------------------------------------------- latency

constexpr const char kExtLatency[] = "clap.latency";

struct PluginLatency
{
    uint32_t (*get)(const Plugin* plugin); // [main thread]
};

struct HostLatency
{
    void (*changed)(const Host* host); // [main thread]
};

// ---------------------------------------------------------------- thread check

constexpr const char kExtThreadCheck[] = "clap.thread-check";

struct HostThreadCheck
{
    bool (*isMainThread)(const Host* host);  // [thread-safe]
    bool (*isAudioThread)(const Host* host); // [thread-safe]
};

// ---------------------------------------------------------------- GUI

constexpr const char kExtGui[] = "clap.gui";
constexpr const char kWindowApiX11[] = "x11";

struct Window
{
    const char* api;
    union
    {
        void* cocoa;
        unsigned long x11; // X11 Window id
        void* win32;
        void* ptr;
    };
};

struct GuiResizeHints
{
    bool canResizeHorizontally;
    bool canResizeVertically;
    bool preserveAspectRatio;
    uint32_t aspectRatioWidth;
    uint32_t aspectRatioHeight;
};

// Every function: [main thread].
struct PluginGui
{
    bool (*isApiSupported)(const Plugin* plugin, const char* api, bool isFloating);
    bool (*getPreferredApi)(const Plugin* plugin, const char** api, bool* isFloating);
    bool (*create)(const Plugin* plugin, const char* api, bool isFloating);
    void (*destroy)(const Plugin* plugin);
    bool (*setScale)(const Plugin* plugin, double scale);
    bool (*getSize)(const Plugin* plugin, uint32_t* width, uint32_t* height);
    bool (*canResize)(const Plugin* plugin);
    bool (*getResizeHints)(const Plugin* plugin, GuiResizeHints* hints);
    bool (*adjustSize)(const Plugin* plugin, uint32_t* width, uint32_t* height);
    bool (*setSize)(const Plugin* plugin, uint32_t width, uint32_t height);
    bool (*setParent)(const Plugin* plugin, const Window* window);
    bool (*setTransient)(const Plugin* plugin, const Window* window);
    void (*suggestTitle)(const Plugin* plugin, const char* title);
    bool (*show)(const Plugin* plugin);
    bool (*hide)(const Plugin* plugin);
};

struct HostGui
{
    void (*resizeHintsChanged)(const Host* host);
    bool (*requestResize)(const Host* host, uint32_t width, uint32_t height);
    bool (*requestShow)(const Host* host);
    bool (*requestHide)(const Host* host);
    void (*closed)(const Host* host, bool wasDestroyed);
};

// ---------------------------------------------------------------- timers

constexpr const char kExtTimerSupport[] = "clap.timer-support";

struct PluginTimerSupport
{
    void (*onTimer)(const Plugin* plugin, Id timerId); // [main thread]
};

struct HostTimerSupport
{
    bool (*registerTimer)(const Host* host, uint32_t periodMs, Id* timerId); // [main thread]
    bool (*unregisterTimer)(const Host* host, Id timerId);                   // [main thread]
};

// ---------------------------------------------------------------- file descriptors

constexpr const char kExtPosixFdSupport[] = "clap.posix-fd-support";

enum PosixFdFlags : uint32_t
{
    kFdRead = 1u << 0,
    kFdWrite = 1u << 1,
    kFdError = 1u << 2,
};

struct PluginPosixFdSupport
{
    void (*onFd)(const Plugin* plugin, int fd, uint32_t flags); // [main thread]
};

struct HostPosixFdSupport
{
    bool (*registerFd)(const Host* host, int fd, uint32_t flags); // [main thread]
    bool (*modifyFd)(const Host* host, int fd, uint32_t flags);   // [main thread]
    bool (*unregisterFd)(const Host* host, int fd);               // [main thread]
};

} // namespace clap
