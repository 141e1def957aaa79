// A font: fontconfig's best match for a face name at a size in pixels.
// A face that is not installed (the panel asks for "Osaka") falls back to
// IPA Gothic, which covers Japanese program names, then to any sans face.
#pragma once

#include "CGdiObject.h"

struct _cairo_font_face;
class CDC;

class CFont : public CGdiObject
{
public:
    CFont() = default;
    ~CFont() override;

    // pointSize is in tenths of a point when 40 or more (90 = 9 pt), else in
    // points (9 = 9 pt). One point is one pixel (72 per inch), the scale the
    // panel's layout was drawn for.
    BOOL CreatePointFont(int pointSize, LPCTSTR faceName, CDC* dc = nullptr);
    BOOL DeleteObject() override;
    HGDIOBJ GetSafeHandle() const override { return (HGDIOBJ)m_pFace; }

    _cairo_font_face* GetFace() const { return m_pFace; }
    double GetPixelSize() const { return m_PixelSize; }
    // The family fontconfig chose, e.g. "IPAGothic".
    const CString& GetFamily() const { return m_Family; }

private:
    _cairo_font_face* m_pFace = nullptr;
    double m_PixelSize = 0.0;
    CString m_Family;
};
