// Windows and messages on the headless backend: message-map search order,
// creation, sent and posted messages, paint scheduling, timers and the host
// frame.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

namespace
{
std::vector<std::string> g_Log;

class CBaseWnd : public CWnd
{
public:
    int m_nCreateResult = 0;
    int OnCreate(LPCREATESTRUCT cs)
    {
        g_Log.push_back("base:create " + std::to_string(cs->cx) + "x" + std::to_string(cs->cy));
        return CWnd::OnCreate(cs) == 0 ? m_nCreateResult : -1;
    }
    void OnLButtonDown(UINT, CPoint p)
    {
        g_Log.push_back("base:down " + std::to_string(p.x) + "," + std::to_string(p.y));
    }
    void OnDestroy() { g_Log.push_back("base:destroy"); }
    void OnBaseCommand(UINT id) { g_Log.push_back("base:cmd " + std::to_string(id)); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CBaseWnd, CWnd)
ON_WM_CREATE()
ON_WM_LBUTTONDOWN()
ON_WM_DESTROY()
ON_COMMAND_RANGE(1000, 1300, OnBaseCommand)
END_MESSAGE_MAP()

const UINT WM_TEST_USER = 0x0A01;

class CDerivedWnd : public CBaseWnd
{
public:
    int m_nPaints = 0;
    void OnLButtonDown(UINT, CPoint) { g_Log.push_back("derived:down"); }
    void OnRange(UINT id) { g_Log.push_back("derived:range " + std::to_string(id)); }
    void OnSpecial() { g_Log.push_back("derived:special"); }
    void OnSelChange() { g_Log.push_back("derived:selchange"); }
    void OnTimer(UINT_PTR id) { g_Log.push_back("derived:timer " + std::to_string(id)); }
    LRESULT OnUser(WPARAM w, LPARAM l)
    {
        g_Log.push_back("derived:user " + std::to_string(w) + "," + std::to_string(l));
        return 42;
    }
    void OnPaint()
    {
        ++m_nPaints;
        CPaintDC dc(this);
        dc.FillSolidRect(&dc.m_rcPaint, RGB(0, 128, 255));
    }
    DECLARE_MESSAGE_MAP()
};

// The range comes before the single id, so it wins for 1050.
BEGIN_MESSAGE_MAP(CDerivedWnd, CBaseWnd)
ON_WM_LBUTTONDOWN()
ON_WM_PAINT()
ON_COMMAND_RANGE(1010, 1110, OnRange)
ON_COMMAND(1050, OnSpecial)
ON_COMMAND(1200, OnSpecial)
ON_CBN_SELCHANGE(1120, OnSelChange)
ON_MESSAGE(WM_TEST_USER, OnUser)
ON_WM_TIMER()
END_MESSAGE_MAP()

class ToolkitMessages : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use());
        g_Log.clear();
    }
    void TearDown() override { EXPECT_EQ(CToolkit::WindowCount(), 0); }
};
} // namespace

TEST_F(ToolkitMessages, MessageMapsAreSearchedDerivedFirstInTableOrder)
{
    CDerivedWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "w", WS_POPUP | WS_VISIBLE, CRect(0, 0, 100, 50), nullptr, 0));
    g_Log.clear();

    wnd.SendMessage(WM_LBUTTONDOWN, 0, MAKELPARAM(3, 4)); // derived hides base
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1050, 0), 0);  // range listed first
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1200, 0), 0);  // only the single id matches
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1250, 0), 0);  // falls through to the base map
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1120, CBN_SELCHANGE), 0);
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1121, CBN_SELCHANGE), 0); // no entry: ignored
    EXPECT_EQ(wnd.SendMessage(WM_TEST_USER, 7, -3), 42);
    std::vector<std::string> expected = {"derived:down",      "derived:range 1050",
                                         "derived:special",   "base:cmd 1250",
                                         "derived:selchange", "derived:user 7,-3"};
    EXPECT_EQ(g_Log, expected);

    g_Log.clear();
    wnd.DestroyWindow();
    EXPECT_EQ(g_Log, std::vector<std::string>{"base:destroy"});
    EXPECT_EQ(wnd.m_hWnd, nullptr);
    EXPECT_EQ(wnd.SendMessage(WM_TEST_USER, 1, 1), 0); // no window: nothing dispatched
}

