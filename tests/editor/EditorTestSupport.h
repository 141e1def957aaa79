// Shared pieces of the headless editor tests: a recording host callback, an
// effect with its editor open, and a pixel comparison of the panel.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "ADeEsser.h"
#include "AfxWin.h"
#include "CDeEsserEditor.h"
#include "CHeadless.h"
#include "CUIWindow.h"

struct RecordedHostCall
{
    VstInt32 opcode;
    VstInt32 index;
    float opt;
    VstIntPtr value;
};

// Every host call of every effect made in this process, in order.
std::vector<RecordedHostCall>& HostCalls();
VstIntPtr RecordingHostCallback(AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value,
                                void* ptr, float opt);
// The audioMasterAutomate calls recorded so far for one parameter.
std::vector<float> AutomatedValues(int index);

// An effect made as a host makes it (constructor, effOpen).
std::unique_ptr<ADeEsser> MakeEffect();
inline CDeEsserEditor* EditorOf(ADeEsser* effect)
{
    return static_cast<CDeEsserEditor*>(effect->getEditor());
}
inline VstIntPtr Dispatch(ADeEsser* effect, VstInt32 opcode, void* ptr = nullptr)
{
    return effect->dispatcher(opcode, 0, 0, ptr, 0.f);
}
inline CPoint Centre(const PanelRect& r)
{
    return CPoint((r.l + r.r) / 2, (r.t + r.b) / 2);
}

// Runs act(window) whenever the toolkit's modal loop runs a window of type T.
template <class T, class Act> void OnModal(Act act)
{
    CHeadless::SetModalHook(
        [act](CWnd* modal) mutable
        {
            if (auto* window = dynamic_cast<T*>(modal))
                act(*window);
        });
}

// An effect with its editor opened into a stand-in host window.
class EditorFixture : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    CDeEsserEditor* Editor() const { return EditorOf(effect.get()); }
    CUIWindow* Panel() const { return Editor()->GetUIWindow(); }
    // Opens the entry field by a click on a parameter's value display.
    void OpenDisplay(int param) const
    {
        for (const PanelControl& c : kPanelControls)
            if (c.kind != PANEL_SWITCH && c.drives == param)
                CHeadless::Click(Panel(), Centre(c.display));
    }

    std::unique_ptr<ADeEsser> effect;
};

// True when the w x h block of the panel's back buffer at (x, y) equals the
// block of `image` at (sx, sy) pixel for pixel; reports the first difference.
::testing::AssertionResult PanelBlockMatches(CWnd* panel, int x, int y, const CBitmap& image,
                                             int sx, int sy, int w, int h);
