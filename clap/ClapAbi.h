// The CLAP binary interface, core part: the exported entry, the plug-in
// factory and descriptor, the plug-in and host records, the process call with
// its audio buffers, and the event records that travel with it. Written from
// the publicly known layout of the ABI (x86_64, natural alignment, C calling
// convention); names are our own, the layout and the strings are the ABI's.
#pragma once

#include <cstdint>

namespace clap
{

struct Version
{
    uint32_t major;
    uint32_t minor;
    uint32_t revision;
};

// The interface revision this plug-in and our test host are written against.
constexpr Version kVersion{1, 2, 0};

// Hosts and plug-ins of any 1.x revision can talk to each other.
inline bool IsCompatible(const Version& v)
{
    return v.major >= 1;
}

typedef uint32_t Id;
constexpr Id kInvalidId = 0xFFFFFFFFu;

constexpr uint32_t kNameSize = 256;    // fixed name buffers
constexpr uint32_t kModuleSize = 1024; // a parameter's module path

struct Host;
struct Plugin;

// ---------------------------------------------------------------- entry

// The one exported symbol, "clap_entry", is a record of this type.
struct PluginEntry
{
    Version clapVersion;
    bool (*init)(const char* pluginPath); // [main thread] once per load
    void (*deinit)();                     // [main thread]
    const void* (*getFactory)(const char* factoryId);
};

constexpr const char kPluginFactoryId[] = "clap.plugin-factory";

struct PluginDescriptor
{
    Version clapVersion;
    const char* id;
    const char* name;
    const char* vendor;
    const char* url;
    const char* manualUrl;
    const char* supportUrl;
    const char* version;
    const char* description;
    const char* const* features; // null-terminated list
};

struct PluginFactory
{
    uint32_t (*getPluginCount)(const PluginFactory* factory);
    const PluginDescriptor* (*getPluginDescriptor)(const PluginFactory* factory, uint32_t index);
    const Plugin* (*createPlugin)(const PluginFactory* factory, const Host* host,
                                  const char* pluginId);
};

// ---------------------------------------------------------------- events

constexpr uint16_t kCoreEventSpace = 0;

// Event types of the core space (the ones this code reads or writes).
enum EventType : uint16_t
{
    kEventParamValue = 5,
    kEventParamMod = 6,
    kEventParamGestureBegin = 7,
    kEventParamGestureEnd = 8,
    kEventTransport = 9,
};

enum EventFlags : uint32_t
{
    kEventIsLive = 1u << 0,
    kEventDontRecord = 1u << 1,
};

struct EventHeader
{
    uint32_t size; // of the whole event record, in bytes
    uint32_t time; // sample offset inside the block
    uint16_t spaceId;
    uint16_t type;
    uint32_t flags;
};

struct EventParamValue
{
    EventHeader header;
    Id paramId;
    void* cookie;
    int32_t noteId; // -1: any
    int16_t portIndex;
    int16_t channel;
    int16_t key;
    double value; // plain value
};

struct EventParamGesture
{
    EventHeader header;
    Id paramId;
};

// Sorted by time; valid for the duration of the call that hands it over.
struct InputEvents
{
    void* ctx;
    uint32_t (*size)(const InputEvents* list);
    const EventHeader* (*get)(const InputEvents* list, uint32_t index);
};

struct OutputEvents
{
    void* ctx;
    bool (*tryPush)(const OutputEvents* list, const EventHeader* event);
};

// ---------------------------------------------------------------- process

struct AudioBuffer
{
    float** data32;
    double** data64;
    uint32_t channelCount;
    uint32_t latency;
    uint64_t constantMask;
};

struct EventTransport; // read by nobody here

struct Process
{
    int64_t steadyTime;
    uint32_t framesCount;
    const EventTransport* transport;
    const AudioBuffer* audioInputs;
    AudioBuffer* audioOutputs;
    uint32_t audioInputsCount;
    uint32_t audioOutputsCount;
    const InputEvents* inEvents;
    const OutputEvents* outEvents;
};

typedef int32_t ProcessStatus;
enum : ProcessStatus
{
    kProcessError = 0,
    kProcessContinue = 1,
    kProcessContinueIfNotQuiet = 2,
    kProcessTail = 3,
    kProcessSleep = 4,
};

// ---------------------------------------------------------------- plug-in, host

struct Plugin
{
    const PluginDescriptor* desc;
    void* pluginData;
    bool (*init)(const Plugin* plugin);    // [main thread]
    void (*destroy)(const Plugin* plugin); // [main thread]
    bool (*activate)(const Plugin* plugin, double sampleRate, uint32_t minFrames,
                     uint32_t maxFrames);                                   // [main thread]
    void (*deactivate)(const Plugin* plugin);                               // [main thread]
    bool (*startProcessing)(const Plugin* plugin);                          // [audio thread]
    void (*stopProcessing)(const Plugin* plugin);                           // [audio thread]
    void (*reset)(const Plugin* plugin);                                    // [audio thread]
    ProcessStatus (*process)(const Plugin* plugin, const Process* process); // [audio thread]
    const void* (*getExtension)(const Plugin* plugin, const char* id);      // [thread-safe]
    void (*onMainThread)(const Plugin* plugin);                             // [main thread]
};

struct Host
{
    Version clapVersion;
    void* hostData;
    const char* name;
    const char* vendor;
    const char* url;
    const char* version;
    const void* (*getExtension)(const Host* host, const char* id); // [thread-safe]
    void (*requestRestart)(const Host* host);                      // [thread-safe]
    void (*requestProcess)(const Host* host);                      // [thread-safe]
    void (*requestCallback)(const Host* host);                     // [thread-safe]
};

} // namespace clap