TEST_F(ToolkitMessages, CreateSendsCreateBeforeReturningAndHonoursFailure)
{
    CFrameWnd frame;
    frame.SetNativeView((void*)0x1234);
    ASSERT_NE(frame.m_hWnd, nullptr);

    CBaseWnd child;
    ASSERT_TRUE(child.Create(AfxRegisterWndClass(CS_DBLCLKS, LoadCursor(nullptr, IDC_ARROW),
                                                 (HBRUSH)GetStockObject(NULL_BRUSH)),
                             "UIWindow", WS_CHILD | WS_VISIBLE, CRect(0, 0, 450, 210), &frame, 0));
    EXPECT_EQ(g_Log, std::vector<std::string>{"base:create 450x210"});
    EXPECT_EQ(child.GetParent(), &frame);
    child.MoveWindow(5, 6, 100, 80);
    CRect r;
    child.GetClientRect(&r);
    EXPECT_EQ(r, CRect(0, 0, 100, 80));
    CPoint p(1, 2);
    child.ClientToScreen(&p);
    EXPECT_EQ(p, CPoint(6, 8));

    CBaseWnd failing;
    failing.m_nCreateResult = -1;
    EXPECT_FALSE(failing.Create(nullptr, "", WS_CHILD, CRect(0, 0, 10, 10), &frame, 1));
    EXPECT_EQ(failing.m_hWnd, nullptr);
    // A child needs a parent.
    CBaseWnd orphan;
    EXPECT_FALSE(orphan.Create(nullptr, "", WS_CHILD, CRect(0, 0, 10, 10), nullptr, 1));

    // Destroying the frame takes its child along.
    frame.SetNativeView(nullptr);
    EXPECT_EQ(child.m_hWnd, nullptr);
    EXPECT_EQ(frame.m_hWnd, nullptr);
}

TEST_F(ToolkitMessages, PostedMessagesWaitForThePump)
{
    CDerivedWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "", WS_POPUP, CRect(0, 0, 10, 10), nullptr, 0));
    g_Log.clear();
    EXPECT_TRUE(wnd.PostMessage(WM_TEST_USER, 1, 2));
    EXPECT_TRUE(wnd.PostMessage(WM_TEST_USER, 3, 4));
    EXPECT_TRUE(g_Log.empty());
    CToolkit::Pump();
    CToolkit::Pump(); // each message once
    EXPECT_EQ(g_Log, (std::vector<std::string>{"derived:user 1,2", "derived:user 3,4"}));
    // Messages for a window destroyed before the pump are dropped.
    wnd.PostMessage(WM_TEST_USER, 5, 6);
    wnd.DestroyWindow();
    CToolkit::Pump();
    EXPECT_EQ(g_Log.size(), 3u); // only "base:destroy" was added
}

TEST_F(ToolkitMessages, InvalidationLeadsToOnePaintOnThePump)
{
    CDerivedWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "", WS_POPUP | WS_VISIBLE, CRect(0, 0, 40, 30), nullptr, 0));
    EXPECT_EQ(wnd.m_nPaints, 0); // creation only invalidates
    CToolkit::Pump();
    EXPECT_EQ(wnd.m_nPaints, 1);
    EXPECT_EQ(CHeadless::GetPixel(&wnd, 39, 29), RGB(0, 128, 255));
    CToolkit::Pump();
    EXPECT_EQ(wnd.m_nPaints, 1);

    CRect a(0, 0, 5, 5), b(10, 10, 20, 20);
    wnd.InvalidateRect(&a, FALSE);
    wnd.InvalidateRect(&b, TRUE);
    wnd.Invalidate(FALSE);
    CRect update;
    EXPECT_TRUE(wnd.GetUpdateRect(&update));
    EXPECT_EQ(update, CRect(0, 0, 40, 30));
    CToolkit::Pump();
    EXPECT_EQ(wnd.m_nPaints, 2);
    EXPECT_FALSE(wnd.GetUpdateRect(&update));

    // A hidden window is not painted until shown.
    wnd.ShowWindow(SW_HIDE);
    wnd.Invalidate();
    CToolkit::Pump();
    EXPECT_EQ(wnd.m_nPaints, 2);
    wnd.ShowWindow(SW_SHOW);
    CToolkit::Pump();
    EXPECT_EQ(wnd.m_nPaints, 3);

    wnd.DestroyWindow();
}

TEST_F(ToolkitMessages, TimersFireFromThePump)
{
    CDerivedWnd wnd;
    ASSERT_TRUE(wnd.Create(nullptr, "", WS_POPUP, CRect(0, 0, 10, 10), nullptr, 0));
    g_Log.clear();
    EXPECT_EQ(wnd.SetTimer(1024, 75, nullptr), 1024u);
    CHeadless::AdvanceTime(74);
    CToolkit::Pump();
    CHeadless::AdvanceTime(1);
    EXPECT_TRUE(g_Log.empty()); // not due at 74 ms, and time alone fires nothing
    CToolkit::Pump();
    // A long gap fires once; missed periods are not made up.
    CHeadless::AdvanceTime(1000);
    CToolkit::Pump();
    CToolkit::Pump();
    // 1024 is not due again 10 ms later; 7 goes to its callback.
    wnd.SetTimer(7, 10,
                 [](HWND, UINT message, UINT_PTR id, DWORD)
                 {
                     if (message == WM_TIMER)
                         g_Log.push_back("callback " + std::to_string(id));
                 });
    CHeadless::AdvanceTime(10);
    CToolkit::Pump();
    const std::vector<std::string> fired = {"derived:timer 1024", "derived:timer 1024",
                                            "callback 7"};
    EXPECT_EQ(g_Log, fired);

    EXPECT_TRUE(wnd.KillTimer(1024));
    EXPECT_FALSE(wnd.KillTimer(1024));
    EXPECT_TRUE(wnd.KillTimer(7));
    CHeadless::AdvanceTime(500);
    CToolkit::Pump();
    EXPECT_EQ(g_Log, fired);
    wnd.DestroyWindow();
}
