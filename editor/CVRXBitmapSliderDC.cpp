// CVRXBitmapSliderDC: fader value <-> cap position, and its drawing.
#include "CVRXBitmapSliderDC.h"

#include <cmath>

void CVRXBitmapSliderDC::Make(CRect& rect, CRect& displayRect, CWnd* parent, CVRXBitmap* track,
                              CVRXBitmap* /*third*/, CVRXBitmap* cap, float min, float max,
                              CPoint start, CPoint end, unsigned id, int orientation,
                              bool logarithmic, bool reversed, bool hideCap, bool snapToEnds,
                              VRXCONTROLCALLBACK callback, void* owner)
{
    Setup(id, rect, displayRect, parent, callback, owner, min, max, logarithmic);
    m_pTrack = track;
    m_pCap = cap;
    m_nOrientation = orientation;
    m_nTravelStart = orientation ? start.y : start.x;
    m_nTravelEnd = orientation ? end.y : end.x;
    m_bReverse = reversed;
    m_bHideCap = hideCap;
    m_bSnap = snapToEnds;
    m_bEnable = true;
    m_fValue = min;
    m_nTrackWidth = track ? track->Width() : 0;
    m_nTrackHeight = track ? track->Height() : 0;
}

void CVRXBitmapSliderDC::SetValue(float value, CDC* dc, bool notify)
{
    value = ClampToRange(value);
    if (value != m_fValue)
    {
        m_fValue = value;
        if (notify)
            Notify(m_fValue);
    }
    Redraw(dc);
}

double CVRXBitmapSliderDC::GetCapCentre() const
{
    const double s = m_nTravelStart;
    const double e = m_nTravelEnd;
    const double span = (double)m_fMax - m_fMin;
    double t = span != 0.0 ? (m_fValue - m_fMin) / span : 0.0;
    if (m_bLog)
        t = std::log10(t * 9.0 + 1.0);
    return s - t * (s - e);
}

void CVRXBitmapSliderDC::DrawSlider(CDC* dc)
{
    if (!dc || !m_pTrack || !m_pTrack->GetHandle() || m_nTrackWidth <= 0 || m_nTrackHeight <= 0)
        return;
    CDC work;
    work.CreateBitmapDC(m_nTrackWidth, m_nTrackHeight);
    CDC mem;
    mem.CreateCompatibleDC(dc);
    CBitmap* old = mem.SelectObject(m_pTrack);
    work.BitBlt(0, 0, m_nTrackWidth, m_nTrackHeight, &mem, 0, 0, SRCCOPY);
    if (!m_bHideCap && m_pCap && m_pCap->GetHandle())
    {
        const int capW = m_pCap->Width();
        const int capH = m_pCap->Height();
        const int p = (int)GetCapCentre();
        mem.SelectObject(m_pCap);
        if (m_nOrientation)
            work.BitBlt((m_nTrackWidth - capW) / 2, p - capH / 2, capW, capH, &mem, 0, 0, SRCCOPY);
        else
            work.BitBlt(p - capW / 2, (m_nTrackHeight - capH) / 2, capW, capH, &mem, 0, 0, SRCCOPY);
    }
    mem.SelectObject(old);
    dc->BitBlt(m_Rect.left, m_Rect.top, m_nTrackWidth, m_nTrackHeight, &work, 0, 0, SRCCOPY);
}

void CVRXBitmapSliderDC::SetValueByPoint(CPoint point)
{
    const int pos = m_nOrientation ? point.y - m_Rect.top : point.x - m_Rect.left;
    const int s = m_nTravelStart;
    const int e = m_nTravelEnd;
    // Not reversed, the minimum end lies at larger coordinates (the bottom of
    // a vertical fader); the horizontal case compares x the same way.
    float value;
    if (!m_bReverse ? pos > s : pos < s)
        value = m_fMin;
    else if (!m_bReverse ? pos < e : pos > e)
        value = m_fMax;
    else if (m_bLog)
        value =
            (float)(m_fMin + (m_fMax - m_fMin) *
                                 (std::pow(10.0, (double)(pos - s) / (double)(e - s)) - 1.0) / 9.0);
    else if (s == e)
        value = m_fMin;
    else
        value = m_fMin + (float)(s - pos) * (m_fMax - m_fMin) / (float)(s - e);
    if (m_bSnap)
        value = value < (m_fMin + m_fMax) * 0.5f ? m_fMin : m_fMax;
    if (value == m_fValue)
        return;
    m_fValue = value;
    InvalidateDisplay();
    Notify(m_fValue);
}
