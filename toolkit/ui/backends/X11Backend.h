// X11 backend: Xlib windows on the editor's own Display connection, painted
// by copying the toolkit's back buffers through cairo-xlib.
#pragma once

#include "IToolkitBackend.h"

IToolkitBackend* AfxCreateX11Backend();

// True while this process has an X error handler of ours installed (tests
// check that none is left behind once the editor is closed).
bool AfxX11ErrorHandlerInstalled();
// Whether the backend currently holds an open Display connection.
bool AfxX11DisplayOpen();
