// Windows and messages on the headless backend: message-map search order,
// creation, posted messages, paint scheduling, timers, focus and
// pre-translation, and mouse routing (stacking, capture, double clicks).
#include "ToolkitFixture.h"

namespace
{
const UINT WM_TEST_USER = 0x0A01;

// The range comes before the single id, so it wins for 1050; the logging
// base handles the ids listed here by neither.
class CDerivedWnd : public CLogWnd
{
public:
    void OnLButtonDown(UINT, CPoint) { Note("derived down"); }
    void OnRange(UINT id) { Note("range " + std::to_string(id)); }
    void OnSingle() { Note("single"); }
    void OnSelChange() { Note("selchange"); }
    LRESULT OnUser(WPARAM w, LPARAM l) { return w * 10 + l; }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(CDerivedWnd, CLogWnd)
ON_WM_LBUTTONDOWN()
ON_COMMAND_RANGE(1010, 1110, OnRange)
ON_COMMAND(1050, OnSingle)
ON_COMMAND(1200, OnSingle)
ON_CBN_SELCHANGE(1120, OnSelChange)
ON_MESSAGE(WM_TEST_USER, OnUser)
END_MESSAGE_MAP()
} // namespace

TEST_F(ToolkitTest, MessageMapsAreSearchedDerivedFirstInTableOrder)
{
    CDerivedWnd wnd;
    MakeChild(wnd, "d", CRect(0, 0, 100, 50));
    g_Log.clear();
    wnd.SendMessage(WM_LBUTTONDOWN, 0, MAKELPARAM(3, 4));
    for (UINT id : {1050, 1200, 1250})
        wnd.SendMessage(WM_COMMAND, MAKEWPARAM(id, 0), 0);
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1120, CBN_SELCHANGE), 0);
    wnd.SendMessage(WM_COMMAND, MAKEWPARAM(1121, CBN_SELCHANGE), 0); // no entry: ignored
    EXPECT_EQ(wnd.SendMessage(WM_TEST_USER, 7, -3), 67);
    EXPECT_EQ(g_Log, (std::vector<std::string>{"d:derived down", "d:range 1050", "d:single",
                                               "d:cmd 1250", "d:selchange"}));
    wnd.DestroyWindow();
    EXPECT_EQ(wnd.SendMessage(WM_TEST_USER, 1, 1), 0); // no window: nothing dispatched
}

TEST_F(ToolkitTest, CreateSendsCreateBeforeReturningAndHonoursFailure)
{
    CLogWnd child, failing, orphan;
    MakeChild(child, "child", CRect(5, 6, 105, 86));
    EXPECT_EQ(g_Log, std::vector<std::string>{"child:create 100x80"});
    failing.m_nCreateResult = -1;
    EXPECT_FALSE(failing.Create(nullptr, "", WS_CHILD, CRect(0, 0, 10, 10), &m_Top, 1));
    EXPECT_EQ(failing.m_hWnd, nullptr);
    EXPECT_FALSE(orphan.Create(nullptr, "", WS_CHILD, CRect(0, 0, 10, 10), nullptr, 1));
}

TEST_F(ToolkitTest, PostedMessagesWaitForThePumpAndDieWithTheirWindow)
{
    CLogWnd child;
    MakeChild(child, "child", CRect(0, 0, 10, 10));
    g_Log.clear();
    EXPECT_TRUE(m_Top.PostMessage(WM_COMMAND, 1020));
    EXPECT_TRUE(m_Top.PostMessage(WM_COMMAND, 1021));
    child.PostMessage(WM_COMMAND, 1022);
    child.DestroyWindow();
    EXPECT_EQ(g_Log, std::vector<std::string>{"child:destroy"});
    CToolkit::Pump();
    CToolkit::Pump(); // each message once
    EXPECT_EQ(g_Log, (std::vector<std::string>{"child:destroy", "top:cmd 1020", "top:cmd 1021"}));
}

TEST_F(ToolkitTest, InvalidWindowsArePaintedOnceOnThePumpAndOnlyWhenVisible)
{
    CLogWnd child;
    MakeChild(child, "child", CRect(0, 0, 10, 10));
    EXPECT_EQ(m_Top.m_nPaints, 0); // creation only invalidates
    CToolkit::Pump();
    CToolkit::Pump();
    EXPECT_EQ(m_Top.m_nPaints, 1);
    EXPECT_EQ(CHeadless::GetPixel(&m_Top, 199, 99), RGB(0, 128, 255));
    CRect a(0, 0, 5, 5), update;
    m_Top.InvalidateRect(&a, FALSE);
    EXPECT_TRUE(m_Top.GetUpdateRect(&update));
    EXPECT_EQ(update, a);

    EXPECT_TRUE(m_Top.ShowWindow(SW_HIDE)); // the previous state
    EXPECT_EQ(m_Top.GetStyle() & WS_VISIBLE, 0u);
    EXPECT_FALSE(child.IsWindowVisible()); // hidden with its parent
    m_Top.Invalidate();
    CToolkit::Pump();
    EXPECT_EQ(m_Top.m_nPaints, 1);
    EXPECT_FALSE(m_Top.ShowWindow(SW_SHOW));
    EXPECT_TRUE(child.IsWindowVisible());
    CToolkit::Pump();
    EXPECT_EQ(m_Top.m_nPaints, 2);
}

