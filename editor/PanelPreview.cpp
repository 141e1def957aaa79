// Paints the real panel off-screen (the toolkit's headless backend) with the
// default program and a sibilant hiss running through the effect, so
// that the meters show, and writes it as a PNG: the pictures in the README.
//
// Usage: panel_preview OUT.png
#include <cairo.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ADeEsser.h"
#include "AfxWin.h"
#include "CDeEsserEditor.h"
#include "CHeadless.h"
#include "CUIWindow.h"

namespace
{
VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    return opcode == audioMasterVersion ? 2400 : 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: %s OUT.png\n", argv[0]);
        return 2;
    }
    // No user bank: the panel shows the built-in programs.
    char folder[] = "/tmp/deesser-preview-XXXXXX";
    if (!mkdtemp(folder))
        return 1;
    setenv("XDG_CONFIG_HOME", folder, 1);
    CHeadless::Use();

    ADeEsser effect(Host);
    effect.dispatcher(effOpen, 0, 0, nullptr, 0.f);
    effect.dispatcher(effSetSampleRate, 0, 0, nullptr, 44100.f);
    effect.dispatcher(effMainsChanged, 0, 1, nullptr, 0.f);
    if (effect.dispatcher(effEditOpen, 0, 0, (void*)0x1, 0.f) != 1)
        return 1;
    auto* editor = static_cast<CDeEsserEditor*>(effect.getEditor());

    // A sibilant hiss at 6 kHz, louder on the left: meters and reduction move.
    std::vector<float> l(256), r(256), ol(256), orr(256);
    float* in[2] = {l.data(), r.data()};
    float* out[2] = {ol.data(), orr.data()};
    for (int n = 0, block = 0; block < 40; ++block)
    {
        for (float& x : l)
            x = (float)(0.5 * std::sin(2 * M_PI * 6000.0 * n++ / 44100.0));
        for (int i = 0; i < 256; ++i)
            r[i] = 0.6f * l[i];
        effect.processReplacing(in, out, 256);
        effect.dispatcher(effEditIdle, 0, 0, nullptr, 0.f);
    }
    CUIWindow* panel = editor->GetUIWindow();
    panel->SendMessage(WM_PAINT);
    CBitmap shot;
    shot.Attach(CHeadless::Snapshot(panel));
    const bool ok = shot.GetHandle() &&
                    cairo_surface_write_to_png(shot.GetHandle(), argv[1]) == CAIRO_STATUS_SUCCESS;
    effect.dispatcher(effEditClose, 0, 0, nullptr, 0.f);
    std::remove(folder);
    if (!ok)
        std::fprintf(stderr, "panel_preview: cannot write %s\n", argv[1]);
    return ok ? 0 : 1;
}
