// CBitmap: cairo image surfaces, PNG decoding and the image resource table.
#include "CBitmap.h"

#include "CToolkit.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace
{
struct PngReader
{
    const unsigned char* data;
    size_t size;
    size_t pos;
};

cairo_status_t ReadPng(void* closure, unsigned char* out, unsigned int length)
{
    PngReader* r = static_cast<PngReader*>(closure);
    if (r->size - r->pos < length)
        return CAIRO_STATUS_READ_ERROR;
    std::memcpy(out, r->data + r->pos, length);
    r->pos += length;
    return CAIRO_STATUS_SUCCESS;
}

struct Resource
{
    const void* data;
    size_t size;
};

std::map<std::string, Resource>& Resources()
{
    static std::map<std::string, Resource> table;
    return table;
}

HBITMAP CheckSurface(cairo_surface_t* s)
{
    if (!s)
        return nullptr;
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS)
    {
        cairo_surface_destroy(s);
        return nullptr;
    }
    if (cairo_image_surface_get_format(s) != CAIRO_FORMAT_ARGB32)
    {
        // Keep one pixel format everywhere (the and/xor operations expect it).
        int w = cairo_image_surface_get_width(s);
        int h = cairo_image_surface_get_height(s);
        cairo_surface_t* argb = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
        cairo_t* cr = cairo_create(argb);
        cairo_set_source_surface(cr, s, 0, 0);
        cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
        cairo_paint(cr);
        cairo_destroy(cr);
        cairo_surface_destroy(s);
        s = argb;
    }
    return s;
}
} // namespace

HBITMAP AfxLoadPNG(const void* data, size_t size)
{
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (!data || size < 8 || std::memcmp(data, kSignature, 8) != 0)
        return nullptr;
    PngReader reader{static_cast<const unsigned char*>(data), size, 0};
    return CheckSurface(cairo_image_surface_create_from_png_stream(ReadPng, &reader));
}

void AfxRegisterResource(const char* name, const void* data, size_t size)
{
    if (name)
        Resources()[name] = Resource{data, size};
}

bool AfxFindResource(const char* name, const void** data, size_t* size)
{
    if (!name)
        return false;
    auto it = Resources().find(name);
    if (it == Resources().end())
        return false;
    if (data)
        *data = it->second.data;
    if (size)
        *size = it->second.size;
    return true;
}

HBITMAP LoadBitmap0(int id, const char*)
{
    return LoadBitmapScaled(id, CToolkit::Scale());
}

namespace
{
// Resource `id` drawn at whole scale n: "%d.png" for 1, "%d@<n>x.png" else.
HBITMAP LoadDrawnAt(int id, int n)
{
    char name[32];
    if (n == 1)
        std::snprintf(name, sizeof(name), "%d.png", id);
    else
        std::snprintf(name, sizeof(name), "%d@%dx.png", id, n);
    const void* data = nullptr;
    size_t size = 0;
    if (!AfxFindResource(name, &data, &size))
        return nullptr;
    HBITMAP image = AfxLoadPNG(data, size);
    if (image)
        cairo_surface_set_device_scale(image, n, n);
    return image;
}
} // namespace

HBITMAP LoadBitmapScaled(int id, double scale)
{
    if (!(scale >= 1.0 && scale <= 4.0))
        scale = 1.0;
    // The image drawn at this scale, else the coarsest drawn above it (so
    // that resampling only shrinks), else the finest drawn below it.
    HBITMAP drawn = nullptr;
    int n = (int)std::ceil(scale - 1e-9);
    for (; n <= 4 && !drawn; ++n)
        drawn = LoadDrawnAt(id, n);
    for (n = (int)std::ceil(scale - 1e-9) - 1; n >= 1 && !drawn; --n)
        drawn = LoadDrawnAt(id, n);
    if (!drawn)
        return nullptr;
    double k = 1.0, ky = 1.0;
    cairo_surface_get_device_scale(drawn, &k, &ky);
    if (k == scale)
        return drawn;
    // Resampled to the scale with a smoothing filter, at the same size in
    // window pixels.
    const CSize logical = GetBitmapSize0(drawn);
    cairo_surface_t* out = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, std::max(1L, std::lround(logical.cx * scale)),
        std::max(1L, std::lround(logical.cy * scale)));
    cairo_surface_set_device_scale(out, scale, scale);
    cairo_t* cr = cairo_create(out);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, drawn, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BEST);
    cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_destroy(drawn);
    cairo_surface_flush(out);
    return CheckSurface(out);
}

CSize GetBitmapSize0(HBITMAP bitmap)
{
    if (!bitmap)
        return CSize();
    double k = 1.0, ky = 1.0;
    cairo_surface_get_device_scale(bitmap, &k, &ky);
    return CSize((int)std::lround(cairo_image_surface_get_width(bitmap) / k),
                 (int)std::lround(cairo_image_surface_get_height(bitmap) / k));
}

CBitmap::~CBitmap()
{
    DeleteObject();
}

BOOL CBitmap::Attach(HBITMAP bitmap)
{
    if (bitmap == m_hBitmap)
        return bitmap != nullptr;
    DeleteObject();
    m_hBitmap = bitmap;
    return bitmap != nullptr;
}

HBITMAP CBitmap::Detach()
{
    HBITMAP b = m_hBitmap;
    m_hBitmap = nullptr;
    return b;
}

BOOL CBitmap::DeleteObject()
{
    if (!m_hBitmap)
        return FALSE;
    cairo_surface_destroy(m_hBitmap);
    m_hBitmap = nullptr;
    return TRUE;
}

BOOL CBitmap::CreateBitmap(int width, int height)
{
    if (width <= 0 || height <= 0 || width > 16384 || height > 16384)
        return FALSE;
    const double k = CToolkit::Scale();
    HBITMAP image = CheckSurface(cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, (int)std::lround(width * k), (int)std::lround(height * k)));
    if (image)
        cairo_surface_set_device_scale(image, k, k);
    return Attach(image);
}

BOOL CBitmap::CreateCompatibleBitmap(CDC*, int width, int height)
{
    return CreateBitmap(width, height);
}

BOOL CBitmap::LoadPNG(const void* data, size_t size)
{
    HBITMAP b = AfxLoadPNG(data, size);
    if (!b)
    {
        DeleteObject();
        return FALSE;
    }
    return Attach(b);
}

BOOL CBitmap::LoadPNGFile(const char* path)
{
    if (!path)
        return FALSE;
    HBITMAP b = CheckSurface(cairo_image_surface_create_from_png(path));
    if (!b)
    {
        DeleteObject();
        return FALSE;
    }
    return Attach(b);
}

CSize CBitmap::GetSize() const
{
    return GetBitmapSize0(m_hBitmap);
}
