// CBitmap: cairo image surfaces, PNG decoding and the image resource table.
#include "CBitmap.h"

#include <cairo.h>
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
    char name[32];
    std::snprintf(name, sizeof(name), "%d.png", id);
    const void* data = nullptr;
    size_t size = 0;
    if (!AfxFindResource(name, &data, &size))
        return nullptr;
    return AfxLoadPNG(data, size);
}

CSize GetBitmapSize0(HBITMAP bitmap)
{
    if (!bitmap)
        return CSize();
    return CSize(cairo_image_surface_get_width(bitmap), cairo_image_surface_get_height(bitmap));
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
    return Attach(CheckSurface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)));
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
