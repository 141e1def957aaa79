#include "CLv2Ui.h"

#include "ADeEsser.h"
#include "CDeEsserEditor.h"
#include "CLv2Plugin.h"
#include "CUIWindow.h"
#include "IDeEsserPanel.h"
#include "ParamRange.h"

#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace
{
const void* FindFeature(const LV2_Feature* const* features, const char* uri)
{
    for (int i = 0; features && features[i]; ++i)
        if (std::strcmp(features[i]->URI, uri) == 0)
            return features[i]->data;
    return nullptr;
}

// The panel's own X window: the widget the host embeds.
uintptr_t PanelWindow(CWrappedEffect& effect)
{
    auto* editor = static_cast<CDeEsserEditor*>(effect.Editor());
    CUIWindow* panel = editor ? editor->GetUIWindow() : nullptr;
    return panel ? reinterpret_cast<uintptr_t>(panel->GetNativeView()) : 0;
}
} // namespace

CLv2Ui::CLv2Ui(CLv2Plugin& plugin, LV2UI_Write_Function write, LV2UI_Controller controller)
    : m_Plugin(plugin), m_Pump(plugin.Wrapped().Effect()), m_Write(write), m_Controller(controller)
{
    for (float& v : m_HostValue)
        v = NAN;
}

CLv2Ui* CLv2Ui::Create(LV2UI_Write_Function write, LV2UI_Controller controller,
                       LV2UI_Widget* widget, const LV2_Feature* const* features)
{
    auto* plugin =
        static_cast<CLv2Plugin*>(const_cast<void*>(FindFeature(features, LV2_INSTANCE_ACCESS_URI)));
    const uintptr_t parent = reinterpret_cast<uintptr_t>(FindFeature(features, LV2_UI__parent));
    if (!plugin || !parent || plugin->Wrapped().Listener())
        return nullptr;

    auto* ui = new CLv2Ui(*plugin, write, controller);
    ui->m_pResize =
        static_cast<LV2UI_Resize*>(const_cast<void*>(FindFeature(features, LV2_UI__resize)));
    if (auto* map =
            static_cast<LV2_URID_Map*>(const_cast<void*>(FindFeature(features, LV2_URID__map))))
    {
        ui->m_ScaleKey = map->map(map->handle, LV2_UI__scaleFactor);
        ui->m_FloatType = map->map(map->handle, LV2_ATOM__Float);
        ui->ReadScale(
            static_cast<const LV2_Options_Option*>(FindFeature(features, LV2_OPTIONS__options)));
    }
    if (!ui->m_Pump.Open(parent))
    {
        delete ui;
        return nullptr;
    }
    plugin->Wrapped().SetListener(ui);
    if (widget)
        *widget = reinterpret_cast<LV2UI_Widget>(PanelWindow(plugin->Wrapped()));
    ui->TellHostSize();
    return ui;
}

CLv2Ui::~CLv2Ui()
{
    if (m_Plugin.Wrapped().Listener() == this)
        m_Plugin.Wrapped().SetListener(nullptr);
    m_Pump.Close();
}

void CLv2Ui::ReadScale(const LV2_Options_Option* options)
{
    for (const LV2_Options_Option* o = options; o && o->key; ++o)
        if (m_ScaleKey && o->key == m_ScaleKey && o->type == m_FloatType && o->value &&
            o->size == sizeof(float))
            m_Pump.SetScale(*static_cast<const float*>(o->value));
}

void CLv2Ui::TellHostSize()
{
    int width = 0, height = 0;
    if (!m_Pump.GetSize(&width, &height) || (width == m_Width && height == m_Height))
        return;
    m_Width = width;
    m_Height = height;
    if (m_pResize && m_pResize->ui_resize)
        m_pResize->ui_resize(m_pResize->handle, width, height);
}

void CLv2Ui::WriteToHost(int index, float plain)
{
    if (plain == m_HostValue[index] || !m_Write)
        return;
    m_HostValue[index] = plain;
    m_Write(m_Controller, PortOfParam(index), sizeof(float), 0, &plain);
}

