// The editor's scale from its sources, in order.
#include "EditorScale.h"

#include <cmath>
#include <cstdlib>

namespace
{
const double kMinScale = 1.0;
const double kMaxScale = 4.0;

// A usable answer from a source: a finite number above 0, within 1..4.
bool Usable(double scale, double* out)
{
    if (!std::isfinite(scale) || scale <= 0.0)
        return false;
    *out = std::fmin(std::fmax(scale, kMinScale), kMaxScale);
    return true;
}
} // namespace

double ResolveEditorScale(double hostScale, const char* environmentValue, double (*desktopScale)())
{
    double scale = 1.0;
    if (Usable(hostScale, &scale))
        return scale;
    if (environmentValue && *environmentValue)
    {
        char* end = nullptr;
        const double value = std::strtod(environmentValue, &end);
        while (end && (*end == ' ' || *end == '\t'))
            ++end;
        if (end && *end == '\0' && Usable(value, &scale))
            return scale;
    }
    if (desktopScale && Usable(desktopScale(), &scale))
        return scale;
    return 1.0;
}
