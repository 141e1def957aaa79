// CLv2Ui: the effect's own panel as an LV2 X11 UI. It reaches the effect
// through instance access, opens the panel inside the host's parent window,
// sizes the host's frame with ui:resize and is pumped by the idle interface.
// Edits made in the panel, and programs changed there, are written to the
// host's ports; a port value sent by the host moves the panel's control.
// Changes that reach the effect from the host's side (ports, a restored
// state) are not echoed: the host's ports stay the truth.
//
// Thread: the host's UI thread only.
#pragma once

#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include "CEditorPump.h"
#include "IWrapperListener.h"
#include "ParamTable.h"

class CLv2Plugin;

class CLv2Ui : public IWrapperListener
{
public:
    // Null when the host gives no instance access or no parent window, or
    // the panel cannot open (no display, another panel of this instance open).
    static CLv2Ui* Create(LV2UI_Write_Function write, LV2UI_Controller controller,
                          LV2UI_Widget* widget, const LV2_Feature* const* features);
    ~CLv2Ui() override;

    void PortEvent(uint32_t port, uint32_t size, uint32_t format, const void* buffer);
    // Pumps the panel; non-zero once the panel is gone.
    int Idle();
    uint32_t GetOptions(LV2_Options_Option* options);
    uint32_t SetOptions(const LV2_Options_Option* options);

    // IWrapperListener
    void OnParamEdited(int index, float normalised) override;
    void OnUpdateDisplay() override;
    bool OnResizeEditor(int width, int height) override;

private:
    CLv2Ui(CLv2Plugin& plugin, LV2UI_Write_Function write, LV2UI_Controller controller);
    void WriteToHost(int index, float plain);
    void TellHostSize();
    // The host's scale option, when it sends one.
    void ReadScale(const LV2_Options_Option* options);

    CLv2Plugin& m_Plugin;
    CEditorPump m_Pump;
    LV2UI_Write_Function m_Write;
    LV2UI_Controller m_Controller;
    LV2UI_Resize* m_pResize = nullptr;
    LV2_URID m_ScaleKey = 0;
    LV2_URID m_FloatType = 0;
    int m_Width = 0;
    int m_Height = 0;
    float m_HostValue[kNumParams]; // last value the host's ports held, NaN: unknown
};

// The UI descriptor exported with the plug-in's.
const LV2UI_Descriptor* DeEsserLv2UiDescriptor();
