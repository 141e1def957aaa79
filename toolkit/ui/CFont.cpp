// CFont: fontconfig matching with a Japanese-capable fallback chain, turned
// into a cairo font face.
#include "CFont.h"

#include <cairo-ft.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>

CFont::~CFont()
{
    DeleteObject();
}

BOOL CFont::DeleteObject()
{
    if (!m_pFace)
        return FALSE;
    cairo_font_face_destroy(m_pFace);
    m_pFace = nullptr;
    m_PixelSize = 0.0;
    m_Family.Empty();
    return TRUE;
}

BOOL CFont::CreatePointFont(int pointSize, LPCTSTR faceName, CDC*)
{
    DeleteObject();
    if (pointSize <= 0)
        return FALSE;
    double points = pointSize >= 40 ? pointSize / 10.0 : (double)pointSize;

    FcPattern* pattern = FcPatternCreate();
    if (!pattern)
        return FALSE;
    // The requested face first, then IPA Gothic (covers Shift-JIS names), then
    // whatever sans face the system has.
    if (faceName && *faceName)
        FcPatternAddString(pattern, FC_FAMILY, (const FcChar8*)faceName);
    FcPatternAddString(pattern, FC_FAMILY, (const FcChar8*)"IPAGothic");
    FcPatternAddString(pattern, FC_FAMILY, (const FcChar8*)"IPAPGothic");
    FcPatternAddString(pattern, FC_FAMILY, (const FcChar8*)"sans-serif");
    FcPatternAddDouble(pattern, FC_PIXEL_SIZE, points);
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcPatternDestroy(pattern);
    if (!match)
        return FALSE;
    FcChar8* family = nullptr;
    if (FcPatternGetString(match, FC_FAMILY, 0, &family) == FcResultMatch && family)
        m_Family = (const char*)family;
    cairo_font_face_t* face = cairo_ft_font_face_create_for_pattern(match);
    FcPatternDestroy(match); // the face keeps its own reference
    if (!face || cairo_font_face_status(face) != CAIRO_STATUS_SUCCESS)
    {
        if (face)
            cairo_font_face_destroy(face);
        m_Family.Empty();
        return FALSE;
    }
    m_pFace = face;
    m_PixelSize = points;
    return TRUE;
}
