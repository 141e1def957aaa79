// CVRXBitmap: images come from the PNGs compiled into the plug-in. They are
// handed to the toolkit's resource table once, on first use, so that the
// toolkit's LoadBitmap0 finds them by name.
#include "CVRXBitmap.h"

#include "EmbeddedResources.h"

namespace
{
bool RegisterEmbeddedImages()
{
    for (size_t i = 0; i < kEmbeddedResourceCount; ++i)
        AfxRegisterResource(kEmbeddedResources[i].name, kEmbeddedResources[i].data,
                            kEmbeddedResources[i].size);
    return true;
}
} // namespace

bool CVRXBitmap::LoadResourceBitmap(int id, const char* bundleIdentifier)
{
    static const bool registered = RegisterEmbeddedImages();
    (void)registered;
    DeleteObject();
    HBITMAP image = LoadBitmap0(id, bundleIdentifier);
    if (!image)
        return false;
    return Attach(image) != FALSE;
}
