// Name lookup over the embedded PNG table.
#include "EmbeddedResources.h"

#include <cstring>

const unsigned char* GetEmbeddedResource(const char* name, size_t* size)
{
    if (size)
        *size = 0;
    if (!name)
        return nullptr;
    for (size_t i = 0; i < kEmbeddedResourceCount; ++i)
    {
        if (std::strcmp(kEmbeddedResources[i].name, name) == 0)
        {
            if (size)
                *size = kEmbeddedResources[i].size;
            return kEmbeddedResources[i].data;
        }
    }
    return nullptr;
}
