// CVRXBitmapSwitch2DC: switch value rules and drawing.
#include "CVRXBitmapSwitch2DC.h"

void CVRXBitmapSwitch2DC::Make(CRect& rect, CWnd* parent, CVRXBitmap* image0, CVRXBitmap* image1,
                               unsigned id, CRect& displayRect, bool latched,
                               CVRXBitmap* disableImage, VRXCONTROLCALLBACK callback, void* owner)
{
    Setup(id, rect, displayRect, parent, callback, owner);
    m_pBmp0 = image0;
    m_pBmp1 = image1;
    m_nValue = 0;
    m_bDown = false;
    m_bLatch = latched;
    m_pDisableBmp = disableImage;
    m_bEnable = true;
    m_bSelect = false;
}

void CVRXBitmapSwitch2DC::SetValue(int value, bool notify)
{
    if (!m_bEnable)
        return;
    if (m_bLatch && m_nValue != 0)
        return;
    if (value == m_nValue)
        return;
    m_nValue = value;
    if (notify)
        Notify((float)value);
}

void CVRXBitmapSwitch2DC::DrawSwitch(CDC* dc)
{
    if (!dc || !m_bEnable)
        return;
    CVRXBitmap* image = m_nValue == 0 ? m_pBmp0 : m_pBmp1;
    if (!image || !image->GetHandle())
        return;
    const int w = image->Width();
    const int h = image->Height() / 2;
    // The pressed half starts at half of image0's height for both images;
    // the two are drawn the same size.
    const int srcY = m_bDown && m_pBmp0 ? m_pBmp0->Height() / 2 : 0;
    CDC mem;
    mem.CreateCompatibleDC(dc);
    CBitmap* old = mem.SelectObject(image);
    if (m_pDisableBmp && m_pDisableBmp->GetHandle())
    {
        // (dst ^ img) & mask ^ img: the image where the mask is black, the
        // background where it is white.
        CDC mask;
        mask.CreateCompatibleDC(dc);
        CBitmap* oldMask = mask.SelectObject(m_pDisableBmp);
        dc->BitBlt(m_Rect.left, m_Rect.top, w, h, &mem, 0, srcY, SRCINVERT);
        dc->BitBlt(m_Rect.left, m_Rect.top, w, h, &mask, 0, 0, SRCAND);
        dc->BitBlt(m_Rect.left, m_Rect.top, w, h, &mem, 0, srcY, SRCINVERT);
        mask.SelectObject(oldMask);
    }
    else
        dc->BitBlt(m_Rect.left, m_Rect.top, w, h, &mem, 0, srcY, SRCCOPY);
    mem.SelectObject(old);
}

bool CVRXBitmapSwitch2DC::LButtonDown(CPoint point)
{
    if (!m_bEnable || !PtInSwitch(point))
        return false;
    m_bDown = true;
    return true;
}

bool CVRXBitmapSwitch2DC::LButtonUp(CPoint point)
{
    if (!m_bDown)
        return false;
    m_bDown = false;
    if (PtInSwitch(point))
        SetValue(m_nValue ? 0 : 1, true);
    return true;
}
