// A point in window pixels, y growing downward.
#pragma once

struct CPoint
{
    int x = 0;
    int y = 0;

    CPoint() = default;
    CPoint(int x, int y) : x(x), y(y) {}
    bool operator==(const CPoint& o) const { return x == o.x && y == o.y; }
    bool operator!=(const CPoint& o) const { return !(*this == o); }
};
