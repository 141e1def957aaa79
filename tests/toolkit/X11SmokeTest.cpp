// The X11 backend without a reachable display: windows live as records, modal
// loops end at once, no X error handler is left behind. (The backend with a
// display is exercised through the real editor in editor_x11_tests.)
#include "TestFiles.h"
#include "ToolkitFixture.h"
#include "backends/X11Backend.h"

TEST(ToolkitX11, WithoutADisplayWindowsLiveOffScreenAndModalLoopsEnd)
{
    ScopedEnv display("DISPLAY", ":4095");
    ASSERT_TRUE(CToolkit::UseX11());
    {
        CFrameWnd frame;
        frame.SetNativeView((void*)(uintptr_t)0x123456);
        CLogWnd panel;
        ASSERT_TRUE(
            panel.Create(nullptr, "", WS_CHILD | WS_VISIBLE, CRect(0, 0, 50, 40), &frame, 0));
        EXPECT_EQ(panel.GetNativeView(), nullptr);
        CToolkit::Pump();
        EXPECT_EQ(panel.m_nPaints, 1);
        EXPECT_FALSE(AfxX11DisplayOpen());
        EXPECT_EQ(AfxMessageBox("nobody can answer", MB_OKCANCEL), IDCANCEL);
        CMenu menu;
        menu.CreatePopupMenu();
        menu.AppendMenu(MF_STRING, 1010, "one");
        EXPECT_FALSE(menu.TrackPopupMenu(0, 0, 0, &panel));
        frame.SetNativeView(nullptr); // takes the panel along
        EXPECT_EQ(panel.m_hWnd, nullptr);
    }
    EXPECT_FALSE(AfxX11ErrorHandlerInstalled());
    CToolkit::UseHeadless();
}
