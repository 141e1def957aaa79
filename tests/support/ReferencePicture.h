// A picture of the panel against a checked-in reference. Fonts rasterise a little
// differently per machine: channels within 32 levels on all but 0.5 % of the
// pixels, mean difference under 2 levels. DEESSER_UPDATE_REFERENCE=1 writes the
// picture as the new reference instead (on purpose changes) and passes.
#pragma once

#include <gtest/gtest.h>

#include <string>

typedef struct _cairo_surface cairo_surface_t;

// `shot` (RGB24 or ARGB32 image) against the PNG at referencePath; a copy of
// the shot is written to copyPath for looking at a failure.
::testing::AssertionResult MatchesReferencePicture(cairo_surface_t* shot,
                                                   const std::string& referencePath,
                                                   const std::string& copyPath);
