// A bitmap loaded from the plug-in's own images ("%d.png", embedded in the
// binary). A missing image leaves the object empty: Width() and Height() are 0.
// Thread: UI only.
#pragma once

#include "CBitmap.h"

class CVRXBitmap : public CBitmap
{
public:
    CVRXBitmap() = default;

    // Loads image `id` (5000 -> "5000.png"); false and no image when absent.
    // The bundle identifier names the binary on platforms with bundles.
    bool LoadResourceBitmap(int id, const char* bundleIdentifier = nullptr);

    int Width() const { return GetSize().cx; }
    int Height() const { return GetSize().cy; }
};
