// DeEsser.clap's editor embedded through set_parent in a real X server and
// pumped by the host's timers (xvfb-run; skipped without $DISPLAY).
#include "ClapTestHost.h"
#include "TestFiles.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <utility>

#include "X11HostWindow.h" // after gtest: Xlib's macros clash with its names

namespace
{
class ClapEditor : public testing::Test
{
protected:
    void SetUp() override
    {
        UseScratchSettings();
        setenv("DEESSER_UI_SCALE", "1", 1);
        if (!x.display)
            GTEST_SKIP() << "cannot open $DISPLAY";
    }

    // The host's part: flush when asked, then run its loop a while.
    void Run(int ms)
    {
        host.RunMainLoop(ms);
        if (host.flushRequests)
            host.Flush();
    }

    // Runs the host's loop until `done` holds, for at most 5 s: the editor
    // answers when the X server and the scheduler get to it.
    template <class Done> void RunUntil(Done done)
    {
        for (int waited = 0; waited < 5000 && !done(); waited += 50)
            Run(50);
    }

    CX11HostWindow x{800, 600};
    ClapTestHost host{DEESSER_CLAP_PATH};
};

TEST_F(ClapEditor, EmbedsPaintsReportsAClickAndGoesAwayCleanly)
{
    ASSERT_NE(host.Create(), nullptr);
    auto gui = host.Ext<clap::PluginGui>(clap::kExtGui);
    const clap::Plugin* p = host.Plugin();
    EXPECT_FALSE(gui->isApiSupported(p, "x11", true));
    EXPECT_TRUE(gui->isApiSupported(p, "x11", false));
    ASSERT_TRUE(gui->create(p, "x11", false));
    uint32_t w = 0, h = 0, w2 = 0, h2 = 0;
    ASSERT_TRUE(gui->getSize(p, &w, &h));
    EXPECT_FALSE(gui->setSize(p, w + 1, h)); // fixed size
    // The host's scale reaches the editor, which then reports its new size.
    ASSERT_TRUE(gui->setScale(p, 2.0));
    ASSERT_TRUE(gui->getSize(p, &w2, &h2));
    EXPECT_EQ(std::make_pair(w2, h2), std::make_pair(2 * w, 2 * h));
    EXPECT_FALSE(gui->setScale(p, 0.5));
    ASSERT_TRUE(gui->setScale(p, 1.0));

    clap::Window window{clap::kWindowApiX11, {}};
    window.x11 = x.window;
    ASSERT_TRUE(gui->setParent(p, &window));
    EXPECT_TRUE(gui->show(p));
    EXPECT_EQ(host.timers.size(), 1u);
    ASSERT_EQ(host.fds.size(), 1u);
    RunUntil([&] { return host.timerCalls > 5; });
    ASSERT_EQ(x.Children().size(), 1u);
    // Painted: the panel's artwork, not a blank window.
    const std::vector<unsigned long> pixels = x.Pixels(x.window, 0, 0, (int)w, (int)h);
    EXPECT_GT(std::set<unsigned long>(pixels.begin(), pixels.end()).size(), 50u);

    if (x.HasXTest())
    {
        // A click right of the threshold knob's centre (0.8: -20 dB); the
        // gesture ends once the knob rests.
        x.MovePointer(x.window, 262 + 17 + 12, 66 + 17);
        x.Button(true);
        Run(100);
        x.Button(false);
        RunUntil(
            [&] {
                return !host.outEvents.empty() &&
                       host.outEvents.back().type == clap::kEventParamGestureEnd;
            });
        ASSERT_GE(host.outEvents.size(), 3u);
        EXPECT_EQ(host.outEvents.front().type, clap::kEventParamGestureBegin);
        EXPECT_EQ(host.outEvents.back().type, clap::kEventParamGestureEnd);
        const ClapOutEvent& last = host.outEvents[host.outEvents.size() - 2];
        EXPECT_EQ(last.type, clap::kEventParamValue);
        for (const ClapOutEvent& e : host.outEvents)
            EXPECT_EQ(e.paramId, 3u);
        EXPECT_EQ(host.Value(3), last.value);
        EXPECT_NEAR(last.value, -20, 0.5);
    }

    EXPECT_TRUE(gui->hide(p));
    gui->destroy(p);
    EXPECT_TRUE(host.timers.empty());
    EXPECT_TRUE(host.fds.empty());
    XSync(x.display, False);
    EXPECT_TRUE(x.Children().empty());
    EXPECT_EQ(CX11HostWindow::errors, 0);

    // Without host timers nothing would idle the panel: no editor.
    host.Destroy();
    host.offerTimers = false;
    ASSERT_NE(host.Create(), nullptr);
    gui = host.Ext<clap::PluginGui>(clap::kExtGui);
    EXPECT_FALSE(gui->create(host.Plugin(), "x11", false));
}
} // namespace
