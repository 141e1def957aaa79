// The bundle's X11 editor created through its UI descriptor as an LV2 host
// does (instance access, a parent window, resize, idle interface), under a
// real X server (xvfb-run -a); skipped without $DISPLAY.
#include <gtest/gtest.h> // before Xlib.h and its macros

#include "Lv2TestHost.h"
#include "ParamRange.h"
#include "TestFiles.h"

#include "X11HostWindow.h"

#include <X11/Xutil.h>
#include <dlfcn.h>
#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/state/state.h>
#include <lv2/ui/ui.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace
{
constexpr const char* kUri = "urn:korvaine:comp2";
constexpr uint32_t kThresholdPort = 4;
// The Threshold knob's centre on the panel, in panel pixels.
constexpr int kKnobX = 262 + 17, kKnobY = 66 + 17;

struct UiHost
{
    std::vector<std::pair<uint32_t, float>> writes;
    std::vector<std::pair<int, int>> sizes;

    static void Write(LV2UI_Controller c, uint32_t port, uint32_t size, uint32_t format,
                      const void* buffer)
    {
        if (format == 0 && size == sizeof(float))
            static_cast<UiHost*>(c)->writes.emplace_back(port, *static_cast<const float*>(buffer));
    }
    static int Resize(LV2UI_Feature_Handle h, int width, int height)
    {
        static_cast<UiHost*>(h)->sizes.emplace_back(width, height);
        return 0;
    }
};

class Lv2Ui : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_X.display)
            GTEST_SKIP() << "cannot open $DISPLAY; run under xvfb-run -a";

        ASSERT_NE(nullptr, m_Host.Plugin());
        m_Instance = std::make_unique<CLv2TestInstance>(m_Host, 44100.0);
        ASSERT_NE(nullptr, m_Instance->Raw());
        m_Instance->Activate();
        RunBlock();

        LilvUIs* uis = lilv_plugin_get_uis(m_Host.Plugin());
        ASSERT_EQ(lilv_uis_size(uis), 1u);
        const LilvUI* ui = lilv_uis_get(uis, lilv_uis_begin(uis));
        char* path = lilv_file_uri_parse(lilv_node_as_uri(lilv_ui_get_binary_uri(ui)), nullptr);
        m_Library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        lilv_free(path);
        lilv_uis_free(uis);
        ASSERT_NE(nullptr, m_Library) << dlerror();
        auto entry = (const LV2UI_Descriptor* (*)(uint32_t))dlsym(m_Library, "lv2ui_descriptor");
        ASSERT_NE(nullptr, entry);
        m_Descriptor = entry(0);
        ASSERT_NE(nullptr, m_Descriptor);
        EXPECT_STREQ(m_Descriptor->URI, "urn:korvaine:comp2#ui");
        EXPECT_EQ(entry(1), nullptr);
    }

    void TearDown() override
    {
        if (m_Ui)
            m_Descriptor->cleanup(m_Ui);
        m_Instance.reset();
        if (m_Library)
            dlclose(m_Library);
    }

    void RunBlock()
    {
        std::vector<float> buffer(256, 0.f);
        m_Instance->Run(buffer.data(), buffer.data(), buffer.data(), buffer.data(), 256);
    }

    // Instantiates with the host's scale (1 unless told: the panel's pixels
    // whatever the desktop says; 0: none) and, optionally, without
    // a parent or instance access.
    LV2UI_Handle Open(float scale = 1.f, bool parent = true, bool instance = true)
    {
        m_Scale = scale;
        m_Resize = {&m_UiHost, &UiHost::Resize};
        m_Options = {{LV2_OPTIONS_INSTANCE, 0, m_Host.Map(LV2_UI__scaleFactor), sizeof(float),
                      m_Host.Map(LV2_ATOM__Float), &m_Scale},
                     {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
        std::vector<LV2_Feature> features = {{LV2_URID__map, m_Host.MapFeature()},
                                             {LV2_UI__resize, &m_Resize}};
        if (scale > 0.f)
            features.push_back({LV2_OPTIONS__options, m_Options.data()});
        if (parent)
            features.push_back({LV2_UI__parent, reinterpret_cast<void*>(m_X.window)});
        if (instance)
            features.push_back(
                {LV2_INSTANCE_ACCESS_URI, lilv_instance_get_handle(m_Instance->Raw())});
        std::vector<const LV2_Feature*> list;
        for (const LV2_Feature& f : features)
            list.push_back(&f);
        list.push_back(nullptr);
        m_Widget = nullptr;
        return m_Descriptor->instantiate(m_Descriptor, kUri, DEESSER_LV2_BUNDLE, &UiHost::Write,
                                         &m_UiHost, &m_Widget, list.data());
    }

    void Idle(int times)
    {
        auto* idle = static_cast<const LV2UI_Idle_Interface*>(
            m_Descriptor->extension_data(LV2_UI__idleInterface));
        ASSERT_NE(nullptr, idle);
        for (int i = 0; i < times; ++i)
        {
            EXPECT_EQ(idle->idle(m_Ui), 0);
            XSync(m_X.display, False);
            usleep(10 * 1000);
        }
    }

    // Idles until the editor has written a port, for at most 10 s: it sees
    // the pointer when the X server and the scheduler get to it.
    void IdleUntilWritten()
    {
        for (int i = 0; i < 1000 && m_UiHost.writes.empty(); ++i)
            Idle(1);
    }

    std::vector<unsigned long> Pixels(int x, int y, int w, int h)
    {
        std::vector<unsigned long> out;
        XImage* image =
            XGetImage(m_X.display, (Window)(uintptr_t)m_Widget, x, y, w, h, AllPlanes, ZPixmap);
        if (!image)
            return out;
        for (int j = 0; j < h; ++j)
            for (int i = 0; i < w; ++i)
                out.push_back(XGetPixel(image, i, j));
        XDestroyImage(image);
        return out;
    }

    static const void* Retrieve(LV2_State_Handle h, uint32_t, size_t* size, uint32_t* type,
                                uint32_t*)
    {
        auto* self = static_cast<Lv2Ui*>(h);
        *size = self->m_RestoreBank->size();
        *type = self->m_Host.Map(LV2_ATOM__Chunk);
        return self->m_RestoreBank->data();
    }

    std::vector<uint8_t>* m_RestoreBank = nullptr;
    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()};
    CLv2TestHost m_Host{DEESSER_LV2_BUNDLE, kUri};
    std::unique_ptr<CLv2TestInstance> m_Instance;
    CX11HostWindow m_X{1000, 500};
    void* m_Library = nullptr;
    const LV2UI_Descriptor* m_Descriptor = nullptr;
    LV2UI_Handle m_Ui = nullptr;
    LV2UI_Widget m_Widget = nullptr;
    UiHost m_UiHost;
    LV2UI_Resize m_Resize{};
    float m_Scale = 0.f;
    std::vector<LV2_Options_Option> m_Options;
};

