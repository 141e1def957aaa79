// Device contexts: drawing targets over cairo image surfaces.
//  - CDC::CreateCompatibleDC: a memory context; draws into the bitmap
//    selected into it and serves as a BitBlt source for that bitmap.
//  - CDC::CreateBitmapDC(w, h): a context with its own off-screen bitmap.
//  - CPaintDC: one paint cycle of a window, clipped to its invalid area; the
//    area is copied to the screen and validated when the context ends.
//  - CClientDC: draws into a window at once, outside a paint cycle; copied to
//    the screen when the context ends (or at ExitDrawing).
// Raster operations: SRCCOPY draws the source over the destination (opaque
// pixels replace it exactly); SRCAND and SRCINVERT combine the colour
// channels bit by bit and keep the destination's alpha.
// Coordinates are window pixels. Window back buffers and bitmap contexts are
// made at the toolkit's scale (CToolkit::SetScale), so text, shapes and
// copies land on device pixels.
#pragma once

#include "CBitmap.h"
#include "CFont.h"

struct _cairo;
class CWnd;

class CDC
{
public:
    CDC();
    virtual ~CDC();
    CDC(const CDC&) = delete;
    CDC& operator=(const CDC&) = delete;

    // Non-null while the context can draw.
    HDC m_hDC = nullptr;
    HDC GetSafeHdc() const { return m_hDC; }

    BOOL CreateCompatibleDC(CDC* dc);
    BOOL CreateBitmapDC(int width, int height);
    // "DISPLAY": a context for measuring text; draws nowhere visible.
    BOOL CreateDC(LPCTSTR driver, LPCTSTR device, LPCTSTR output, const void* initData);
    BOOL DeleteDC();

    // Bracket a series of drawing calls. Drawing also works without them;
    // ExitDrawing pushes pending drawing to the target (and, for a window
    // context, to the screen).
    void InitDrawing();
    void ExitDrawing();

    // Return the previously selected object (null if none).
    CBitmap* SelectObject(CBitmap* bitmap);
    CFont* SelectObject(CFont* font);

    BOOL BitBlt(int x, int y, int width, int height, CDC* src, int srcX, int srcY, DWORD rop);
    BOOL StretchBlt(int x, int y, int width, int height, CDC* src, int srcX, int srcY, int srcWidth,
                    int srcHeight, DWORD rop);

    int SetBkMode(int mode);
    int GetBkMode() const { return m_BkMode; }
    COLORREF SetTextColor(COLORREF color);
    COLORREF GetTextColor() const { return m_TextColor; }
    COLORREF SetBkColor(COLORREF color);

    // Width (advance) and height (ascent + descent) of UTF-8 text in the
    // selected font, in whole pixels.
    CSize GetTextExtent(const CString& text) const;
    CSize GetTextExtent(LPCTSTR text, int count) const;
    // Draws text with its top-left corner at (x, y). ETO_CLIPPED clips to
    // rect; ETO_OPAQUE fills rect with the background colour first.
    // Character spacing arrays are accepted and ignored.
    BOOL ExtTextOut(int x, int y, UINT options, LPCRECT rect, const CString& text,
                    LPINT spacing = nullptr);
    BOOL ExtTextOut(int x, int y, UINT options, LPCRECT rect, LPCTSTR text, UINT count,
                    LPINT spacing);
    BOOL TextOut(int x, int y, const CString& text);

    // Simple shapes for the toolkit's own controls.
    void FillSolidRect(LPCRECT rect, COLORREF color);
    void FillSolidRect(int x, int y, int width, int height, COLORREF color);
    void Draw3dRect(LPCRECT rect, COLORREF topLeft, COLORREF bottomRight);
    void DrawLine(int x0, int y0, int x1, int y1, COLORREF color);

    // Pixel access (0x00BBGGRR; alpha is dropped). GetPixel reads the device
    // pixel (x, y) of the target (the same as window pixels at scale 1). Out
    // of range gives 0xFFFFFFFF (CLR_INVALID).
    COLORREF GetPixel(int x, int y) const;
    COLORREF SetPixel(int x, int y, COLORREF color);

    // The surface drawn into (a window's back buffer, the selected bitmap or
    // the own bitmap) and its size.
    HBITMAP GetTargetSurface() const;
    CSize GetTargetSize() const;

protected:
    // Makes this context draw into `surface` (not owned).
    void SetTarget(HBITMAP surface);
    // Limits drawing to rect (target coordinates).
    void SetClip(const CRect& rect);
    _cairo* Cairo();
    void Flush();
    virtual void OnFlushed() {}

    HBITMAP m_pTarget = nullptr;
    HBITMAP m_pOwnBitmap = nullptr; // CreateBitmapDC / CreateDC
    CBitmap* m_pSelectedBitmap = nullptr;
    CFont* m_pSelectedFont = nullptr;
    _cairo* m_pCairo = nullptr;
    CRect m_Clip;
    bool m_HasClip = false;
    int m_BkMode = OPAQUE;
    COLORREF m_TextColor = 0;
    COLORREF m_BkColor = RGB(255, 255, 255);
};

#define CLR_INVALID 0xFFFFFFFF

// One paint cycle of a window (inside WM_PAINT).
class CPaintDC : public CDC
{
public:
    explicit CPaintDC(CWnd* wnd);
    ~CPaintDC() override;
    // The area being painted, in client coordinates.
    CRect m_rcPaint;

private:
    CWnd* m_pWnd;
};

// Immediate drawing into a window outside a paint cycle.
class CClientDC : public CDC
{
public:
    explicit CClientDC(CWnd* wnd);
    ~CClientDC() override;

protected:
    void OnFlushed() override;

private:
    CWnd* m_pWnd;
};