void CLv2Ui::PortEvent(uint32_t port, uint32_t size, uint32_t format, const void* buffer)
{
    const int index = ParamOfPort(port);
    if (index < 0 || format != 0 || size != sizeof(float) || !buffer)
        return;
    const float value = *static_cast<const float*>(buffer);
    m_HostValue[index] = value;
    // The plug-in stores the value at its next block; the panel shows it now.
    CWrappedEffect& wrapped = m_Plugin.Wrapped();
    if (std::isfinite(value) && !wrapped.ShowsPlain(index, value))
        if (IDeEsserPanel* panel = wrapped.Effect().GetPanel())
            panel->UpdateControl(index, PlainToNormalised(index, value));
}

int CLv2Ui::Idle()
{
    m_Pump.Idle();
    // The host's window, and the panel with it, may be gone.
    return PanelWindow(m_Plugin.Wrapped()) ? 0 : 1;
}

void CLv2Ui::OnParamEdited(int index, float normalised)
{
    WriteToHost(index, NormalisedToPlain(index, normalised));
}

void CLv2Ui::OnUpdateDisplay()
{
    // A program reverted, copied, reset or saved in the panel.
    for (int i = 0; i < kNumParams; ++i)
        WriteToHost(i, m_Plugin.Wrapped().GetPlain(i));
}

bool CLv2Ui::OnResizeEditor(int width, int height)
{
    if (!m_pResize || !m_pResize->ui_resize)
        return false;
    m_Width = width;
    m_Height = height;
    return m_pResize->ui_resize(m_pResize->handle, width, height) == 0;
}

uint32_t CLv2Ui::GetOptions(LV2_Options_Option* /*options*/)
{
    return LV2_OPTIONS_ERR_UNKNOWN;
}

uint32_t CLv2Ui::SetOptions(const LV2_Options_Option* options)
{
    ReadScale(options);
    TellHostSize();
    return LV2_OPTIONS_SUCCESS;
}

// The descriptor -------------------------------------------------------------

namespace
{
LV2UI_Handle Instantiate(const LV2UI_Descriptor*, const char* pluginUri, const char* /*bundlePath*/,
                         LV2UI_Write_Function write, LV2UI_Controller controller,
                         LV2UI_Widget* widget, const LV2_Feature* const* features)
{
    if (!pluginUri || std::strcmp(pluginUri, DEESSER_LV2_URI) != 0)
        return nullptr;
    return CLv2Ui::Create(write, controller, widget, features);
}

void Cleanup(LV2UI_Handle ui)
{
    delete static_cast<CLv2Ui*>(ui);
}

void PortEvent(LV2UI_Handle ui, uint32_t port, uint32_t size, uint32_t format, const void* buffer)
{
    static_cast<CLv2Ui*>(ui)->PortEvent(port, size, format, buffer);
}

int Idle(LV2UI_Handle ui)
{
    return static_cast<CLv2Ui*>(ui)->Idle();
}

uint32_t GetOptions(LV2_Handle ui, LV2_Options_Option* options)
{
    return static_cast<CLv2Ui*>(ui)->GetOptions(options);
}

uint32_t SetOptions(LV2_Handle ui, const LV2_Options_Option* options)
{
    return static_cast<CLv2Ui*>(ui)->SetOptions(options);
}

const void* ExtensionData(const char* uri)
{
    static const LV2UI_Idle_Interface idle = {Idle};
    static const LV2_Options_Interface options = {GetOptions, SetOptions};
    if (std::strcmp(uri, LV2_UI__idleInterface) == 0)
        return &idle;
    if (std::strcmp(uri, LV2_OPTIONS__interface) == 0)
        return &options;
    return nullptr;
}
} // namespace

const LV2UI_Descriptor* DeEsserLv2UiDescriptor()
{
    static const LV2UI_Descriptor descriptor = {DEESSER_LV2_UI_URI, Instantiate, Cleanup, PortEvent,
                                                ExtensionData};
    return &descriptor;
}
