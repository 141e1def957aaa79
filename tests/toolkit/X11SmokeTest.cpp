// The X11 backend without a reachable display: windows live as records, modal
// loops end at once, no X error handler is left behind. (The backend with a
// display is exercised through the real editor in editor_x11_tests.)
#include <gtest/gtest.h>

#include "AfxWin.h"
#include "TestFiles.h"
#include "backends/X11Backend.h"

namespace
{
class CRedPanel : public CWnd
{
public:
    int m_nPaints = 0;
    void OnPaint()
    {
        ++m_nPaints;
        CPaintDC dc(this);
        dc.FillSolidRect(&dc.m_rcPaint, RGB(255, 0, 0));
    }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(CRedPanel, CWnd)
ON_WM_PAINT()
END_MESSAGE_MAP()

} // namespace

TEST(ToolkitX11, WithoutADisplayWindowsLiveOffScreenAndModalLoopsEnd)
{
    // An unreachable display: windows still work as records, nothing hangs.
    ScopedEnv display("DISPLAY", ":4095");
    ASSERT_TRUE(CToolkit::UseX11());
    {
        CFrameWnd frame;
        frame.SetNativeView((void*)(uintptr_t)0x123456);
        CRedPanel panel;
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
        panel.DestroyWindow();
        frame.SetNativeView(nullptr);
    }
    EXPECT_FALSE(AfxX11ErrorHandlerInstalled());
    CToolkit::UseHeadless();
}