TEST_F(Lv2Ui, OpensInTheParentIdlesPaintsFollowsPortsAndCloses)
{
    m_Ui = Open();
    ASSERT_NE(nullptr, m_Ui);
    ASSERT_NE(nullptr, m_Widget);
    const Window panel = (Window)(uintptr_t)m_Widget;
    EXPECT_EQ(m_X.Children(), std::vector<Window>{panel});
    ASSERT_EQ(m_UiHost.sizes.size(), 1u);
    XWindowAttributes a;
    ASSERT_TRUE(XGetWindowAttributes(m_X.display, panel, &a));
    EXPECT_EQ(std::make_pair(a.width, a.height), m_UiHost.sizes[0]);
    EXPECT_GE(a.width, 400);

    Idle(5);
    const std::vector<unsigned long> panelPixels = Pixels(0, 0, a.width, a.height);
    ASSERT_FALSE(panelPixels.empty());
    EXPECT_NE(std::count(panelPixels.begin(), panelPixels.end(), panelPixels[0]),
              (long)panelPixels.size())
        << "nothing painted";
    EXPECT_TRUE(m_UiHost.writes.empty()) << "opening changes no port";

    // A port value from the host moves the Threshold knob.
    const std::vector<unsigned long> knob = Pixels(kKnobX - 17, kKnobY - 17, 35, 35);
    const float low = -90.f;
    m_Descriptor->port_event(m_Ui, kThresholdPort, sizeof(float), 0, &low);
    Idle(3);
    EXPECT_NE(Pixels(kKnobX - 17, kKnobY - 17, 35, 35), knob);
    m_Instance->Set("threshold", low);
    RunBlock();
    Idle(2);
    EXPECT_TRUE(m_UiHost.writes.empty()) << "the host's own value is not echoed";

    // A click on the knob's right side (0.8: -20 dB) reaches the host's port.
    if (m_X.HasXTest())
    {
        m_X.MovePointer(panel, kKnobX + 12, kKnobY);
        m_X.Button(true);
        IdleUntilWritten();
        m_X.Button(false);
        Idle(3);
        ASSERT_FALSE(m_UiHost.writes.empty());
        EXPECT_EQ(m_UiHost.writes.back().first, kThresholdPort);
        EXPECT_NEAR(m_UiHost.writes.back().second, -20.f, 0.1f);

        // A click on the modified lamp reverts the program to its saved
        // state (the factory's first): every value reaches the host.
        m_UiHost.writes.clear();
        m_X.MovePointer(panel, 162, 18);
        m_X.Button(true);
        m_X.Button(false);
        IdleUntilWritten();
        Idle(1);
        std::map<uint32_t, float> written(m_UiHost.writes.begin(), m_UiHost.writes.end());
        EXPECT_EQ(written.size(), 11u);
        EXPECT_EQ(written[kThresholdPort], -30.f);
        EXPECT_EQ(written[kThresholdPort + 1], 4.f); // ratio
    }

    // A bank the host restores (its current program's Threshold at 0.55,
    // -45 dB) is not echoed: the host's ports stay the truth, and the next
    // block stores the port's -90 dB again.
    m_UiHost.writes.clear();
    auto* state = static_cast<const LV2_State_Interface*>(
        lilv_instance_get_extension_data(m_Instance->Raw(), LV2_STATE__interface));
    LV2_Handle handle = lilv_instance_get_handle(m_Instance->Raw());
    std::vector<uint8_t> bank;
    LV2_State_Store_Function store =
        [](LV2_State_Handle h, uint32_t, const void* v, size_t n, uint32_t, uint32_t)
    {
        auto* b = static_cast<std::vector<uint8_t>*>(h);
        b->assign(static_cast<const uint8_t*>(v), static_cast<const uint8_t*>(v) + n);
        return LV2_STATE_SUCCESS;
    };
    ASSERT_EQ(state->save(handle, store, &bank, 0, nullptr), LV2_STATE_SUCCESS);
    int32_t current = 0;
    std::memcpy(&current, bank.data() + 68, sizeof(current));
    const size_t at = 72 * (size_t)current + 4 * 3;
    const float threshold = 0.55f;
    std::memcpy(bank.data() + at, &threshold, sizeof(threshold));
    m_RestoreBank = &bank;
    ASSERT_EQ(state->restore(handle, &Lv2Ui::Retrieve, this, 0, nullptr), LV2_STATE_SUCCESS);
    Idle(2);
    EXPECT_TRUE(m_UiHost.writes.empty());
    RunBlock();
    std::vector<uint8_t> after;
    state->save(handle, store, &after, 0, nullptr);
    float stored = 0.f;
    std::memcpy(&stored, after.data() + at, sizeof(stored));
    EXPECT_EQ(stored, PlainToNormalised(3, low));

    m_Descriptor->cleanup(m_Ui);
    m_Ui = nullptr;
    XSync(m_X.display, False);
    EXPECT_TRUE(m_X.Children().empty());
    EXPECT_EQ(CX11HostWindow::errors, 0);

    // Opens again after a close.
    m_Ui = Open();
    EXPECT_NE(nullptr, m_Ui);
}

