// Where the editor's scale (device pixels per panel pixel) comes from: the
// first of these sources that says anything.
//  1. the host (VST effVendorSpecific 'PreS'/'AeCs', CLAP set_scale, LV2
//     ui:scaleFactor, all handed to CDeEsserEditor::SetScale);
//  2. the environment variable DEESSER_UI_SCALE (1 to 4, decimals allowed);
//  3. the desktop: Xft.dpi / 96 from the X resource database, as it is
//     (192 dpi gives 2, 144 gives 1.5, 100 gives 1.04...);
//  4. else 1.
// A source that gives no number (0, text that is not a number, infinity)
// says nothing; a number outside 1..4 is taken as the nearer end.
#pragma once

// hostScale and desktopScale: 0 when that source says nothing. desktop is
// asked only when the first two say nothing (it may talk to the X server).
double ResolveEditorScale(double hostScale, const char* environmentValue, double (*desktopScale)());
