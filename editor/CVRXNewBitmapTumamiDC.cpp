// CVRXNewBitmapTumamiDC: knob value, angle and film-strip frame.
#include "CVRXNewBitmapTumamiDC.h"

#include <cmath>

void CVRXNewBitmapTumamiDC::Make(CRect& rect, CRect& displayRect, CWnd* parent, CVRXBitmap* strip,
                                 float min, float max, unsigned id, int frames, float startAngle,
                                 float endAngle, int /*option*/, bool logarithmic,
                                 VRXCONTROLCALLBACK callback, void* owner)
{
    Setup(id, rect, displayRect, parent, callback, owner, min, max, logarithmic);
    m_pStrip = strip;
    m_fStartAngle = startAngle;
    m_fEndAngle = endAngle;
    m_fValue = 65535.f;
    m_fLastDragValue = 65535.f;
    SetValue(min + (max - min) * 0.5f, nullptr, false);
    m_fStep = frames > 1 ? (max - min) / (float)(frames - 1) : (max - min);
}

void CVRXNewBitmapTumamiDC::SetValue(float value, CDC* dc, bool notify)
{
    value = ClampToRange(value);
    if (value == m_fValue)
        return;
    m_fValue = value;
    const float span = m_fMax - m_fMin;
    m_dAngle = m_fStartAngle +
               (span != 0.f ? (m_fEndAngle - m_fStartAngle) * (value - m_fMin) / span : 0.f);
    m_fLastDragValue = value;
    if (notify)
        Notify(m_fValue);
    Redraw(dc);
}

void CVRXNewBitmapTumamiDC::SetValue(CPoint point)
{
    const int halfW = m_Rect.Width() / 2;
    const int halfH = m_Rect.Height() / 2;
    const int dx = point.x - m_Rect.left - halfW;
    const int dy = point.y - m_Rect.top - halfH; // screen y grows downward
    if (dx == 0 && dy == 0)
        return;
    if (dy == halfW && dx > halfH)
        return;

    const double kToDegrees = -180.0 / 3.141592653;
    double angle;
    if (dx > 0)
    {
        angle = m_fLastDragValue == m_fMin
                    ? m_fStartAngle
                    : std::atan2((double)dx, (double)dy) * kToDegrees + 360.0;
    }
    else if (dx < 0)
    {
        angle = m_fLastDragValue == m_fMax ? m_fEndAngle
                                           : std::atan2((double)dx, (double)dy) * kToDegrees;
    }
    else if (m_fLastDragValue == m_fMax)
        angle = m_fEndAngle;
    else if (m_fLastDragValue == m_fMin)
        angle = m_fStartAngle;
    else
        angle = dy < 0 ? 180.0 : 0.0;

    if (angle < m_fStartAngle)
        angle = m_fStartAngle;
    if (angle > m_fEndAngle)
        angle = m_fEndAngle;

    const double sweep = m_fEndAngle - m_fStartAngle;
    const double t = sweep != 0.0 ? (angle - m_fStartAngle) / sweep : 0.0;
    float value;
    if (m_bLog)
        value = (float)(m_fMin + (m_fMax - m_fMin) * (std::pow(10.0, t) - 1.0) / 9.0);
    else
        value = (float)(m_fMin + t * (m_fMax - m_fMin));

    m_fValue = value;
    m_dAngle = angle;
    m_fLastDragValue = value;
    InvalidateDisplay();
    Notify(m_fValue);
}

int CVRXNewBitmapTumamiDC::GetIndexValue() const
{
    return (int)std::ceil((m_fValue - m_fMin) / m_fStep);
}

int CVRXNewBitmapTumamiDC::GetFrameIndex() const
{
    if (m_fStep <= 0.f)
        return 0;
    double k;
    if (m_bLog)
    {
        const double span = m_fMax - m_fMin;
        const double x = span != 0.0 ? (m_fValue - m_fMin) / span : 0.0;
        k = std::floor(std::log10(x * 9.0 + 1.0) / m_fStep + 0.5);
    }
    else
        k = std::floor((m_fValue - m_fMin) / m_fStep + 0.5);
    return k < 0.0 ? 0 : (int)k;
}

void CVRXNewBitmapTumamiDC::Draw(CDC* dc)
{
    if (!dc || !m_pStrip || !m_pStrip->GetHandle())
        return;
    const int h = m_Rect.Height();
    int k = GetFrameIndex();
    // Never read past the strip's last frame.
    const int frames = h > 0 ? m_pStrip->Height() / h : 0;
    if (frames <= 0)
        return;
    if (k >= frames)
        k = frames - 1;
    CDC mem;
    mem.CreateCompatibleDC(dc);
    CBitmap* old = mem.SelectObject(m_pStrip);
    dc->BitBlt(m_Rect.left, m_Rect.top, m_Rect.Width(), h, &mem, 0, k * h, SRCCOPY);
    mem.SelectObject(old);
}
