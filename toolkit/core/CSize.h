// A width and height in pixels.
#pragma once

struct CSize
{
    int cx = 0;
    int cy = 0;

    CSize() = default;
    CSize(int cx, int cy) : cx(cx), cy(cy) {}
    bool operator==(const CSize& o) const { return cx == o.cx && cy == o.cy; }
};
