// The bundle's X11 editor through its UI descriptor as an LV2 host opens it,
// in a real X server (xvfb-run -a); skipped without $DISPLAY.
#include <gtest/gtest.h> // before Xlib.h and its macros

#include "Lv2TestHost.h"
#include "TestFiles.h"

#include "X11HostWindow.h"

#include <dlfcn.h>
#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/ui/ui.h>
#include <unistd.h>

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace
{
constexpr const char* kUri = "urn:korvaine:comp2";
constexpr uint32_t kThresholdPort = 4;
// The Threshold knob's centre on the panel, in panel pixels.
constexpr int kKnobX = 262 + 17, kKnobY = 66 + 17;

class Lv2Ui : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_X.display)
            GTEST_SKIP() << "cannot open $DISPLAY; run under xvfb-run -a";
        ASSERT_NE(nullptr, m_Instance.Raw());
        m_Instance.Activate();
        LilvUIs* uis = lilv_plugin_get_uis(m_Host.Plugin());
        ASSERT_EQ(lilv_uis_size(uis), 1u);
        const LilvNode* binary = lilv_ui_get_binary_uri(lilv_uis_get(uis, lilv_uis_begin(uis)));
        char* path = lilv_file_uri_parse(lilv_node_as_uri(binary), nullptr);
        m_Library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        lilv_free(path);
        lilv_uis_free(uis);
        ASSERT_NE(nullptr, m_Library) << dlerror();
        auto entry = (const LV2UI_Descriptor* (*)(uint32_t))dlsym(m_Library, "lv2ui_descriptor");
        ASSERT_TRUE(entry && entry(0));
        EXPECT_EQ(entry(1), nullptr);
        m_Descriptor = entry(0);
        EXPECT_STREQ(m_Descriptor->URI, "urn:korvaine:comp2#ui");
    }

    void TearDown() override
    {
        if (m_Ui)
            m_Descriptor->cleanup(m_Ui);
        if (m_Library)
            dlclose(m_Library);
    }

    // Instantiates with the host's scale (0: one the plug-in ignores) and,
    // optionally, without a parent or instance access.
    LV2UI_Handle Open(float scale, bool parent = true, bool instance = true)
    {
        m_Scale = scale;
        m_Options = {{LV2_OPTIONS_INSTANCE, 0, m_Host.Map(LV2_UI__scaleFactor), sizeof(float),
                      m_Host.Map(LV2_ATOM__Float), &m_Scale},
                     {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
        const LV2_Feature map{LV2_URID__map, m_Host.MapFeature()},
            resize{LV2_UI__resize, &m_Resize}, options{LV2_OPTIONS__options, m_Options.data()},
            window{LV2_UI__parent, reinterpret_cast<void*>(m_X.window)},
            access{LV2_INSTANCE_ACCESS_URI, lilv_instance_get_handle(m_Instance.Raw())};
        std::vector<const LV2_Feature*> list = {&map, &resize, &options};
        if (parent)
            list.push_back(&window);
        if (instance)
            list.push_back(&access);
        list.push_back(nullptr);
        m_Widget = nullptr;
        return m_Descriptor->instantiate(m_Descriptor, kUri, DEESSER_LV2_BUNDLE, &Write, this,
                                         &m_Widget, list.data());
    }

    static void Write(LV2UI_Controller c, uint32_t port, uint32_t size, uint32_t format,
                      const void* buffer)
    {
        if (format == 0 && size == sizeof(float))
            static_cast<Lv2Ui*>(c)->m_Writes.emplace_back(port, *static_cast<const float*>(buffer));
    }

    void Idle(int times)
    {
        auto* idle = static_cast<const LV2UI_Idle_Interface*>(
            m_Descriptor->extension_data(LV2_UI__idleInterface));
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
        for (int i = 0; i < 1000 && m_Writes.empty(); ++i)
            Idle(1);
    }

    void Click(int x, int y)
    {
        m_X.MovePointer((Window)(uintptr_t)m_Widget, x, y);
        m_X.Button(true);
        m_X.Button(false);
        IdleUntilWritten();
        Idle(2);
    }

    TempDir m_Config;
    ScopedEnv m_Env{"XDG_CONFIG_HOME", m_Config.path().c_str()}, m_UiScale{"DEESSER_UI_SCALE", "1"};
    CLv2TestHost m_Host{DEESSER_LV2_BUNDLE, kUri};
    CLv2TestInstance m_Instance{m_Host, 44100.0};
    CX11HostWindow m_X{1000, 500};
    void* m_Library = nullptr;
    const LV2UI_Descriptor* m_Descriptor = nullptr;
    LV2UI_Handle m_Ui = nullptr;
    LV2UI_Widget m_Widget = nullptr;
    std::vector<std::pair<uint32_t, float>> m_Writes;
    std::vector<std::pair<int, int>> m_Sizes;
    LV2UI_Resize m_Resize{this, [](LV2UI_Feature_Handle h, int width, int height)
                          {
                              static_cast<Lv2Ui*>(h)->m_Sizes.emplace_back(width, height);
                              return 0;
                          }};
    float m_Scale = 1.f;
    std::vector<LV2_Options_Option> m_Options;
};

TEST_F(Lv2Ui, EmbedsFollowsPortsWritesEditsScalesAndCloses)
{
    // A refused panel leaves no scale behind for the next, opened without one.
    EXPECT_EQ(nullptr, Open(2.f, false, true)) << "no parent";
    EXPECT_EQ(nullptr, Open(1.f, true, false)) << "no instance access";
    m_Ui = Open(0.f);
    ASSERT_NE(nullptr, m_Ui);
    const Window panel = (Window)(uintptr_t)m_Widget;
    EXPECT_EQ(m_X.Children(), std::vector<Window>{panel});
    EXPECT_EQ(m_Sizes, (std::vector<std::pair<int, int>>{{460, 210}}));

    Idle(5);
    const std::vector<unsigned long> pixels = m_X.Pixels(panel, 0, 0, 460, 210);
    EXPECT_GT(std::set<unsigned long>(pixels.begin(), pixels.end()).size(), 50u) << "painted";

    // A port value from the host moves the Threshold knob and is not echoed.
    const std::vector<unsigned long> knob = m_X.Pixels(panel, kKnobX - 17, kKnobY - 17, 35, 35);
    const float low = -90.f;
    m_Descriptor->port_event(m_Ui, kThresholdPort, sizeof(float), 0, &low);
    Idle(3);
    EXPECT_NE(m_X.Pixels(panel, kKnobX - 17, kKnobY - 17, 35, 35), knob);
    m_Instance.Set("threshold", low);
    std::vector<float> buffer(256, 0.f);
    m_Instance.Run(buffer.data(), buffer.data(), buffer.data(), buffer.data(), 256);
    // A state the host restores is not echoed either: its ports are the truth.
    TempDir dir;
    LilvState* saved = m_Instance.SaveState(dir.path());
    m_Instance.RestoreState(saved);
    lilv_state_free(saved);
    Idle(2);
    EXPECT_TRUE(m_Writes.empty()) << "opening, the host's port and restored state echoed";

    if (m_X.HasXTest())
    {
        // A click on the knob's right side (0.8: -20 dB) reaches the port.
        Click(kKnobX + 12, kKnobY);
        ASSERT_FALSE(m_Writes.empty());
        EXPECT_EQ(m_Writes.back().first, kThresholdPort);
        EXPECT_NEAR(m_Writes.back().second, -20.f, 0.1f);
        // A click on the modified lamp reverts the program to its saved
        // state (the factory's first): every value reaches the host.
        m_Writes.clear();
        Click(162, 18);
        const std::map<uint32_t, float> written(m_Writes.begin(), m_Writes.end());
        EXPECT_EQ(written.size(), 11u);
        EXPECT_EQ(written.at(kThresholdPort), -30.f);
        EXPECT_EQ(written.at(kThresholdPort + 1), 4.f); // ratio
    }

    m_Descriptor->cleanup(m_Ui);
    m_Ui = nullptr;
    XSync(m_X.display, False);
    EXPECT_TRUE(m_X.Children().empty());
    EXPECT_EQ(CX11HostWindow::errors, 0);

    // Opens again after a close, at the host's scale.
    m_Ui = Open(2.f);
    ASSERT_NE(nullptr, m_Ui);
    EXPECT_EQ(m_Sizes.back(), std::make_pair(920, 420));
    // A new scale while open, through the options interface.
    m_Scale = 1.5f;
    auto* options = static_cast<const LV2_Options_Interface*>(
        m_Descriptor->extension_data(LV2_OPTIONS__interface));
    EXPECT_EQ(options->set(m_Ui, m_Options.data()), (uint32_t)LV2_OPTIONS_SUCCESS);
    EXPECT_EQ(m_Sizes.back(), std::make_pair(690, 315));
    EXPECT_EQ(nullptr, Open(1.f)) << "one panel per instance";
}
} // namespace
