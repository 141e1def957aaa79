// Comparing a picture of the panel with a checked-in reference picture.
// Fonts may rasterise a little differently from machine to machine, so the
// match allows channels within 32 levels on all but 0.5 % of the pixels and a
// mean difference under 2 levels. DEESSER_UPDATE_REFERENCE=1 writes the
// picture as the new reference instead (when the artwork or the painting
// changes on purpose) and the check then passes.
#pragma once

#include <gtest/gtest.h>

#include <string>

typedef struct _cairo_surface cairo_surface_t;

// `shot` (RGB24 or ARGB32 image) against the PNG at referencePath; a copy of
// the shot is written to copyPath for looking at a failure.
::testing::AssertionResult MatchesReferencePicture(cairo_surface_t* shot,
                                                   const std::string& referencePath,
                                                   const std::string& copyPath);