TEST_F(ToolkitTest, TimersFireFromThePump)
{
    EXPECT_EQ(m_Top.SetTimer(1024, 75, nullptr), 1024u);
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
    m_Top.SetTimer(7, 10,
                   [](HWND, UINT, UINT_PTR id, DWORD)
                   { g_Log.push_back("callback " + std::to_string(id)); });
    CHeadless::AdvanceTime(10);
    CToolkit::Pump();
    const std::vector<std::string> fired = {"top:timer 1024", "top:timer 1024", "callback 7"};
    EXPECT_EQ(g_Log, fired);

    EXPECT_TRUE(m_Top.KillTimer(1024));
    EXPECT_FALSE(m_Top.KillTimer(1024));
    EXPECT_TRUE(m_Top.KillTimer(7));
    CHeadless::AdvanceTime(500);
    CToolkit::Pump();
    EXPECT_EQ(g_Log, fired);
}

TEST_F(ToolkitTest, FocusMessagesAndPreTranslation)
{
    CLogWnd a, b;
    MakeChild(a, "a", CRect(0, 0, 10, 10));
    MakeChild(b, "b", CRect(20, 0, 30, 10));
    g_Log.clear();
    EXPECT_EQ(a.SetFocus(), nullptr);
    EXPECT_EQ(b.SetFocus(), &a);
    CHeadless::Key(VK_LEFT);
    m_Top.m_bEatKeys = true; // the parent sees keys first now
    CHeadless::Key(VK_RIGHT);
    std::vector<std::string> expected = {"a:setfocus from none", "a:killfocus",
                                         "b:setfocus from wnd", "b:key 37", "top:ate 39"};
    EXPECT_EQ(g_Log, expected);
    b.ShowWindow(SW_HIDE); // hiding the focus window drops the focus
    EXPECT_EQ(CWnd::GetFocus(), nullptr);
}

TEST_F(ToolkitTest, LaterChildrenAreOnTopAndDestructionGoesParentFirst)
{
    CLogWnd under, over;
    MakeChild(under, "under", CRect(0, 0, 100, 100));
    MakeChild(over, "over", CRect(50, 0, 100, 50));
    g_Log.clear();
    CHeadless::Click(&m_Top, CPoint(60, 10)); // both contain it: the later one wins
    CHeadless::Click(&m_Top, CPoint(20, 10));
    CHeadless::Click(&m_Top, CPoint(150, 10)); // the top window itself
    EXPECT_EQ(g_Log,
              (std::vector<std::string>{"over:down 10,10", "over:up 10,10", "under:down 20,10",
                                        "under:up 20,10", "top:down 150,10", "top:up 150,10"}));

    g_Log.clear();
    m_Top.DestroyWindow();
    EXPECT_EQ(g_Log.front(), "top:destroy");
    EXPECT_EQ(g_Log.size(), 3u);
    EXPECT_EQ(under.m_hWnd, nullptr);
    EXPECT_EQ(over.m_hWnd, nullptr);
    EXPECT_FALSE(over.DestroyWindow()); // already gone
}

TEST_F(ToolkitTest, CaptureRoutesMovesAndReleaseToTheCapturingWindow)
{
    m_Top.MoveWindow(100, 100, 200, 100);
    CLogWnd knob;
    MakeChild(knob, "knob", CRect(10, 20, 50, 60));
    knob.m_bCapture = true;
    g_Log.clear();

    CHeadless::MouseMove(&m_Top, CPoint(15, 25)); // over the child: the child gets it
    CHeadless::MouseDown(&m_Top, CPoint(15, 25));
    EXPECT_EQ(CWnd::GetCapture(), &knob);
    CHeadless::MouseMove(&m_Top, CPoint(150, 90)); // far outside the child
    CHeadless::MouseUp(&m_Top, CPoint(-5, 95));
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
    CHeadless::MouseMove(&m_Top, CPoint(150, 90)); // no capture: the parent again
    std::vector<std::string> expected = {"knob:move 5,5", "knob:down 5,5", "knob:drag 140,70",
                                         "knob:up -15,75", "top:move 150,90"};
    EXPECT_EQ(g_Log, expected);

    // Hidden and disabled children take no input.
    g_Log.clear();
    knob.EnableWindow(FALSE);
    CHeadless::MouseDown(&m_Top, CPoint(15, 25));
    knob.EnableWindow(TRUE);
    knob.ShowWindow(SW_HIDE);
    CHeadless::Click(&m_Top, CPoint(15, 25));
    EXPECT_EQ(g_Log, (std::vector<std::string>{"top:down 15,25", "top:up 15,25"}));
}

TEST_F(ToolkitTest, DoubleClicksNeedTheClassStyle)
{
    CLogWnd dbl;
    dbl.m_Name = "dbl";
    ASSERT_TRUE(dbl.Create(AfxRegisterWndClass(CS_DBLCLKS), "", WS_POPUP | WS_VISIBLE,
                           CRect(0, 0, 20, 20), nullptr, 0));
    g_Log.clear();
    CHeadless::DoubleClick(&m_Top, CPoint(1, 1));
    CHeadless::DoubleClick(&dbl, CPoint(2, 2));
    std::vector<std::string> expected = {"top:down 1,1", "top:up 1,1",   "top:down 1,1",
                                         "top:up 1,1",   "dbl:down 2,2", "dbl:up 2,2",
                                         "dbl:dbl 2,2",  "dbl:up 2,2"};
    EXPECT_EQ(g_Log, expected);
    dbl.DestroyWindow();
}
