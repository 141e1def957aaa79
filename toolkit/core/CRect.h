// A rectangle of window pixels; right and bottom are exclusive.
#pragma once

#include "CPoint.h"
#include "CSize.h"

struct RECT
{
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

struct CRect : RECT
{
    CRect() = default;
    CRect(int l, int t, int r, int b) { SetRectWin(l, t, r, b); }

    void SetRectWin(int l, int t, int r, int b)
    {
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    void CopyRectWin(const RECT* r) { SetRectWin(r->left, r->top, r->right, r->bottom); }
    void SetRectEmpty() { SetRectWin(0, 0, 0, 0); }

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint TopLeft() const { return CPoint(left, top); }
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    bool PtInRect(CPoint p) const
    {
        return left <= p.x && p.x < right && top <= p.y && p.y < bottom;
    }
    void OffsetRect(int dx, int dy) { SetRectWin(left + dx, top + dy, right + dx, bottom + dy); }
    bool IntersectRect(const CRect& a, const CRect& b);
    void UnionRect(const CRect& a, const CRect& b);
    bool operator==(const CRect& o) const
    {
        return left == o.left && top == o.top && right == o.right && bottom == o.bottom;
    }
    bool operator!=(const CRect& o) const { return !(*this == o); }
};

inline bool CRect::IntersectRect(const CRect& a, const CRect& b)
{
    SetRectWin(a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top,
               a.right < b.right ? a.right : b.right, a.bottom < b.bottom ? a.bottom : b.bottom);
    if (IsRectEmpty())
    {
        SetRectEmpty();
        return false;
    }
    return true;
}

inline void CRect::UnionRect(const CRect& a, const CRect& b)
{
    if (a.IsRectEmpty())
    {
        *this = b;
        return;
    }
    if (b.IsRectEmpty())
    {
        *this = a;
        return;
    }
    SetRectWin(a.left < b.left ? a.left : b.left, a.top < b.top ? a.top : b.top,
               a.right > b.right ? a.right : b.right, a.bottom > b.bottom ? a.bottom : b.bottom);
}