TEST_F(Lv2Ui, RefusesWithoutParentOrInstanceAndWhileAnotherIsOpen)
{
    EXPECT_EQ(nullptr, Open(0.f, false, true));
    EXPECT_EQ(nullptr, Open(0.f, true, false));
    m_Ui = Open();
    ASSERT_NE(nullptr, m_Ui);
    EXPECT_EQ(nullptr, Open()) << "one panel per instance";
    EXPECT_EQ(m_X.Children().size(), 1u);
}

TEST_F(Lv2Ui, HostScaleReachesTheEditor)
{
    // The host's scale beats any desktop setting (DEESSER_UI_SCALE, Xft.dpi).
    m_Ui = Open(1.f);
    ASSERT_NE(nullptr, m_Ui);
    ASSERT_EQ(m_UiHost.sizes.size(), 1u);
    const std::pair<int, int> one = m_UiHost.sizes[0];
    EXPECT_EQ(one, std::make_pair(460, 210));
    m_Descriptor->cleanup(m_Ui);
    m_UiHost.sizes.clear();
    m_Ui = Open(2.f);
    ASSERT_NE(nullptr, m_Ui);
    ASSERT_FALSE(m_UiHost.sizes.empty());
    EXPECT_EQ(m_UiHost.sizes.back(), std::make_pair(2 * one.first, 2 * one.second));

    // A new scale while open, through the options interface.
    auto* options = static_cast<const LV2_Options_Interface*>(
        m_Descriptor->extension_data(LV2_OPTIONS__interface));
    ASSERT_NE(nullptr, options);
    m_Scale = 1.5f;
    EXPECT_EQ(options->set(m_Ui, m_Options.data()), (uint32_t)LV2_OPTIONS_SUCCESS);
    Idle(2);
    EXPECT_EQ(m_UiHost.sizes.back(), std::make_pair(one.first * 3 / 2, one.second * 3 / 2));
}
} // namespace
