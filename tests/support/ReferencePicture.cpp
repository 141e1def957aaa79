// Reference picture comparison with a tolerance for font rasterisation.
#include "ReferencePicture.h"

#include <cairo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace
{
uint32_t Pixel(cairo_surface_t* s, int x, int y)
{
    const unsigned char* row =
        cairo_image_surface_get_data(s) + (size_t)y * cairo_image_surface_get_stride(s);
    return reinterpret_cast<const uint32_t*>(row)[x] & 0xFFFFFF;
}
} // namespace

::testing::AssertionResult MatchesReferencePicture(cairo_surface_t* shot,
                                                   const std::string& referencePath,
                                                   const std::string& copyPath)
{
    if (!shot || cairo_surface_status(shot) != CAIRO_STATUS_SUCCESS)
        return ::testing::AssertionFailure() << "no picture";
    cairo_surface_flush(shot);
    const char* update = std::getenv("DEESSER_UPDATE_REFERENCE");
    if (update && *update == '1')
    {
        if (cairo_surface_write_to_png(shot, referencePath.c_str()) != CAIRO_STATUS_SUCCESS)
            return ::testing::AssertionFailure() << "cannot write " << referencePath;
        return ::testing::AssertionSuccess() << "wrote " << referencePath;
    }
    cairo_surface_write_to_png(shot, copyPath.c_str());
    cairo_surface_t* expected = cairo_image_surface_create_from_png(referencePath.c_str());
    const int w = cairo_image_surface_get_width(shot), h = cairo_image_surface_get_height(shot);
    long off = 0;
    double sum = 0;
    const bool sameSize = cairo_surface_status(expected) == CAIRO_STATUS_SUCCESS &&
                          cairo_image_surface_get_width(expected) == w &&
                          cairo_image_surface_get_height(expected) == h;
    for (int y = 0; sameSize && y < h; ++y)
        for (int x = 0; x < w; ++x)
        {
            const uint32_t a = Pixel(shot, x, y), b = Pixel(expected, x, y);
            int worst = 0;
            for (int shift : {0, 8, 16})
            {
                const int d = std::abs((int)((a >> shift) & 0xFF) - (int)((b >> shift) & 0xFF));
                worst = std::max(worst, d);
                sum += d;
            }
            off += worst > 32;
        }
    cairo_surface_destroy(expected);
    const double mean = sum / (3.0 * w * h);
    if (!sameSize)
        return ::testing::AssertionFailure()
               << "cannot read " << referencePath << " or not " << w << " x " << h;
    if (off >= (long)w * h / 200 || mean >= 2.0)
        return ::testing::AssertionFailure()
               << off << " pixels off, mean difference " << mean << "; see " << copyPath;
    return ::testing::AssertionSuccess();
}
