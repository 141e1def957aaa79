// The editor panel's PNG images, compiled into the plug-in and looked up by file name.
#pragma once

#include <cstddef>

// One embedded file: its name ("5000.png"), bytes and size in bytes.
struct EmbeddedResourceEntry
{
    const char* name;
    const unsigned char* data;
    size_t size;
};

// Table written at build time by gen_images.
extern const EmbeddedResourceEntry kEmbeddedResources[];
extern const size_t kEmbeddedResourceCount;

// The bytes of the embedded file `name` ("5000.png" ... "5020.png"), its size in *size;
// null (and *size = 0) when there is no such file or name is null. size may be null.
const unsigned char* GetEmbeddedResource(const char* name, size_t* size);
