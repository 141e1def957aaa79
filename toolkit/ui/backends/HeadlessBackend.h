// Off-screen backend for tests: no window system, a virtual clock, and input
// injected through CHeadless.
#pragma once

#include "IToolkitBackend.h"

IToolkitBackend* AfxCreateHeadlessBackend();

// Moves the headless clock on; false when the headless backend is not active.
bool AfxHeadlessAdvance(unsigned ms);
// What the headless "desktop" asks for as its scale (0: nothing); false when
// the headless backend is not active.
bool AfxHeadlessSetDesktopScale(double scale);
