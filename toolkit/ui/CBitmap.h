// A bitmap: a cairo ARGB32 image surface (premultiplied alpha), owned by the
// object once attached. Images load from PNG data in memory or from a file.
// An image drawn for a scale carries it as its cairo device scale: it has
// scale x scale device pixels per window pixel, and sizes are given in
// window pixels.
#pragma once

#include "CGdiObject.h"

class CDC;

class CBitmap : public CGdiObject
{
public:
    CBitmap() = default;
    ~CBitmap() override;

    // Takes ownership of an image surface (a previous one is released).
    BOOL Attach(HBITMAP bitmap);
    // Gives up ownership without releasing.
    HBITMAP Detach();
    HGDIOBJ GetSafeHandle() const override { return (HGDIOBJ)m_hBitmap; }
    HBITMAP GetHandle() const { return m_hBitmap; }
    operator HBITMAP() const { return m_hBitmap; }
    BOOL DeleteObject() override;

    // A new image of the given size, transparent black.
    BOOL CreateBitmap(int width, int height);
    BOOL CreateCompatibleBitmap(CDC* dc, int width, int height);
    // Decodes PNG data; false (and no image) when the data is not a PNG.
    BOOL LoadPNG(const void* data, size_t size);
    BOOL LoadPNGFile(const char* path);

    // Size in window pixels (the image's pixels over its scale); (0, 0)
    // without an image.
    CSize GetSize() const;

private:
    HBITMAP m_hBitmap = nullptr;
};

// Decodes PNG data into a new image (caller owns it); null when not a PNG.
HBITMAP AfxLoadPNG(const void* data, size_t size);

// Image resources are looked up by name ("5000.png") in a table that the
// plug-in fills at start-up with the PNGs embedded in it. Registering a name
// again replaces it; the data must outlive the table.
void AfxRegisterResource(const char* name, const void* data, size_t size);
bool AfxFindResource(const char* name, const void** data, size_t* size);

// Loads resource "%d.png" as a new image (caller owns it, Attach it to a
// CBitmap) at the toolkit's scale (see LoadBitmapScaled); null when missing
// or not a PNG. The bundle identifier names the binary on platforms with
// bundles and is ignored here.
HBITMAP LoadBitmap0(int id, const char* bundleIdentifier);
// The same drawn for `scale` (1 to 4) device pixels per window pixel: the
// resource drawn at that whole scale ("5000@2x.png" for 2), else the one
// drawn at the next whole scale above (else below) resampled to it.
HBITMAP LoadBitmapScaled(int id, double scale);
// Size of an image in window pixels; (0, 0) for null.
CSize GetBitmapSize0(HBITMAP bitmap);
